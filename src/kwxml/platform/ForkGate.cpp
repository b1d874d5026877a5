#include <kwxml/platform/ForkGate.h>

#include <kwxml/platform/PlatformInternal.h>

#include <pthread.h>

#include <condition_variable>
#include <mutex>
#include <new>

namespace kwxml {

namespace {

struct Gate
{
  std::mutex mutex;
  std::condition_variable changed;
  unsigned inside = 0;   ///< threads
  unsigned forking = 0;  ///< threads that wait to fork, or do
};

/// Never destroyed: lines are logged until the process's very end.
Gate& gate()
{
  static Gate& instance = *new Gate;
  return instance;
}

constinit thread_local unsigned depth = 0;  ///< objects of this thread

void beforeFork()
{
  Gate& all = gate();
  std::unique_lock lock(all.mutex);
  ++all.forking;
  // Of two forks the second waits for the mutex, which is held until the first is over.
  all.changed.wait(lock, [&] { return all.inside == (depth > 0 ? 1 : 0); });
  ++depth;  // other handlers of this fork may log
  static_cast<void>(lock.release());
}

void afterForkInParent()
{
  Gate& all = gate();
  --depth;
  --all.forking;
  all.mutex.unlock();
  all.changed.notify_all();
}

void afterForkInChild()
{
  Gate& all = gate();
  // As new: those who waited in it do not exist here.
  new (&all) Gate;
  --depth;
  all.inside = depth > 0 ? 1 : 0;
  renewSinkInChild();
}

/// From the load on, before the handlers of those who log: handlers before a fork run in the reverse order.
[[gnu::constructor(101)]] void watchForks()
{
  gate();
  renewSinkInChild();  // makes what it renews
  if (pthread_atfork(beforeFork, afterForkInParent, afterForkInChild) != 0) {
    reportToStderr("no memory to watch forks with: children of threads that log must not log");
  }
}

}  // namespace

InsideLog::InsideLog()
{
  if (depth++ == 0) {
    Gate& all = gate();
    std::unique_lock lock(all.mutex);
    all.changed.wait(lock, [&all] { return all.forking == 0; });
    ++all.inside;
  }
}

InsideLog::~InsideLog()
{
  if (--depth == 0) {
    Gate& all = gate();
    const std::lock_guard lock(all.mutex);
    if (--all.inside == 0 && all.forking > 0) {
      all.changed.notify_all();
    }
  }
}

}  // namespace kwxml
