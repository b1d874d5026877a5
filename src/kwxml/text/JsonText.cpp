#include <kwxml/text/JsonText.h>

#include <algorithm>

namespace kwxml {

char* putJsonEscape(char* to, char byte) noexcept
{
  constexpr std::string_view named = "\"\\\b\f\n\r\t";
  constexpr std::string_view names = "\"\\bfnrt";
  *to++ = '\\';
  if (const std::size_t at = named.find(byte); at != std::string_view::npos) {
    *to++ = names[at];
    return to;
  }
  constexpr const char* digits = "0123456789abcdef";
  const auto value = static_cast<unsigned char>(byte);
  to = std::copy_n("u00", 3, to);
  *to++ = digits[value >> 4];
  *to++ = digits[value & 0xF];
  return to;
}

void appendJsonString(std::string& out, std::string_view text)
{
  out += '"';
  for (const char c : text) {
    if (jsonBytes[static_cast<unsigned char>(c)] == jsonEscaped) {
      char escape[longestJsonEscape];
      out.append(escape, putJsonEscape(escape, c));
    } else {
      out += c;
    }
  }
  out += '"';
}

}  // namespace kwxml
