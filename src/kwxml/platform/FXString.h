// Texts that are made with printf's formats.
#pragma once

#include <kwxml/platform/CxxStandard.h>
#include <kwxml/platform/Export.h>

#include <compare>
#include <cstdarg>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

/// A text that can be made with printf's formats. Numbers without the ' flag look the same in every locale,
/// except for the decimal point of floating-point numbers, which the locale decides. A value: copies are
/// independent.
class KWXML_API FXString
{
public:
  /// An empty text.
  FXString() = default;
  /// A copy of the zero-terminated text; null counts as an empty text.
  FXString(const char* text) : text_(text ? text : "") {}
  /// The given text, all bytes of it.
  FXString(std::string text) : text_(std::move(text)) {}

  /// Replaces the text by the formatted one, of any length. The arguments may come from this very text. False
  /// for what the C library refuses (an invalid wide character, a result beyond 2 GB); the text is then as it
  /// was.
  [[gnu::format(printf, 2, 3)]] bool Format(const char* format, ...);
  /// The same as Format() with the arguments in a list, which the caller may use again.
  [[gnu::format(printf, 2, 0)]] bool FormatV(const char* format, va_list args);

  /// The text with a terminating zero, owned by this object and valid until the object changes.
  const char* c_str() const { return text_.c_str(); }
  /// The text itself, owned by this object.
  const std::string& str() const { return text_; }
  /// The text itself, owned by this object.
  operator const std::string&() const { return text_; }
  /// A view of the text, valid until the object changes.
  operator std::string_view() const { return text_; }
  /// The text's length in bytes.
  size_t length() const { return text_.length(); }
  /// Whether the text has no bytes.
  bool empty() const { return text_.empty(); }
  /// Makes the text empty.
  void clear() { text_.clear(); }
  /// Appends the other text.
  FXString& operator+=(const FXString& other)
  {
    text_ += other.text_;
    return *this;
  }
  /// A new text of both, `left` first.
  friend FXString operator+(FXString left, const FXString& right) { return left += right; }
  friend bool operator==(const FXString&, const FXString&) = default;
  friend auto operator<=>(const FXString&, const FXString&) = default;
  /// Writes the text as a std::string is written.
  friend std::ostream& operator<<(std::ostream& out, const FXString& text);

private:
  std::string text_;
};
