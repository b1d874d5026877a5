#include <kwxml/nats/PublisherState.h>

#include <kwxml/diagnostics/Log.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace kwxml::nats {

Publisher::State::Wakes Publisher::State::settle(const natsMsg* message, const Flight& flight,
                                                 const Settled& what)
{
  done[flight.number - upTo - 1] = true;
  while (!done.empty() && done.front()) {
    done.pop_front();
    ++upTo;
  }
  bytesOnTheWay -= flight.bytes;
  flights.erase(message);
  if (what.sequence == 0) {
    ++counts.failed;
    if (firstFailure.empty()) {
      firstFailure = what.why;
    }
  } else {
    ++counts.stored;
    counts.duplicates += what.duplicate ? 1 : 0;
  }
  // Who waits for room sleeps until a quarter is free, and then sends as much in one go.
  return {.roomy = flights.empty() || (flights.size() <= options.window - (options.window + 3) / 4 &&
                                       bytesOnTheWay <= options.windowBytes - options.windowBytes / 4),
          .empty = flights.empty()};
}

void Publisher::State::tell(const Settled& what, Wakes wakes)
{
  if (settled) {
    settled(what);
  }
  // Who takes what is settled as stored must have heard of the failures among it.
  toldUpTo = upTo;
  if (wakes.roomy) {
    roomy.notify_all();
  }
  if (wakes.empty) {
    empty.notify_all();
  }
}

void Publisher::State::acknowledged(natsMsg* message, const jsPubAck* ack, const jsPubAckErr* error)
{
  if (ack == nullptr) {
    failed(message, error != nullptr ? error->Err : NATS_ERR,
           error != nullptr ? error->ErrCode : static_cast<jsErrCode>(0),
           error != nullptr && error->ErrText != nullptr ? error->ErrText : "");
    return;
  }
  // A leader knows identifiers before its cluster has the messages. Asked again meanwhile it calls a message
  // a repeat, with no place in the stream, and may lose that message yet.
  if (ack->Sequence == 0) {
    failed(message, NATS_TIMEOUT, static_cast<jsErrCode>(0), {});
    return;
  }
  const std::lock_guard order(telling);
  if (ended) {
    natsMsg_Destroy(message);
    return;
  }
  Settled what{.number = 0, .sequence = ack->Sequence, .duplicate = ack->Duplicate};
  Wakes wakes{};
  {
    const std::lock_guard lock(mutex);
    if (const auto found = flights.find(message); found != flights.end()) {
      const Flight flight = found->second;
      what.number = flight.number;
      answered = std::max(answered, flight.sent);
      heard = Clock::now();
      wakes = settle(message, flight, what);
    }
  }
  natsMsg_Destroy(message);
  if (what.number != 0) {
    tell(what, wakes);
  }
}

/// Said twice, some time apart: servers that have just begun may not know their streams yet. What was said
/// holds for a while, and while the servers do not answer they are not asked.
bool Publisher::State::isForNobody(const std::string& subject)
{
  constexpr auto apart = std::chrono::seconds(1);
  constexpr auto rest = std::chrono::seconds(5);
  const auto known = forNobody.find(subject);
  const Clock::time_point now = Clock::now();
  if (known != forNobody.end() && now - known->second.said < apart) {
    return known->second.isSure;
  }
  jsOptions asked;
  if (now < askAgain || jsOptions_Init(&asked) != NATS_OK) {
    return false;
  }
  asked.Stream.Info.SubjectsFilter = subject.c_str();
  jsStreamNamesList* names = nullptr;
  jsErrCode code{};
  const natsStatus status = js_StreamNames(&names, connection.context.get(), &asked, &code);
  const std::unique_ptr<jsStreamNamesList, Destroyer<jsStreamNamesList_Destroy>> owner(names);
  if (status == NATS_OK && names->Count > 0) {
    forNobody.erase(subject);
    return false;
  }
  if (status != NATS_OK && status != NATS_NOT_FOUND) {
    askAgain = Clock::now() + rest;
    return false;
  }
  // One that was said long ago was about other times.
  const bool isSure = known != forNobody.end() && now - known->second.said < rest;
  forNobody[subject] = {.said = now, .isSure = isSure};
  return isSure;
}

void Publisher::State::failed(natsMsg* message, natsStatus status, jsErrCode code, const std::string& words,
                              bool isFinal)
{
  const std::lock_guard order(telling);
  if (ended) {
    natsMsg_Destroy(message);
    return;
  }
  Settled what{.number = 0, .sequence = 0};
  bool isFirst = false;
  Wakes wakes{};
  const bool isClosed = natsConnection_IsClosed(connection.connection.get());
  {
    const std::lock_guard lock(mutex);
    const auto found = flights.find(message);
    if (found == flights.end()) {
      natsMsg_Destroy(message);
      return;
    }
    const Flight flight = found->second;
    const Clock::time_point now = Clock::now();
    if (!isFinal && isPassing(status, code) && now < flight.giveUp && !isClosed) {
      found->second.sent = waiting;
      constexpr auto pause = std::chrono::milliseconds(100);
      repeats.push_back({message, now + pause, status == NATS_NO_RESPONDERS});
      late.notify_all();
      return;
    }
    what.number = flight.number;
    what.refused = !isPassing(status, code) && (code != 0 || status == NATS_MAX_PAYLOAD);
    what.why = std::string(natsMsg_GetSubject(message)) + ": " +
               (isFinal                        ? "no stream takes the subject"
                : status == NATS_NO_RESPONDERS ? "no stream answers"
                : words.empty()                ? natsStatus_GetText(status)
                                               : words);
    isFirst = firstFailure.empty();
    wakes = settle(message, flight, what);
  }
  // Where one fails, mostly all do: the caller is told of each.
  log().debug("Publisher", isFirst ? 0 : 1, "a message was not stored: %s", what.why.c_str());
  natsMsg_Destroy(message);
  tell(what, wakes);
}

/// Without the lock: the client may call back.
bool Publisher::State::send(natsMsg* message)
{
  jsPubOptions how;
  static_cast<void>(jsPubOptions_Init(&how));
  // No MaxWait: the client's own watch over the time costs more than all else here.
  how.ExpectStream = options.stream.empty() ? nullptr : options.stream.c_str();
  natsMsg* given = message;
  // The client would keep it for the time when there is a connection again, however late that comes.
  natsStatus status = NATS_CONNECTION_DISCONNECTED;
  if (natsConnection_Status(connection.connection.get()) == NATS_CONN_STATUS_CONNECTED) {
    const std::lock_guard lock(sending);
    status = js_PublishMsgAsync(context.get(), &given, &how);
  }
  if (status != NATS_OK) {
    failed(message, status, static_cast<jsErrCode>(0), reason(status));
  }
  return status == NATS_OK;
}

/// Answers come in the order of the messages. So an old message is no sign of silence while others before it
/// are answered, as over a slow line; but it is when one that was sent later has been answered.
Publisher::State::Clock::time_point Publisher::State::silentAt() const
{
  Clock::time_point sent = Clock::now();
  for (const auto& [message, flight] : flights) {
    sent = std::min(sent, flight.sent);
  }
  return (sent < answered ? sent : std::max(sent, heard)) + options.ackWait;
}

/// The client gives back all that it waits for, or nothing: so younger messages are sent again as well. That
/// is rare, and the stream knows their identifiers.
void Publisher::State::takeBack()
{
  natsMsgList list{};
  natsStatus status = NATS_OK;
  {
    const std::lock_guard lock(sending);
    status = js_PublishAsyncGetPendingList(&list, context.get());
  }
  if (status == NATS_OK) {
    const std::unique_ptr<natsMsgList, Destroyer<natsMsgList_Destroy>> owner(&list);
    for (int i = 0; i < list.Count; ++i) {
      failed(std::exchange(list.Msgs[i], nullptr), NATS_TIMEOUT, static_cast<jsErrCode>(0), {});
    }
  }
  // The others have been answered, and somebody is about to say so, or somebody is about to send them.
  const std::lock_guard lock(mutex);
  const Clock::time_point now = Clock::now();
  for (auto& [message, flight] : flights) {
    flight.sent = flight.sent == waiting ? waiting : now;
  }
}

void Publisher::State::repeat(const Repeat& repeat)
{
  constexpr auto none = static_cast<jsErrCode>(0);
  if (repeat.isOver) {
    failed(repeat.message, NATS_TIMEOUT, none, {});
  } else if (repeat.isUnheard && isForNobody(natsMsg_GetSubject(repeat.message))) {
    failed(repeat.message, NATS_NO_RESPONDERS, none, {}, true);
  } else if (send(repeat.message)) {
    const std::lock_guard lock(mutex);
    ++counts.repeats;
  }
}

void Publisher::State::repeatLate()
{
  std::unique_lock lock(mutex);
  while (!ending) {
    const Clock::time_point now = Clock::now();
    if (!repeats.empty() && repeats.front().due <= now) {
      Repeat next = repeats.front();
      repeats.pop_front();
      Flight& flight = flights.find(next.message)->second;
      flight.sent = now;
      next.isOver = flight.giveUp <= now;
      lock.unlock();
      try {
        repeat(next);
      } catch (const std::exception& error) {  // no memory: the message stays on its way
        log().logError("Publisher", "a message could not be sent again: %s", error.what());
      }
      lock.lock();
    } else if (const Clock::time_point silent = silentAt(); silent <= now) {
      lock.unlock();
      try {
        takeBack();
      } catch (const std::exception& error) {  // the same
        log().logError("Publisher", "messages could not be sent again: %s", error.what());
      }
      lock.lock();
    } else {
      late.wait_until(lock, repeats.empty() ? silent : std::min(silent, repeats.front().due));
    }
  }
}

}  // namespace kwxml::nats
