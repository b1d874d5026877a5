// The bytes of documents as XmlScanner sees them: what they may be, and small steps. Not installed.
#pragma once

#include <kwxml/text/Utf8.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace kwxml::xmlbytes {

enum : std::uint8_t
{
  nameStart = 1,
  nameRest = 2,
  blank = 4,
  plainText = 8,           ///< stands for itself in a text, and nothing has to be looked at
  plainValue = 16,         ///< the same in a value in quotes, those that end it apart
  layoutOrReference = 32,  ///< does not stand for itself in a value that has been checked
};

inline constexpr std::array<std::uint8_t, 256> characters = [] {
  std::array<std::uint8_t, 256> table{};
  for (unsigned c = 0; c < 0x80; ++c) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    const bool digit = c >= '0' && c <= '9';
    const bool layout = c == ' ' || c == '\t' || c == '\n' || c == '\r';
    unsigned bits = letter ? nameStart | nameRest : 0;
    bits |= digit || c == '-' || c == '.' ? nameRest : 0;
    bits |= layout ? blank : 0;
    const bool character = c >= 0x20 || c == '\t' || c == '\n';  // "\r" is not itself: line ends become "\n"
    bits |= character && c != '<' && c != '&' && c != ']' ? plainText : 0;
    bits |= c >= 0x20 && c != '<' && c != '&' && c != '"' && c != '\'' ? plainValue : 0;
    bits |= c == '&' || (layout && c != ' ') ? layoutOrReference : 0;
    table[c] = static_cast<std::uint8_t>(bits);
  }
  return table;
}();

inline bool is(char c, std::uint8_t bits)
{
  return (characters[static_cast<unsigned char>(c)] & bits) != 0;
}

/// The zero byte behind the text ends every run. Four at a time: all bytes of a document pass here.
inline void skip(const char*& p, std::uint8_t bits)
{
  while (is(p[0], bits)) {
    if (!is(p[1], bits)) {
      p += 1;
      return;
    }
    if (!is(p[2], bits)) {
      p += 2;
      return;
    }
    if (!is(p[3], bits)) {
      p += 3;
      return;
    }
    p += 4;
  }
}

/// A name; its hash, as nameHash() gives it for ASCII.
inline std::uint32_t skipName(const char*& p)
{
  std::uint32_t hash = 0;
  for (; is(*p, nameRest); ++p) {
    hash = hash * 31 + static_cast<unsigned char>(*p);
  }
  return hash & 0xFFFFFF;
}

inline bool startsWith(const char* p, const char* end, std::string_view what)
{
  return static_cast<std::size_t>(end - p) >= what.size() && std::memcmp(p, what.data(), what.size()) == 0;
}

inline bool take(const char*& p, const char* end, std::string_view what)
{
  const bool there = startsWith(p, end, what);
  p += there ? what.size() : 0;
  return there;
}

inline const char* find(const char* p, const char* end, char c)
{
  return static_cast<const char*>(std::memchr(p, c, static_cast<std::size_t>(end - p)));
}

constexpr bool isXmlCharacter(std::uint32_t c)
{
  return c >= 0x20 ? isCharacter(c) && c != 0xFFFE && c != 0xFFFF : c == '\t' || c == '\n' || c == '\r';
}

/// The character of a reference, which begins at `p`; 0 for what is none. Goes on behind its semicolon.
inline std::uint32_t reference(const char*& p, const char* end)
{
  struct Entity
  {
    std::string_view name;
    char character;
  };
  constexpr Entity entities[] = {{"lt;", '<'}, {"gt;", '>'}, {"amp;", '&'}, {"quot;", '"'}, {"apos;", '\''}};
  ++p;
  if (!take(p, end, "#")) {
    for (const Entity& entity : entities) {
      if (take(p, end, entity.name)) {
        return static_cast<unsigned char>(entity.character);
      }
    }
    return 0;
  }
  const std::uint32_t base = take(p, end, "x") ? 16 : 10;
  std::uint32_t value = 0;
  const char* const digits = p;
  for (; p != end && *p != ';'; ++p) {
    const char c = *p;
    const int digit = c >= '0' && c <= '9'   ? c - '0'
                      : c >= 'a' && c <= 'f' ? c - 'a' + 10
                      : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                             : 16;
    if (digit >= static_cast<int>(base)) {
      return 0;
    }
    value = value * base + static_cast<std::uint32_t>(digit);
    if (value > 0x10FFFF) {
      return 0;
    }
  }
  if (p == digits || !take(p, end, ";") || !isXmlCharacter(value)) {
    return 0;
  }
  return value;
}

}  // namespace kwxml::xmlbytes
