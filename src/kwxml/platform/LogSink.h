// The program's hook into the logs: a sink that sees every line, and the level that all logs share. Used by
// programs that show the log elsewhere than in files (a command-line tool on standard error, a test in
// memory). All functions may be called from any thread, at any time.
#pragma once

#include <functional>
#include <string_view>

namespace kwxml {

/// One line of a log. The strings live only while the sink runs; copy what is to be kept.
struct LogRecord
{
  const char* log;         // name of the log; never null
  int level;               // 0 for errors, more for traces
  const char* function;    // name of the reporting function; null when the caller gave none
  const char* systemName;  // null or empty when the caller gave none
  std::string_view text;   // the formatted text, whole, as the caller gave it (line ends included)
  long long reference;     // the caller's reference of the line, 0 for none
};

/// Sends the lines of every log to `sink` too, from the next line on; an empty function ends that. Calls of
/// the sink are serialised. When setLogSink returns, the former sink is not running and will not be called
/// again (unless it is the sink itself that calls setLogSink). Lines that the sink itself logs do not come
/// back to it. A sink that throws loses that line, with a line on standard error; the logging function
/// returns as usual. In a forked child the sink is called as in the parent; what locks it has of its own are
/// its own care there. What of
/// this library waits for other threads when the sink calls exit(), or drains or ends a KwThreadPool, does
/// not let those wait for the sink: until then their lines pass it by, and setLogSink() does not wait for it
/// either.
void setLogSink(std::function<void(const LogRecord&)> sink);

/// Sets the level of all logs that have none of their own. Overrides `level` of section [Log] in the
/// settings. Values below 0 count as 0: errors are always written.
void setLogLevel(int level);

/// From now on every log writes its lines to standard error, too, whatever else it has (see EvDebug.h on how
/// many at once). Programs call kwxml::logToStandardError() (XMLDebug.h), which does more.
void alwaysToStandardError();

}  // namespace kwxml
