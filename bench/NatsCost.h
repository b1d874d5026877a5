// What messages over a server cost: the time of the clock, the processor time of both sides, and the bytes
// that the server reads and writes.
#pragma once

#include "nats/Server.h"

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/nats/Connection.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <span>
#include <string>

namespace kwxml::bench {

/// No part takes longer: the program then ends with an error.
inline constexpr std::chrono::seconds patience{120};
inline constexpr std::size_t window = 1000;
inline constexpr std::size_t batch = 500;

/// A message, and how many of it the parts take.
struct Load
{
  const char* name;
  YMMessageBase message;
  std::size_t sent;    ///< for about a second
  std::size_t worked;  ///< for five to ten seconds of one worker
};

/// Of one message, on average.
struct Cost
{
  double seconds = 0;  ///< by the clock
  double own = 0;      ///< seconds of the processor: the senders, receivers or workers
  double server = 0;   ///< the same of the server
  double read = 0;     ///< bytes that the server read: from its connections, and from its files
  double written = 0;  ///< bytes that it wrote
};

/// Measures from its making on.
class Meter
{
public:
  explicit Meter(const test::Server& server) : server_(server), begin_(now()) {}
  /// So far, by `count` messages. Throws std::runtime_error when the system does not tell.
  Cost perMessage(std::size_t count) const;

private:
  Cost now() const;

  const test::Server& server_;
  Cost begin_;
};

/// The server that all parts share, and what is beside the two connections of a comparison.
struct Ground
{
  test::Server server{};
  nats::Connection connection{server.settings()};
};

// The servers' client alone. Each throws std::runtime_error for what fails.

/// Makes an empty stream; one of that name is gone with its messages.
void makeAnew(Ground& ground, const std::string& stream, const std::string& prefix);
void removeStream(Ground& ground, const std::string& stream);
/// How many messages it has.
std::size_t messagesIn(Ground& ground, const std::string& stream);
/// Sends the message, which was encoded before, as often as the load says.
Cost sendByClient(Ground& ground, const std::string& stream, const Load& load);
/// Receives and acknowledges all messages of the stream by the durable consumer, which exists. `take` gets
/// each body.
Cost receiveByClient(Ground& ground, const std::string& stream, const std::string& durable, const Load& load,
                     const std::function<void(std::span<const std::byte>)>& take);

/// Has processes of the tool turn the messages of the stream into XML, in a stream of their own. The time is
/// that from their start until the last message is there.
Cost work(Ground& ground, const std::string& stream, const Load& load, int workers);

}  // namespace kwxml::bench
