// A pool of worker threads with a bounded queue, for work that a caller wants done soon but not by itself.
//
// Threads are started when work finds none free, never before. Work is begun in the order in which it was
// taken and may end in any. A work function
// - may throw: that is reported on standard error, and the thread goes on with the next work;
// - may give work to its own pool, but must not end its thread (pthread_exit) nor destroy its pool;
// - runs with all signals blocked but those that report a fault of the running code itself (SIGSEGV and its
//   like), so that the program's signal handlers run in the program's own threads.
//
// Process end: threads end with the process, and work that waits then is lost. A pool that is never destroyed
// needs a drain() in an atexit handler.
//
// Fork: threads do not exist in a child. There the pools of the parent have no thread available and refuse
// all work, so that a caller who asks first does the work itself; what was waiting at the fork is done in the
// parent only. What works hold at the fork, such as locks, stays held in the child. Destroying such a pool in
// the child gives up its memory. A pool whose initThreadPool is called in the child is a usable one.
//
// Every function but initThreadPool and the destructor may be called from any thread.
#pragma once

#include <memory>

class KwThreadPool
{
public:
  using Work = void* (*)(void*);  // what it returns is dropped
  /// Result of doWork when the work was not taken.
  static constexpr unsigned long kRefused = ~0UL;

  KwThreadPool();
  /// Waits for the work that was taken and for the threads' end.
  ~KwThreadPool();
  KwThreadPool(const KwThreadPool&) = delete;
  KwThreadPool& operator=(const KwThreadPool&) = delete;

  /// To be called once, before all else. `name` (copied) is what tools show for the threads, cut after 15
  /// bytes. `idleSeconds`: after that long without work a thread above `minThreads` ends. `maxThreads`: at
  /// least 1. `maxQueued`: work beyond it, when all threads are busy, is refused. Returns 0; -1, with nothing
  /// changed, for a null name, negative numbers, minThreads above maxThreads, no threads at all, a pool that
  /// is initialised already, or in a process that could not watch its forks (no memory at its start).
  int initThreadPool(const char* name, int idleSeconds, int minThreads, int maxThreads, int maxQueued);

  /// Threads that are free or could still be started, less the work that waits for one; never below 0. For a
  /// second after the system has refused to start a thread only those that exist count, so that callers who
  /// ask first do not rely on others.
  int getCurrentAvailableThreadCount() const;

  /// Queues `work(argument)`. Returns an identifier (from 1 on), or kRefused when no thread and no place in
  /// the queue is free, no thread could be started and there is none, the pool is not initialised or is being
  /// destroyed, or `work` is null: then `argument` stays the caller's.
  unsigned long doWork(Work work, void* argument);

  /// Returns when all work that was taken before the call is done; what is taken meanwhile is not waited for.
  /// Called by a thread of this pool, which would wait for itself, or after a fork in the child, it returns
  /// at once. Where it is called in a log sink (by exit(), perhaps), the lines of other threads pass that
  /// sink by until it returns.
  void drain();

private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
