#include "failures/FailingMemory.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KWXML_SANITIZED 1
#else
#define KWXML_SANITIZED 0
#endif

namespace {

// Only the thread that tests counts; others are the log's.
thread_local bool counting = false;
bool fromThenOn = false;
std::size_t wanted = 0;
std::size_t counted = 0;

/// Blocks by their address, each in the first free place from that of its address on.
constexpr std::size_t places = std::size_t{1} << 16;
void* blocks[places];
std::size_t blockCount = 0;
/// Something of a block was here, and what was put behind it stays findable.
char gone;

std::size_t placeOf(const void* block)
{
  return reinterpret_cast<std::uintptr_t>(block) / 16 * 0x9E3779B97F4A7C15ULL >> 48;
}

bool fails()
{
  return counting && (++counted == wanted || (fromThenOn && counted > wanted));
}

void* made(void* block)
{
  if (counting && block != nullptr && blockCount < places / 2) {
    std::size_t at = placeOf(block);
    while (blocks[at] != nullptr && blocks[at] != &gone) {
      at = (at + 1) % places;
    }
    blocks[at] = block;
    ++blockCount;
  }
  return block;
}

void ended(const void* block)
{
  for (std::size_t at = placeOf(block); block != nullptr && blockCount > 0 && blocks[at] != nullptr;
       at = (at + 1) % places) {
    if (blocks[at] == block) {
      blocks[at] = &gone;
      --blockCount;
      return;
    }
  }
}

}  // namespace

#if KWXML_SANITIZED

void* operator new(std::size_t size)
{
  void* const memory = fails() ? nullptr : std::malloc(size != 0 ? size : 1);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}
void* operator new[](std::size_t size)
{
  return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
  return fails() ? nullptr : std::malloc(size != 0 ? size : 1);
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

#else

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

static void* refuse()
{
  errno = ENOMEM;
  return nullptr;
}

void* malloc(std::size_t size)
{
  return fails() ? refuse() : made(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size)
{
  return fails() ? refuse() : made(__libc_calloc(count, size));
}
void* realloc(void* block, std::size_t size)
{
  if (fails()) {
    return refuse();
  }
  ended(block);
  return made(__libc_realloc(block, size));
}
void free(void* block)
{
  ended(block);
  __libc_free(block);
}

}  // extern "C"

#endif

namespace kwxml::test {

FailingMemory::FailingMemory(std::size_t number, bool all)
{
  for (void*& block : blocks) {
    block = nullptr;
  }
  blockCount = 0;
  counted = 0;
  wanted = number;
  fromThenOn = all;
  counting = true;
}

FailingMemory::~FailingMemory()
{
  counting = false;
}

bool FailingMemory::failed()
{
  return counted >= wanted;
}

void FailingMemory::stop()
{
  counting = false;
}

std::size_t FailingMemory::blocksLeft()
{
  return blockCount;
}

}  // namespace kwxml::test
