// Texts as JSON has them (RFC 8259). Not installed.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace kwxml {

/// What a byte of a text asks for in JSON.
enum JsonByte : unsigned char
{
  jsonItself = 0,
  jsonEscaped = 1,  ///< a quote, a backslash or a control character
  jsonBeyond = 2,   ///< part of a character that is not ASCII
};
inline constexpr std::array<unsigned char, 256> jsonBytes = [] {
  std::array<unsigned char, 256> table{};
  for (unsigned c = 0; c < 256; ++c) {
    table[c] = c >= 0x80 ? jsonBeyond : c < 0x20 || c == '"' || c == '\\' ? jsonEscaped : jsonItself;
  }
  return table;
}();

/// Bytes of the longest escape.
inline constexpr std::size_t longestJsonEscape = 6;
/// Writes the escape of a byte that needs one, "\n" or "\u001b", and gives the end behind it.
char* putJsonEscape(char* to, char byte) noexcept;

/// Appends a text in quotes. Well-formed UTF-8 stays so.
void appendJsonString(std::string& out, std::string_view text);

}  // namespace kwxml
