// Bytes as hexadecimal text: two digits a byte, blanks between them.
#pragma once

#include <charconv>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kwxml::test {

inline std::string toHex(std::string_view bytes)
{
  std::string text;
  for (const char byte : bytes) {
    char digits[4];
    std::snprintf(digits, sizeof digits, " %02X", static_cast<unsigned char>(byte));
    text += digits;
  }
  return text.substr(text.empty() ? 0 : 1);
}

inline std::string fromHex(std::string text)
{
  std::erase(text, ' ');
  std::string bytes;
  for (const char* digits = text.data(); *digits != '\0'; digits += 2) {
    unsigned char byte = 0;
    if (std::from_chars(digits, digits + 2, byte, 16).ptr != digits + 2) {
      throw std::invalid_argument("no hexadecimal digits: " + text);
    }
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

}  // namespace kwxml::test
