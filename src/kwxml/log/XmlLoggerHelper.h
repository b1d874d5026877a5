// The asynchronous writer behind XmlBinaryLogger: the caller's thread encodes the message and formats the
// line, a worker turns the bytes into XML and writes.
#pragma once

#include <kwxml/binary/BinaryBuffer.h>
#include <kwxml/platform/EvEvent.h>
#include <kwxml/platform/KwThreadPool.h>

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <memory>
#include <string>

class YMMessageBase;

namespace kwxml {
class Registry;
}

/// One line on its way to the log. Owns everything in it. Some records wait, with their memory, for lines to
/// come: what one thread takes and another frees is slow to come back.
struct messageContainer
{
  std::uint64_t reserved = 0;
  unsigned int threadId = 0;  ///< of the caller
  std::string function;
  long long reference = 0;
  int level = 0;
  std::unique_ptr<BinaryBuffer> buffer;    ///< the bytes of the message; null or empty without one
  std::unique_ptr<YMMessageBase> message;  ///< what the worker makes of them
  std::string text;                        ///< the formatted line, without its placeholder
  std::size_t xmlAt = noXml;               ///< where the message's XML stands in it
  /// In which the message's class is found: its own, or the one in use where the line was logged; null: the
  /// worker's.
  const kwxml::Registry* registry = nullptr;

  static constexpr std::size_t noXml = ~std::size_t{0};
};

class XmlLoggerHelper
{
public:
  /// The log that lines go to: the process's, made at the first use of this.
  struct Event
  {
    EvEvent& get() const;
    operator EvEvent&() const { return get(); }
    int getDebugLevel() const { return get().getDebugLevel(); }
    template <class... Arguments>
    void DebugLvl(const char* function, int level, long long reference, const char* format,
                  Arguments... arguments) const
    {
      get().DebugLvl(function, level, reference, format, arguments...);
    }
  };
  static constexpr Event event{};

  /// The pool, null until getXmlLoggerInstance() makes it. It is never destroyed; what it was given is
  /// written before the process ends normally.
  static std::atomic<KwThreadPool*> xmlLoggerInstance;
  static KwThreadPool* getXmlLoggerInstance();

  /// Writes a line at `level`: `format` with `args` as printf has them. Where "%bxml_kw" (or "%%bxml_kw")
  /// stands in the format first, the line has the XML of the message, with three blanks before and after it;
  /// percent signs in arguments and XML mean nothing. Without it the message is not shown. The formatted text
  /// is cut to 4095 bytes, the placeholder counted as it stands, between two characters of UTF-8.
  ///
  /// The bytes are copied, so that the caller may change or free everything when the call returns. `args` may
  /// not be used again. The line is written by a worker, or by the caller when none is free or `pool` is
  /// null, or when the process ends: lines of one thread may change places. Arguments that the C library
  /// cannot format are left out, "(arguments not formatted)" and the format stand for them. A level above
  /// that of the log costs a test. `message`, `buffer` and `function` may be null; a message that does not
  /// encode, and bytes that do not decode (both logged), give an empty XML.
  static void writeToLog(KwThreadPool* pool, const char* function, int level, long long reference,
                         const char* format, const YMMessageBase* message, va_list args);
  static void writeToLog(KwThreadPool* pool, const char* function, int level, long long reference,
                         const char* format, BinaryBuffer* buffer, va_list args);

  /// Renders and writes the line of a messageContainer and frees it. 0; 1 for null.
  static int writeThroughTreadPool(void* work);
  /// The same as work of a pool; returns null.
  static void* writeThroughThreadPoolFunc(void* record);
  /// Frees the record, or keeps it for another line: at most 40 records of at most 64 KB.
  static void deAllocateMessageContainer(messageContainer* record);
};
