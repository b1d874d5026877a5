// Places in a file of texts that are read one by one.
#pragma once

#include <kwxml/reading/ReadObserver.h>

#include <cstdint>
#include <string_view>

namespace kwxml::tool {

/// Where a text begins in its file.
struct TextPlace
{
  std::uint64_t line = 1;
  std::uint64_t column = 1;

  /// Goes behind a text. A carriage return ends a line as a line end does, with it or without.
  void pass(std::string_view text)
  {
    for (std::size_t i = 0; i < text.size(); ++i) {
      const auto c = static_cast<unsigned char>(text[i]);
      const bool ends = c == '\n' || (c == '\r' && (i + 1 == text.size() || text[i + 1] != '\n'));
      line += ends ? 1 : 0;
      column = ends ? 1 : column + ((c & 0xC0) != 0x80 ? 1 : 0);
    }
  }
};

/// Hands problems on with their places in the file.
class InFile : public ReadObserver
{
public:
  InFile(ReadObserver& observer, TextPlace begin) : observer_(observer), begin_(begin) {}
  void met(const Problem& problem) override
  {
    Problem shifted = problem;
    if (shifted.place.line != 0) {
      shifted.place.column += shifted.place.line == 1 ? begin_.column - 1 : 0;
      shifted.place.line += begin_.line - 1;
    }
    observer_.met(shifted);
  }

private:
  ReadObserver& observer_;
  const TextPlace begin_;
};

}  // namespace kwxml::tool
