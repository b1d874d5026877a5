// Explains binary messages, single or in files, as the library's reader sees them
// (kwxml/binary/BinaryExplain.h). For the command inspect, its tests and its fuzzer.
#pragma once

#include <kwxml/binary/BinaryExplain.h>

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string_view>

namespace kwxml::tool {

enum class InspectForm
{
  Binary,   ///< one message
  Records,  ///< messages behind their lengths, big-endian
  Batch,    ///< a version text, messages behind their lengths as text
};

/// A piece, and how many bytes of it come behind those of the piece, which are not in hand.
using ShowInput = std::function<void(const BinaryPiece&, std::uint64_t more)>;

/// Hands the pieces to `show` in the order of the input, as explainBinary() does. True when every message was
/// read to its end. Of the input no more than one message is held. Throws what `show` throws. Thread-safe.
/// Logs what reading logs.
bool inspect(std::istream& in, InspectForm form, const ShowInput& show);

/// The form that an input of `size` bytes looks like that begins with `head` (all of it, or at least 12
/// bytes); none when it looks like none. The upper half of a version word is 1: it tells a message from the
/// length before one.
std::optional<InspectForm> guessInspectForm(std::string_view head, std::uint64_t size);

}  // namespace kwxml::tool
