// The messages that consumers could not use, for those who look what became of them.
#pragma once

#include <kwxml/nats/Connection.h>
#include <kwxml/platform/Export.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml::nats {

/// A message that could not be used, as it lies among the dead letters.
struct DeadLetter
{
  std::uint64_t place;          ///< in the stream that keeps the dead letters
  std::string why{};            ///< the reason
  std::string stream{};         ///< where the message was
  std::uint64_t sequence;       ///< its place there
  std::string durable{};        ///< the durable consumer that could not use it
  std::string subject;          ///< its subject
  std::vector<std::byte> body;  ///< the message's bytes
};

/// The dead letters of a prefix that a stream keeps from its place `from` on, up to `most`, in their order.
/// They stay there. Throws Error.
KWXML_API std::vector<DeadLetter> deadLetters(Connection& connection, const std::string& stream,
                                              std::string_view prefix, std::uint64_t from = 1,
                                              std::size_t most = 1000);

}  // namespace kwxml::nats
