#include <kwxml/nats/DeadLetters.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/nats/NatsInternal.h>
#include <kwxml/nats/Wire.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace kwxml::nats {

namespace {

/// Of a reason in a header.
constexpr std::size_t longestReason = 1000;

/// Cut between two characters.
std::string cut(std::string text)
{
  if (text.size() > longestReason) {
    std::size_t end = longestReason;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
      --end;
    }
    text.resize(end);
  }
  return text;
}

/// The headers of the sender; those of the servers concern the message where it was, and these two would make
/// a letter without a body a word of theirs.
natsStatus copyHeaders(natsMsg* from, natsMsg* to)
{
  const char** names = nullptr;
  int count = 0;
  natsStatus status = natsMsgHeader_Keys(from, &names, &count);
  for (int i = 0; status == NATS_OK && i < count; ++i) {
    if (const char* const value = header(from, names[i]);
        value != nullptr && !std::string_view(names[i]).starts_with("Nats-") &&
        std::string_view(names[i]) != "Status" && std::string_view(names[i]) != "Description") {
      status = natsMsgHeader_Set(to, names[i], value);
    }
  }
  std::free(names);
  return status == NATS_NOT_FOUND ? NATS_OK : status;
}

}  // namespace

natsStatus storeDeadLetter(Connection::State& connection, natsMsg* message, const DeadLetterOrigin& origin,
                           const std::string& prefix, const std::string& why)
{
  const std::string to = deadSubject(prefix);
  const std::string subject = natsMsg_GetSubject(message);
  const std::string number = std::to_string(origin.sequence);
  jsErrCode code{};
  // What has no room beside the reason is left where it is, and the letter says so.
  natsStatus status = NATS_OK;
  for (const bool withBody : {true, false}) {
    natsMsg* made = nullptr;
    const int length = withBody ? natsMsg_GetDataLength(message) : 0;
    status = natsMsg_Create(&made, to.c_str(), nullptr, natsMsg_GetData(message), length);
    if (status != NATS_OK) {
      return status;
    }
    const MessageOwner dead(made);
    status = copyHeaders(message, made);
    const std::string text =
        cut(why) + (withBody ? ""
                             : " (the body has no room beside this: " +
                                   std::to_string(natsMsg_GetDataLength(message)) + " bytes)");
    // Of several receivers that give a message up, one stores it.
    const std::string id = "dead." + origin.identifier;
    const std::pair<const char*, const char*> headers[] = {
        {idHeader, id.c_str()},
        {reasonHeader, text.c_str()},
        {streamHeader, origin.stream.c_str()},
        {sequenceHeader, number.c_str()},
        {durableHeader, origin.durable.c_str()},
        {subjectHeader, subject.c_str()},
    };
    for (const auto& [name, value] : headers) {
      status = status == NATS_OK ? natsMsgHeader_Set(made, name, value) : status;
    }
    std::uint64_t place = 0;
    if (status == NATS_OK) {
      status = publishNow(connection, made, std::nullopt, code, place);
    }
    if (status != NATS_MAX_PAYLOAD && code != JSStreamMessageExceedsMaximumErr) {
      break;
    }
  }
  return status;
}

std::vector<DeadLetter> deadLetters(Connection& connection, const std::string& stream,
                                    std::string_view prefix, std::uint64_t from, std::size_t most)
{
  constexpr const char* function = "deadLetters";
  checkName("a stream", stream);
  checkPrefix(prefix);
  const std::string what = "cannot read the dead letters in stream " + stream;
  const std::string subject = deadSubject(prefix);
  Connection::State& state = connection.state();
  jsErrCode code{};
  natsMsg* got = nullptr;
  natsStatus status =
      js_GetLastMsg(&got, state.context.get(), stream.c_str(), subject.c_str(), nullptr, &code);
  std::vector<DeadLetter> letters;
  if (status == NATS_NOT_FOUND && code != JSStreamNotFoundErr) {
    return letters;
  }
  check(status, function, what);
  const std::uint64_t last = natsMsg_GetSequence(got);
  natsMsg_Destroy(got);
  jsSubOptions how;
  check(jsSubOptions_Init(&how), function, what);
  how.Stream = stream.c_str();
  how.Ordered = true;
  how.Config.DeliverPolicy = js_DeliverByStartSequence;
  how.Config.OptStartSeq = std::max<std::uint64_t>(from, 1);
  natsSubscription* subscribed = nullptr;
  if (from <= last) {
    check(js_SubscribeSync(&subscribed, state.context.get(), subject.c_str(), nullptr, &how, &code), function,
          what);
  }
  const SubscriptionOwner owner(subscribed);
  for (std::uint64_t place = from == 0 ? 0 : from - 1; place < last && letters.size() < most;) {
    check(natsSubscription_NextMsg(&got, subscribed, state.settings.timeout.count()), function, what);
    const MessageOwner message(got);
    jsMsgMetaData* meta = nullptr;
    check(natsMsg_GetMetaData(&meta, got), function, what);
    place = meta->Sequence.Stream;
    jsMsgMetaData_Destroy(meta);
    const auto text = [&](const char* name) {
      const char* const value = header(got, name);
      return std::string(value != nullptr ? value : "");
    };
    const auto* const body = reinterpret_cast<const std::byte*>(natsMsg_GetData(got));
    letters.push_back({.place = place,
                       .why = text(reasonHeader),
                       .stream = text(streamHeader),
                       .sequence = std::strtoull(text(sequenceHeader).c_str(), nullptr, 10),
                       .durable = text(durableHeader),
                       .subject = text(subjectHeader),
                       .body = {body, body + natsMsg_GetDataLength(got)}});
  }
  return letters;
}

}  // namespace kwxml::nats
