#include <kwxml/log/XmlLoggerHelper.h>

#include <kwxml/binary/BinaryBuffer.h>
#include <kwxml/binary/BinaryWriter.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/KwCriticalSectionH.h>
#include <kwxml/xml/XMLSerializer.h>

#include <pthread.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iterator>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

std::atomic<KwThreadPool*> XmlLoggerHelper::xmlLoggerInstance = nullptr;

namespace {

constinit KwCriticalSectionH poolSection;

/// A line's longest text.
constexpr std::size_t longestLine = 4095;

constexpr std::string_view placeholder = "%bxml_kw";
constexpr const char* frame = "   ";

/// Stands for the placeholder while the C library formats a line; a text may have it too.
constexpr char mark = '\x01';
constexpr char otherMark = '\x02';

/// The length of the placeholder that a format begins with, 0 without one. "%%bxml_kw" counts as one.
std::size_t placeholderLength(std::string_view format)
{
  const std::size_t escape = format.starts_with("%%") ? 1 : 0;
  return format.substr(escape).starts_with(placeholder) ? placeholder.size() + escape : 0;
}

/// A copy of a caller's arguments, to be taken one by one.
struct Arguments
{
  explicit Arguments(va_list given) { va_copy(list, given); }
  ~Arguments() { va_end(list); }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  template <class T>
  T next()
  {
    return va_arg(list, T);
  }

  va_list list;
};

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
    if (const std::size_t length = placeholderLength(rest)) {
      if (!result.hasPlaceholder) {
        result.hasPlaceholder = true;
        result.prefix = result.all.size();
        result.all += mark;
      } else {
        (result.all += '%') += placeholder;
      }
      i += length;
    } else {
      const std::size_t count = rest.starts_with("%%") ? 2 : 1;
      result.all += rest.substr(0, count);
      i += count;
    }
  }
  return result;
}

/// The formatted text, at most longestLine bytes of it; nothing where the C library cannot format the
/// arguments.
std::optional<std::string> formatted(const std::string& format, va_list args)
{
  char line[longestLine + 1];
  const int length = std::vsnprintf(line, sizeof line, format.c_str(), args);
  if (length < 0) {
    return std::nullopt;
  }
  return std::string(line, std::min(static_cast<std::size_t>(length), longestLine));
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

/// Where in a text the placeholder stood: messageContainer::noXml when it stood nowhere.
using Place = std::size_t;
constexpr Place noPlace = messageContainer::noXml;

/// The front part of a format cannot be formatted alone, for arguments may be used by their numbers. So a
/// mark stands in the placeholder's place.
Place formatMarked(std::string& text, const Format& format, va_list args)
{
  Arguments again(args);
  std::optional<std::string> all = formatted(format.all, args);
  if (!all) {
    constexpr std::string_view why = "(arguments not formatted) ";
    text.assign(why).append(format.all);
    if (format.hasPlaceholder) {
      text.erase(why.size() + format.prefix, 1);
    }
    return format.hasPlaceholder ? why.size() + format.prefix : noPlace;
  }
  text = std::move(*all);
  Place at = noPlace;
  if (format.hasPlaceholder) {
    at = text.find(mark);
    const bool alone = at != std::string::npos && text.find(mark, at + 1) == std::string::npos;
    if (!alone || text.size() == longestLine) {
      // Texts have the mark too, or the only one to be seen is theirs. The place is where a formatting with
      // another mark differs.
      std::string marked = format.all;
      marked[format.prefix] = otherMark;
      const std::string other = formatted(marked, again.list).value_or(text);
      at = static_cast<Place>(std::mismatch(text.begin(), text.end(), other.begin(), other.end()).first -
                              text.begin());
    }
    if (at < text.size()) {
      text.erase(at, 1);
    }
  }
  return at;
}

/// Appends the decimal number that a conversion with so many "l" stands for.
template <class Int, class Long, class LongLong>
void appendNumber(std::string& text, int longs, Arguments& args)
{
  char digits[24];
  char* const end = longs == 0   ? std::to_chars(digits, std::end(digits), args.next<Int>()).ptr
                    : longs == 1 ? std::to_chars(digits, std::end(digits), args.next<Long>()).ptr
                                 : std::to_chars(digits, std::end(digits), args.next<LongLong>()).ptr;
  text.append(digits, end);
}

/// Formats what nearly all formats consist of: whole decimal numbers, texts, percent signs. Nothing where
/// there is anything else. Several times as fast as the C library, which would take the largest share of a
/// line's time.
std::optional<Place> formatPlain(std::string& text, const char* format, Arguments&& args)
{
  Place at = noPlace;
  while (*format != '\0') {
    const char* const next = strchrnul(format, '%');
    text.append(format, next);
    if (*next == '\0') {
      break;
    }
    if (const std::size_t length = placeholderLength(next)) {
      if (at == noPlace) {
        at = text.size();
      } else {
        text += placeholder;
      }
      format = next + length;
      continue;
    }
    format = next + 1;
    int longs = 0;
    for (; *format == 'l' && longs < 2; ++format) {
      ++longs;
    }
    const char conversion = *format++;
    if (conversion == 'd' || conversion == 'i') {
      appendNumber<int, long, long long>(text, longs, args);
    } else if (conversion == 'u') {
      appendNumber<unsigned, unsigned long, unsigned long long>(text, longs, args);
    } else if (conversion == 's' && longs == 0) {
      const char* const given = args.next<const char*>();
      if (given == nullptr) {
        return std::nullopt;
      }
      text.append(given, strnlen(given, longestLine));
    } else if (conversion == '%' && longs == 0) {
      text += '%';
    } else {
      return std::nullopt;
    }
    if (text.size() > longestLine) {
      text.resize(longestLine);
      break;  // nothing behind it is seen
    }
  }
  return at;
}

/// The line's text, and where the XML stands in it.
void formatLine(messageContainer& record, const char* format, va_list args)
{
  std::string& text = record.text;
  text.clear();
  format = format != nullptr ? format : "";
  const std::optional<Place> place = formatPlain(text, format, Arguments(args));
  Place at = place ? *place : formatMarked(text, split(format), args);
  // The placeholder counts as it stands in the format.
  if (at != noPlace && at + placeholder.size() > longestLine) {
    text.resize(std::min(at, text.size()));
    at = noPlace;
  }
  const std::size_t longest = at != noPlace ? longestLine - placeholder.size() : longestLine;
  if (text.size() >= longest) {
    text.resize(longest);
    cutBetweenCharacters(text);
  }
  record.xmlAt = at != noPlace ? std::min(at, text.size()) : noPlace;  // the cut may have passed it
}

/// The records that wait for lines. Whoever finds it in use does without: nobody waits here, not even for a
/// thread that a fork has left behind.
class IdleRecords
{
public:
  /// A record of no line; null when there is none.
  std::unique_ptr<messageContainer> take()
  {
    if (!enter()) {
      return nullptr;
    }
    std::unique_ptr<messageContainer> record(count_ > 0 ? records_[--count_] : nullptr);
    leave();
    return record;
  }

  void give(std::unique_ptr<messageContainer> record)
  {
    const std::size_t bytes = record->buffer != nullptr ? record->buffer->capacity() : 0;
    const std::size_t size = bytes + record->function.capacity() + record->text.capacity();
    if (size > largest || !enter()) {
      return;
    }
    if (count_ < records_.size()) {
      records_[count_++] = record.release();
    }
    leave();
  }

private:
  static constexpr std::size_t largest = std::size_t{64} << 10;

  bool enter() { return !busy_.test_and_set(std::memory_order_acquire); }
  void leave() { busy_.clear(std::memory_order_release); }

  std::atomic_flag busy_;
  std::size_t count_ = 0;
  std::array<messageContainer*, 40> records_{};  // as many as the pool's threads and places
};

constinit IdleRecords idleRecords;

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

/// Keeps the memory that is its own.
void empty(BinaryBuffer& buffer)
{
  if (!buffer.resizeBuffer(0)) {
    buffer.SetWriteBuffer(nullptr, 0, false);
  }
}

/// The line without its XML: everything that only the caller knows.
std::unique_ptr<messageContainer> makeRecord(const char* function, int level, long long reference,
                                             const char* format, va_list args)
{
  std::unique_ptr<messageContainer> record = idleRecords.take();
  if (record == nullptr) {
    record = std::make_unique<messageContainer>();
  }
  if (record->buffer == nullptr) {
    record->buffer = std::make_unique<BinaryBuffer>();
  }
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
    XMLDebug::getInstance();  // workers write to it until the drain: what is made first ends last
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
    if (kwxml::serializeReusing(*message, *record->buffer) == 0) {
      empty(*record->buffer);
    }
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
    // Memory of the caller that a message was written to has no length of its own.
    const bool lent = buffer->external() && buffer->length() == 0;
    const unsigned long length = lent ? buffer->capacity() : buffer->length();
    if (length != 0 && record->buffer->resizeBuffer(length)) {
      std::memcpy(record->buffer->data(), buffer->data(), length);
    }
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
  const std::string* line = &record->text;
  std::string withXml;
  if (record->xmlAt != messageContainer::noXml) {
    const std::size_t at = std::min(record->xmlAt, record->text.size());
    withXml = xmlOf(*record);
    withXml.insert(0, frame).insert(0, record->text, 0, at);
    withXml.append(frame).append(record->text, at);
    line = &withXml;
  }
  event.DebugLvl(record->function.c_str(), record->level, record->reference, "%s", line->c_str());
  return 0;
}

void* XmlLoggerHelper::writeThroughThreadPoolFunc(void* record)
{
  writeThroughTreadPool(record);
  return nullptr;
}

void XmlLoggerHelper::deAllocateMessageContainer(messageContainer* record)
{
  if (record != nullptr) {
    if (record->buffer != nullptr) {
      empty(*record->buffer);
    }
    record->message.reset();
    idleRecords.give(std::unique_ptr<messageContainer>(record));
  }
}
