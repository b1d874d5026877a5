#include <kwxml/xml/XercesRuntime.h>

#include <kwxml/diagnostics/HeldOverForks.h>
#include <kwxml/diagnostics/XMLDebug.h>

#include <atomic>
#include <exception>
#include <mutex>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLException.hpp>

namespace kwxml {

namespace {

constinit std::atomic<bool> initialized = false;
constinit std::mutex guard;

[[gnu::constructor(104)]] void watchForks()
{
  holdOverForks<guard>();
}

}  // namespace

bool initializeXerces() noexcept
{
  if (initialized.load(std::memory_order_acquire)) {
    return true;
  }
  try {
    const std::lock_guard lock(guard);
    if (!initialized.load(std::memory_order_relaxed)) {
      xercesc::XMLPlatformUtils::Initialize();
      initialized.store(true, std::memory_order_release);
    }
    return true;
  } catch (const xercesc::XMLException& e) {
    XMLDebug::getInstance()->logError("kwxml::initializeXerces", "The XML library cannot start: error %d",
                                      static_cast<int>(e.getCode()));
  } catch (const std::exception& e) {
    XMLDebug::getInstance()->logError("kwxml::initializeXerces", "The XML library cannot start: %s",
                                      e.what());
  } catch (...) {
    XMLDebug::getInstance()->logError("kwxml::initializeXerces", "The XML library cannot start");
  }
  return false;
}

}  // namespace kwxml
