#include <kwxml/log/XmlLoggerHelper.h>

#include <kwxml/binary/BinaryBuffer.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/KwCriticalSectionH.h>
#include <kwxml/xml/XMLSerializer.h>

#include <pthread.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

std::atomic<KwThreadPool*> XmlLoggerHelper::xmlLoggerInstance = nullptr;

namespace {

constinit KwCriticalSectionH poolSection;

/// A line's longest text, with its terminating zero.
constexpr std::size_t lineSize = 4096;

constexpr std::string_view placeholder = "%bxml_kw";
constexpr const char* frame = "   ";

/// Stands for the placeholder while a line is formatted; a text may have it too.
constexpr char mark = '\x01';
constexpr char otherMark = '\x02';

/// A format that the C library understands.
struct Format
{
  std::string all;         ///< with a mark for the placeholder; a second one is text
  std::size_t prefix = 0;  ///< where the mark stands
  bool hasPlaceholder = false;
};

/// "%b" is a conversion of the C library, so the placeholder never comes before it.
Format split(std::string_view format)
{
  Format result;
  result.all.reserve(format.size());
  for (std::size_t i = 0; i < format.size();) {
    const std::string_view rest = format.substr(i);
    const bool escaped = rest.starts_with("%%");
    const std::string_view behind = escaped ? rest.substr(1) : rest;
    if (behind.starts_with(placeholder)) {
      if (!result.hasPlaceholder) {
        result.hasPlaceholder = true;
        result.prefix = result.all.size();
        result.all += mark;
      } else {
        (result.all += '%') += placeholder;
      }
      i += placeholder.size() + (escaped ? 1 : 0);
    } else {
      const std::size_t count = escaped ? 2 : 1;
      result.all += rest.substr(0, count);
      i += count;
    }
  }
  return result;
}

/// The formatted text, at most `limit` bytes of it; nothing where the C library cannot format the arguments.
std::optional<std::string> formatted(const std::string& format, va_list args, std::size_t limit)
{
  char line[lineSize];
  const int length = std::vsnprintf(line, limit + 1, format.c_str(), args);
  if (length < 0) {
    return std::nullopt;
  }
  return std::string(line, std::min(static_cast<std::size_t>(length), limit));
}

/// Takes the begun character off the end of a text that has been cut.
void cutBetweenCharacters(std::string& text)
{
  std::size_t lead = text.size();
  for (int i = 0; i < 4 && lead > 0; ++i) {
    const auto byte = static_cast<unsigned char>(text[--lead]);
    if (byte < 0x80) {
      return;
    }
    if (byte >= 0xC0) {
      const std::size_t size = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
      if (lead + size > text.size()) {
        text.resize(lead);
      }
      return;
    }
  }
}

/// A formatted text and where in it the placeholder stood, at its end where that has been cut off.
struct Line
{
  std::string text;
  std::size_t at = 0;
};

/// The front part of a format cannot be formatted alone, for arguments may be used by their numbers. So a
/// mark stands in the placeholder's place.
std::optional<Line> formattedAround(const Format& format, va_list args, std::size_t limit)
{
  va_list again;
  va_copy(again, args);
  std::optional<std::string> text = formatted(format.all, args, limit);
  if (!text) {
    va_end(again);
    return std::nullopt;
  }
  Line line{std::move(*text), 0};
  line.at = line.text.find(mark);
  const bool alone = line.at != std::string::npos && line.text.find(mark, line.at + 1) == std::string::npos;
  if (!alone || line.text.size() == limit) {
    // Texts have the mark too, or the only one to be seen is theirs. The place is where a formatting with
    // another mark differs.
    std::string marked = format.all;
    marked[format.prefix] = otherMark;
    const std::string other = formatted(marked, again, limit).value_or(line.text);
    line.at = static_cast<std::size_t>(
        std::mismatch(line.text.begin(), line.text.end(), other.begin(), other.end()).first -
        line.text.begin());
  }
  va_end(again);
  if (line.at < line.text.size()) {
    line.text.erase(line.at, 1);
  }
  return line;
}

/// The line's text, and where the XML stands in it.
void formatLine(messageContainer& record, const char* format, va_list args)
{
  constexpr std::size_t limit = lineSize - 1;
  Format parts = split(format != nullptr ? format : "");
  std::optional<Line> line;
  if (parts.hasPlaceholder) {
    line = formattedAround(parts, args, limit);
  } else if (std::optional<std::string> text = formatted(parts.all, args, limit)) {
    line = Line{std::move(*text), 0};
  }
  if (!line) {
    constexpr std::string_view why = "(arguments not formatted) ";
    if (parts.hasPlaceholder) {
      parts.all.erase(parts.prefix, 1);
    }
    line = Line{std::string(why) + parts.all, why.size() + parts.prefix};
  }
  // The placeholder counts as it stands in the format.
  const bool showsXml = parts.hasPlaceholder && line->at + placeholder.size() <= limit;
  const std::size_t longest = showsXml ? limit - placeholder.size() : limit;
  record.text = std::move(line->text);
  if (record.text.size() >= longest) {
    record.text.resize(longest);
    cutBetweenCharacters(record.text);
  }
  if (showsXml) {
    record.xmlAt = std::min(line->at, record.text.size());
  }
}

/// Set when the process ends: what is logged from then on (by destructors of static objects) is written at
/// once, for nobody would wait for it.
constinit std::atomic<bool> ending = false;

/// What is in the pool when the process ends is written before it does.
void drainAtExit()
{
  ending = true;
  if (KwThreadPool* pool = XmlLoggerHelper::xmlLoggerInstance.load()) {
    pool->drain();
  }
}

/// The line without its XML: everything that only the caller knows.
std::unique_ptr<messageContainer> makeRecord(const char* function, int level, long long reference,
                                             const char* format, va_list args)
{
  auto record = std::make_unique<messageContainer>();
  record->threadId = static_cast<unsigned int>(pthread_self());
  record->function = function != nullptr ? function : "";
  record->reference = reference;
  record->level = level;
  formatLine(*record, format, args);
  return record;
}

void hand(KwThreadPool* pool, std::unique_ptr<messageContainer> record)
{
  if (pool != nullptr && !ending && pool->getCurrentAvailableThreadCount() != 0 &&
      pool->doWork(XmlLoggerHelper::writeThroughThreadPoolFunc, record.get()) != KwThreadPool::kRefused) {
    record.release();  // the worker's now
    return;
  }
  // Refused work would be a lost line: others have taken the place since the pool was asked.
  XmlLoggerHelper::writeThroughTreadPool(record.release());
}

}  // namespace

EvEvent& XmlLoggerHelper::Event::get() const
{
  // Never destroyed: lines are written until the process's very end.
  static EvEvent& log = *new EvEvent;
  return log;
}

KwThreadPool* XmlLoggerHelper::getXmlLoggerInstance()
{
  KwThreadPool* pool = xmlLoggerInstance.load(std::memory_order_acquire);
  if (pool != nullptr) {
    return pool;
  }
  const std::lock_guard lock(poolSection);
  pool = xmlLoggerInstance.load(std::memory_order_relaxed);
  if (pool == nullptr) {
    auto made = std::make_unique<KwThreadPool>();
    KWPI_Focus::setFocus(KWPI_Focus::getFocus());
    made->initThreadPool("XmlLoggerHelper", 300, 20, 20, 20);
    event.get();
    XMLSerializer::initialize();
    pool = made.release();
    std::atexit(drainAtExit);
    xmlLoggerInstance.store(pool, std::memory_order_release);
  }
  return pool;
}

void XmlLoggerHelper::writeToLog(KwThreadPool* pool, const char* function, int level, long long reference,
                                 const char* format, YMMessageBase* message, va_list args)
{
  if (event.getDebugLevel() < level) {
    return;
  }
  auto record = makeRecord(function, level, reference, format, args);
  if (message != nullptr) {
    record->buffer = std::make_unique<BinaryBuffer>();
    XMLEncoder().SerializeBinary(*message, *record->buffer);
  }
  hand(pool, std::move(record));
}

void XmlLoggerHelper::writeToLog(KwThreadPool* pool, const char* function, int level, long long reference,
                                 const char* format, BinaryBuffer* buffer, va_list args)
{
  if (event.getDebugLevel() < level) {
    return;
  }
  auto record = makeRecord(function, level, reference, format, args);
  if (buffer != nullptr) {
    record->buffer = std::make_unique<BinaryBuffer>();
    // Memory of the caller that a message was written to has no length of its own.
    const bool lent = buffer->external() && buffer->length() == 0;
    record->buffer->deepCopyBuffer(buffer->data(), lent ? buffer->capacity() : buffer->length(), false);
  }
  hand(pool, std::move(record));
}

namespace {

/// The XML of the record's message; empty without one, and where it cannot be made (logged).
std::string xmlOf(messageContainer& record)
{
  std::string xml;
  if (record.buffer == nullptr || record.buffer->length() == 0) {
    return xml;
  }
  try {
    XMLSerializer::initialize();
    record.message.reset(XMLDecoder().UnserializeBinary(*record.buffer));
    if (record.message != nullptr && XMLEncoder().serialize(*record.message, xml) != 0) {
      xml.clear();
    }
  } catch (const std::exception& error) {  // no memory: the line is written all the same
    XMLDebug::getInstance()->logError("XmlLoggerHelper::writeThroughTreadPool", "[%s]", error.what());
    xml.clear();
  }
  return xml;
}

}  // namespace

int XmlLoggerHelper::writeThroughTreadPool(void* work)
{
  const std::unique_ptr<messageContainer, void (*)(messageContainer*)> record(
      static_cast<messageContainer*>(work), deAllocateMessageContainer);
  if (record == nullptr) {
    return 1;
  }
  std::string line = std::move(record->text);
  if (record->xmlAt != messageContainer::noXml) {
    line.insert(record->xmlAt, frame + xmlOf(*record) + frame);
  }
  event.DebugLvl(record->function.c_str(), record->level, record->reference, "%s", line.c_str());
  return 0;
}

void* XmlLoggerHelper::writeThroughThreadPoolFunc(void* record)
{
  writeThroughTreadPool(record);
  return nullptr;
}

void XmlLoggerHelper::deAllocateMessageContainer(messageContainer* record)
{
  delete record;
}
