// Lines and columns of a text. Not installed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kwxml {

/// Both from 1 on; a column is a character of UTF-8. A carriage return ends a line as a line end does, with
/// one behind it or without.
struct TextPlace
{
  std::uint64_t line = 1;
  std::uint64_t column = 1;

  /// Goes on from one offset of a text to another.
  void pass(std::string_view text, std::size_t from, std::size_t to)
  {
    for (std::size_t i = from; i < to; ++i) {
      const auto c = static_cast<unsigned char>(text[i]);
      const bool ends = c == '\n' || (c == '\r' && i + 1 < text.size() && text[i + 1] != '\n');
      line += ends ? 1 : 0;
      column = ends ? 1 : column + ((c & 0xC0) != 0x80 ? 1 : 0);
    }
  }
};

}  // namespace kwxml
