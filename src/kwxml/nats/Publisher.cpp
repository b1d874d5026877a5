#include <kwxml/nats/Publisher.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/nats/NatsInternal.h>
#include <kwxml/text/ShownText.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <map>
#include <thread>
#include <unordered_map>
#include <utility>

namespace kwxml::nats {

namespace {

using Clock = std::chrono::steady_clock;

/// As long as any identifier that a publisher makes.
constexpr const char* longestOwnId = "0123456789012345678901.18446744073709551615";

}  // namespace

struct Publisher::State
{
  /// A message that is kept until the stream has it.
  struct Flight
  {
    std::uint64_t number;
    std::size_t bytes;
    Clock::time_point giveUp;
    Clock::time_point sent;  ///< for the last time; `waiting` while it waits to be sent again
  };
  static constexpr Clock::time_point waiting = Clock::time_point::max();
  struct Repeat
  {
    natsMsg* message;
    Clock::time_point due;
    bool isUnheard;       ///< no stream answered: is there one?
    bool isOver = false;  ///< its time is over
  };

  State(Connection& on, PublisherOptions with, std::function<void(const Settled&)> tell)
      : connection(on.state()), options(std::move(with)), settled(std::move(tell))
  {
  }
  ~State()
  {
    for (const Repeat& repeat : repeats) {
      natsMsg_Destroy(repeat.message);
    }
  }

  bool isFull(std::size_t bytes) const
  {
    return !flights.empty() &&
           (flights.size() >= options.window || bytesOnTheWay + bytes > options.windowBytes);
  }
  /// Whom to wake.
  struct Wakes
  {
    bool roomy;
    bool empty;
  };
  /// With the lock.
  Wakes settle(const natsMsg* message, const Flight& flight, const Settled& what);
  /// Tells the caller what became of a message, and wakes those who wait for that. Without the lock.
  void tell(const Settled& what, Wakes wakes);
  void acknowledged(natsMsg* message, const jsPubAck* ack, const jsPubAckErr* error);
  /// `isFinal`: no stream takes the subject.
  void failed(natsMsg* message, natsStatus status, jsErrCode code, const std::string& words,
              bool isFinal = false);
  /// Whether the servers say that no stream takes the subject.
  bool isForNobody(const std::string& subject);
  /// Whether the message has left.
  bool send(natsMsg* message);
  /// When the servers will have been silent about a message for too long. With the lock.
  Clock::time_point silentAt() const;
  /// Sends again what the servers are silent about. Without the lock.
  void takeBack();
  void repeatLate();
  void repeat(const Repeat& repeat);

  Connection::State& connection;
  const PublisherOptions options;
  const std::function<void(const Settled&)> settled;
  CallbackKey<State> key;
  ContextOwner context;
  std::chrono::nanoseconds duplicateWindow{0};  ///< of the stream, if one is named
  std::string ownId;                            ///< begins the identifiers that the publisher makes

  mutable std::mutex mutex;
  std::mutex sending;  ///< the client is given messages, or asked for them, by one thread at a time
  std::mutex telling;  ///< one call of `settled` at a time
  bool ended = false;  ///< the publisher is gone: nobody is told. With `telling`
  // Each waiter has a condition of its own: waking a thread costs more than all else about a message.
  std::condition_variable roomy;  ///< for publish(): a good part of the window is free
  std::condition_variable empty;  ///< for flush(): nothing is on its way
  std::condition_variable late;   ///< for the repeater: there is more to repeat, or it ends
  std::unordered_map<const natsMsg*, Flight> flights;
  std::size_t bytesOnTheWay = 0;
  Clock::time_point heard{};     ///< when a message was last stored
  Clock::time_point answered{};  ///< when the youngest of those was sent
  std::deque<Repeat> repeats;    ///< in the order of their times, for all wait equally long
  /// Whether each message from `upTo` on is settled.
  std::deque<bool> done;
  std::uint64_t upTo = 0;
  PublisherCounts counts;
  std::string firstFailure;
  bool ending = false;
  std::thread repeater;
  // The repeater's own.
  std::map<std::string, Clock::time_point> forNobody;  ///< subjects that no stream took at that time
  Clock::time_point askAgain{};                        ///< the servers, for streams
};

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

/// Twice, some time apart: servers that have just begun may not know their streams yet. While they do not
/// answer they are not asked.
bool Publisher::State::isForNobody(const std::string& subject)
{
  constexpr auto apart = std::chrono::seconds(1);
  constexpr auto rest = std::chrono::seconds(5);
  const auto known = forNobody.find(subject);
  const Clock::time_point now = Clock::now();
  if (known != forNobody.end() && now - known->second < apart) {
    return false;
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
  return !forNobody.emplace(subject, now).second;
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
Clock::time_point Publisher::State::silentAt() const
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

namespace {

void onAcknowledged(jsCtx*, natsMsg* message, jsPubAck* ack, jsPubAckErr* error, void* closure)
{
  try {
    if (const auto state = CallbackKey<Publisher::State>::find(closure)) {
      state->acknowledged(message, ack, error);
    } else {
      natsMsg_Destroy(message);
    }
  } catch (...) {  // no memory: nothing may leave through the client; the message is never settled
  }
}

}  // namespace

Publisher::Publisher(Connection& connection, PublisherOptions options,
                     std::function<void(const Settled&)> settled)
    : state_(std::make_shared<State>(connection, std::move(options), std::move(settled)))
{
  constexpr const char* function = "Publisher::Publisher";
  State& state = *state_;
  checkPrefix(state.options.prefix);
  if (!state.options.stream.empty()) {
    checkName("a stream", state.options.stream);
  }
  constexpr auto day = std::chrono::hours(24);
  if (state.options.window == 0 || state.options.ackWait.count() <= 0 || state.options.ackWait > day ||
      state.options.giveUpAfter.count() < 0 || state.options.giveUpAfter > day) {
    throw Error(function,
                "a publisher needs a window of at least one message, and times above 0, of a day at most");
  }
  state.ownId = uniqueText();
  if (!state.options.stream.empty()) {
    jsStreamInfo* info = nullptr;
    jsErrCode code{};
    const natsStatus status = persistently(state.connection, code, [&] {
      return js_GetStreamInfo(&info, state.connection.context.get(), state.options.stream.c_str(), nullptr,
                              &code);
    });
    const StreamInfoOwner owner(status == NATS_OK ? info : nullptr);
    check(status, function, "cannot send to stream " + state.options.stream);
    state.duplicateWindow = std::chrono::nanoseconds(info->Config->Duplicates);
    if (state.duplicateWindow < state.options.giveUpAfter + state.options.ackWait) {
      throw Error(function,
                  "stream " + state.options.stream + " knows identifiers for " +
                      std::to_string(std::chrono::ceil<std::chrono::seconds>(state.duplicateWindow).count()) +
                      " s, which is less than the time for sending; repeats could be stored twice");
    }
  }
  jsOptions how;
  check(jsOptions_Init(&how), function, "cannot begin to publish");
  how.Wait = state.connection.settings.timeout.count();
  how.PublishAsync.AckHandler = onAcknowledged;
  how.PublishAsync.AckHandlerClosure = state.key.lead(state_);
  jsCtx* context = nullptr;
  check(natsConnection_JetStream(&context, state.connection.connection.get(), &how), function,
        "cannot begin to publish");
  state.context.reset(context);
  state.repeater = std::thread([&state] { state.repeatLate(); });
}

Publisher::~Publisher()
{
  {
    const std::lock_guard lock(state_->mutex);
    state_->ending = true;
  }
  state_->late.notify_all();
  state_->repeater.join();
  // A callback that has begun ends before; none begins behind this.
  const std::lock_guard order(state_->telling);
  state_->ended = true;
}

Outcome Publisher::publish(const YMMessageBase& message, std::string_view id, std::uint64_t* number)
{
  return publish(pack(message, state_->options.prefix, state_->options.form), id, number);
}

Outcome Publisher::publish(const Packed& packed, std::string_view id, std::uint64_t* number)
{
  constexpr const char* function = "Publisher::publish";
  State& state = *state_;
  if (std::any_of(id.begin(), id.end(),
                  [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == '\x7F'; })) {
    throw Error(function, "the identifier " + shown(id) + " has blanks or control characters");
  }
  std::size_t bytes = packed.size(id.empty() ? std::string_view(longestOwnId) : id);
  if (!state.options.stream.empty()) {
    bytes += std::string_view("Nats-Expected-Stream: \r\n").size() + state.options.stream.size();
  }
  const auto most = static_cast<std::size_t>(
      std::max<std::int64_t>(natsConnection_GetMaxPayload(state.connection.connection.get()), 0));
  if (most > 0 && bytes > most) {
    throw Error(function, packed.subject + ": the message has " + std::to_string(bytes) +
                              " bytes with its headers, and the server takes " + std::to_string(most));
  }
  natsMsg* made = nullptr;
  check(natsMsg_Create(&made, packed.subject.c_str(), nullptr, packed.body.data(),
                       static_cast<int>(packed.body.size())),
        function, packed.subject);
  MessageOwner message(made);
  for (const auto& [name, value] : packed.headers) {
    check(natsMsgHeader_Set(made, name, value.c_str()), function, packed.subject);
  }
  {
    std::unique_lock lock(state.mutex, std::defer_lock);
    while (true) {
      // Without the lock, for the client may be writing. Nobody tells that the connection has ended.
      if (natsConnection_IsClosed(state.connection.connection.get())) {
        throw Error(function, "the connection has ended: " + endOf(state.connection));
      }
      lock.lock();
      constexpr auto look = std::chrono::milliseconds(200);
      if (!state.isFull(bytes) ||
          (state.options.waits && state.roomy.wait_for(lock, look, [&] { return !state.isFull(bytes); }))) {
        break;
      }
      lock.unlock();
      if (!state.options.waits) {
        return Outcome::Full;
      }
    }
    const std::uint64_t mine = ++state.counts.taken;
    const std::string unique = id.empty() ? state.ownId + "." + std::to_string(mine) : std::string(id);
    try {
      check(natsMsgHeader_Set(made, idHeader, unique.c_str()), function, packed.subject);
      const Clock::time_point now = Clock::now();
      state.done.push_back(false);
      try {
        state.flights.emplace(made, State::Flight{mine, bytes, now + state.options.giveUpAfter, now});
      } catch (...) {
        state.done.pop_back();
        throw;
      }
    } catch (...) {
      --state.counts.taken;
      throw;
    }
    state.bytesOnTheWay += bytes;
    if (number != nullptr) {
      *number = mine;
    }
  }
  state.send(message.release());
  return Outcome::Taken;
}

bool Publisher::flush(std::chrono::milliseconds wait)
{
  {
    std::unique_lock lock(state_->mutex);
    if (!state_->empty.wait_for(lock, wait, [&] { return state_->flights.empty(); })) {
      return false;
    }
  }
  const std::lock_guard order(state_->telling);  // whoever tells the caller of the last one has done so
  return true;
}

std::uint64_t Publisher::settledUpTo() const
{
  const std::lock_guard lock(state_->mutex);
  return state_->upTo;
}

std::chrono::nanoseconds Publisher::duplicateWindow() const
{
  return state_->duplicateWindow;
}

PublisherCounts Publisher::counts() const
{
  const std::lock_guard lock(state_->mutex);
  return state_->counts;
}

std::string Publisher::firstFailure() const
{
  const std::lock_guard lock(state_->mutex);
  return state_->firstFailure;
}

}  // namespace kwxml::nats
