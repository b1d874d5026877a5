// UTF-8 and UTF-16 a character at a time; what a character does to the text around it. Not installed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kwxml {

/// What may stand in UTF-8 and UTF-16: every code point but the surrogates.
constexpr bool isCharacter(std::uint32_t value) noexcept
{
  return value < 0x110000 && (value < 0xD800 || value > 0xDFFF);
}

/// Bytes of the character that a text, which is not empty, begins with, and the character; 0, with the
/// character unchanged, when these are no well-formed UTF-8: a byte that begins none, one cut short, a longer
/// form than needed, a surrogate.
constexpr std::size_t utf8Character(std::string_view text, std::uint32_t& character) noexcept
{
  const auto byte = [&](std::size_t i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(text[i]));
  };
  constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const std::uint32_t first = byte(0);
  const std::size_t length = first < 0x80             ? 1
                             : (first & 0xE0) == 0xC0 ? 2
                             : (first & 0xF0) == 0xE0 ? 3
                             : (first & 0xF8) == 0xF0 ? 4
                                                      : 0;
  if (length == 0 || text.size() < length) {
    return 0;
  }
  std::uint32_t value = length == 1 ? first : first & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) {
      return 0;
    }
    value = value << 6 | (byte(i) & 0x3F);
  }
  if (value < smallest[length] || !isCharacter(value)) {
    return 0;
  }
  character = value;
  return length;
}

/// Calls `put(char)` for each byte of a character.
template <class Put>
constexpr void putUtf8(std::uint32_t character, Put put)
{
  const auto lead = [&](std::uint32_t mark, int shift) { put(static_cast<char>(mark | character >> shift)); };
  const auto rest = [&](int shift) { put(static_cast<char>(0x80 | (character >> shift & 0x3F))); };
  if (character < 0x80) {
    put(static_cast<char>(character));
  } else if (character < 0x800) {
    lead(0xC0, 6);
    rest(0);
  } else if (character < 0x10000) {
    lead(0xE0, 12);
    rest(6);
    rest(0);
  } else {
    lead(0xF0, 18);
    rest(12);
    rest(6);
    rest(0);
  }
}

/// The greatest length of at most `limit` at which a text can be cut without parting a character's bytes.
constexpr std::size_t utf8Cut(std::string_view text, std::size_t limit) noexcept
{
  if (limit >= text.size()) {
    return text.size();
  }
  while (limit > 0 && (static_cast<unsigned char>(text[limit]) & 0xC0) == 0x80) {
    --limit;
  }
  return limit;
}

/// The length of a text that was cut anywhere, without the bytes of a character that the cut has begun.
constexpr std::size_t utf8WithoutBegun(std::string_view text) noexcept
{
  std::size_t lead = text.size();
  for (int i = 0; i < 4 && lead > 0; ++i) {
    const auto byte = static_cast<unsigned char>(text[--lead]);
    if (byte < 0x80) {
      break;
    }
    if (byte >= 0xC0) {
      const std::size_t size = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
      return lead + size > text.size() ? lead : text.size();
    }
  }
  return text.size();
}

/// The halves of a character beyond 16 bits in UTF-16.
constexpr bool isLeadSurrogate(std::uint32_t unit) noexcept
{
  return (unit & 0xFFFFFC00) == 0xD800;
}
constexpr bool isTrailSurrogate(std::uint32_t unit) noexcept
{
  return (unit & 0xFFFFFC00) == 0xDC00;
}
constexpr std::uint32_t joinSurrogates(std::uint32_t lead, std::uint32_t trail) noexcept
{
  return 0x10000 + ((lead - 0xD800) << 10) + (trail - 0xDC00);
}
/// Calls `put(char16_t)` for each unit of a character.
template <class Put>
constexpr void putUtf16(std::uint32_t character, Put put)
{
  if (character < 0x10000) {
    put(static_cast<char16_t>(character));
  } else {
    put(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
    put(static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF)));
  }
}

/// The control characters of both sets: a terminal obeys them.
constexpr bool isControl(std::uint32_t c) noexcept
{
  return c < 0x20 || (c >= 0x7F && c < 0xA0);
}
/// The marks and brackets that steer the direction of the text behind them.
constexpr bool isDirectionMark(std::uint32_t c) noexcept
{
  return c == 0x61C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
         (c >= 0x2066 && c <= 0x2069);
}
/// What begins a new line without being a control character.
constexpr bool isSeparator(std::uint32_t c) noexcept
{
  return c == 0x2028 || c == 0x2029;
}

}  // namespace kwxml
