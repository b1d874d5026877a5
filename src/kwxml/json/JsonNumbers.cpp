#include <kwxml/json/JsonNumbers.h>

#include <charconv>
#include <limits>
#include <system_error>

namespace kwxml {

namespace {

/// Drops a run of digits from the front of a text, which is returned.
std::string_view takeDigits(std::string_view& text)
{
  const std::string_view digits = text.substr(0, text.find_first_not_of("0123456789"));
  text.remove_prefix(digits.size());
  return digits;
}

/// False beyond 64 bits.
bool append(std::uint64_t& value, std::uint64_t digit)
{
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  if (value > (most - digit) / 10) {
    return false;
  }
  value = value * 10 + digit;
  return true;
}

}  // namespace

bool readWholeNumber(std::string_view text, WholeNumber& number)
{
  const bool negative = text.starts_with('-');
  text.remove_prefix(negative ? 1 : 0);
  const std::string_view whole = takeDigits(text);
  std::string_view fraction;
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    fraction = takeDigits(text);
  }
  int exponent = 0;
  if (text.starts_with('e') || text.starts_with('E')) {
    text.remove_prefix(1);
    text.remove_prefix(text.starts_with('+') ? 1 : 0);
    const auto result = std::from_chars(text.data(), text.data() + text.size(), exponent);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) {
      return false;
    }
    text = {};
  }
  if (whole.empty() || !text.empty()) {
    return false;
  }
  // The digits before the point, as the exponent moves it, are the number; behind it there are only zeros.
  const auto digitAt = [&](std::size_t i) {
    return static_cast<std::uint64_t>((i < whole.size() ? whole[i] : fraction[i - whole.size()]) - '0');
  };
  const std::size_t digits = whole.size() + fraction.size();
  const long long point = static_cast<long long>(whole.size()) + exponent;
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < digits; ++i) {
    const bool isBehind = static_cast<long long>(i) >= point;
    if (isBehind ? digitAt(i) != 0 : !append(value, digitAt(i))) {
      return false;
    }
  }
  for (long long zeros = point - static_cast<long long>(digits); zeros > 0 && value != 0; --zeros) {
    if (!append(value, 0)) {
      return false;
    }
  }
  number = {negative, value};
  return true;
}

}  // namespace kwxml
