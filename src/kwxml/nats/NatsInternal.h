// What the sources of this room share: owners of the client's objects, its errors as exceptions, and the
// targets of its callbacks. Not installed.
#pragma once

#include <kwxml/nats/Connection.h>

#include <nats/nats.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>

namespace kwxml::nats {

template <auto Destroy>
struct Destroyer
{
  template <class T>
  void operator()(T* object) const noexcept
  {
    Destroy(object);
  }
};

using OptionsOwner = std::unique_ptr<natsOptions, Destroyer<natsOptions_Destroy>>;
using ConnectionOwner = std::unique_ptr<natsConnection, Destroyer<natsConnection_Destroy>>;
using ContextOwner = std::unique_ptr<jsCtx, Destroyer<jsCtx_Destroy>>;
using MessageOwner = std::unique_ptr<natsMsg, Destroyer<natsMsg_Destroy>>;
using SubscriptionOwner = std::unique_ptr<natsSubscription, Destroyer<natsSubscription_Destroy>>;
using AckOwner = std::unique_ptr<jsPubAck, Destroyer<jsPubAck_Destroy>>;
using StreamInfoOwner = std::unique_ptr<jsStreamInfo, Destroyer<jsStreamInfo_Destroy>>;
using ConsumerInfoOwner = std::unique_ptr<jsConsumerInfo, Destroyer<jsConsumerInfo_Destroy>>;

/// What the client says of a failed call of this thread, after the status: the server's own words where it
/// sent some.
std::string reason(natsStatus status);

/// Throws Error, "WHAT: REASON", unless all is well.
void check(natsStatus status, const char* function, const std::string& what);

/// Whether a failure may pass: the servers are silent, gone, or choosing a leader.
bool isPassing(natsStatus status, jsErrCode code);

/// A text that no other call gives, in any process: letters and digits. Throws Error.
std::string uniqueText();

/// The value of a header; null without it.
const char* header(const natsMsg* message, const char* name);

/// The target of a callback that may still come when its object has ended: the client's threads end later
/// than what they were started for. A callback gets a key, and no pointer.
template <class Target>
class CallbackKey
{
public:
  CallbackKey() = default;
  ~CallbackKey()
  {
    const std::lock_guard lock(table().mutex);
    table().targets.erase(key_);
  }
  CallbackKey(const CallbackKey&) = delete;
  CallbackKey& operator=(const CallbackKey&) = delete;

  /// From now on the target is found.
  void* lead(const std::shared_ptr<Target>& target)
  {
    const std::lock_guard lock(table().mutex);
    key_ = ++table().last;
    table().targets.emplace(key_, target);
    return reinterpret_cast<void*>(key_);  // NOLINT(performance-no-int-to-ptr): nobody looks where it points
  }
  /// The target of what a callback was given; null when it has ended.
  static std::shared_ptr<Target> find(void* closure)
  {
    const std::lock_guard lock(table().mutex);
    const auto found = table().targets.find(reinterpret_cast<std::uintptr_t>(closure));
    return found == table().targets.end() ? nullptr : found->second.lock();
  }

private:
  struct Table
  {
    std::mutex mutex;
    std::uintptr_t last = 0;
    std::unordered_map<std::uintptr_t, std::weak_ptr<Target>> targets;
  };
  /// Never destroyed: the client's threads may outlive static objects.
  static Table& table()
  {
    static auto* const table = new Table;
    return *table;
  }

  std::uintptr_t key_ = 0;
};

struct Connection::State
{
  ~State();

  /// Host and port of the last server.
  std::string lastServer() const;
  /// How often the connection was made again: what was sent without an answer meanwhile may be lost.
  std::uint64_t reconnections() const;

  ConnectionSettings settings;
  ConnectionOwner connection;
  ContextOwner context;  ///< for all but the publishers' own messages
  CallbackKey<State> key;
  mutable std::mutex mutex;
  std::string ended;   ///< why the connection has ended for good
  std::string server;  ///< the last one
};

/// Where a message was that could not be used.
struct DeadLetterOrigin
{
  std::string stream;
  std::string durable;
  std::string identifier;  ///< Consumer::identifierOf()
  std::uint64_t sequence;
};
/// Stores a message among the dead letters.
natsStatus storeDeadLetter(Connection::State& connection, natsMsg* message, const DeadLetterOrigin& origin,
                           const std::string& prefix, const std::string& why);

/// Why a connection has ended, in words.
std::string endOf(Connection::State& state);

/// Asks the servers until they answer, or have not for three times their time. A cluster that changes its
/// leader answers nothing for a while. `code` is what `ask` has set.
template <class Ask>
natsStatus persistently(const Connection::State& state, jsErrCode& code, Ask ask)
{
  const auto until = std::chrono::steady_clock::now() + 3 * state.settings.timeout;
  while (true) {
    const natsStatus status = ask();
    if (status == NATS_OK || !isPassing(status, code) || std::chrono::steady_clock::now() > until) {
      return status;
    }
    constexpr auto pause = std::chrono::milliseconds(100);
    std::this_thread::sleep_for(pause);
  }
}

/// Sends a message and waits until a stream has it. `expected`: the sequence that must be the last one of the
/// subject, if one is given. The status, with the server's code in `code`.
natsStatus publishNow(Connection::State& state, natsMsg* message, std::optional<std::uint64_t> expected,
                      jsErrCode& code, std::uint64_t& sequence);

}  // namespace kwxml::nats
