#include <kwxml/json/JsonNumbers.h>

#include <algorithm>
#include <charconv>
#include <climits>
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

}  // namespace

bool writeWhole(std::string_view text, std::string& out)
{
  const bool negative = text.starts_with('-');
  text.remove_prefix(negative ? 1 : 0);
  std::string digits(takeDigits(text));
  if (digits.empty()) {
    return false;
  }
  auto point = static_cast<long long>(digits.size());
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    digits += takeDigits(text);
  }
  if (text.starts_with('e') || text.starts_with('E')) {
    text.remove_prefix(1);
    text.remove_prefix(text.starts_with('+') ? 1 : 0);
    const bool isSmall = text.starts_with('-');
    int exponent = 0;
    const auto end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, exponent);
    if (read.ec == std::errc::invalid_argument || read.ptr != end) {
      return false;
    }
    point += read.ec == std::errc() ? exponent : isSmall ? INT_MIN : INT_MAX;
    text = {};
  }
  if (!text.empty()) {
    return false;
  }
  // The point, where the exponent has moved it, parts the number from what must be zeros.
  const std::size_t first = digits.find_first_not_of('0');
  const std::size_t last = digits.find_last_not_of('0');
  if (first == std::string::npos) {
    out = "0";
    return true;
  }
  if (point <= static_cast<long long>(last)) {
    return false;
  }
  constexpr long long most = 40;
  const long long size = std::min(point - static_cast<long long>(first), most);
  out = (negative ? "-" : "") + digits.substr(first, static_cast<std::size_t>(size));
  out.append(static_cast<std::size_t>(size) + (negative ? 1 : 0) - out.size(), '0');
  return true;
}

}  // namespace kwxml
