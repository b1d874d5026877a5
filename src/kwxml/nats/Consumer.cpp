#include <kwxml/nats/Consumer.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/nats/NatsInternal.h>
#include <kwxml/text/ShownText.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <thread>

namespace kwxml::nats {

// ---- Delivery

struct Delivery::Native
{
  MessageOwner message;
};

Delivery::Delivery(std::unique_ptr<Native> native) : native_(std::move(native)) {}
Delivery::Delivery(Delivery&& other) noexcept = default;
Delivery& Delivery::operator=(Delivery&& other) noexcept = default;
Delivery::~Delivery() = default;

std::span<const std::byte> Delivery::body() const
{
  const natsMsg* const message = native_->message.get();
  return {reinterpret_cast<const std::byte*>(natsMsg_GetData(message)),
          static_cast<std::size_t>(natsMsg_GetDataLength(message))};
}

std::string Delivery::subject() const
{
  return natsMsg_GetSubject(native_->message.get());
}

std::string Delivery::header(const char* name) const
{
  const char* const value = nats::header(native_->message.get(), name);
  return value != nullptr ? value : "";
}

// ---- Consumer

struct Consumer::State
{
  State(Connection& on, ConsumerOptions with) : connection(on.state()), options(std::move(with)) {}

  void join();
  bool isMade(natsStatus status, jsErrCode code, const jsConsumerInfo* info, const std::string& filter) const;
  bool bury(natsMsg* message, std::uint64_t sequence, std::string why);
  jsConsumerInfo* info();

  Connection::State& connection;
  ConsumerOptions options;
  SubscriptionOwner subscription;
  ConsumerCounts counts;
};

namespace {

/// The servers do not hand out more unacknowledged messages than that.
constexpr std::int64_t mostPending = 20000;
/// Of a reason in a header.
constexpr std::size_t longestReason = 1000;

}  // namespace

/// Whether a consumer of the name is there. Throws when it is another one.
bool Consumer::State::isMade(natsStatus status, jsErrCode code, const jsConsumerInfo* info,
                             const std::string& filter) const
{
  constexpr const char* function = "Consumer::Consumer";
  const std::string what = "cannot receive from stream " + options.stream + " as " + options.durable;
  if (status == NATS_NOT_FOUND && code != JSStreamNotFoundErr) {
    return false;
  }
  check(status, function, what);
  const jsConsumerConfig& config = *info->Config;
  if (config.AckPolicy != js_AckExplicit ||
      (config.DeliverSubject != nullptr && *config.DeliverSubject != '\0')) {
    throw Error(function,
                what + ": there is a consumer of that name, but none with pulls and acknowledgements");
  }
  if (config.FilterSubject == nullptr || filter != config.FilterSubject) {
    throw Error(function, what + ": the consumer of that name receives " +
                              shown(config.FilterSubject != nullptr ? config.FilterSubject : "everything") +
                              ", not " + filter);
  }
  if (config.AckWait != std::chrono::nanoseconds(options.ackWait).count()) {
    throw Error(function, what + ": the consumer of that name has another time for acknowledging, " +
                              std::to_string(config.AckWait / 1000000) + " ms");
  }
  return true;
}

void Consumer::State::join()
{
  constexpr const char* function = "Consumer::Consumer";
  const std::string what = "cannot receive from stream " + options.stream + " as " + options.durable;
  jsCtx* const context = connection.context.get();
  const std::string filter = subjectFilter(options.prefix, options.system, options.cls);
  jsErrCode code{};
  jsConsumerInfo* info = nullptr;
  const auto look = [&] {
    return js_GetConsumerInfo(&info, context, options.stream.c_str(), options.durable.c_str(), nullptr,
                              &code);
  };
  natsStatus status = persistently(connection, code, look);
  const ConsumerInfoOwner known(status == NATS_OK ? info : nullptr);
  if (!isMade(status, code, info, filter)) {
    jsConsumerConfig config;
    check(jsConsumerConfig_Init(&config), function, what);
    config.Durable = options.durable.c_str();
    config.AckPolicy = js_AckExplicit;
    config.AckWait = std::chrono::nanoseconds(options.ackWait).count();
    config.FilterSubject = filter.c_str();
    config.MaxAckPending = mostPending;
    // The servers would leave a message in the stream without a word; here its deliveries are counted, and it
    // is sent to the dead letters.
    config.MaxDeliver = -1;
    info = nullptr;
    // Of several that make it at a time one may get no answer; then it is there.
    status = persistently(connection, code, [&] {
      const natsStatus made = js_AddConsumer(&info, context, options.stream.c_str(), &config, nullptr, &code);
      return made == NATS_TIMEOUT ? look() : made;
    });
    const ConsumerInfoOwner made(status == NATS_OK ? info : nullptr);
    check(status, function, what);
  }
  jsSubOptions how;
  check(jsSubOptions_Init(&how), function, what);
  how.Stream = options.stream.c_str();
  how.Consumer = options.durable.c_str();
  natsSubscription* subscribed = nullptr;
  check(persistently(connection, code,
                     [&] {
                       return js_PullSubscribe(&subscribed, context, filter.c_str(), options.durable.c_str(),
                                               nullptr, &how, &code);
                     }),
        function, what);
  subscription.reset(subscribed);
}

Consumer::Consumer(Connection& connection, ConsumerOptions options)
    : state_(std::make_unique<State>(connection, std::move(options)))
{
  constexpr const char* function = "Consumer::Consumer";
  State& state = *state_;
  checkName("a stream", state.options.stream);
  checkName("a durable consumer", state.options.durable);
  checkPrefix(state.options.prefix);
  if (!state.options.system.empty()) {
    checkName("a system", state.options.system);
  }
  if (!state.options.cls.empty()) {
    checkName("a class", state.options.cls);
  }
  if (state.options.maxDeliveries < 1 || state.options.ackWait.count() < 1) {
    throw Error(function, "a consumer needs at least one delivery, and a time for acknowledging");
  }
  if (state.options.catalogue == nullptr) {
    state.options.catalogue = &Registry::current();
  }
  state.join();
  // Found out now, and not with the first message that cannot be used.
  const std::string dead = deadSubject(state.options.prefix);
  jsOptions asked;
  check(jsOptions_Init(&asked), function, "cannot look for " + dead);
  asked.Stream.Info.SubjectsFilter = dead.c_str();
  jsStreamNamesList* names = nullptr;
  jsErrCode code{};
  const natsStatus status = persistently(state.connection, code, [&] {
    return js_StreamNames(&names, state.connection.context.get(), &asked, &code);
  });
  const std::unique_ptr<jsStreamNamesList, Destroyer<jsStreamNamesList_Destroy>> owner(names);
  if (status != NATS_NOT_FOUND) {
    check(status, function, "cannot look for " + dead);
  }
  if (names == nullptr || names->Count == 0) {
    throw Error(function, "no stream keeps the dead letters, subject " + dead);
  }
}

Consumer::~Consumer() = default;

jsConsumerInfo* Consumer::State::info()
{
  jsConsumerInfo* info = nullptr;
  jsErrCode code{};
  const natsStatus status = persistently(connection, code, [&] {
    return js_GetConsumerInfo(&info, connection.context.get(), options.stream.c_str(),
                              options.durable.c_str(), nullptr, &code);
  });
  return status == NATS_OK ? info : nullptr;
}

bool Consumer::State::bury(natsMsg* message, std::uint64_t sequence, std::string why)
{
  if (why.size() > longestReason) {
    why.resize(longestReason);
  }
  const std::string subject = natsMsg_GetSubject(message);
  log().logError("Consumer", "message %llu of stream %s (%s) goes to the dead letters: %s",
                 static_cast<unsigned long long>(sequence), options.stream.c_str(), subject.c_str(),
                 why.c_str());
  natsMsg* made = nullptr;
  const std::string to = deadSubject(options.prefix);
  if (natsMsg_Create(&made, to.c_str(), nullptr, natsMsg_GetData(message), natsMsg_GetDataLength(message)) !=
      NATS_OK) {
    return false;
  }
  const MessageOwner dead(made);
  natsStatus status = NATS_OK;
  const auto set = [&](const char* name, const char* value) {
    if (status == NATS_OK && value != nullptr) {
      status = natsMsgHeader_Set(made, name, value);
    }
  };
  for (const char* name : {tagHeader, classHeader, fingerprintHeader, versionHeader, formHeader}) {
    set(name, header(message, name));
  }
  const std::string number = std::to_string(sequence);
  // Of several receivers that give a message up, one stores it.
  const std::string id = "dead." + options.stream + "." + options.durable + "." + number;
  set(idHeader, id.c_str());
  set(reasonHeader, why.c_str());
  set(streamHeader, options.stream.c_str());
  set(sequenceHeader, number.c_str());
  set(durableHeader, options.durable.c_str());
  set(subjectHeader, subject.c_str());
  jsErrCode code{};
  std::uint64_t place = 0;
  if (status == NATS_OK) {
    status = publishNow(connection, made, std::nullopt, code, place);
  }
  if (status == NATS_OK) {
    status = natsMsg_AckSync(message, nullptr, &code);
    ++counts.dead;
  }
  if (status != NATS_OK) {
    log().logError("Consumer", "message %s of stream %s stays there: %s", number.c_str(),
                   options.stream.c_str(), reason(status).c_str());
  }
  return status == NATS_OK;
}

std::vector<Delivery> Consumer::fetch(std::size_t most, std::chrono::milliseconds wait)
{
  constexpr const char* function = "Consumer::fetch";
  State& state = *state_;
  std::vector<Delivery> deliveries;
  natsMsgList list{};
  jsErrCode code{};
  const auto asked = std::chrono::steady_clock::now();
  const natsStatus status =
      natsSubscription_Fetch(&list, state.subscription.get(),
                             static_cast<int>(std::min<std::size_t>(most, mostPending)), wait.count(), &code);
  if (status != NATS_OK) {
    if (natsConnection_IsClosed(state.connection.connection.get())) {
      const std::lock_guard lock(state.connection.mutex);
      throw Error(function, "the connection has ended: " + state.connection.ended);
    }
    if (status != NATS_TIMEOUT && status != NATS_NO_RESPONDERS && status != NATS_CONNECTION_DISCONNECTED) {
      check(status, function,
            "cannot receive from stream " + state.options.stream + " as " + state.options.durable);
    }
    if (status != NATS_TIMEOUT) {  // nobody is there to wait for
      std::this_thread::sleep_until(asked + wait);
    }
    return deliveries;
  }
  const std::unique_ptr<natsMsgList, Destroyer<natsMsgList_Destroy>> owner(&list);
  deliveries.reserve(static_cast<std::size_t>(list.Count));
  for (int i = 0; i < list.Count; ++i) {
    natsMsg* const message = list.Msgs[i];
    jsMsgMetaData* meta = nullptr;
    check(natsMsg_GetMetaData(&meta, message), function, "a message without its place in the stream");
    const std::unique_ptr<jsMsgMetaData, Destroyer<jsMsgMetaData_Destroy>> metaOwner(meta);
    if (meta->NumDelivered > static_cast<std::uint64_t>(state.options.maxDeliveries)) {
      static_cast<void>(state.bury(
          message, meta->Sequence.Stream,
          "it was delivered " + std::to_string(meta->NumDelivered - 1) + " times and never acknowledged"));
      continue;
    }
    Unpacked unpacked = unpack(
        natsMsg_GetSubject(message), state.options.prefix,
        {reinterpret_cast<const std::byte*>(natsMsg_GetData(message)),
         static_cast<std::size_t>(natsMsg_GetDataLength(message))},
        [&](const char* name) { return header(message, name); }, *state.options.catalogue,
        state.options.context);
    if (unpacked.message == nullptr) {
      static_cast<void>(state.bury(message, meta->Sequence.Stream, unpacked.why));
      continue;
    }
    auto native = std::make_unique<Delivery::Native>();
    native->message.reset(message);
    list.Msgs[i] = nullptr;
    Delivery delivery(std::move(native));
    delivery.message = std::move(unpacked.message);
    delivery.problems = std::move(unpacked.problems);
    delivery.sequence = meta->Sequence.Stream;
    delivery.deliveries = meta->NumDelivered;
    delivery.asked = asked;
    ++state.counts.delivered;
    state.counts.redelivered += meta->NumDelivered > 1 ? 1 : 0;
    deliveries.push_back(std::move(delivery));
  }
  return deliveries;
}

/// The servers take acknowledgements in their order: the answer to the last one is an answer to all.
bool Consumer::confirm(const Delivery& delivery)
{
  jsErrCode code{};
  return natsMsg_AckSync(delivery.native_->message.get(), nullptr, &code) == NATS_OK;
}

bool Consumer::acknowledge(std::span<const Delivery> deliveries)
{
  if (deliveries.empty()) {
    return true;
  }
  for (const Delivery& delivery : deliveries.first(deliveries.size() - 1)) {
    if (natsMsg_Ack(delivery.native_->message.get(), nullptr) != NATS_OK) {
      return false;
    }
  }
  if (!confirm(deliveries.back())) {
    return false;
  }
  state_->counts.acknowledged += deliveries.size();
  return true;
}

bool Consumer::bury(const Delivery& delivery, std::string_view why)
{
  return state_->bury(delivery.native_->message.get(), delivery.sequence, shown(why));
}

void Consumer::giveBack(std::span<const Delivery> deliveries)
{
  for (const Delivery& delivery : deliveries) {
    static_cast<void>(natsMsg_Nak(delivery.native_->message.get(), nullptr));
  }
}

std::size_t Consumer::process(std::size_t most, std::chrono::milliseconds wait,
                              const std::function<void(const Delivery&)>& handler)
{
  const std::vector<Delivery> deliveries = fetch(most, wait);
  for (const Delivery& delivery : deliveries) {
    std::string why;
    try {
      handler(delivery);
    } catch (const std::exception& error) {
      why = error.what();
    } catch (...) {
      why = "an exception of another kind";
    }
    if (!why.empty()) {
      log().logError("Consumer", "message %llu of stream %s will be delivered again: %s",
                     static_cast<unsigned long long>(delivery.sequence), state_->options.stream.c_str(),
                     shown(why).c_str());
    } else if (&delivery == &deliveries.back()
                   ? confirm(delivery)
                   : natsMsg_Ack(delivery.native_->message.get(), nullptr) == NATS_OK) {
      ++state_->counts.acknowledged;
    } else {
      log().logError("Consumer",
                     "message %llu of stream %s may be delivered again: nobody confirmed that it is done",
                     static_cast<unsigned long long>(delivery.sequence), state_->options.stream.c_str());
    }
  }
  return deliveries.size();
}

std::optional<Consumer::Left> Consumer::left()
{
  const ConsumerInfoOwner info(state_->info());
  if (info == nullptr) {
    return std::nullopt;
  }
  return Left{info->NumPending, static_cast<std::uint64_t>(std::max<std::int64_t>(info->NumAckPending, 0))};
}

std::uint64_t Consumer::acknowledgedUpTo()
{
  const ConsumerInfoOwner info(state_->info());
  if (info == nullptr) {
    throw Error("Consumer::acknowledgedUpTo", "cannot ask for the consumer " + state_->options.durable +
                                                  " of stream " + state_->options.stream);
  }
  return info->AckFloor.Stream;
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

const ConsumerCounts& Consumer::counts() const
{
  return state_->counts;
}

const ConsumerOptions& Consumer::options() const
{
  return state_->options;
}

}  // namespace kwxml::nats
