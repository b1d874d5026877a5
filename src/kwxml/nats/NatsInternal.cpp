#include <kwxml/nats/NatsInternal.h>

#include <string_view>

namespace kwxml::nats {

std::string reason(natsStatus status)
{
  const std::string meaning = natsStatus_GetText(status);
  natsStatus last = NATS_OK;
  const char* const said = nats_GetLastError(&last);
  std::string_view words = last == status && said != nullptr ? said : "";
  // "(file:line): " of the client's sources.
  if (const std::size_t end = words.find("): "); words.starts_with('(') && end != std::string_view::npos) {
    words.remove_prefix(end + 3);
  }
  return words.empty() || words == meaning ? meaning : meaning + " (" + std::string(words) + ")";
}

void check(natsStatus status, const char* function, const std::string& what)
{
  if (status != NATS_OK) {
    throw Error(function, what + ": " + reason(status));
  }
}

std::string uniqueText()
{
  natsInbox* inbox = nullptr;
  check(natsInbox_Create(&inbox), "uniqueText", "cannot make an identifier");
  const std::unique_ptr<natsInbox, Destroyer<natsInbox_Destroy>> owner(inbox);
  const std::string text = inbox;  // "_INBOX.", and what differs
  return text.substr(text.rfind('.') + 1);
}

bool isPassing(natsStatus status, jsErrCode code)
{
  if (code == 0 ||
      status == NATS_NO_RESPONDERS) {  // the client says of the latter that there is no JetStream
    return status == NATS_TIMEOUT || status == NATS_NO_RESPONDERS || status == NATS_CONNECTION_DISCONNECTED ||
           status == NATS_INSUFFICIENT_BUFFER || status == NATS_STALE_CONNECTION || status == NATS_IO_ERROR ||
           status == NATS_NO_MEMORY;
  }
  switch (code) {
    case JSClusterNotAvailErr:
    case JSClusterNotLeaderErr:
    case JSClusterNoPeersErr:
    case JSInsufficientResourcesErr:
    case JSStreamOfflineErr:
      return true;
    default:
      return false;
  }
}

const char* header(const natsMsg* message, const char* name)
{
  const char* value = nullptr;
  // The client reads headers when they are first asked for, and keeps them in the message.
  return natsMsgHeader_Get(const_cast<natsMsg*>(message), name, &value) == NATS_OK ? value : nullptr;
}

std::string endOf(Connection::State& state)
{
  {
    const std::lock_guard lock(state.mutex);
    if (!state.ended.empty()) {
      return state.ended;
    }
  }
  // The client's thread has not told yet.
  const char* words = nullptr;
  const natsStatus status = natsConnection_GetLastError(state.connection.get(), &words);
  return words != nullptr && *words != '\0' ? words : natsStatus_GetText(status);
}

natsStatus publishNow(Connection::State& state, natsMsg* message, std::optional<std::uint64_t> expected,
                      jsErrCode& code, std::uint64_t& sequence)
{
  code = static_cast<jsErrCode>(0);
  if (expected.has_value()) {  // the client's own option takes 0 for none
    const natsStatus status =
        natsMsgHeader_Set(message, "Nats-Expected-Last-Subject-Sequence", std::to_string(*expected).c_str());
    if (status != NATS_OK) {
      return status;
    }
  }
  jsPubAck* ack = nullptr;
  const natsStatus status = js_PublishMsg(&ack, state.context.get(), message, nullptr, &code);
  const AckOwner owner(ack);
  if (status != NATS_OK) {
    return status;
  }
  sequence = ack->Sequence;
  return sequence != 0 ? NATS_OK : NATS_TIMEOUT;  // without a place it is not stored, repeat or not
}

}  // namespace kwxml::nats
