// Timestamps and times of day as the readable XML form shows them.
//
// Timestamps are 32-bit seconds since the Unix epoch in the local time zone. Nothing depends on the process's
// locale. Safe for concurrent use (the time zone is the C library's, which locks it).
#pragma once

#include <cstddef>
#include <string>

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

}  // namespace kwxml

/// Writes a timestamp into a buffer of at least 504 bytes, zero-terminated: "YYYY-MM-DD" for DATE, else
/// "YYYY-MM-DD hh:mm:ss". A time before 1991 is taken for a duration and written as "N dd" (whole days), "N
/// hh" (whole hours from one hour on) or plain seconds. False for a null buffer or a time that has no local
/// form.
bool writeXDate(int seconds, Annotation::DateType type, char* out);

/// Reads what writeXDate() writes for dates; durations are not read. The month may be at most 12, the day 31,
/// the hour 24, minute and second 60 (bounds included, deliberately), and what exceeds the calendar is
/// normalised, as February 31. The result is cut to 32 bits. False, with `seconds` unchanged, for anything
/// else; null too.
bool processXDate(const char* text, int& seconds, Annotation::DateType type);

/// Reads a time of day "hh:mm:ss", with blanks around it, as seconds since midnight. 24:00:ss is the only
/// hour
/// 24. False, with an error line and `seconds` unchanged, for anything else.
bool processKWTime(const char* text, int& seconds);

/// Removes space, form feed, new-line, carriage return, tab and vertical tab at one end or at both.
void trim_left_inplace(std::string& text);
void trim_right_inplace(std::string& text);
std::string trim_string(std::string text);
