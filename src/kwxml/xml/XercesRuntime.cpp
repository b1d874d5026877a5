#include <kwxml/xml/XercesRuntime.h>

#include <kwxml/diagnostics/XMLDebug.h>

#include <atomic>
#include <exception>
#include <mutex>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLException.hpp>

namespace kwxml {

bool initializeXerces() noexcept
{
  static std::atomic<bool> initialized{false};
  static std::mutex guard;
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
