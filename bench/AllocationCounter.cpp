#include "AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
// Only the main thread counts; a load and a store are cheaper than a locked increment.
std::atomic<std::size_t> allocations{0};
}  // namespace

void* operator new(std::size_t size)
{
  allocations.store(allocations.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  if (void* memory = std::malloc(size != 0 ? size : 1)) {
    return memory;
  }
  throw std::bad_alloc();
}
void* operator new[](std::size_t size)
{
  return operator new(size);
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

namespace kwxml::bench {

std::size_t allocationCount()
{
  return allocations.load(std::memory_order_relaxed);
}

}  // namespace kwxml::bench
