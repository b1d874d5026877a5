#include <kwxml/log/LineFormat.h>

#include <kwxml/log/XmlLoggerHelper.h>
#include <kwxml/text/Utf8.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kwxml {

namespace {

/// A line's longest text.
constexpr std::size_t longestLine = 4095;

constexpr std::string_view placeholder = "%bxml_kw";
/// Stands for the placeholder while the C library formats a line; a text may have it too.
constexpr char mark = '\x01';
constexpr char otherMark = '\x02';

/// The length of the placeholder that a format begins with, 0 without one. "%%bxml_kw" counts as one.
std::size_t placeholderLength(std::string_view format)
{
  const std::size_t escape = format.starts_with("%%") ? 1 : 0;
  return format.substr(escape).starts_with(placeholder) ? placeholder.size() + escape : 0;
}

/// A copy of a caller's arguments, to be taken one by one.
struct Arguments
{
  explicit Arguments(va_list given) { va_copy(list, given); }
  ~Arguments() { va_end(list); }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  template <class T>
  T next()
  {
    return va_arg(list, T);
  }

  va_list list;
};

/// A format that the C library understands.
struct Format
{
  std::string all;         ///< with a mark for the placeholder; a second one is text
  std::size_t prefix = 0;  ///< where the mark stands
  bool hasPlaceholder = false;
};

/// "%b" is a conversion of the C library, so the placeholder never comes before it.
Format split(std::string_view format)
{
  Format result;
  result.all.reserve(format.size());
  for (std::size_t i = 0; i < format.size();) {
    const std::string_view rest = format.substr(i);
    if (const std::size_t length = placeholderLength(rest)) {
      if (!result.hasPlaceholder) {
        result.hasPlaceholder = true;
        result.prefix = result.all.size();
        result.all += mark;
      } else {
        (result.all += '%') += placeholder;
      }
      i += length;
    } else {
      const std::size_t count = rest.starts_with("%%") ? 2 : 1;
      result.all += rest.substr(0, count);
      i += count;
    }
  }
  return result;
}

/// The formatted text, at most longestLine bytes of it; nothing where the C library cannot format the
/// arguments.
std::optional<std::string> formatted(const std::string& format, va_list args)
{
  char line[longestLine + 1];
  const int length = std::vsnprintf(line, sizeof line, format.c_str(), args);
  if (length < 0) {
    return std::nullopt;
  }
  return std::string(line, std::min(static_cast<std::size_t>(length), longestLine));
}

/// Where in a text the placeholder stood: messageContainer::noXml when it stood nowhere.
using Place = std::size_t;
constexpr Place noPlace = messageContainer::noXml;

/// The front part of a format cannot be formatted alone, for arguments may be used by their numbers. So a
/// mark stands in the placeholder's place.
Place formatMarked(std::string& text, const Format& format, va_list args)
{
  Arguments again(args);
  std::optional<std::string> all = formatted(format.all, args);
  if (!all) {
    constexpr std::string_view why = "(arguments not formatted) ";
    text.assign(why).append(format.all);
    if (format.hasPlaceholder) {
      text.erase(why.size() + format.prefix, 1);
    }
    return format.hasPlaceholder ? why.size() + format.prefix : noPlace;
  }
  text = std::move(*all);
  Place at = noPlace;
  if (format.hasPlaceholder) {
    at = text.find(mark);
    const bool alone = at != std::string::npos && text.find(mark, at + 1) == std::string::npos;
    if (!alone || text.size() == longestLine) {
      // Texts have the mark too, or the only one to be seen is theirs. The place is where a formatting with
      // another mark differs.
      std::string marked = format.all;
      marked[format.prefix] = otherMark;
      const std::string other = formatted(marked, again.list).value_or(text);
      at = static_cast<Place>(std::mismatch(text.begin(), text.end(), other.begin(), other.end()).first -
                              text.begin());
    }
    if (at < text.size()) {
      text.erase(at, 1);
    }
  }
  return at;
}

/// Appends the decimal number that a conversion with so many "l" stands for.
template <class Int, class Long, class LongLong>
void appendNumber(std::string& text, int longs, Arguments& args)
{
  char digits[24];
  char* const end = longs == 0   ? std::to_chars(digits, std::end(digits), args.next<Int>()).ptr
                    : longs == 1 ? std::to_chars(digits, std::end(digits), args.next<Long>()).ptr
                                 : std::to_chars(digits, std::end(digits), args.next<LongLong>()).ptr;
  text.append(digits, end);
}

/// Formats what nearly all formats consist of: whole decimal numbers, texts, percent signs. Nothing where
/// there is anything else. Several times as fast as the C library, which would take the largest share of a
/// line's time.
std::optional<Place> formatPlain(std::string& text, const char* format, Arguments&& args)
{
  Place at = noPlace;
  while (*format != '\0') {
    const char* const next = strchrnul(format, '%');
    text.append(format, next);
    if (*next == '\0') {
      break;
    }
    if (const std::size_t length = placeholderLength(next)) {
      if (at == noPlace) {
        at = text.size();
      } else {
        text += placeholder;
      }
      format = next + length;
      continue;
    }
    format = next + 1;
    int longs = 0;
    for (; *format == 'l' && longs < 2; ++format) {
      ++longs;
    }
    const char conversion = *format++;
    if (conversion == 'd' || conversion == 'i') {
      appendNumber<int, long, long long>(text, longs, args);
    } else if (conversion == 'u') {
      appendNumber<unsigned, unsigned long, unsigned long long>(text, longs, args);
    } else if (conversion == 's' && longs == 0) {
      const char* const given = args.next<const char*>();
      if (given == nullptr) {
        return std::nullopt;
      }
      text.append(given, strnlen(given, longestLine));
    } else if (conversion == '%' && longs == 0) {
      text += '%';
    } else {
      return std::nullopt;
    }
    if (text.size() > longestLine) {
      text.resize(longestLine);
      break;  // nothing behind it is seen
    }
  }
  return at;
}

}  // namespace

void formatLine(messageContainer& record, const char* format, va_list args)
{
  std::string& text = record.text;
  text.clear();
  format = format != nullptr ? format : "";
  const std::optional<Place> place = formatPlain(text, format, Arguments(args));
  Place at = place ? *place : formatMarked(text, split(format), args);
  // The placeholder counts as it stands in the format.
  if (at != noPlace && at + placeholder.size() > longestLine) {
    text.resize(std::min(at, text.size()));
    at = noPlace;
  }
  const std::size_t longest = at != noPlace ? longestLine - placeholder.size() : longestLine;
  if (text.size() >= longest) {
    text.resize(longest);
    text.resize(utf8WithoutBegun(text));
  }
  record.xmlAt = at != noPlace ? std::min(at, text.size()) : noPlace;  // the cut may have passed it
}

}  // namespace kwxml
