// Diagnostics: one line each on standard error, whatever the text holds.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace kwxml {
struct LogRecord;
}

namespace kwxml::tool {

/// Text from outside as part of one line: line ends and tabs become blanks, and what else could steer a
/// terminal is shown as what it is. Longer than `limit` bytes it is cut between two characters and ends with
/// "..."; 0 is no limit.
std::string oneLine(std::string_view text, std::size_t limit);

/// Writes "kwxml: " and the text as one line on standard error, in place of the progress that stands there.
void report(std::string_view text);
/// The same without "kwxml: ", for lines that begin with a place in a file.
void reportPlace(std::string_view text);

/// Shows how far long work has come, on a terminal; an empty text takes it away again.
void showProgress(std::string_view text);

/// Shows the library's log on standard error while it lives; there is one. Level 0 shows errors, each by its
/// text alone, long ones cut (the parser's quotes the whole document); higher levels show traces too,
/// everything whole, with level and function.
class LibraryLog
{
public:
  explicit LibraryLog(int level);
  ~LibraryLog();
  LibraryLog(const LibraryLog&) = delete;
  LibraryLog& operator=(const LibraryLog&) = delete;

  /// While it lives the library's lines are neither shown nor counted.
  class Silence
  {
  public:
    explicit Silence(LibraryLog& log) : log_(log) { log_.silent_ = true; }
    ~Silence() { log_.silent_ = false; }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

  private:
    LibraryLog& log_;
  };

  /// Shows an error of the tool's own beside those of the library, and counts it.
  void error(std::string_view text);
  /// The number of errors that were logged since the log was made. Of what is written or read the encoders
  /// and observers know better.
  int errors() const { return errors_; }
  /// While it lives lines up to a level are logged, and those of just that level and one function are the
  /// tool's own: they go to `take` alone. What else is logged above the level of the log is not shown. It
  /// must not end while others log.
  class OwnLines
  {
  public:
    OwnLines(LibraryLog& log, int level, const std::string& function,
             std::function<void(const LogRecord&)> take);
    ~OwnLines();
    OwnLines(const OwnLines&) = delete;
    OwnLines& operator=(const OwnLines&) = delete;

  private:
    LibraryLog& log_;
  };

  int level() const { return level_; }

private:
  void show(const LogRecord& record);

  const int level_;
  std::function<void(const LogRecord&)> take_;
  int ownLevel_ = 0;
  std::string ownFunction_;
  int errors_ = 0;
  bool silent_ = false;
};

}  // namespace kwxml::tool
