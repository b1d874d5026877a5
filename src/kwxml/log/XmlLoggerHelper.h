// The asynchronous writer behind XmlBinaryLogger: the caller's thread encodes the message and formats the
// line, a worker turns the bytes into XML and writes.
#pragma once

#include <kwxml/binary/BinaryBuffer.h>
#include <kwxml/platform/EvEvent.h>
#include <kwxml/platform/Export.h>
#include <kwxml/platform/KwThreadPool.h>
#include <kwxml/platform/StandardParts.h>

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <string>

class YMMessageBase;

namespace kwxml {
class Registry;
}

/// One line on its way to the log. Owns all that it holds. Some records are kept, with their memory, for
/// lines to come: memory that one thread takes and another frees is slow to come back.
struct messageContainer
{
  std::uint64_t reserved = 0;              ///< not used
  unsigned int threadId = 0;               ///< of the thread that logs the line
  std::string function;                    ///< name of the reporting function; empty for none
  long long reference = 0;                 ///< a number of the caller's; 0 for none
  int level = 0;                           ///< of the line
  std::unique_ptr<BinaryBuffer> buffer;    ///< the bytes of the message; null or empty without a message
  std::unique_ptr<YMMessageBase> message;  ///< the message that the worker reads from the bytes
  std::string text;                        ///< the formatted line, without its placeholder
  std::size_t xmlAt = noXml;               ///< where in the text the message's XML is to stand
  /// The registry that has the message's class: the message's own, or the one in use where the line was
  /// logged; null: the one in use where the line is written.
  const kwxml::Registry* registry = nullptr;

  /// The value of xmlAt for a line without a placeholder.
  static constexpr std::size_t noXml = ~std::size_t{0};
};

/// The writer behind XmlBinaryLogger. All operations are static; any thread may call them.
class KWXML_API XmlLoggerHelper
{
public:
  /// The log that lines go to: the process's, made at its first use.
  struct Event
  {
    /// The log, which the process owns and never destroys.
    EvEvent& get() const;
    /// The same as get().
    operator EvEvent&() const { return get(); }
    /// The highest level that is written.
    int getDebugLevel() const { return get().getDebugLevel(); }
    /// Writes a line as EvDebug::DebugLvl() does.
    template <class... Arguments>
    void DebugLvl(const char* function, int level, long long reference, const char* format,
                  Arguments... arguments) const
    {
      get().DebugLvl(function, level, reference, format, arguments...);
    }
  };
  /// The log that lines go to.
  static constexpr Event event{};

  /// The pool; null until getXmlLoggerInstance() makes it. The process owns the pool and never destroys it;
  /// lines that wait in the pool are written before the process ends normally.
  static std::atomic<KwThreadPool*> xmlLoggerInstance;
  /// The pool of up to 20 threads, made at the first call. The process has its focus (KWPI_Focus) by then.
  static KwThreadPool* getXmlLoggerInstance();

  /// Writes a line at `level`: `format` with `args` as printf has them. The first placeholder in the format,
  /// "%bxml_kw" or "%%bxml_kw", becomes the XML of the message, with three blanks before and after it;
  /// percent signs in arguments and XML mean nothing. Without a placeholder the message is not shown. The
  /// formatted text is cut to 4095 bytes, in which the placeholder counts with its own length, between two
  /// characters of UTF-8.
  ///
  /// Message and bytes are copied: the caller may change or free everything when the call returns. `args` may
  /// not be used again. The line is written by a worker; the caller's thread writes it where no worker is
  /// free, where `pool` is null and where the process ends. So lines of one thread may change places. Where
  /// the C library cannot format the arguments the line has "(arguments not formatted)" and the format. A
  /// level above that of the log costs a test. `message`, `buffer` and `function` may be null. A message that
  /// cannot be encoded, and bytes that do not decode, both of which is logged, give an empty XML. Without
  /// memory std::bad_alloc is thrown.
  static void writeToLog(KwThreadPool* pool, const char* function, int level, long long reference,
                         const char* format, const YMMessageBase* message, va_list args);
  static void writeToLog(KwThreadPool* pool, const char* function, int level, long long reference,
                         const char* format, BinaryBuffer* buffer, va_list args);

  /// Writes the line of the messageContainer that `work` refers to, and frees the record. Returns 0, or 1 for
  /// null.
  static int writeThroughTreadPool(void* work);
  /// The same as writeThroughTreadPool(), in the form that KwThreadPool::doWork() takes; returns null.
  static void* writeThroughThreadPoolFunc(void* record);
  /// Frees the record, or keeps it for another line: at most 40 records of at most 64 KB each. Null does
  /// nothing.
  static void deAllocateMessageContainer(messageContainer* record);
};
