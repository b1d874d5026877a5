#include <kwxml/xml/TextFit.h>

#include <kwxml/text/NumberText.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

namespace kwxml {

namespace {

/// A decimal number of at most 64 bits: its sign and size.
struct Whole
{
  bool isNumber = false;
  bool negative = false;
  bool huge = false;
  std::uint64_t size = 0;

  explicit Whole(std::string_view text)
  {
    negative = text.starts_with('-');
    text.remove_prefix(negative || text.starts_with('+') ? 1 : 0);
    const auto result = std::from_chars(text.data(), text.data() + text.size(), size);
    isNumber = result.ec != std::errc::invalid_argument && result.ptr == text.data() + text.size();
    huge = result.ec == std::errc::result_out_of_range;
  }
};

template <class Number>
bool holds(const Whole& whole)
{
  constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<Number>::max());
  return !whole.huge && (whole.negative ? std::is_signed_v<Number> ? whole.size <= most + 1 : whole.size == 0
                                        : whole.size <= most);
}

/// The text fits when one of the types holds its number.
template <class... Numbers>
TextFit wholeFit(std::string_view text)
{
  const Whole whole(withoutBlanks(text));
  return !whole.isNumber                  ? TextFit::NotOfType
         : (holds<Numbers>(whole) || ...) ? TextFit::Whole
                                          : TextFit::OutOfRange;
}

/// Significant digits of a decimal number, without point, exponent and the zeros around them.
std::string digitsOf(std::string_view text)
{
  std::string digits;
  for (const char c : text.substr(0, text.find_first_of("eE"))) {
    if (c >= '0' && c <= '9' && (c != '0' || !digits.empty())) {
      digits += c;
    }
  }
  digits.erase(digits.find_last_not_of('0') + 1);
  return digits;
}

template <class Number>
TextFit realFit(std::string_view blankText)
{
  std::string_view text = withoutBlanks(blankText);
  const bool hasPlus = text.starts_with('+');
  text.remove_prefix(hasPlus ? 1 : 0);
  const std::string_view size = text.substr(text.starts_with('-') && !hasPlus ? 1 : 0);
  const bool isHex = size.starts_with("0x") || size.starts_with("0X");
  const std::string_view mantissa = isHex ? size.substr(2) : text;
  const auto isSign = [](char c) { return c == '-' || c == '+'; };
  if (mantissa.empty() || isSign(size[0]) || (isHex && isSign(mantissa[0]))) {
    return TextFit::NotOfType;  // a second sign, or nothing
  }
  double read = 0;
  const auto result = std::from_chars(mantissa.data(), mantissa.data() + mantissa.size(), read,
                                      isHex ? std::chars_format::hex : std::chars_format::general);
  if (result.ec == std::errc::invalid_argument || result.ptr != mantissa.data() + mantissa.size()) {
    return TextFit::NotOfType;
  }
  const bool isNamed = size[0] == 'i' || size[0] == 'I' || size[0] == 'n' || size[0] == 'N';
  if (isHex || isNamed) {
    return isNamed || (result.ec == std::errc() && std::isfinite(static_cast<Number>(read)))
               ? TextFit::Whole
               : TextFit::OutOfRange;
  }
  const std::string digits = digitsOf(size);
  // The library rounds to a double first, as the C library's functions do.
  const auto value =
      static_cast<Number>(result.ec == std::errc() ? read : parseDouble(std::string(text).c_str()));
  if (!std::isfinite(value) || (value == 0 && !digits.empty())) {
    return TextFit::OutOfRange;
  }
  if (digits.size() <= static_cast<std::size_t>(std::numeric_limits<Number>::digits10)) {
    return TextFit::Whole;
  }
  // With as many digits as the text has, the value must show the same ones.
  constexpr std::size_t most = 800;  // a double has no more
  if (digits.size() > most) {
    return TextFit::PrecisionLost;
  }
  char shown[most + 32];
  const auto end = std::to_chars(shown, std::end(shown), static_cast<double>(value),
                                 std::chars_format::scientific, static_cast<int>(digits.size()) - 1);
  return digitsOf({shown, static_cast<std::size_t>(end.ptr - shown)}) == digits ? TextFit::Whole
                                                                                : TextFit::PrecisionLost;
}

}  // namespace

TextFit fitOf(FieldDataType type, std::string_view text)
{
  switch (type) {
    case FIELD_INT:
    case FIELD_TIME32:
    case FIELD_LIST_INT:
      return wholeFit<int>(text);
    case FIELD_UINT:
    case FIELD_LIST_UINT:
    case FIELD_LIST_ENUM:
    case FIELD_LIST_BOOL:
      return wholeFit<unsigned int, int>(text);
    case FIELD_LONG:
    case FIELD_ULONG:
    case FIELD_LONGLONG:
    case FIELD_ULONGLONG:
    case FIELD_TIME64:
    case FIELD_INT64:
    case FIELD_LIST_LONG:
    case FIELD_LIST_LONGLONG:
      return wholeFit<long long>(text);
    case FIELD_LIST_ULONG:
    case FIELD_LIST_ULONGLONG:
      return wholeFit<unsigned long long, long long>(text);
    case FIELD_BOOL:
      return asciiEqualsIgnoreCase(text, "true") || asciiEqualsIgnoreCase(text, "false")
                 ? TextFit::Whole
                 : wholeFit<long long>(text);
    case FIELD_DOUBLE:
    case FIELD_LIST_DOUBLE:
      return realFit<double>(text);
    case FIELD_FLOAT:
    case FIELD_LIST_FLOAT:
      return realFit<float>(text);
    default:
      return TextFit::Whole;
  }
}

bool isTimeOfForm(std::string_view text, std::string_view form)
{
  const bool hasDate = form.starts_with("dddd-");
  int numbers[6] = {};
  std::size_t count = 0;
  while (!form.empty()) {
    const std::size_t digits = std::min(form.find_first_not_of('d'), form.size());
    if (digits > 0) {
      const std::string_view number = text.substr(0, text.find_first_not_of("0123456789"));
      if (number.empty() || number.size() > digits) {
        return false;
      }
      std::from_chars(number.data(), number.data() + number.size(), numbers[count++]);
      text.remove_prefix(number.size());
      form.remove_prefix(digits);
    } else {
      if (!text.starts_with(form[0])) {
        return false;
      }
      text.remove_prefix(form[0] == ' ' ? std::min(text.find_first_not_of(' '), text.size()) : 1);
      form.remove_prefix(1);
    }
  }
  using namespace std::chrono;
  return text.empty() &&
         (!hasDate || year_month_day(year(numbers[0]), month(static_cast<unsigned>(numbers[1])),
                                     day(static_cast<unsigned>(numbers[2])))
                          .ok());
}

std::string_view withoutBlanks(std::string_view text)
{
  constexpr const char* blanks = " \t\r\n";
  const auto first = text.find_first_not_of(blanks);
  return first == std::string_view::npos ? std::string_view()
                                         : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

}  // namespace kwxml
