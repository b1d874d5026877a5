// Numbers to text and back as the C locale has them, whatever the locale of the process. Used for defaults
// and by every text form of a message. Threads may use the functions at the same time.
#pragma once

#include <kwxml/platform/Export.h>

#include <cstddef>
#include <string_view>

namespace kwxml {

/// Holds every number that the formatters below write, and a terminating zero.
struct NumberBuffer
{
  static constexpr std::size_t capacity = 32;  ///< size of the text in bytes, the terminating zero included
  char text[capacity];                         ///< not set at first
};

/// Writes the number's decimal digits, behind a "-" where it is negative, zero-terminated to `buffer`.
/// Returns a view of the text without the zero, valid as long as the buffer is unchanged.
KWXML_API std::string_view formatInteger(long long value, NumberBuffer& buffer) noexcept;
/// The same as formatInteger() for an unsigned number.
KWXML_API std::string_view formatUnsigned(unsigned long long value, NumberBuffer& buffer) noexcept;
/// Writes the number as a default-formatted stream does: six significant digits, the shorter of fixed and
/// scientific, without trailing zeros; "inf", "-inf", "nan", "-nan". Buffer and result are as those of
/// formatInteger().
KWXML_API std::string_view formatDouble(double value, NumberBuffer& buffer) noexcept;

/// Writes the shortest text that parseDouble(), or parseFloat() for a float, reads back to the same value;
/// for what is not a number with the value's bits, as "nan(0x1)". Buffer and result are as those of
/// formatInteger().
KWXML_API std::string_view formatExact(double value, NumberBuffer& buffer) noexcept;
KWXML_API std::string_view formatExact(float value, NumberBuffer& buffer) noexcept;
/// Writes a text that is read back to the same value as well: that of formatDouble() where its six digits
/// suffice, which is faster, else that of formatExact(). Buffer and result are as those of formatInteger().
KWXML_API std::string_view formatFaithful(double value, NumberBuffer& buffer) noexcept;
KWXML_API std::string_view formatFaithful(float value, NumberBuffer& buffer) noexcept;

/// The number at the start of a zero-terminated text: decimal, hexadecimal, "inf" or "nan", after blanks and
/// a sign; text behind the number is ignored. 0 for null and for a text without a number; infinite for a
/// number too large, 0 or nearly 0 for one too small.
KWXML_API double parseDouble(const char* text) noexcept;
/// The result of parseDouble() as a float; a value beyond the range of float is infinite.
KWXML_API float parseFloat(const char* text) noexcept;

/// The decimal integer at the start of a zero-terminated text, after blanks and a sign; text behind the
/// number is ignored. The nearest bound for a number beyond 64 bits, 0 for null and for a text without
/// digits.
KWXML_API long long parseInteger(const char* text) noexcept;
/// The same as parseInteger() for an unsigned number; a negative number counts down from 2^64.
KWXML_API unsigned long long parseUnsigned(const char* text) noexcept;
/// The result of parseInteger(), or the nearest bound of int.
KWXML_API int parseInt(const char* text) noexcept;

/// Whether the texts are equal but for the case of ASCII letters.
KWXML_API bool asciiEqualsIgnoreCase(std::string_view a, std::string_view b) noexcept;

}  // namespace kwxml

/// The same as kwxml::parseInteger().
inline long long kwxml_atoll(const char* text) noexcept
{
  return kwxml::parseInteger(text);
}
