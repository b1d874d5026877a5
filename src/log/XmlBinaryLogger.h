// Logs whole messages: a printf-style line with the XML of a message in it. The caller pays for the binary
// form; the XML is made and written by a pool of threads (XmlLoggerHelper.h has the rules of formats, levels
// and order).
//
//   XmlBinaryLogger logger;
//   logger.initialize();
//   logger.DebugLvl("Backup::start", 10, "request %d: %bxml_kw", &message, number);
//
// The compiler checks no formats here: to it "%b" is a conversion of a number.
#pragma once

class BinaryBuffer;
class KwThreadPool;
class YMMessageBase;

/// A cheap value; any thread may log through it. Without initialize() the caller's thread writes. The message
/// or buffer may be null: the XML is empty then. Its password fields appear as XML has them with default
/// settings.
class XmlBinaryLogger
{
public:
  /// Takes the process's pool, which is made at its first use. Always 0.
  int initialize();

  /// A line at level 0, which is always written.
  void Debug(const char* function, const char* format, YMMessageBase* message, ...);
  void Debug(const char* function, const char* format, BinaryBuffer* buffer, ...);
  void DebugLvl(const char* function, int level, const char* format, YMMessageBase* message, ...);
  void DebugLvl(const char* function, int level, const char* format, BinaryBuffer* buffer, ...);
  /// With a reference that the log shows.
  void DebugLvl(const char* function, int level, int reference, const char* format, YMMessageBase* message,
                ...);
  void DebugLvl(const char* function, int level, int reference, const char* format, BinaryBuffer* buffer,
                ...);

private:
  KwThreadPool* pool_ = nullptr;
};
