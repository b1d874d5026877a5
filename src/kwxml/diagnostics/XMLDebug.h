// The logging front of the library: every failure and every trace of it goes through the one instance of
// XMLDebug.
//
// Lines go to the host process's log, and to the log "XMLMessage" too where the platform setting
// XMLMessage_DEBUGLEVEL in section EventManager exists. A process without a focus (KWPI_Focus) has a silent
// instance: it writes nothing until it is told to (kwxml::logToStandardError). Focus and setting are sampled
// once, when the instance is made.
//
// Levels: 0 errors; 10 event arguments; 15 and more field by field in the binary form; 25 and more whole
// messages as XML. The instance is read-only once made: any thread may log. What objects log that end after
// it, when the process does, is not written.
#pragma once

#include <kwxml/platform/EvDebug.h>

#include <atomic>
#include <cstdarg>
#include <memory>
#include <string>

namespace kwxml {

/// Shows the library's errors on standard error, one line each, from the next line on: "PROGRAM: error:
/// FUNCTION TEXT". For programs that have neither a focus nor a log: a process without a focus gets one, the
/// name of the program, and is silent no more. `level`: the level of all logs, 0 for errors alone. What logs
/// write elsewhere they write all the same. Any thread may call it, at any time.
void logToStandardError(int level = 0);

}  // namespace kwxml

class XMLDebug
{
public:
  /// The system name of every line that goes to the log "XMLMessage". The library never writes it; the host
  /// program may.
  static char sysName[1025];

  /// The instance, made on first use. Never null; not the caller's to delete.
  static XMLDebug* getInstance();
  XMLDebug(const XMLDebug&) = delete;
  XMLDebug& operator=(const XMLDebug&) = delete;

  /// Trace at `level`.
  [[gnu::format(printf, 4, 5)]] void debug(const char* function, int level, const char* format, ...) const;
  /// Trace at `level` without a function of its own: the instance's name stands for it.
  [[gnu::format(printf, 3, 4)]] void debug(int level, const char* format, ...) const;
  /// Trace at level 1.
  [[gnu::format(printf, 3, 4)]] void debug(const char* function, const char* format, ...) const;
  /// Error: level 0, written whatever the level.
  [[gnu::format(printf, 3, 4)]] void logError(const char* function, const char* format, ...) const;

  /// The level to test before trace text is built: that of the process's log, or -1 for a silent instance, so
  /// that no text is built which nobody would see.
  int getDebugLevel() const
  {
    const EvDebug* host = processLog.load(std::memory_order_acquire);
    return host != nullptr && !ended ? host->getDebugLevel() : -1;
  }

  /// Whether the platform settings ask for the log "XMLMessage". Reads the settings anew.
  bool checkRegistry() const;

  /// The text of a value-validation error code; "Generic error" for any code without one. A constant.
  static const char* getErrorString(int code);

private:
  friend void kwxml::logToStandardError(int level);
  XMLDebug();
  ~XMLDebug();
  [[gnu::format(printf, 4, 0)]] void write(int level, const char* function, const char* format,
                                           va_list args) const;

  // Outside the instance, since it is asked when that has ended: static objects that are older end later.
  static std::atomic<bool> ended;

  std::string name;                            // function name of lines that have none
  int defaultLevel = 1;                        // level of traces that have none
  std::unique_ptr<EvDebug> messageLog;         // the library's own log; null unless the settings ask for it
  std::atomic<EvDebug*> processLog = nullptr;  // &log, or null in a silent instance
  EvDebug log;                                 // the process's log
  EvDebugSettings logSettings;                 // what messageLog is made from
};
