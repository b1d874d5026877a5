// A pool of worker threads with a bounded queue, for work that a caller wants done soon, but not in its own
// thread.
//
// A thread is started when work finds no free thread, never before. Work is begun in the order in which it
// was taken and may end in any. A work function
// - may throw: that is reported on standard error, and the thread goes on with the next work;
// - may give work to its own pool, but must neither end its thread (pthread_exit) nor destroy its pool;
// - runs with all signals blocked but those that report a fault of the running code itself (SIGSEGV and its
//   like), so that the program's signal handlers run in the program's own threads.
//
// Process end: threads end with the process, and work that waits then is lost. A pool that is never destroyed
// needs a drain() in an atexit handler.
//
// Fork: the threads do not exist in a child. There the pools of the parent have no thread available and
// refuse all work, so that a caller who asks first does the work itself; work that was waiting at the fork is
// done in the parent only. What work functions hold at the fork, such as locks, stays held in the child.
// Destroying such a pool in the child does not free its memory. A pool whose initThreadPool() is called in
// the child is a usable one.
//
// Every function but initThreadPool() and the destructor may be called from any thread.
#pragma once

#include <kwxml/platform/Export.h>
#include <kwxml/platform/StandardParts.h>

/// A pool of worker threads with a bounded queue. The head of this file says what a work function may do, and
/// what holds at the end of the process and in a forked child.
class KWXML_API KwThreadPool
{
public:
  /// A function that does work with its argument; its result is dropped.
  using Work = void* (*)(void*);
  /// Result of doWork() when the work was not taken.
  static constexpr unsigned long kRefused = ~0UL;

  /// Makes a pool that refuses all work until initThreadPool().
  KwThreadPool();
  /// Waits for the work that was taken and for the threads' end.
  ~KwThreadPool();
  KwThreadPool(const KwThreadPool&) = delete;
  KwThreadPool& operator=(const KwThreadPool&) = delete;

  /// To be called once, before all else. `name` (copied) is what tools show for the threads, cut after 15
  /// bytes. `idleSeconds`: after that long without work a thread ends while there are more than `minThreads`.
  /// `maxThreads`: at least 1. `maxQueued`: how much work may wait when all threads are busy; more is
  /// refused. Returns 0, or -1, with nothing changed, for a null name, negative numbers, `minThreads` above
  /// `maxThreads`, `maxThreads` of 0, a pool that is initialised already, and in a process that could not
  /// watch its forks (no memory at its start).
  [[nodiscard]] int initThreadPool(const char* name, int idleSeconds, int minThreads, int maxThreads,
                                   int maxQueued);

  /// Threads that are free or could still be started, less the work that waits for one; never below 0. For a
  /// second after the system has refused to start a thread only threads that exist count, so that callers who
  /// ask first do not rely on others. 0 before initThreadPool() and in a forked child.
  int getCurrentAvailableThreadCount() const;

  /// Queues `work(argument)`. Returns an identifier of the work (from 1 on), or kRefused when no thread and
  /// no place in the queue is free, when there is no thread and none could be started, when memory is
  /// lacking, when the pool is not initialised or is being destroyed, and when `work` is null. Refused work
  /// is never called: whatever `argument` owns is the caller's to free.
  unsigned long doWork(Work work, void* argument);

  /// Returns when all work that was taken before the call is done; the call does not wait for work that is
  /// taken meanwhile. Returns at once where it is called by a thread of this pool, which would wait for
  /// itself, and in a forked child. While a thread waits here inside a log sink (by exit(), perhaps), the
  /// lines of other threads do not reach that sink.
  void drain();

private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
