// Timestamps and times of day as the readable XML form shows them.
//
// Timestamps are seconds since the Unix epoch, in 32 bits, and are shown in the local time zone. Nothing
// depends on the process's locale. Threads may use the functions at the same time; the C library locks its
// time zone.
#pragma once

#include <kwxml/platform/Export.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace Annotation {

/// How an integer field shows a timestamp; the numbers are those of field annotations.
enum DateType : int
{
  DATE_TIME = 1,  ///< with the time of day
  DATE = 2        ///< the day alone
};

}  // namespace Annotation

namespace kwxml {

/// The least size in bytes of the buffer that writeXDate() is given.
inline constexpr std::size_t dateBufferSize = 504;

/// Replaces `out` by a timestamp in local time as ISO 8601 has it: "2026-01-31T07:05:00+01:00", and for the
/// type Annotation::DATE "2026-01-31" where the timestamp is the first second of the day. False, with `out`
/// unchanged, for what is no timestamp: a value beyond 32 bits, or one before 1991, which is a duration.
/// False, too, for a DATE at one of two midnights of a day: readers would take the other one.
[[nodiscard]] KWXML_API bool formatIsoDate(long long seconds, int type, std::string& out);
/// Reads a date with time and time zone, as formatIsoDate() writes it or with "Z" for the zone. False, with
/// `seconds` unchanged, for anything else: fractions of seconds, a day or time that does not exist, a date
/// alone, which processXDate() reads. The result may exceed 32 bits.
[[nodiscard]] KWXML_API bool parseIsoDate(std::string_view text, long long& seconds);
/// Replaces `out` by a time of day, "07:05:00", from the seconds since midnight. False, with `out` unchanged,
/// for negative seconds, and a day or more.
[[nodiscard]] KWXML_API bool formatTimeOfDay(long long seconds, std::string& out);

}  // namespace kwxml

/// Writes a timestamp into a buffer of at least kwxml::dateBufferSize bytes, zero-terminated: "YYYY-MM-DD"
/// for DATE, else "YYYY-MM-DD hh:mm:ss". A time before 1991 is taken for a duration and written as "N dd"
/// (whole days), "N hh" (whole hours from one hour on) or plain seconds. False, with `out` unchanged, for a
/// null buffer and for a time that has no local form.
[[nodiscard]] KWXML_API bool writeXDate(int seconds, Annotation::DateType type, char* out);

/// Reads what writeXDate() writes for dates of the type; durations are not read. The month may be at most 12,
/// the day 31, the hour 24, minute and second 60, these bounds included. A day that the calendar lacks counts
/// on into the next month, as February 31. Text behind the date is ignored. The result is cut to 32 bits.
/// False, with `seconds` unchanged and nothing logged, for anything else, for null and for another type.
[[nodiscard]] KWXML_API bool processXDate(const char* text, int& seconds, Annotation::DateType type);

/// Reads a time of day "hh:mm:ss", with blanks around it, as seconds since midnight. Each part is read as
/// kwxml::parseInt() reads. The hour may be at most 23, minute and second 59; 24:00:ss is read, too. False,
/// with an error in the log and `seconds` unchanged, for anything else, and for null.
[[nodiscard]] KWXML_API bool processKWTime(const char* text, int& seconds);

/// Removes spaces, form feeds, new-lines, carriage returns, tabs and vertical tabs at the beginning.
KWXML_API void trim_left_inplace(std::string& text);
/// Removes the same characters at the end.
KWXML_API void trim_right_inplace(std::string& text);
/// A copy of the text without the same characters at both ends.
KWXML_API std::string trim_string(std::string text);
