#include <kwxml/text/ShownText.h>

#include <kwxml/text/Utf8.h>

#include <charconv>

namespace kwxml {

namespace {

constexpr std::string_view named = "\n\r\t";
constexpr std::string_view names = "nrt";

constexpr bool isObeyed(std::uint32_t c)
{
  constexpr std::uint32_t byteOrderMark = 0xFEFF;
  return isControl(c) || isDirectionMark(c) || isSeparator(c) || c == byteOrderMark;
}

void appendBytes(std::string& out, std::string_view bytes)
{
  constexpr char digits[] = "0123456789ABCDEF";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    out += {'\\', 'x', digits[byte >> 4], digits[byte & 0xF]};
  }
}

}  // namespace

std::size_t appendShownCharacter(std::string& out, std::string_view text, std::string_view quoted)
{
  if (const std::size_t at = named.find(text[0]); at != std::string_view::npos) {
    out += {'\\', names[at]};
    return 1;
  }
  std::uint32_t character = 0;
  std::size_t length = utf8Character(text, character);
  if (length == 0 || isObeyed(character)) {
    length = length == 0 ? 1 : length;
    appendBytes(out, text.substr(0, length));
    return length;
  }
  if (quoted.find(text[0]) != std::string_view::npos) {
    out += '\\';
  }
  out += text.substr(0, length);
  return length;
}

void appendShownCharacter(std::string& out, std::uint32_t character, std::string_view quoted)
{
  if (isCharacter(character)) {
    std::string bytes;
    putUtf8(character, [&bytes](char byte) { bytes += byte; });
    appendShownCharacter(out, bytes, quoted);
    return;
  }
  char digits[8];
  char* const end = std::to_chars(digits, digits + sizeof digits, character, 16).ptr;
  out.append("\\u{").append(digits, end) += '}';
}

void appendShown(std::string& out, std::string_view text, std::string_view quoted)
{
  while (!text.empty()) {
    text.remove_prefix(appendShownCharacter(out, text, quoted));
  }
}

std::string shown(std::string_view text, std::string_view quoted)
{
  std::string out;
  out.reserve(text.size());
  appendShown(out, text, quoted);
  return out;
}

bool unquoteShown(std::string_view text, std::string& out, std::string_view quoted)
{
  out.clear();
  while (!text.empty()) {
    if (text[0] != '\\') {
      out += text[0];
      text.remove_prefix(1);
      continue;
    }
    const char kind = text.size() > 1 ? text[1] : '\0';
    std::size_t taken = 2;
    if (const std::size_t at = names.find(kind); at != std::string_view::npos) {
      out += named[at];
    } else if (kind == 'x') {
      taken = 4;
      const std::string_view digits = text.substr(2, 2);
      unsigned char byte = 0;
      const char* const end = digits.data() + digits.size();
      if (digits.size() != 2 || std::from_chars(digits.data(), end, byte, 16).ptr != end) {
        return false;
      }
      out += static_cast<char>(byte);
    } else if (kind != '\0' && quoted.find(kind) != std::string_view::npos) {
      out += kind;
    } else {
      return false;
    }
    text.remove_prefix(taken);
  }
  return true;
}

}  // namespace kwxml
