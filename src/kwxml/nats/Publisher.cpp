#include <kwxml/nats/Publisher.h>

#include <kwxml/nats/PublisherState.h>
#include <kwxml/text/ShownText.h>

#include <algorithm>

namespace kwxml::nats {

namespace {

/// As long as any identifier that a publisher makes.
constexpr const char* longestOwnId = "0123456789012345678901.18446744073709551615";

}  // namespace

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
      const State::Clock::time_point now = State::Clock::now();
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
  return state_->toldUpTo;
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
