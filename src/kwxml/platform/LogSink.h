// The program's hook into the logs: a sink that sees every line, and the level that all logs share. Used by
// programs that show the log elsewhere than in files (a command-line tool on standard error, a test in
// memory). All functions may be called from any thread, at any time.
#pragma once

#include <kwxml/platform/Export.h>
#include <kwxml/platform/StandardParts.h>

#include <string_view>

namespace kwxml {

/// One line of a log. The strings live only while the sink runs: a sink copies what it keeps.
struct LogRecord
{
  const char* log;         ///< name of the log; never null
  int level;               ///< 0 for errors, more for traces
  const char* function;    ///< name of the reporting function; null when the caller gave none
  const char* systemName;  ///< a name that the caller gave the line; null or empty for none
  std::string_view text;   ///< the formatted text, whole, as the caller gave it (line ends included)
  long long reference;     ///< a number that the caller gave the line; 0 for none
};

/// Sends the lines of every log to `sink` too, from the next line on; an empty function ends that. The
/// function object is copied. One thread at a time runs the sink. When setLogSink() returns, the former sink
/// is not running and will not be called again, unless the sink itself calls setLogSink(). Lines that the
/// sink itself logs do not reach it. A sink that throws loses the line, and that is reported on standard
/// error; the logging function returns as usual.
///
/// In a forked child the sink is called as in the parent; locks of the sink's own are the program's care
/// there. When a sink calls exit(), or drains or ends a KwThreadPool, the library waits for other threads
/// inside the sink. Until that wait ends, lines of other threads do not reach the sink, so that they do not
/// wait for it, and setLogSink() does not wait for the sink either.
KWXML_API void setLogSink(std::function<void(const LogRecord&)> sink);

/// Sets the level of all logs that have no level of their own. Overrides `level` of section [Log] in the
/// settings. Values below 0 count as 0: errors are always written.
KWXML_API void setLogLevel(int level);

/// The same, but a higher level stays.
KWXML_API void raiseLogLevel(int level);

/// From now on every log writes its lines up to `level` (0: errors) to standard error, too, wherever else
/// they go (see EvDebug.h on how many at once), but for logs with EvDebug::setStandardError(false). Programs
/// call kwxml::logToStandardError() (XMLDebug.h), which does more.
KWXML_API void alwaysToStandardError(int level);

}  // namespace kwxml
