// The messages of a durable consumer, one by one as they arrive. The client's own call waits until a whole
// batch is there; here the first is read while the servers send the others. Not installed.
#pragma once

#include <kwxml/nats/NatsInternal.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

namespace kwxml::nats {

/// Where a message was in its stream, and how often it has been delivered.
struct Place
{
  std::uint64_t sequence = 0;
  std::uint64_t deliveries = 0;
};
/// As the subject for its acknowledgement says; false when that is none.
bool placeOf(const natsMsg* message, Place& place);

/// What is said of a message to the servers.
enum class Word : std::uint8_t
{
  Done,  ///< it is not delivered again
  Back,  ///< it is delivered again at once
};
/// Says it, without an answer.
natsStatus say(Connection::State& connection, const natsMsg* message, Word word);
/// Says it, and waits until the servers have taken it. A server takes words in their order: the answer to the
/// last one is an answer to all, unless the server is lost with what it told no other.
natsStatus confirm(Connection::State& connection, const natsMsg* message, Word word);

class Pull
{
public:
  using Clock = std::chrono::steady_clock;
  /// A message, and when the servers were asked for it; null when there is none.
  struct Arrival
  {
    MessageOwner message{};
    Clock::time_point asked{};
  };

  Pull(Connection::State& connection, std::string stream, std::string durable);

  /// Listens.
  natsStatus open();
  /// Asks for up to `most` messages; waits up to `wait` for the first.
  void begin(std::size_t most, std::chrono::milliseconds wait);
  /// The next one; none at the end, with the reason in status() and words().
  Arrival next();
  /// NATS_OK and NATS_TIMEOUT: there are no more. NATS_ERR: the servers have ended it, with words.
  natsStatus status() const { return status_; }
  const std::string& words() const { return words_; }

private:
  void ask(std::size_t count, bool waits);
  void take(Arrival& arrival);
  bool isWord(const natsMsg* message) const;
  void takeWord(natsMsg* message);

  Connection::State& connection_;
  const std::string subject_;
  std::string inbox_{};
  SubscriptionOwner subscription_{};
  std::deque<Arrival> early_{};  ///< came when nobody waited for them any more
  std::uint64_t request_ = 0;
  Clock::time_point asked_{};
  bool hasBegun_ = false;   ///< a message of the request has come
  std::size_t coming_ = 0;  ///< of the request; 0: it is answered
  std::size_t left_ = 0;    ///< of what the caller wants
  bool hasAny_ = false;
  bool waits_ = false;  ///< the request waits for a message
  Clock::time_point until_{};
  natsStatus status_ = NATS_OK;
  std::string words_{};
};

}  // namespace kwxml::nats
