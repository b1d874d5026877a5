#include <kwxml/text/NumberText.h>

#include <locale.h>
#include <algorithm>
#include <bit>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace kwxml {

namespace {

template <class Value, class... Format>
std::string_view format(Value value, NumberBuffer& buffer, Format... how) noexcept
{
  // The capacity exceeds the longest result of every caller (20 digits and a sign), so this cannot fail.
  char* end = std::to_chars(buffer.text, buffer.text + NumberBuffer::capacity - 1, value, how...).ptr;
  *end = '\0';
  return {buffer.text, static_cast<std::size_t>(end - buffer.text)};
}

/// The C locale, made once and kept. It is a constant of the C library, so making it cannot fail.
locale_t cLocale() noexcept
{
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

}  // namespace

std::string_view formatInteger(long long value, NumberBuffer& buffer) noexcept
{
  return format(value, buffer);
}

std::string_view formatUnsigned(unsigned long long value, NumberBuffer& buffer) noexcept
{
  return format(value, buffer);
}

namespace {

constexpr int digitCount = 6;
/// 1e-4 to 1e6: within them six digits are written without an exponent.
constexpr double powers[] = {1e-4, 1e-3, 1e-2, 1e-1, 1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6};
constexpr int leastExponent = -4;

/// The exponent of a number between the first and the last of the powers.
int exponentOf(double size) noexcept
{
  int exponent = size >= 1 ? 0 : leastExponent;
  while (size >= powers[exponent + 1 - leastExponent]) {
    ++exponent;
  }
  return exponent;
}

/// The six digits of a number as one integer; 0 where it is too close to the middle between two of them for a
/// product to tell: that is off by 1e-10 at most.
std::uint32_t sixDigits(double size, int exponent) noexcept
{
  constexpr double scales[] = {1e9, 1e8, 1e7, 1e6, 1e5, 1e4, 1e3, 1e2, 1e1, 1e0};
  const double scaled = size * scales[exponent - leastExponent];
  const auto below = static_cast<std::uint32_t>(scaled);
  const double rest = scaled - below;
  constexpr double margin = 1e-9;
  return rest > 0.5 - margin && rest < 0.5 + margin ? 0 : below + (rest > 0.5 ? 1 : 0);
}

/// The shortest of six digits at most, for a size between the first and the last of the powers, with the sign
/// of `value`; what it says is that integer over that power of ten.
[[gnu::always_inline]] inline std::string_view writeSix(double value, std::uint32_t six, int exponent,
                                                        NumberBuffer& buffer) noexcept
{
  char digits[digitCount];
  const auto put = [&digits](int at, std::uint32_t two) {
    digits[at] = static_cast<char>('0' + two / 10);
    digits[at + 1] = static_cast<char>('0' + two % 10);
  };
  put(0, six / 10000);
  put(2, six / 100 % 100);
  put(4, six % 100);
  int count = digitCount;
  while (digits[count - 1] == '0') {
    --count;
  }
  char* to = buffer.text;
  if (value < 0) {
    *to++ = '-';
  }
  const int whole = exponent + 1;  // digits before the point
  if (whole <= 0) {
    *to++ = '0';
    *to++ = '.';
    to = std::fill_n(to, -whole, '0');
    to = std::copy_n(digits, count, to);
  } else {
    to = std::copy_n(digits, whole, to);
    if (count > whole) {
      *to++ = '.';
      to = std::copy(digits + whole, digits + count, to);
    }
  }
  *to = '\0';
  return {buffer.text, static_cast<std::size_t>(to - buffer.text)};
}

/// Finds the six digits of a number and its exponent; false where they are not known for certain, or the
/// number is not between the powers.
[[gnu::always_inline]] inline bool findSix(double value, std::uint32_t& six, int& exponent) noexcept
{
  const double size = value < 0 ? -value : value;
  if (!(size >= powers[0] && size < powers[digitCount - leastExponent])) {
    return false;
  }
  exponent = exponentOf(size);
  six = sixDigits(size, exponent);
  constexpr std::uint32_t tooMany = 1000000;
  if (six == 0 || (six == tooMany && exponent == digitCount - 1)) {
    return false;
  }
  if (six == tooMany) {
    six /= 10;
    ++exponent;
  }
  return true;
}

/// Writes six digits when reading them gives the number: both sides of the division are exact, and it rounds
/// as reading does.
template <class Real>
std::string_view writeReturningSix(Real value, NumberBuffer& buffer) noexcept
{
  constexpr double scales[] = {1e9, 1e8, 1e7, 1e6, 1e5, 1e4, 1e3, 1e2, 1e1, 1e0};
  std::uint32_t six = 0;
  int exponent = 0;
  const auto wide = static_cast<double>(value);
  if (!findSix(wide, six, exponent)) {
    return {};
  }
  const double read = six / scales[exponent - leastExponent];
  return static_cast<Real>(wide < 0 ? -read : read) == value ? writeSix(wide, six, exponent, buffer)
                                                             : std::string_view();
}

}  // namespace

std::string_view formatDouble(double value, NumberBuffer& buffer) noexcept
{
  std::uint32_t six = 0;
  int exponent = 0;
  return findSix(value, six, exponent) ? writeSix(value, six, exponent, buffer)
                                       : format(value, buffer, std::chars_format::general, digitCount);
}

std::string_view formatFaithful(double value, NumberBuffer& buffer) noexcept
{
  const std::string_view six = writeReturningSix(value, buffer);
  return !six.empty() ? six : formatExact(value, buffer);
}

std::string_view formatFaithful(float value, NumberBuffer& buffer) noexcept
{
  const std::string_view six = writeReturningSix(value, buffer);
  return !six.empty() ? six : formatExact(value, buffer);
}

std::string_view formatExact(double value, NumberBuffer& buffer) noexcept
{
  if (value != value) [[unlikely]] {
    // The bits below the highest one of what is not a number; strtod() reads them so.
    const std::uint64_t bits = std::bit_cast<std::uint64_t>(value) & ((std::uint64_t{1} << 51) - 1);
    if (bits != 0) {
      const int size = std::snprintf(buffer.text, NumberBuffer::capacity, "%snan(0x%llx)",
                                     std::signbit(value) ? "-" : "", static_cast<unsigned long long>(bits));
      return {buffer.text, static_cast<std::size_t>(size)};
    }
  }
  return format(value, buffer);
}

std::string_view formatExact(float value, NumberBuffer& buffer) noexcept
{
  const std::string_view text = format(value, buffer);
  // Readers go by way of double, which rounds twice.
  return parseFloat(text.data()) == value ? text : formatExact(static_cast<double>(value), buffer);
}

double parseDouble(const char* text) noexcept
{
  return text != nullptr ? strtod_l(text, nullptr, cLocale()) : 0.0;
}

float parseFloat(const char* text) noexcept
{
  static_assert(std::numeric_limits<float>::is_iec559, "a double beyond the range of float becomes infinite");
  return static_cast<float>(parseDouble(text));
}

long long parseInteger(const char* text) noexcept
{
  return text != nullptr ? strtoll_l(text, nullptr, 10, cLocale()) : 0;
}

unsigned long long parseUnsigned(const char* text) noexcept
{
  return text != nullptr ? strtoull_l(text, nullptr, 10, cLocale()) : 0;
}

int parseInt(const char* text) noexcept
{
  return static_cast<int>(std::clamp<long long>(parseInteger(text), INT_MIN, INT_MAX));
}

bool asciiEqualsIgnoreCase(std::string_view a, std::string_view b) noexcept
{
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char x, char y) { return lower(x) == lower(y); });
}

}  // namespace kwxml
