#include <kwxml/platform/KWPI_Focus.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <set>
#include <string>

namespace {

// Never destroyed: focus texts are handed out for the life of the process, its exit included.
struct Focuses
{
  std::mutex mutex;
  std::set<std::string> texts;  // nodes stay where they are
  std::atomic<const char*> current = nullptr;

  // Reading is safe as long as the program does not change its environment meanwhile.
  Focuses() { current = keep(std::getenv("KWXML_FOCUS")); }  // NOLINT(concurrency-mt-unsafe)

  const char* keep(const char* focus)
  {
    if (!focus) {
      return nullptr;
    }
    std::lock_guard lock(mutex);
    return texts.insert(focus).first->c_str();
  }
};

Focuses& focuses()
{
  static Focuses& instance = *new Focuses;
  return instance;
}

}  // namespace

const char* KWPI_Focus::getFocus()
{
  return focuses().current.load(std::memory_order_acquire);
}

void KWPI_Focus::setFocus(const char* focus)
{
  Focuses& all = focuses();
  all.current.store(all.keep(focus), std::memory_order_release);
}
