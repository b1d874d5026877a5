// Where in a text of JSON a reader is, for those who are told of problems. Not installed.
#pragma once

#include <kwxml/reading/ReadObserver.h>
#include <kwxml/text/TextPlace.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kwxml {

/// Finds places by the number of a token: the parser says no offsets, and who counts tokens spends nothing.
/// Each look goes on where the last one ended, so that all together pass the text once.
class JsonPlaces
{
public:
  JsonPlaces(std::string_view text, std::size_t begin)
      : text_(text), at_(begin), counted_(text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0)
  {
  }
  /// May stand before the first document, and is in no column.
  static constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

  /// Of the first character of a token, a bracket, a text, a number or a word; `number` counts from 1 on from
  /// where the document begins, and never falls. Of an offset, which is not before that.
  ReadPlace ofToken(std::uint64_t number);
  ReadPlace ofOffset(std::size_t offset);

private:
  void passToken();

  const std::string_view text_;
  std::size_t at_;            ///< the first byte that has not been passed as part of a token
  std::size_t start_ = 0;     ///< of the last token that was passed
  std::uint64_t tokens_ = 0;  ///< passed
  std::size_t counted_;       ///< the offset that place_ is of
  TextPlace place_;
};

}  // namespace kwxml
