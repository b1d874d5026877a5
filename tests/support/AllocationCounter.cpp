#include "support/AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::size_t> allocations{0};
}

void* operator new(std::size_t size)
{
  allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* memory = std::malloc(size != 0 ? size : 1)) {
    return memory;
  }
  throw std::bad_alloc();
}
void* operator new[](std::size_t size)
{
  return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
  allocations.fetch_add(1, std::memory_order_relaxed);
  return std::malloc(size != 0 ? size : 1);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept
{
  return operator new(size, tag);
}
void operator delete(void* memory) noexcept
{
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
  std::free(memory);
}
void operator delete[](void* memory) noexcept
{
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept
{
  std::free(memory);
}

namespace kwxml::test {

AllocationCounter::AllocationCounter() : before_(allocations.load()) {}
std::size_t AllocationCounter::count() const
{
  return allocations.load() - before_;
}

}  // namespace kwxml::test
