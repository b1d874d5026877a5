#include "Heap.h"

#include <malloc.h>

#include <cerrno>
#include <cstdlib>

// glibc lets a program replace these four and the aligned ones, and keeps its own under these names.
extern "C" {
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* memory, std::size_t size) noexcept;
void* __libc_memalign(std::size_t alignment, std::size_t size) noexcept;
void __libc_free(void* memory) noexcept;
}

namespace {

constinit bool counting = false;
constinit std::size_t allocationCount = 0;
constinit long long heldBytes = 0;

long long footprint(void* memory)
{
  return memory != nullptr ? static_cast<long long>(malloc_usable_size(memory) + sizeof(std::size_t)) : 0;
}

void* taken(void* memory)
{
  if (counting && memory != nullptr) [[unlikely]] {
    ++allocationCount;
    heldBytes += footprint(memory);
  }
  return memory;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) noexcept
{
  return taken(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) noexcept
{
  return taken(__libc_calloc(count, size));
}
void* realloc(void* memory, std::size_t size) noexcept
{
  const long long before = counting ? footprint(memory) : 0;
  void* grown = __libc_realloc(memory, size);
  if (grown != nullptr || size == 0) {
    heldBytes -= before;
  }
  return taken(grown);
}
void* memalign(std::size_t alignment, std::size_t size) noexcept
{
  return taken(__libc_memalign(alignment, size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
  return memalign(alignment, size);
}
int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept
{
  void* made = memalign(alignment, size);
  if (made == nullptr) {
    return ENOMEM;
  }
  *memory = made;
  return 0;
}
void free(void* memory) noexcept
{
  if (counting) [[unlikely]] {
    heldBytes -= footprint(memory);
  }
  __libc_free(memory);
}

}  // extern "C"

namespace kwxml::bench {

HeapScope::HeapScope()
{
  allocationCount = 0;
  heldBytes = 0;
  counting = true;
}
HeapScope::~HeapScope()
{
  counting = false;
}
std::size_t HeapScope::allocations() const
{
  return allocationCount;
}
long long HeapScope::bytesHeld() const
{
  return heldBytes;
}

}  // namespace kwxml::bench
