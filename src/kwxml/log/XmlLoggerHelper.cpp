#include <kwxml/log/XmlLoggerHelper.h>

#include <kwxml/binary/BinaryBuffer.h>
#include <kwxml/binary/BinaryWriter.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/diagnostics/HeldOverForks.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/log/IdleRecords.h>
#include <kwxml/log/LineFormat.h>
#include <kwxml/model/Registry.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/KwCriticalSectionH.h>
#include <kwxml/xml/XMLSerializer.h>

#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mutex>
#include <string_view>
#include <utility>

std::atomic<KwThreadPool*> XmlLoggerHelper::xmlLoggerInstance = nullptr;

namespace {

constinit KwCriticalSectionH poolSection;

[[gnu::constructor(106)]] void watchForks()
{
  kwxml::holdOverForks<poolSection>();
}

constexpr const char* frame = "   ";

constinit kwxml::IdleRecords idleRecords;

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
  record->registry = &kwxml::Registry::current();
  kwxml::formatLine(*record, format, args);
  return record;
}

void hand(KwThreadPool* pool, std::unique_ptr<messageContainer> record)
{
  if (pool != nullptr && !ending && pool->getCurrentAvailableThreadCount() != 0 &&
      pool->doWork(XmlLoggerHelper::writeThroughThreadPoolFunc, record.get()) != KwThreadPool::kRefused) {
    static_cast<void>(record.release());  // the worker's now
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
    (void)made->initThreadPool("XmlLoggerHelper", 300, 20, 20, 20);
    event.get();
    (void)XMLSerializer::initialize();
    XMLDebug::getInstance();  // workers write to it until the drain: what is made first ends last
    pool = made.release();
    std::atexit(drainAtExit);
    xmlLoggerInstance.store(pool, std::memory_order_release);
  }
  return pool;
}

void XmlLoggerHelper::writeToLog(KwThreadPool* pool, const char* function, int level, long long reference,
                                 const char* format, const YMMessageBase* message, va_list args)
{
  if (event.getDebugLevel() < level) {
    return;
  }
  auto record = makeRecord(function, level, reference, format, args);
  if (message != nullptr) {
    record->registry = &kwxml::Registry::of(*message);
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
    (void)XMLSerializer::initialize();
    const kwxml::UsingCatalogue scope(record.registry != nullptr ? *record.registry
                                                                 : kwxml::Registry::current());
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
