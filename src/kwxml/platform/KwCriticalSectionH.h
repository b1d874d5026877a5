// A lock that its owner may take again. It needs no constructor at run time, so that it can guard what is
// created first in a process, and it works with std::lock_guard.
#pragma once

#include <kwxml/platform/CxxStandard.h>

#include <atomic>
#include <cassert>
#include <mutex>

class KwCriticalSectionH
{
public:
  constexpr KwCriticalSectionH() noexcept = default;
  KwCriticalSectionH(const KwCriticalSectionH&) = delete;
  KwCriticalSectionH& operator=(const KwCriticalSectionH&) = delete;

  /// Waits until no other thread is inside. Each enter needs its own leave.
  void enter()
  {
    // Only the owner itself ever stores its own identifier, so a match needs no further ordering.
    if (owner_.load(std::memory_order_relaxed) != self()) {
      mutex_.lock();
      owner_.store(self(), std::memory_order_relaxed);
    }
    ++depth_;
  }

  bool tryEnter()
  {
    if (owner_.load(std::memory_order_relaxed) != self()) {
      if (!mutex_.try_lock()) {
        return false;
      }
      owner_.store(self(), std::memory_order_relaxed);
    }
    ++depth_;
    return true;
  }

  /// To be called by the thread that entered; from any other it is a fault of the caller and changes nothing.
  void leave()
  {
    if (owner_.load(std::memory_order_relaxed) != self()) {
      assert(!"KwCriticalSectionH::leave without enter");
      return;
    }
    if (--depth_ == 0) {
      owner_.store(nullptr, std::memory_order_relaxed);
      mutex_.unlock();
    }
  }

  // The names that std::lock_guard and std::unique_lock call.
  void lock() { enter(); }
  bool try_lock() { return tryEnter(); }
  void unlock() { leave(); }

private:
  // What tells threads apart: an address that each has for itself. (Thread identifiers are no constants to
  // start from.)
  static const void* self()
  {
    static constinit thread_local char mark = 0;
    return &mark;
  }

  std::mutex mutex_;
  std::atomic<const void*> owner_ = nullptr;
  unsigned depth_ = 0;  // touched by the owner only
};
