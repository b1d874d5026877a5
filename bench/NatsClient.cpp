#include "NatsCost.h"

#include <kwxml/nats/NatsInternal.h>
#include <kwxml/nats/Wire.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>

namespace kwxml::bench {

namespace {

constexpr std::int64_t patienceMilliseconds = std::chrono::milliseconds(patience).count();

void must(natsStatus status, const char* what)
{
  if (status != NATS_OK) {
    throw std::runtime_error(std::string(what) + ": " + natsStatus_GetText(status));
  }
}

/// A connection that nothing of the library uses.
struct Client
{
  explicit Client(const Ground& ground, jsOptions* options = nullptr)
  {
    natsConnection* connected = nullptr;
    must(natsConnection_ConnectTo(&connected, ground.server.settings().servers.front().c_str()),
         "connecting");
    connection.reset(connected);
    jsCtx* made = nullptr;
    must(natsConnection_JetStream(&made, connected, options), "a context");
    context.reset(made);
  }
  nats::ConnectionOwner connection;
  nats::ContextOwner context;
};

void onRefused(jsCtx*, jsPubAckErr*, void* count)
{
  ++*static_cast<std::atomic<int>*>(count);
}

}  // namespace

void removeStream(Ground& ground, const std::string& stream)
{
  must(js_DeleteStream(ground.connection.state().context.get(), stream.c_str(), nullptr, nullptr),
       "removing a stream");
}

void makeAnew(Ground& ground, const std::string& stream, const std::string& prefix)
{
  if (!ground.connection.makeStream({.name = stream, .prefix = prefix})) {
    removeStream(ground, stream);
    ground.connection.makeStream({.name = stream, .prefix = prefix});
  }
}

std::size_t messagesIn(Ground& ground, const std::string& stream)
{
  jsStreamInfo* info = nullptr;
  must(js_GetStreamInfo(&info, ground.connection.state().context.get(), stream.c_str(), nullptr, nullptr),
       "asking for a stream");
  const nats::StreamInfoOwner owner(info);
  return info->State.Msgs;
}

Cost sendByClient(Ground& ground, const std::string& stream, const Load& load)
{
  const nats::Packed packed = nats::pack(load.message, "kwxml", nats::Form::Binary);
  natsInbox* inbox = nullptr;
  must(natsInbox_Create(&inbox), "an identifier");
  const std::string inboxText = inbox;
  natsInbox_Destroy(inbox);
  const std::string id = inboxText.substr(inboxText.rfind('.') + 1) + ".";
  jsOptions how;
  must(jsOptions_Init(&how), "options");
  std::atomic<int> refused{0};
  how.PublishAsync.MaxPending = window;
  how.PublishAsync.StallWait = patienceMilliseconds;
  how.PublishAsync.ErrHandler = onRefused;
  how.PublishAsync.ErrHandlerClosure = &refused;
  const Client client(ground, &how);
  jsPubOptions each;
  must(jsPubOptions_Init(&each), "options");
  each.ExpectStream = stream.c_str();
  jsPubOptions all;
  must(jsPubOptions_Init(&all), "options");
  all.MaxWait = patienceMilliseconds;

  const Meter meter(ground.server);
  for (std::size_t i = 1; i <= load.sent; ++i) {
    natsMsg* message = nullptr;
    must(natsMsg_Create(&message, packed.subject.c_str(), nullptr, packed.body.data(),
                        static_cast<int>(packed.body.size())),
         "a message");
    for (const auto& [name, value] : packed.headers) {
      must(natsMsgHeader_Set(message, name, value.c_str()), "a header");
    }
    must(natsMsgHeader_Set(message, nats::idHeader, (id + std::to_string(i)).c_str()), "a header");
    must(js_PublishMsgAsync(client.context.get(), &message, &each), "sending");
  }
  must(js_PublishAsyncComplete(client.context.get(), &all), "waiting for acknowledgements");
  const Cost cost = meter.perMessage(load.sent);
  if (refused != 0 || messagesIn(ground, stream) != load.sent) {
    throw std::runtime_error("the client alone has not sent all messages");
  }
  return cost;
}

Cost receiveByClient(Ground& ground, const std::string& stream, const std::string& durable, const Load& load,
                     const std::function<void(std::span<const std::byte>)>& take)
{
  const Client client(ground);
  jsSubOptions how;
  must(jsSubOptions_Init(&how), "options");
  how.Stream = stream.c_str();
  how.Consumer = durable.c_str();
  natsSubscription* subscribed = nullptr;
  must(js_PullSubscribe(&subscribed, client.context.get(), "kwxml.*.*", durable.c_str(), nullptr, &how,
                        nullptr),
       "subscribing");
  const nats::SubscriptionOwner subscription(subscribed);

  const Meter meter(ground.server);
  for (std::size_t got = 0; got < load.sent;) {
    natsMsgList list{};
    must(natsSubscription_Fetch(&list, subscribed, static_cast<int>(std::min(batch, load.sent - got)),
                                patienceMilliseconds, nullptr),
         "receiving");
    const std::unique_ptr<natsMsgList, nats::Destroyer<natsMsgList_Destroy>> owner(&list);
    for (int i = 0; i < list.Count; ++i) {
      take({reinterpret_cast<const std::byte*>(natsMsg_GetData(list.Msgs[i])),
            static_cast<std::size_t>(natsMsg_GetDataLength(list.Msgs[i]))});
    }
    for (int i = 0; i + 1 < list.Count; ++i) {
      must(natsMsg_Ack(list.Msgs[i], nullptr), "acknowledging");
    }
    must(natsMsg_AckSync(list.Msgs[list.Count - 1], nullptr, nullptr), "acknowledging");
    got += static_cast<std::size_t>(list.Count);
  }
  return meter.perMessage(load.sent);
}

}  // namespace kwxml::bench
