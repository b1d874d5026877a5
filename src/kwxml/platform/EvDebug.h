// A log: lines with a level, written to a file that rotates. Everything that logs writes through EvDebug.
//
// Where lines go: to `<directory>/<name>.log` when a directory is known, and to the program's sink
// (LogSink.h) when one is set. With neither they go to standard error, one line each, at most 100 at once and
// 20 a second. How many lines are left out is told on standard error, too. The directory comes from the
// settings file (KWPlatformInfo.h), which is read once per process when the first log is made:
//
//     [Log]
//     directory = /var/log/product    created when missing; without one no file is written
//     level = 0                       level of all logs
//     size_mb = 10                    a file that would grow beyond this size is rotated
//     files = 5                       rotated files kept beside the current one (<name>.1.log, ...)
//
// A line of a file is "timestamp [level] pid/thread function text"; further lines of a text of several lines
// begin with a tab, so that no text can pass for a line of its own. Control characters other than tabs and
// line ends become "?". Logs with the same file share it. Each line is flushed. A file that cannot be opened
// is reported on standard error and not tried again. A line that cannot be written is reported there, once
// until a line succeeds. Lines that are not in their file, and have no sink, go to standard error. Writing a
// line throws nothing.
//
// Every function may be called from any thread. In a child that a thread forks while others log, logs are
// usable; a fork waits for lines that are being written, not for sinks.
#pragma once

#include <kwxml/platform/Export.h>
#include <kwxml/platform/StandardParts.h>

#include <atomic>
#include <cstdarg>
#include <string>

/// How a log differs from the defaults. A default-made record changes nothing.
struct EvDebugSettings
{
  /// -1: the level that all logs share; otherwise this log's own.
  int level = -1;
  /// 0: never to a file, nor to standard error in the file's place.
  int toFile = 1;
  /// 0: never to the program's sink.
  int toSink = 1;
  /// Size in MB at which the file is rotated, 1048576 at most; 0: `size_mb` of the settings.
  unsigned sizeMb = 0;
  /// Rotated files that are kept, 1000 at most; 0: `files` of the settings.
  unsigned files = 0;
  /// Of the file; empty: `directory` of the settings.
  std::string directory;
  /// Of the log; empty: the name given by EvDebug::initialize(), else the focus, else the program's name.
  std::string name;
};

/// A log. The log's name and file are settled by its first line, and again by the first line after
/// initialize().
class KWXML_API EvDebug
{
public:
  /// A log of the process: with the settings of all logs, and named after the focus or the program.
  EvDebug();
  /// A log that differs from the process's by `settings`, which are copied.
  explicit EvDebug(const EvDebugSettings& settings);
  virtual ~EvDebug();
  EvDebug(const EvDebug&) = delete;
  EvDebug& operator=(const EvDebug&) = delete;

  /// Names the log after `logId`, which getLogId() gave, unless EvDebugSettings::name names the log. `files`,
  /// `sizeMb` and `directory` override the settings; numbers below 1 and an empty or null text leave the
  /// settings. Returns 0, or -1 for an identifier that getLogId() never gave: then nothing changes.
  [[nodiscard]] int initialize(int logId, int files, int sizeMb, const char* directory);

  /// The identifier of a log name: the same name has the same identifier throughout the process. -1 for a
  /// null or empty name.
  static int getLogId(const char* name);

  /// Sets the size at which the file is rotated, 1048576 MB at most; 0 returns to that of the settings.
  void setLogFileSize(unsigned megabytes);

  /// Whether lines may go to standard error: where they go nowhere else, or after
  /// kwxml::alwaysToStandardError(). True at first. To be set to false for a log whose lines another log has,
  /// too.
  void setStandardError(bool enabled);

  /// The highest level that is written: the log's own, or that of all logs. Costs one atomic load.
  int getDebugLevel() const
  {
    return ownLevel_ >= 0 ? ownLevel_ : sharedLevel_.load(std::memory_order_relaxed);
  }

  /// Writes a line when `level` is at most the log's level; level 0 (errors) and below always. `format` and
  /// `args` are those of vprintf; `args` is copied: the caller may use it again. Lines may have any length.
  /// `function` and `systemName` may be null or empty: the line lacks them then. `event` (-1: the line is no
  /// event) and `reserved` are not used. A line that is lost is reported on standard error; nothing is
  /// thrown.
  [[gnu::format(printf, 7, 0)]] void handleMsgEventDebug_NEW(int level, const char* function, int event,
                                                             int reserved, const char* systemName,
                                                             const char* format, va_list args);

  /// Writes a line as handleMsgEventDebug_NEW() does, with printf's arguments and with a number of the
  /// caller's, `reference`, which is written as "ref=N" before the text; 0 for none.
  [[gnu::format(printf, 5, 6)]] void DebugLvl(const char* function, int level, long long reference,
                                              const char* format, ...);

private:
  friend struct EvDebugAccess;  // lets the implementation set the shared level
  struct Impl;

  [[gnu::format(printf, 6, 0)]] void write(int level, const char* function, long long reference,
                                           const char* systemName, const char* format, va_list args);

  static std::atomic<int> sharedLevel_;
  int ownLevel_ = -1;
  std::unique_ptr<Impl> impl_;
};
