// Timestamps and times of day as the readable XML form shows them.
//
// Timestamps are 32-bit seconds since the Unix epoch in the local time zone. Nothing depends on the process's
// locale. Safe for concurrent use (the time zone is the C library's, which locks it).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Annotation {

/// How an integer field shows a timestamp; the numbers are those of field annotations.
enum DateType : int
{
  DATE_TIME = 1,
  DATE = 2
};

}  // namespace Annotation

namespace kwxml {

/// The least size of the buffer that writeXDate() is given.
inline constexpr std::size_t dateBufferSize = 504;

/// A timestamp in local time as ISO 8601 has it: "2026-01-31T07:05:00+01:00", and of the date type DATE
/// "2026-01-31" where it is the first second of that day. False, with `out` unchanged, for what is no
/// timestamp: more than 32 bits, or before 1991, where a value is a duration.
[[nodiscard]] bool formatIsoDate(long long seconds, int type, std::string& out);
/// Reads a date with time and time zone ("Z" or an offset); fractions of seconds are not read, and dates
/// alone are left to processXDate(). False, with `seconds` unchanged, for anything else.
[[nodiscard]] bool parseIsoDate(std::string_view text, long long& seconds);
/// A time of day, "07:05:00". False, with `out` unchanged, for what is none: negative, or a day and more.
[[nodiscard]] bool formatTimeOfDay(long long seconds, std::string& out);

}  // namespace kwxml

/// Writes a timestamp into a buffer of at least 504 bytes, zero-terminated: "YYYY-MM-DD" for DATE, else
/// "YYYY-MM-DD hh:mm:ss". A time before 1991 is taken for a duration and written as "N dd" (whole days), "N
/// hh" (whole hours from one hour on) or plain seconds. False for a null buffer or a time that has no local
/// form.
[[nodiscard]] bool writeXDate(int seconds, Annotation::DateType type, char* out);

/// Reads what writeXDate() writes for dates; durations are not read. The month may be at most 12, the day 31,
/// the hour 24, minute and second 60 (bounds included, deliberately), and what exceeds the calendar is
/// normalised, as February 31. The result is cut to 32 bits. False, with `seconds` unchanged, for anything
/// else; null too.
[[nodiscard]] bool processXDate(const char* text, int& seconds, Annotation::DateType type);

/// Reads a time of day "hh:mm:ss", with blanks around it, as seconds since midnight. 24:00:ss is the only
/// hour
/// 24. False, with an error line and `seconds` unchanged, for anything else.
[[nodiscard]] bool processKWTime(const char* text, int& seconds);

/// Removes space, form feed, new-line, carriage return, tab and vertical tab at one end or at both.
void trim_left_inplace(std::string& text);
void trim_right_inplace(std::string& text);
std::string trim_string(std::string text);
