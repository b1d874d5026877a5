// Logs whole messages: a line with printf's formats and the XML of a message in it. The caller's thread makes
// the binary form of the message; a pool of threads makes the XML and writes the line. XmlLoggerHelper.h has
// the rules of formats, levels and order.
//
//     XmlBinaryLogger logger;
//     logger.initialize();
//     logger.DebugLvl("Backup::start", 10, "request %d: %bxml_kw", &message, number);
//
// To compilers "%b" is a conversion of a number, so that they would warn of every placeholder and of the
// arguments behind it. A program that writes "%%bxml_kw", which logs the same, may define
// KWXML_CHECK_LOG_FORMATS before it includes this file: compilers then check formats against their arguments.
#pragma once

#include <kwxml/platform/Export.h>

#ifdef KWXML_CHECK_LOG_FORMATS
/// Of this file alone: has a compiler check the format in argument `at` where KWXML_CHECK_LOG_FORMATS is
/// defined.
#define KWXML_LOG_FORMAT(at, arguments) [[gnu::format(printf, at, arguments)]]
#else
/// Of this file alone: nothing, for KWXML_CHECK_LOG_FORMATS is not defined.
#define KWXML_LOG_FORMAT(at, arguments)
#endif

class BinaryBuffer;
class KwThreadPool;
class YMMessageBase;

/// Logs whole messages. A cheap value; any thread may log through one object. Without initialize() the
/// caller's thread makes the XML and writes the line. Message or buffer may be null: the XML is empty then.
/// They stay the caller's, who may change or free them when the call returns. Password fields appear as XML
/// has them with default settings. What XmlLoggerHelper::writeToLog() says of formats, levels, order and
/// failures holds here.
class KWXML_API XmlBinaryLogger
{
public:
  /// Has lines written by the process's pool, which is made at its first use; the process has its focus
  /// (KWPI_Focus) by then. Always 0. To be called before other threads log through the object.
  int initialize();

  /// Writes a line at level 0, which is always written, with the XML of a message.
  KWXML_LOG_FORMAT(3, 5)
  void Debug(const char* function, const char* format, const YMMessageBase* message, ...);
  /// Writes a line at level 0 with the XML of the message whose binary form is in the buffer.
  KWXML_LOG_FORMAT(3, 5)
  void Debug(const char* function, const char* format, BinaryBuffer* buffer, ...);
  /// Writes a line at `level` with the XML of a message.
  KWXML_LOG_FORMAT(4, 6)
  void DebugLvl(const char* function, int level, const char* format, const YMMessageBase* message, ...);
  /// Writes a line at `level` with the XML of the message whose binary form is in the buffer.
  KWXML_LOG_FORMAT(4, 6)
  void DebugLvl(const char* function, int level, const char* format, BinaryBuffer* buffer, ...);
  /// The same with a number of the caller's that the log shows (EvDebug::DebugLvl()).
  KWXML_LOG_FORMAT(5, 7)
  void DebugLvl(const char* function, int level, int reference, const char* format,
                const YMMessageBase* message, ...);
  /// The same with a number of the caller's that the log shows (EvDebug::DebugLvl()).
  KWXML_LOG_FORMAT(5, 7)
  void DebugLvl(const char* function, int level, int reference, const char* format, BinaryBuffer* buffer,
                ...);

private:
  KwThreadPool* pool_ = nullptr;
};

#undef KWXML_LOG_FORMAT
