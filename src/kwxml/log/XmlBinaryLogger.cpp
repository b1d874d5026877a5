#include <kwxml/log/XmlBinaryLogger.h>

#include <kwxml/log/XmlLoggerHelper.h>

#include <cstdarg>

int XmlBinaryLogger::initialize()
{
  if (pool_ == nullptr) {
    pool_ = XmlLoggerHelper::getXmlLoggerInstance();
  }
  return 0;
}

void XmlBinaryLogger::Debug(const char* function, const char* format, const YMMessageBase* message, ...)
{
  va_list args;
  va_start(args, message);
  XmlLoggerHelper::writeToLog(pool_, function, 0, 0, format, message, args);
  va_end(args);
}

void XmlBinaryLogger::Debug(const char* function, const char* format, BinaryBuffer* buffer, ...)
{
  va_list args;
  va_start(args, buffer);
  XmlLoggerHelper::writeToLog(pool_, function, 0, 0, format, buffer, args);
  va_end(args);
}

void XmlBinaryLogger::DebugLvl(const char* function, int level, const char* format,
                               const YMMessageBase* message, ...)
{
  va_list args;
  va_start(args, message);
  XmlLoggerHelper::writeToLog(pool_, function, level, 0, format, message, args);
  va_end(args);
}

void XmlBinaryLogger::DebugLvl(const char* function, int level, const char* format, BinaryBuffer* buffer, ...)
{
  va_list args;
  va_start(args, buffer);
  XmlLoggerHelper::writeToLog(pool_, function, level, 0, format, buffer, args);
  va_end(args);
}

void XmlBinaryLogger::DebugLvl(const char* function, int level, int reference, const char* format,
                               const YMMessageBase* message, ...)
{
  va_list args;
  va_start(args, message);
  XmlLoggerHelper::writeToLog(pool_, function, level, reference, format, message, args);
  va_end(args);
}

void XmlBinaryLogger::DebugLvl(const char* function, int level, int reference, const char* format,
                               BinaryBuffer* buffer, ...)
{
  va_list args;
  va_start(args, buffer);
  XmlLoggerHelper::writeToLog(pool_, function, level, reference, format, buffer, args);
  va_end(args);
}
