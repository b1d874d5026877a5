// The logging front of the library: every failure and every trace of it goes through the one instance of
// XMLDebug.
//
// Lines go to the host process's log, and to the log "XMLMessage" too where the platform setting
// XMLMessage_DEBUGLEVEL in section EventManager exists. A process without a focus (KWPI_Focus) has a silent
// instance, which writes nothing until kwxml::logToStandardError() is called. Focus and setting are read
// once, when the instance is made.
//
// Levels: 0 errors; 10 event arguments; 15 and more field by field in the binary form; 25 and more whole
// messages as XML. Any thread may log. At the end of the process, lines of objects that end after the
// instance are not written.
#pragma once

#include <kwxml/platform/EvDebug.h>
#include <kwxml/platform/Export.h>
#include <kwxml/platform/StandardParts.h>

#include <atomic>
#include <cstdarg>
#include <string>

namespace kwxml {

/// Shows the library's errors on standard error, one line each, from the next line on: "PROGRAM: error:
/// FUNCTION TEXT". For programs that have neither a focus nor a log: a process without a focus gets one, the
/// name of the program, and is silent no more. `level`: the lines that are shown are those up to it, 0 for
/// errors alone; logs of a lower level get this one. Lines that go to files or a sink still go there. Any
/// thread may call the function, at any time.
KWXML_API void logToStandardError(int level = 0);

}  // namespace kwxml

/// The logging front of the library: one instance in a process. No function throws for a line that cannot be
/// written.
class KWXML_API XMLDebug
{
public:
  /// The system name of every line that goes to the log "XMLMessage", zero-terminated; empty at first. The
  /// library never changes the name. The host program may, while no other thread logs.
  static char sysName[1025];

  /// The instance, made on first use. Never null; the process owns the instance.
  static XMLDebug* getInstance();
  XMLDebug(const XMLDebug&) = delete;
  XMLDebug& operator=(const XMLDebug&) = delete;

  /// Writes a line at `level` with printf's arguments. `function` may be null.
  [[gnu::format(printf, 4, 5)]] void debug(const char* function, int level, const char* format, ...) const;
  /// Writes a line at `level` that names no function.
  [[gnu::format(printf, 3, 4)]] void debug(int level, const char* format, ...) const;
  /// Writes a line at level 1.
  [[gnu::format(printf, 3, 4)]] void debug(const char* function, const char* format, ...) const;
  /// Writes an error: a line at level 0, which is written whatever the log's level is.
  [[gnu::format(printf, 3, 4)]] void logError(const char* function, const char* format, ...) const;

  /// The level of the process's log, or -1 for a silent instance and one that has ended. To be compared
  /// before the text of a line is built, so that no text is built that nobody sees.
  int getDebugLevel() const
  {
    const EvDebug* host = processLog.load(std::memory_order_acquire);
    return host != nullptr && !ended ? host->getDebugLevel() : -1;
  }

  /// Whether the platform settings ask for the log "XMLMessage": XMLMessage_DEBUGLEVEL of section
  /// EventManager is a number. Reads the settings anew.
  bool checkRegistry() const;

  /// The English text of a code for a value that is not valid (2337 to 2346); "Generic error" for any other
  /// code. The text is a constant.
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
