// Explains messages of the binary forms piece by piece: what a reader takes each byte for, up to the point
// where it would stop. For the command inspect, its tests and its fuzzer.
//
// The bytes are hostile. The walk goes the way of the library's reader (the same counts, bounds and limits),
// builds no message, and shows at most one line with bytes for each byte and a few without.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace kwxml::tool {

enum class InspectForm
{
  Binary,   ///< one message
  Records,  ///< messages behind their lengths, big-endian
  Batch,    ///< a version text, messages behind their lengths as text
};

/// One piece. The bytes of all pieces, one behind the other, are the input.
struct InspectLine
{
  std::size_t offset;
  std::string_view bytes;  ///< of the input; none for a remark
  bool secret;             ///< the bytes may be a password: they are not for showing
  int depth;               ///< how far it is indented
  std::string text;        ///< what it is: one printable line, of bounded length
};

/// Hands the pieces to `show` in the order of the input. True when every message was read to its end; false
/// when one is damaged: the bytes that are not read then follow as such, and behind them a remark says why.
/// Throws what `show` throws. Thread-safe. May log what the library's limits have to say.
bool inspect(std::string_view bytes, InspectForm form, const std::function<void(const InspectLine&)>& show);

/// The form that an input of `size` bytes looks like that begins with `head` (all of it, or at least 12
/// bytes); none when it looks like none. The upper half of a version word is 1: it tells a message from the
/// length before one.
std::optional<InspectForm> guessInspectForm(std::string_view head, std::uint64_t size);

/// Offset, bytes in hexadecimal (many are cut, secret ones only counted) and text, with a line end.
std::string toText(const InspectLine& line);

}  // namespace kwxml::tool
