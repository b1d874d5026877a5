#include <kwxml/text/NumberText.h>

#include <locale.h>
#include <algorithm>
#include <charconv>
#include <climits>
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

std::string_view formatDouble(double value, NumberBuffer& buffer) noexcept
{
  return format(value, buffer, std::chars_format::general, 6);
}

std::string_view formatExact(double value, NumberBuffer& buffer) noexcept
{
  return format(value, buffer);
}

std::string_view formatExact(float value, NumberBuffer& buffer) noexcept
{
  const std::string_view text = format(value, buffer);
  // Readers go by way of double, which rounds twice.
  return parseFloat(text.data()) == value || value != value ? text
                                                            : formatExact(static_cast<double>(value), buffer);
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
