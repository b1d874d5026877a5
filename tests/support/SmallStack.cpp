#include "support/SmallStack.h"

#include <pthread.h>
#include <sys/mman.h>

#include <stdexcept>

namespace kwxml::test {

std::string onSmallStack(const std::function<void()>& function)
{
  constexpr std::size_t size = 256 * 1024;
  constexpr std::size_t guard = 4096;  // below the stack: whoever goes beyond the end crashes
  void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED || mprotect(memory, guard, PROT_NONE) != 0) {
    throw std::runtime_error("no memory for a small stack");
  }
  char* const stack = static_cast<char*>(memory) + guard;
  const auto run = [](void* work) -> void* {
    (*static_cast<const std::function<void()>*>(work))();
    return nullptr;
  };
  pthread_attr_t attributes;
  pthread_t thread;
  pthread_attr_init(&attributes);
  if (pthread_attr_setstack(&attributes, stack, size - guard) != 0 ||
      pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&function)) != 0) {
    throw std::runtime_error("no thread with a small stack");
  }
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  std::string left(stack, size - guard);
  munmap(memory, size);
  return left;
}

}  // namespace kwxml::test
