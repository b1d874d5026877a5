// A text that is given to a reader, as it is at hand.
#pragma once

#include <kwxml/platform/CxxStandard.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace kwxml {

/// What functions take that read a text: made of a string, a literal or a view. It points to the text of its
/// caller, who keeps that for as long as the call takes. The XML reader needs a zero byte behind the text;
/// strings and literals have one, and of a view it makes a copy.
class TextToRead
{
public:
  /// The text of a string.
  TextToRead(const std::string& text) : view_(text), hasEnd_(true) {}
  /// A zero-terminated text; null is an empty one.
  TextToRead(const char* text) : view_(text != nullptr ? text : ""), hasEnd_(true) {}
  TextToRead(std::nullptr_t) = delete;
  /// A text that nothing needs to stand behind.
  TextToRead(std::string_view text) : view_(text), hasEnd_(false) {}

  /// The text.
  std::string_view view() const noexcept { return view_; }
  /// Whether a zero byte stands behind the text.
  bool hasEnd() const noexcept { return hasEnd_; }

private:
  std::string_view view_;
  bool hasEnd_;
};

}  // namespace kwxml
