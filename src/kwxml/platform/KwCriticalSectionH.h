// Locks that their owner may take again.
#pragma once

#include <kwxml/platform/CxxStandard.h>
#include <kwxml/platform/Export.h>

#include <atomic>
#include <cassert>
#include <mutex>

/// A lock that its owner may take again. The lock needs no constructor at run time, so that it can guard what
/// is created first in a process. std::lock_guard and std::unique_lock work with it.
class KWXML_API KwCriticalSectionH
{
public:
  /// Nobody is inside.
  constexpr KwCriticalSectionH() noexcept = default;
  KwCriticalSectionH(const KwCriticalSectionH&) = delete;
  KwCriticalSectionH& operator=(const KwCriticalSectionH&) = delete;

  /// Waits until no other thread is inside, and enters. Each enter() needs a leave() of its own.
  void enter()
  {
    // Only the owner itself ever stores its own identifier, so a match needs no further ordering.
    if (owner_.load(std::memory_order_relaxed) != self()) {
      mutex_.lock();
      owner_.store(self(), std::memory_order_relaxed);
    }
    ++depth_;
  }

  /// Enters if no other thread is inside, without waiting. False when another thread is.
  [[nodiscard]] bool tryEnter()
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

  /// Takes back one enter(). To be called by the thread that entered; a call by any other thread is a fault
  /// of the caller: it ends a debug build and changes nothing in others.
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

  /// enter() under the name that std::lock_guard and std::unique_lock call.
  void lock() { enter(); }
  /// tryEnter() under the name that std::unique_lock calls.
  [[nodiscard]] bool try_lock() { return tryEnter(); }
  /// leave() under the name that std::lock_guard and std::unique_lock call.
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
