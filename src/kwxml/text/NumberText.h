// Numbers to text and back as the C locale has them, whatever the locale of the process. Used for
// defaults and by every text form of a message.
#pragma once

#include <cstddef>
#include <string_view>

namespace kwxml {

/// Holds every number that the formatters below write, and a terminating zero.
struct NumberBuffer
{
  static constexpr std::size_t capacity = 32;
  char text[capacity];
};

/// Decimal digits, zero-terminated in `buffer`; the view ends before the zero.
std::string_view formatInteger(long long value, NumberBuffer& buffer) noexcept;
std::string_view formatUnsigned(unsigned long long value, NumberBuffer& buffer) noexcept;
/// As a default-formatted stream writes it: six significant digits, the shorter of fixed and scientific,
/// without trailing zeros; "inf", "-inf", "nan", "-nan". Zero-terminated in `buffer`.
std::string_view formatDouble(double value, NumberBuffer& buffer) noexcept;

/// The shortest text that parseDouble(), or parseFloat(), reads back to the same value.
std::string_view formatExact(double value, NumberBuffer& buffer) noexcept;
std::string_view formatExact(float value, NumberBuffer& buffer) noexcept;
/// A text that reads back so as well: of six digits, as formatDouble() has them, where they do, which takes a
/// fraction of the time; else the shortest.
std::string_view formatFaithful(double value, NumberBuffer& buffer) noexcept;
std::string_view formatFaithful(float value, NumberBuffer& buffer) noexcept;

/// The number at the start of a text: decimal, hexadecimal, "inf" and "nan", after blanks and a sign; 0 for
/// null and without a number, infinite or 0 beyond the range.
double parseDouble(const char* text) noexcept;
/// parseDouble() narrowed to float; a value beyond the range of float is infinite.
float parseFloat(const char* text) noexcept;

/// The decimal integer at the start of a text, after blanks and a sign; the nearest bound beyond the range, 0
/// for null and without digits. As unsigned, a negative number counts down from 2^64.
long long parseInteger(const char* text) noexcept;
unsigned long long parseUnsigned(const char* text) noexcept;
/// parseInteger() limited to the range of int.
int parseInt(const char* text) noexcept;

/// Equal but for the case of ASCII letters.
bool asciiEqualsIgnoreCase(std::string_view a, std::string_view b) noexcept;

}  // namespace kwxml

/// The decimal integer at the start of a text: leading blanks and a sign are allowed, reading stops at the
/// first other character, and a value beyond 64 bits gives the nearest bound. 0 for null and without digits.
inline long long kwxml_atoll(const char* text) noexcept
{
  return kwxml::parseInteger(text);
}
