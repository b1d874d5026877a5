#include <kwxml/text/Dates.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/text/NumberText.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <iterator>

namespace {

constexpr int secondsPerMinute = 60;
constexpr int secondsPerHour = 60 * secondsPerMinute;
constexpr int secondsPerDay = 24 * secondsPerHour;
/// Times before this year are taken for durations.
constexpr int firstYear = 1991;

constexpr const char blanks[] = " \f\n\r\t\v";

/// Reads numbers as scanf's "%4d" and "%02d" do (blanks before a number are skipped, a sign counts towards
/// the width), without depending on the locale.
class Scanner
{
public:
  explicit Scanner(const char* text) : next_(text) {}

  bool number(int width, int& value)
  {
    skipBlanks();
    const bool negative = *next_ == '-';
    if (width > 0 && (negative || *next_ == '+')) {
      ++next_;
      --width;
    }
    int result = 0;
    int digits = 0;
    for (; digits < width && *next_ >= '0' && *next_ <= '9'; ++digits) {
      result = 10 * result + (*next_++ - '0');
    }
    value = negative ? -result : result;
    return digits > 0;
  }

  bool literal(char c)
  {
    if (*next_ != c) {
      return false;
    }
    ++next_;
    return true;
  }

  void skipBlanks()
  {
    while (*next_ != '\0' &&
           std::find(std::begin(blanks), std::end(blanks) - 1, *next_) != std::end(blanks) - 1) {
      ++next_;
    }
  }

private:
  const char* next_;
};

}  // namespace

bool writeXDate(int seconds, Annotation::DateType type, char* out)
{
  const std::time_t time = seconds;
  std::tm local{};
  if (out == nullptr || localtime_r(&time, &local) == nullptr) {
    return false;
  }
  const int year = local.tm_year + 1900;
  if (year < firstYear) {
    if (seconds >= secondsPerDay && seconds % secondsPerDay == 0) {
      std::snprintf(out, kwxml::dateBufferSize, "%d dd", seconds / secondsPerDay);
    } else if (seconds >= secondsPerHour && seconds % secondsPerHour == 0) {
      std::snprintf(out, kwxml::dateBufferSize, "%d hh", seconds / secondsPerHour);
    } else {
      std::snprintf(out, kwxml::dateBufferSize, "%d", seconds);
    }
  } else if (type == Annotation::DATE) {
    std::snprintf(out, kwxml::dateBufferSize, "%04d-%02d-%02d", year, local.tm_mon + 1, local.tm_mday);
  } else {
    std::snprintf(out, kwxml::dateBufferSize, "%04d-%02d-%02d %02d:%02d:%02d", year, local.tm_mon + 1,
                  local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
  }
  return true;
}

bool processXDate(const char* text, int& seconds, Annotation::DateType type)
{
  if (text == nullptr || (type != Annotation::DATE && type != Annotation::DATE_TIME)) {
    return false;
  }
  Scanner scanner(text);
  int year = 0;
  int month = 0;
  int day = 0;
  if (!scanner.number(4, year) || !scanner.literal('-') || !scanner.number(2, month) ||
      !scanner.literal('-') || !scanner.number(2, day) || month > 12 || day > 31) {
    return false;
  }
  std::tm local{};
  if (type == Annotation::DATE_TIME) {
    scanner.skipBlanks();
    if (!scanner.number(2, local.tm_hour) || !scanner.literal(':') || !scanner.number(2, local.tm_min) ||
        !scanner.literal(':') || !scanner.number(2, local.tm_sec) || local.tm_hour > 24 ||
        local.tm_min > 60 || local.tm_sec > 60) {
      return false;
    }
  }
  local.tm_year = year - 1900;
  local.tm_mon = month - 1;
  local.tm_mday = day;
  local.tm_isdst = -1;
  local.tm_wday = -1;  // stays so only when mktime fails: its result of -1 is also a valid time
  const std::time_t time = std::mktime(&local);
  if (local.tm_wday == -1) {
    return false;
  }
  seconds = static_cast<std::int32_t>(time);
  return true;
}

namespace kwxml {

bool formatIsoDate(long long seconds, int type, std::string& out)
{
  const std::time_t time = static_cast<std::int32_t>(seconds);
  std::tm local{};
  if (time != seconds || localtime_r(&time, &local) == nullptr || local.tm_year + 1900 < firstYear) {
    return false;
  }
  char text[80];
  std::size_t size = std::strftime(text, sizeof text, "%Y-%m-%d", &local);
  if (type != Annotation::DATE || local.tm_hour != 0 || local.tm_min != 0 || local.tm_sec != 0) {
    // Some zones were off by seconds once; only the offset in minutes has a form.
    const long offset = local.tm_gmtoff / secondsPerMinute;
    const std::time_t shown = time + offset * secondsPerMinute;
    std::tm parts{};
    gmtime_r(&shown, &parts);
    size = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    const long minutes = offset < 0 ? -offset : offset;
    std::snprintf(text + size, sizeof text - size, "%c%02ld:%02ld", offset < 0 ? '-' : '+', minutes / 60,
                  minutes % 60);
  } else if (std::time_t midnight = 0; (local.tm_isdst = -1, midnight = std::mktime(&local)) != time) {
    return false;  // a day with two midnights: a reader would take the other one
  }
  out = text;
  return true;
}

bool parseIsoDate(std::string_view text, long long& seconds)
{
  constexpr std::string_view pattern = "dddd-dd-ddTdd:dd:dd";
  constexpr std::string_view offsetPattern = "dd:dd";
  const auto matches = [](std::string_view part, std::string_view form) {
    return part.size() == form.size() &&
           std::equal(part.begin(), part.end(), form.begin(),
                      [](char c, char f) { return f == 'd' ? c >= '0' && c <= '9' : c == f; });
  };
  const auto number = [](std::string_view digits) {
    int value = 0;
    for (const char c : digits) {
      value = value * 10 + (c - '0');
    }
    return value;
  };
  if (text.size() <= pattern.size() || !matches(text.substr(0, pattern.size()), pattern)) {
    return false;
  }
  const std::string_view zone = text.substr(pattern.size());
  int offset = 0;
  if (zone != "Z") {
    const bool isOffset = (zone[0] == '+' || zone[0] == '-') && matches(zone.substr(1), offsetPattern);
    if (!isOffset || number(zone.substr(1, 2)) > 23 || number(zone.substr(4, 2)) > 59) {
      return false;
    }
    offset = (number(zone.substr(1, 2)) * 60 + number(zone.substr(4, 2))) * secondsPerMinute;
    offset = zone[0] == '-' ? -offset : offset;
  }
  std::tm parts{};
  parts.tm_year = number(text.substr(0, 4)) - 1900;
  parts.tm_mon = number(text.substr(5, 2)) - 1;
  parts.tm_mday = number(text.substr(8, 2));
  parts.tm_hour = number(text.substr(11, 2));
  parts.tm_min = number(text.substr(14, 2));
  parts.tm_sec = number(text.substr(17, 2));
  std::tm normal = parts;
  const std::time_t time = timegm(&normal);
  if (parts.tm_sec > 59 || normal.tm_mon != parts.tm_mon || normal.tm_mday != parts.tm_mday ||
      normal.tm_hour != parts.tm_hour || normal.tm_min != parts.tm_min) {
    return false;  // no such day or time
  }
  seconds = static_cast<long long>(time) - offset;
  return true;
}

bool formatTimeOfDay(long long seconds, std::string& out)
{
  if (seconds < 0 || seconds >= secondsPerDay) {
    return false;
  }
  char text[16];
  const auto time = static_cast<int>(seconds);
  std::snprintf(text, sizeof text, "%02d:%02d:%02d", time / secondsPerHour, time / secondsPerMinute % 60,
                time % secondsPerMinute);
  out = text;
  return true;
}

}  // namespace kwxml

bool processKWTime(const char* text, int& seconds)
{
  if (text == nullptr) {
    XMLDebug::getInstance()->logError("processKWTime", "[%s]", "Received NULL string");
    return false;
  }
  const std::string trimmed = trim_string(text);
  if (std::count(trimmed.begin(), trimmed.end(), ':') != 2) {
    XMLDebug::getInstance()->logError("processKWTime", "Error in Time representation : [%s]",
                                      trimmed.c_str());
    return false;
  }
  const std::size_t first = trimmed.find(':');
  const std::size_t second = trimmed.find(':', first + 1);
  const long long hour = kwxml::parseInt(trimmed.c_str());
  const long long minute = kwxml::parseInt(trimmed.c_str() + first + 1);
  const long long rest = kwxml::parseInt(trimmed.c_str() + second + 1);
  const bool valid = hour == 24 ? minute == 0 && rest < 60 : hour < 24 && minute < 60 && rest < 60;
  const long long result = hour * secondsPerHour + minute * secondsPerMinute + rest;
  // Only upper bounds are set on the parts, so a negative one may take the sum out of the range of the field.
  if (!valid || result < INT_MIN) {
    XMLDebug::getInstance()->logError("processKWTime", "Error in 24 hour time representation : [%s]",
                                      trimmed.c_str());
    return false;
  }
  seconds = static_cast<int>(result);
  return true;
}

void trim_left_inplace(std::string& text)
{
  text.erase(0, text.find_first_not_of(blanks));
}

void trim_right_inplace(std::string& text)
{
  text.erase(text.find_last_not_of(blanks) + 1);
}

std::string trim_string(std::string text)
{
  trim_right_inplace(text);
  trim_left_inplace(text);
  return text;
}
