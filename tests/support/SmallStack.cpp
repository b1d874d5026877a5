#include "support/SmallStack.h"

#include <pthread.h>

#include <stdexcept>

namespace kwxml::test {

void onSmallStack(const std::function<void()>& function)
{
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, 256 * 1024);
  pthread_t thread;
  const int failed = pthread_create(
      &thread, &attributes,
      [](void* work) -> void* {
        (*static_cast<const std::function<void()>*>(work))();
        return nullptr;
      },
      const_cast<std::function<void()>*>(&function));
  pthread_attr_destroy(&attributes);
  if (failed != 0) {
    throw std::runtime_error("no thread with a small stack");
  }
  pthread_join(thread, nullptr);
}

}  // namespace kwxml::test
