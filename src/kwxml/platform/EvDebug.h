// A log: lines with a level, written to a file that rotates. Everything that logs writes through this class.
//
// Where lines go: to `<directory>/<name>.log` when a directory is known, and to the program's sink
// (LogSink.h) when one is set. With neither they go to standard error, one line each, at most 100 at once and
// 20 a second (how many are left out is told there, too). The directory
// comes from the settings file (KWPlatformInfo.h), read once per process when the first log is made:
//
//     [Log]
//     directory = /var/log/product    created when missing; without it no file is ever written
//     level = 0                       level of all logs
//     size_mb = 10                    a file that would grow beyond it is rotated
//     files = 5                       rotated files kept beside the current one (<name>.1.log, ...)
//
// A line of a file is "timestamp [level] pid/thread function text"; further lines of a text of several lines
// begin with a tab, so that no text can pass for a line of its own. Logs with the same file share it. Each
// line is flushed. A file that cannot be opened or written is reported once on standard error; nothing is
// thrown.
//
// Every function may be called from any thread. In a child that a thread forks while others log, logs are
// usable; a fork waits for lines that are being written, not for sinks.
#pragma once

#include <atomic>
#include <cstdarg>
#include <memory>
#include <string>

/// How a log differs from the defaults. A default-made record changes nothing.
struct EvDebugSettings
{
  int level = -1;         // -1: the level that all logs share; otherwise this log's own
  int toFile = 1;         // 0: never to a file
  int toSink = 1;         // 0: never to the program's sink
  unsigned sizeMb = 0;    // 0: size_mb of the settings
  unsigned files = 0;     // 0: files of the settings
  std::string directory;  // empty: directory of the settings
  std::string name;       // empty: that of the identifier (initialize), else the focus, else the program
};

class EvDebug
{
public:
  /// The process's log.
  EvDebug();
  explicit EvDebug(const EvDebugSettings& settings);
  virtual ~EvDebug();
  EvDebug(const EvDebug&) = delete;
  EvDebug& operator=(const EvDebug&) = delete;

  /// Makes this the log of `logId` (from getLogId), which gives it its name. `files`, `sizeMb` and
  /// `directory` override the settings; 0, 0 and an empty or null text leave them. Returns 0, or -1 for an
  /// identifier that getLogId never gave: then nothing changes.
  int initialize(int logId, int files, int sizeMb, const char* directory);

  /// The identifier of a log name: the same name has the same identifier throughout the process. -1 for a
  /// null or empty name.
  static int getLogId(const char* name);

  /// Sets the size at which the file is rotated; 0 returns to that of the settings.
  void setLogFileSize(unsigned megabytes);

  /// Whether lines go to standard error where they go nowhere else; true at first. False for a log whose
  /// lines another log has, too.
  void setStandardError(bool enabled);

  /// The highest level that is written. One atomic load.
  int getDebugLevel() const
  {
    return ownLevel_ >= 0 ? ownLevel_ : sharedLevel_.load(std::memory_order_relaxed);
  }

  /// Writes a line when `level` is at most the log's level; level 0 (errors) always. Lines may have any
  /// length. `function` and `systemName` may be null. `event` (-1: the line is no event) and `reserved` take
  /// part in the call for events' sake and are not written. `args` is copied: the caller may use it again.
  [[gnu::format(printf, 7, 0)]] void handleMsgEventDebug_NEW(int level, const char* function, int event,
                                                             int reserved, const char* systemName,
                                                             const char* format, va_list args);

  /// Writes a line with a reference of the caller's (0 for none; others are written as "ref=N" before the
  /// text).
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
