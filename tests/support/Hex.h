// Bytes as hexadecimal text: two digits a byte, blanks between them.
#pragma once

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
    std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned char>(byte));
    text += (text.empty() ? "" : " ") + std::string(digits);
  }
  return text;
}

inline std::string fromHex(std::string_view text)
{
  std::string bytes;
  int half = -1;
  for (const char c : text) {
    if (c == ' ') {
      continue;
    }
    const auto digit = std::string_view("0123456789ABCDEF").find(c);
    if (digit == std::string_view::npos) {
      throw std::invalid_argument("no hexadecimal digit: " + std::string(text));
    }
    const int value = static_cast<int>(digit);
    if (half < 0) {
      half = value;
    } else {
      bytes += static_cast<char>(half << 4 | value);
      half = -1;
    }
  }
  return bytes;
}

}  // namespace kwxml::test
