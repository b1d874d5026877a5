// Helpers that the platform classes share among themselves. Not installed.
#pragma once

#include <cstdarg>
#include <string>

namespace kwxml {

/// Formats like vsnprintf into a text of any length. Leaves `args` usable. False when the C library refuses
/// the format or its arguments; then `text` is unchanged.
[[nodiscard]] [[gnu::format(printf, 2, 0)]] bool formatText(std::string& text, const char* format,
                                                            va_list args);

/// Writes one line, led by "KwPlatform: ", to standard error: the last resort of what has no log to report
/// to.
[[gnu::format(printf, 1, 2)]] void reportToStderr(const char* format, ...);

/// The same with a finished text, and only when this process has not reported it before: for what is found
/// again by every object of a class.
void reportOnceToStderr(const std::string& text);

/// While it lives in a thread that a sink is running in, other threads' lines pass the sink by, for they
/// would wait for it: for who waits there for other threads.
class SinkPause
{
public:
  SinkPause();
  ~SinkPause();
  SinkPause(const SinkPause&) = delete;
  SinkPause& operator=(const SinkPause&) = delete;

private:
  const bool pauses_;
};

/// The system's text for an errno code, safe in every thread.
std::string errnoText(int code);

}  // namespace kwxml
