#include <kwxml/diagnostics/XMLDebug.h>

#include <kwxml/diagnostics/HeldOverForks.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/KWPlatformInfo.h>
#include <kwxml/platform/LogSink.h>

#include <errno.h>  // program_invocation_short_name

#include <mutex>

char XMLDebug::sysName[1025];
constinit std::atomic<bool> XMLDebug::ended = false;

namespace {

constinit std::mutex making;
constinit std::atomic<XMLDebug*> made = nullptr;

[[gnu::constructor(102)]] void watchForks()
{
  kwxml::holdOverForks<making>();
}

}  // namespace

XMLDebug* XMLDebug::getInstance()
{
  XMLDebug* instance = made.load(std::memory_order_acquire);
  if (instance == nullptr) [[unlikely]] {
    const std::lock_guard lock(making);
    static XMLDebug only;
    instance = &only;
    made.store(instance, std::memory_order_release);
  }
  return instance;
}

XMLDebug::XMLDebug()
{
  const char* focus = KWPI_Focus::getFocus();
  if (!focus || !*focus) {
    return;
  }
  if (checkRegistry()) {
    messageLog = std::make_unique<EvDebug>(logSettings);
    (void)messageLog->initialize(EvDebug::getLogId("XMLMessage"), 0, 0, "");
    messageLog->setLogFileSize(5);
    messageLog->setStandardError(false);  // the process's log has its lines
  }
  processLog = &log;
}

XMLDebug::~XMLDebug()
{
  ended = true;
  // Before the process's log, which is declared after it.
  messageLog.reset();
}

bool XMLDebug::checkRegistry() const
{
  KWPlatformInfo settings;
  settings.setFocus(KWPI_Focus::getFocus());
  // Only whether the number is there counts: the levels are the logs' own.
  long long number = 0;
  return settings.getNumber("EventManager", "XMLMessage_DEBUGLEVEL", number) != 0;
}

void XMLDebug::write(int level, const char* function, const char* format, va_list args) const
{
  if (ended) {
    return;
  }
  // Each log gets arguments of its own: a log may use up what it is given.
  if (EvDebug* host = processLog.load(std::memory_order_acquire)) {
    va_list copy;
    va_copy(copy, args);
    host->handleMsgEventDebug_NEW(level, function, -1, 0, nullptr, format, copy);
    va_end(copy);
  }
  if (messageLog) {
    va_list copy;
    va_copy(copy, args);
    messageLog->handleMsgEventDebug_NEW(level, function, -1, 0, sysName, format, copy);
    va_end(copy);
  }
}

void XMLDebug::debug(const char* function, int level, const char* format, ...) const
{
  va_list args;
  va_start(args, format);
  write(level, function, format, args);
  va_end(args);
}

void XMLDebug::debug(int level, const char* format, ...) const
{
  va_list args;
  va_start(args, format);
  write(level, name.c_str(), format, args);
  va_end(args);
}

void XMLDebug::debug(const char* function, const char* format, ...) const
{
  va_list args;
  va_start(args, format);
  write(defaultLevel, function, format, args);
  va_end(args);
}

void XMLDebug::logError(const char* function, const char* format, ...) const
{
  va_list args;
  va_start(args, format);
  write(0, function, format, args);
  va_end(args);
}

const char* XMLDebug::getErrorString(int code)
{
  switch (code) {
    case 2337:
      return "Invalid day in the date";
    case 2338:
      return "Invalid month in the date";
    case 2339:
      return "Invalid hour in the time";
    case 2340:
      return "Invalid Minutes in time";
    case 2341:
      return "Invalid seconds in time";
    case 2342:
      return "Invalid Boolean Value";
    case 2343:
      return "Invalid Enum value";
    case 2344:
      return "Invalid time format";
    case 2345:
      return "Invalid date format";
    case 2346:
      return "Invalid integer value";
    default:
      return "Generic error";
  }
}

void kwxml::logToStandardError(int level)
{
  if (const char* focus = KWPI_Focus::getFocus(); focus == nullptr || *focus == '\0') {
    KWPI_Focus::setFocus(program_invocation_short_name);
  }
  raiseLogLevel(level);
  alwaysToStandardError(level);
  XMLDebug* instance = XMLDebug::getInstance();
  instance->processLog.store(&instance->log, std::memory_order_release);  // where it was silent
}
