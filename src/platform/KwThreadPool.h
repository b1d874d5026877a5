// A pool of worker threads with a bounded queue.
// This header is the contract; libKwPlatform does not define these functions, so a program that calls them
// needs a library that does.
//
// Every function but initThreadPool may be called from any thread.
#pragma once

class KwThreadPool
{
public:
  using Work = void* (*)(void*);
  /// Result of doWork when the work was not taken.
  static constexpr unsigned long kRefused = ~0UL;

  KwThreadPool();
  /// Waits for the work that was taken.
  ~KwThreadPool();
  KwThreadPool(const KwThreadPool&) = delete;
  KwThreadPool& operator=(const KwThreadPool&) = delete;

  /// To be called once, before all else. `idleSeconds`: after that long without work a thread above
  /// `minThreads` ends. `maxQueued`: work waiting beyond it is refused. Returns 0 on success.
  int initThreadPool(const char* name, int idleSeconds, int minThreads, int maxThreads, int maxQueued);
  /// Workers that are free or could still be started, less the work that waits for one.
  int getCurrentAvailableThreadCount() const;
  /// Queues `work(argument)`. Returns an identifier, or kRefused: then `argument` stays the caller's.
  unsigned long doWork(Work work, void* argument);
};
