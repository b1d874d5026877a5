// Explains a message in the binary form piece by piece: what the reader takes each byte for, up to the point
// where the reader stops. The explanation is the reader's own: the same walk reads the bytes and says what it
// reads.
#pragma once

#include <kwxml/platform/Export.h>
#include <kwxml/platform/StandardParts.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace kwxml {

/// One piece of a message. The bytes of all pieces, one behind the other, are the input.
struct BinaryPiece
{
  std::uint64_t offset = 0;  ///< of the bytes, counted from the offset that explainBinary() was given
  std::string_view bytes{};  ///< a part of the input; none for a remark
  bool secret = false;       ///< the bytes may be a password: they are not to be shown
  int depth = 0;             ///< how deep the piece lies in nested messages and values, for indentation
  std::string text{};        ///< what the bytes are: one printable line, of bounded length
};
/// Is called with each piece; the piece lives as long as the call.
using ShowPiece = std::function<void(const BinaryPiece&)>;

/// Hands the pieces of one message (header and body) to `show`, in the order of the bytes; offsets begin with
/// `offset`. True when the message was read to its end. False when the message is damaged or its class is
/// unknown: the bytes that were not read follow as one piece, and behind that a remark says why. Throws what
/// `show` throws. The bytes may be hostile: there is at most one piece with bytes for each byte, and a few
/// pieces without. Passwords are not decrypted. Logs what reading the message logs. Threads may call the
/// function at the same time.
[[nodiscard]] KWXML_API bool explainBinary(std::string_view bytes, std::uint64_t offset,
                                           const ShowPiece& show);

/// What people call a wire code, such as "zigzag"; for a number that is no code the number.
KWXML_API std::string wireCodeName(std::uint32_t code);

/// A line with the piece's offset, bytes in hexadecimal (16 at most, none of a secret piece; further ones are
/// counted) and text, with a line end. `more` is how many bytes belong to the piece beyond
/// BinaryPiece::bytes.
KWXML_API std::string toText(const BinaryPiece& piece, std::uint64_t more = 0);

}  // namespace kwxml
