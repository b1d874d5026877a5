// The messages of a publisher that are on their way: kept, repeated, given up, and told of. Not installed.
#pragma once

#include <kwxml/nats/NatsInternal.h>
#include <kwxml/nats/Publisher.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <thread>
#include <unordered_map>

namespace kwxml::nats {

struct Publisher::State
{
  using Clock = std::chrono::steady_clock;

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
  /// Tells the caller what became of a message, and wakes those who wait for that. With `telling`, without
  /// the lock.
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
  std::uint64_t upTo = 0;                   ///< changes with `telling`
  std::atomic<std::uint64_t> toldUpTo = 0;  ///< the same, of what the caller has been told
  PublisherCounts counts;
  std::string firstFailure;
  bool ending = false;
  std::thread repeater;
  // The repeater's own.
  struct Nobody
  {
    Clock::time_point said;
    bool isSure;
  };
  std::map<std::string, Nobody> forNobody;  ///< subjects of which the servers said that no stream takes them
  Clock::time_point askAgain{};             ///< the servers, for streams
};

}  // namespace kwxml::nats
