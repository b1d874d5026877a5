#include <kwxml/nats/Consumer.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/nats/NatsInternal.h>
#include <kwxml/nats/Pull.h>
#include <kwxml/text/ShownText.h>

#include <algorithm>
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
  using Clock = std::chrono::steady_clock;

  State(Connection& on, ConsumerOptions with)
      : connection(on.state()), options(std::move(with)), pull(connection, options.stream, options.durable)
  {
  }

  void join();
  bool isMade(natsStatus status, jsErrCode code, const jsConsumerInfo* info, const std::string& filter) const;
  void requireWholeLetters(const char* stream);
  std::string identifier(std::uint64_t sequence) const;
  bool bury(natsMsg* message, std::uint64_t sequence, const std::string& why);
  jsConsumerInfo* info();
  void requireMore();
  std::optional<Delivery> deliver(MessageOwner message, Clock::time_point asked);
  /// Hands what comes to `take`, each as soon as it is there. How many came.
  template <class Take>
  std::size_t each(std::size_t most, std::chrono::milliseconds wait, Take take);
  /// Acknowledges it. Whether the servers have that and what was said before, since `reconnections` was the
  /// number.
  bool isConfirmed(const Delivery& delivery, std::uint64_t reconnections);

  Connection::State& connection;
  ConsumerOptions options;
  Pull pull;
  std::optional<Clock::time_point>
      goneSince{};  ///< since when the servers say that there is no such consumer
  ConsumerCounts counts;
  std::int64_t streamMade = 0;
};

namespace {

/// The servers do not hand out more unacknowledged messages than that.
constexpr std::int64_t mostPending = 100000;

/// Whether servers say that somebody else will answer: one is shut down, or another one leads.
bool isMoving(const std::string& words)
{
  return words.find("Shutdown") != std::string::npos || words.find("Leadership") != std::string::npos ||
         words.find("MaxWaiting") != std::string::npos;
}

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
  if (config.MaxDeliver > 0 || config.DeliverPolicy != js_DeliverAll || config.BackOffLen > 0 ||
      config.InactiveThreshold > 0) {
    throw Error(function,
                what +
                    ": the consumer of that name leaves messages behind, by max_deliver, deliver_policy, " +
                    "backoff or inactive_threshold");
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
  check(pull.open(), function, what);
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
  if (state.options.maxDeliveries < 0 || state.options.ackWait.count() < 1) {
    throw Error(function, "a consumer needs a time for acknowledging, and no negative number of deliveries");
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
  state.requireWholeLetters(names->List[0]);
  if (state.options.stream != names->List[0]) {
    state.requireWholeLetters(state.options.stream.c_str());
  }
}

/// A stream that drops messages for other reasons than their age and number keeps neither dead letters nor a
/// record. Of the own one it is also learned when it was made.
void Consumer::State::requireWholeLetters(const char* stream)
{
  constexpr const char* function = "Consumer::Consumer";
  jsErrCode code{};
  jsStreamInfo* info = nullptr;
  const natsStatus status = persistently(connection, code, [&] {
    return js_GetStreamInfo(&info, connection.context.get(), stream, nullptr, &code);
  });
  const StreamInfoOwner owner(status == NATS_OK ? info : nullptr);
  check(status, function, std::string("cannot look at stream ") + stream);
  if (info->Config->Retention == js_InterestPolicy || info->Config->MaxMsgsPerSubject > 0) {
    throw Error(function,
                std::string("stream ") + stream +
                    " would drop dead letters: it has interest retention, or a limit for each subject");
  }
  if (options.stream == stream) {
    streamMade = info->Created;
  }
}

Consumer::~Consumer() = default;

std::string Consumer::State::identifier(std::uint64_t sequence) const
{
  return options.stream + "." + std::to_string(streamMade) + "." + options.durable + "." +
         std::to_string(sequence);
}

bool Consumer::State::bury(natsMsg* message, std::uint64_t sequence, const std::string& why)
{
  log().logError("Consumer", "message %llu of stream %s (%s) goes to the dead letters: %s",
                 static_cast<unsigned long long>(sequence), options.stream.c_str(),
                 natsMsg_GetSubject(message), why.c_str());
  natsStatus status =
      storeDeadLetter(connection, message, {options.stream, options.durable, identifier(sequence), sequence},
                      options.prefix, why);
  if (status == NATS_OK) {
    status = confirm(connection, message, Word::Done);
    counts.dead += status == NATS_OK ? 1 : 0;  // else it comes again
  } else {
    ++counts.unburied;
  }
  if (status != NATS_OK) {
    log().logError("Consumer", "message %llu of stream %s stays there: %s",
                   static_cast<unsigned long long>(sequence), options.stream.c_str(), reason(status).c_str());
  }
  return status == NATS_OK;
}

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

/// Why there is no message: nothing where one may come later. Throws where none will.
void Consumer::State::requireMore()
{
  constexpr const char* function = "Consumer::fetch";
  const natsStatus status = pull.status();
  if (status == NATS_OK || status == NATS_TIMEOUT) {
    return;
  }
  if (natsConnection_IsClosed(connection.connection.get())) {
    throw Error(function, "the connection has ended: " + endOf(connection));
  }
  const std::string what = "cannot receive from stream " + options.stream + " as " + options.durable;
  if (status == NATS_NO_RESPONDERS) {
    jsConsumerInfo* info = nullptr;
    jsErrCode code{};
    const natsStatus is = js_GetConsumerInfo(&info, connection.context.get(), options.stream.c_str(),
                                             options.durable.c_str(), nullptr, &code);
    const ConsumerInfoOwner owner(is == NATS_OK ? info : nullptr);
    // Servers that have just begun may not know their consumers yet.
    const Clock::time_point now = Clock::now();
    goneSince = is == NATS_NOT_FOUND ? goneSince.value_or(now) : std::optional<Clock::time_point>();
    if (goneSince.has_value() && now - *goneSince >= connection.settings.timeout) {
      throw Error(function, what + ": the consumer is gone");
    }
  } else if (!isPassing(status, static_cast<jsErrCode>(0)) && !isMoving(pull.words())) {
    throw Error(function, what + ": " + pull.words());
  }
}

/// The message that came, as a delivery; nullopt where it has ended here.
std::optional<Delivery> Consumer::State::deliver(MessageOwner message, Clock::time_point asked)
{
  Place place;
  if (!placeOf(message.get(), place)) {
    throw Error("Consumer::fetch", "a message without its place in the stream");
  }
  if (options.isDone && options.isDone(place.sequence)) {
    // Not confirmed: if that is lost, it comes again.
    static_cast<void>(say(connection, message.get(), Word::Done));
    ++counts.done;
    return std::nullopt;
  }
  if (options.maxDeliveries > 0 && place.deliveries > static_cast<std::uint64_t>(options.maxDeliveries)) {
    static_cast<void>(
        bury(message.get(), place.sequence,
             "it was delivered " + std::to_string(place.deliveries - 1) + " times and never acknowledged"));
    return std::nullopt;
  }
  Unpacked unpacked = unpack(
      natsMsg_GetSubject(message.get()), options.prefix,
      {reinterpret_cast<const std::byte*>(natsMsg_GetData(message.get())),
       static_cast<std::size_t>(natsMsg_GetDataLength(message.get()))},
      [&](const char* name) { return header(message.get(), name); }, *options.catalogue, options.context);
  if (unpacked.message == nullptr) {
    static_cast<void>(bury(message.get(), place.sequence, unpacked.why));
    return std::nullopt;
  }
  Delivery delivery(std::make_unique<Delivery::Native>(Delivery::Native{std::move(message)}));
  delivery.message = std::move(unpacked.message);
  delivery.problems = std::move(unpacked.problems);
  delivery.sequence = place.sequence;
  delivery.deliveries = place.deliveries;
  delivery.asked = asked;
  ++counts.delivered;
  counts.redelivered += place.deliveries > 1 ? 1 : 0;
  return delivery;
}

template <class Take>
std::size_t Consumer::State::each(std::size_t most, std::chrono::milliseconds wait, Take take)
{
  const auto until = Clock::now() + wait;
  std::size_t count = 0;
  pull.begin(std::min<std::size_t>(most, mostPending), wait);
  while (true) {
    Pull::Arrival arrival = pull.next();
    if (arrival.message == nullptr) {
      break;
    }
    ++count;
    if (std::optional<Delivery> delivery = deliver(std::move(arrival.message), arrival.asked)) {
      take(std::move(*delivery));
    }
  }
  if (count > 0) {
    goneSince.reset();
  } else {
    requireMore();
    if (pull.status() != NATS_TIMEOUT) {  // nobody is there to wait for
      std::this_thread::sleep_until(until);
    }
  }
  return count;
}

std::vector<Delivery> Consumer::fetch(std::size_t most, std::chrono::milliseconds wait)
{
  std::vector<Delivery> deliveries;
  state_->each(most, wait, [&](Delivery&& delivery) { deliveries.push_back(std::move(delivery)); });
  return deliveries;
}

std::size_t Consumer::fetch(std::size_t most, std::chrono::milliseconds wait,
                            const std::function<void(Delivery&&)>& take)
{
  std::size_t count = 0;
  state_->each(most, wait, [&](Delivery&& delivery) {
    ++count;
    take(std::move(delivery));
  });
  return count;
}

bool Consumer::State::isConfirmed(const Delivery& delivery, std::uint64_t reconnections)
{
  return confirm(connection, delivery.native_->message.get(), Word::Done) == NATS_OK &&
         connection.reconnections() == reconnections;
}

bool Consumer::acknowledge(std::span<const Delivery> deliveries)
{
  if (deliveries.empty()) {
    return true;
  }
  const std::uint64_t reconnections = state_->connection.reconnections();
  for (const Delivery& delivery : deliveries.first(deliveries.size() - 1)) {
    if (say(state_->connection, delivery.native_->message.get(), Word::Done) != NATS_OK) {
      return false;
    }
  }
  if (!state_->isConfirmed(deliveries.back(), reconnections)) {
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
    static_cast<void>(say(state_->connection, delivery.native_->message.get(), Word::Back));
  }
}

std::size_t Consumer::process(std::size_t most, std::chrono::milliseconds wait,
                              const std::function<void(const Delivery&)>& handler)
{
  State& state = *state_;
  const std::uint64_t reconnections = state.connection.reconnections();
  std::uint64_t done = 0;
  bool isSaid = true;
  std::optional<Delivery> last;  // of those that are done
  const auto handle = [&](Delivery&& delivery) {
    std::optional<std::string> why;
    try {
      handler(delivery);
    } catch (const std::exception& error) {
      why = error.what();
    } catch (...) {
      why = "an exception of another kind";
    }
    if (why.has_value()) {
      log().logError("Consumer", "message %llu of stream %s will be delivered again: %s",
                     static_cast<unsigned long long>(delivery.sequence), state.options.stream.c_str(),
                     shown(*why).c_str());
      return;
    }
    isSaid = say(state.connection, delivery.native_->message.get(), Word::Done) == NATS_OK && isSaid;
    ++done;
    delivery.message.reset();
    last = std::move(delivery);
  };
  const std::size_t count = state.each(most, wait, handle);
  if (last.has_value() && isSaid && state.isConfirmed(*last, reconnections)) {
    state.counts.acknowledged += done;
  } else if (last.has_value()) {
    log().logError(
        "Consumer",
        "%llu messages of stream %s, up to message %llu, may be delivered again: nobody confirmed that "
        "they are done",
        static_cast<unsigned long long>(done), state.options.stream.c_str(),
        static_cast<unsigned long long>(last->sequence));
  }
  return count;
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

std::string Consumer::identifierOf(const Delivery& delivery) const
{
  return state_->identifier(delivery.sequence);
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
