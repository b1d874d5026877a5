// Log lines on standard error, for processes that nobody has given a log file. Not installed.
#pragma once

#include <string>

namespace kwxml {

/// The highest level of lines that alwaysToStandardError() (LogSink.h) asks for; -1 when it was not called.
int standardErrorLevel();

/// Writes "LOG: error: TEXT" (of level 0) or "LOG: level N: TEXT" as one line: line ends in the text become
/// "\n". Of many lines at once only the first are written, since a fault that repeats itself says nothing
/// new: 100, and 20 more for each second. How many were left out is told before the next line that is
/// written, and when the process ends.
void writeToStandardError(const std::string& log, int level, const std::string& line);

}  // namespace kwxml
