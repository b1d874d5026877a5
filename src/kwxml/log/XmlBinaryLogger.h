// Logs whole messages: a printf-style line with the XML of a message in it. The caller pays for the binary
// form; the XML is made and written by a pool of threads (XmlLoggerHelper.h has the rules of formats, levels
// and order).
//
//   XmlBinaryLogger logger;
//   logger.initialize();
//   logger.DebugLvl("Backup::start", 10, "request %d: %bxml_kw", &message, number);
//
// To compilers "%b" is a conversion of a number, so they would warn of every placeholder and of the arguments
// behind it. Who writes it as "%%bxml_kw", which logs the same, may define KWXML_CHECK_LOG_FORMATS before
// including this and have formats checked against their arguments.
#pragma once

#ifdef KWXML_CHECK_LOG_FORMATS
#define KWXML_LOG_FORMAT(at, arguments) [[gnu::format(printf, at, arguments)]]
#else
#define KWXML_LOG_FORMAT(at, arguments)
#endif

class BinaryBuffer;
class KwThreadPool;
class YMMessageBase;

/// A cheap value; any thread may log through it. Without initialize() the caller's thread writes. The message
/// or buffer may be null: the XML is empty then. Its password fields appear as XML has them with default
/// settings.
class XmlBinaryLogger
{
public:
  /// Takes the process's pool, which is made at its first use; the process has its focus (KWPI_Focus) by
  /// then. Always 0.
  int initialize();

  /// A line at level 0, which is always written.
  KWXML_LOG_FORMAT(3, 5)
  void Debug(const char* function, const char* format, const YMMessageBase* message, ...);
  KWXML_LOG_FORMAT(3, 5)
  void Debug(const char* function, const char* format, BinaryBuffer* buffer, ...);
  KWXML_LOG_FORMAT(4, 6)
  void DebugLvl(const char* function, int level, const char* format, const YMMessageBase* message, ...);
  KWXML_LOG_FORMAT(4, 6)
  void DebugLvl(const char* function, int level, const char* format, BinaryBuffer* buffer, ...);
  /// With a reference that the log shows.
  KWXML_LOG_FORMAT(5, 7)
  void DebugLvl(const char* function, int level, int reference, const char* format,
                const YMMessageBase* message, ...);
  KWXML_LOG_FORMAT(5, 7)
  void DebugLvl(const char* function, int level, int reference, const char* format, BinaryBuffer* buffer,
                ...);

private:
  KwThreadPool* pool_ = nullptr;
};

#undef KWXML_LOG_FORMAT
