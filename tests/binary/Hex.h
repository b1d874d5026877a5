// Bytes as hexadecimal text: two digits a byte, blanks between them.
#pragma once

#include <cstdio>
#include <sstream>
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

inline std::string fromHex(const std::string& text)
{
  std::istringstream in(text);
  std::string bytes;
  for (unsigned byte = 0; in >> std::hex >> byte; bytes += static_cast<char>(byte)) {
    if (byte > 0xFF) {
      throw std::invalid_argument("more than a byte: " + text);
    }
  }
  if (!in.eof()) {
    throw std::invalid_argument("no hexadecimal digit: " + text);
  }
  return bytes;
}

}  // namespace kwxml::test
