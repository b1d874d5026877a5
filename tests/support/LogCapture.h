// Captures the lines of the library's log while it lives, so that a test can assert their exact text.
#pragma once

#include <string>
#include <vector>

namespace kwxml::test {

struct LogLine
{
  int level;
  std::string function;
  std::string text;
  bool operator==(const LogLine&) const = default;
};

/// Gives the process a focus (so that the log speaks), sets the level and collects the lines of the process's
/// log.
class LogCapture
{
public:
  explicit LogCapture(int level = 0);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  const std::vector<LogLine>& lines() const { return lines_; }
  /// True when a line with this function and text was logged.
  bool has(const std::string& function, const std::string& text) const;
  void clear() { lines_.clear(); }
  /// The lines up to now; the capture begins anew.
  std::string taken();

private:
  std::vector<LogLine> lines_;
};

/// The lines of a log, each as "10 function: text" with what a line cannot show as escapes.
std::string toText(const LogCapture& log);

}  // namespace kwxml::test
