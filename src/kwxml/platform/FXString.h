// A text that can be made with printf's formats. Numbers without the ' flag look the same in every locale,
// except for the decimal point of floating-point numbers, which is the C library's.
#pragma once

#include <kwxml/platform/CxxStandard.h>

#include <compare>
#include <cstdarg>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

class FXString
{
public:
  FXString() = default;
  /// A null text is an empty one.
  FXString(const char* text) : text_(text ? text : "") {}
  FXString(std::string text) : text_(std::move(text)) {}

  /// Replaces the text by the formatted one, of any length. The arguments may come from this very text. A
  /// format that the C library refuses (an invalid wide character, a result beyond 2 GB) leaves the text as
  /// it was and returns false.
  [[gnu::format(printf, 2, 3)]] bool Format(const char* format, ...);
  [[gnu::format(printf, 2, 0)]] bool FormatV(const char* format, va_list args);

  const char* c_str() const { return text_.c_str(); }
  const std::string& str() const { return text_; }
  operator const std::string&() const { return text_; }
  operator std::string_view() const { return text_; }
  size_t length() const { return text_.length(); }
  bool empty() const { return text_.empty(); }
  void clear() { text_.clear(); }
  FXString& operator+=(const FXString& other)
  {
    text_ += other.text_;
    return *this;
  }
  friend FXString operator+(FXString left, const FXString& right) { return left += right; }
  friend bool operator==(const FXString&, const FXString&) = default;
  friend auto operator<=>(const FXString&, const FXString&) = default;
  friend std::ostream& operator<<(std::ostream& out, const FXString& text) { return out << text.text_; }

private:
  std::string text_;
};
