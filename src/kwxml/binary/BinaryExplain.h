// Explains a message in the binary form piece by piece: what the reader takes each byte for, up to the point
// where it stops. The explanation is the reader's own: the same walk reads the bytes and says what it reads.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace kwxml {

/// One piece. The bytes of all pieces, one behind the other, are the input.
struct BinaryPiece
{
  std::uint64_t offset = 0;  ///< in bytes, from the beginning of the input
  std::string_view bytes{};  ///< of the input; none for a remark
  bool secret = false;       ///< the bytes may be a password: they are not for showing
  int depth = 0;             ///< how far it is indented
  std::string text{};        ///< what it is: one printable line, of bounded length
};
using ShowPiece = std::function<void(const BinaryPiece&)>;

/// Hands the pieces of one message (header and body) to `show`, in the order of the bytes; offsets begin with
/// `offset`. True when the message was read to its end; false when it is damaged: what is not read then
/// follows as one piece, and behind it a remark says why. Throws what `show` throws. The bytes may be
/// hostile: there is at most one piece with bytes for each of them, and a few without. Passwords are not
/// decrypted. Logs what reading the message logs. Thread-safe.
bool explainBinary(std::string_view bytes, std::uint64_t offset, const ShowPiece& show);

/// "zigzag": what people call the code of a key; for a number that is none its number.
std::string wireCodeName(std::uint32_t code);

/// Offset, bytes in hexadecimal (many are cut, secret ones only counted) and text, with a line end. `more`
/// bytes of the piece are not in hand.
std::string toText(const BinaryPiece& piece, std::uint64_t more = 0);

}  // namespace kwxml
