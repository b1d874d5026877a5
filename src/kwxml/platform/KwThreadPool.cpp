#include <kwxml/platform/KwThreadPool.h>

#include <kwxml/platform/PlatformInternal.h>

#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <exception>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// For how long after a failure threads that could be started are not promised.
constexpr std::chrono::seconds kNoPromise{1};

constexpr size_t kThreadNameLength = 15;  // what the kernel keeps

// Which process this is: one more in each forked child. To ask the system each time would cost more than the
// rest of giving work.
constinit std::atomic<unsigned> generation = 1;

// Set when forks are counted; without memory for that when the library was loaded there are no pools. From
// the load on, because a child's handlers run in the order of their registration: those of others may log.
// Before all static objects, which may have pools.
constinit bool countsForks = false;

[[gnu::constructor(101)]] void countForks()
{
  countsForks =
      pthread_atfork(nullptr, nullptr, [] { generation.fetch_add(1, std::memory_order_relaxed); }) == 0;
}

// The pool that the running thread belongs to, null for a thread of the program's.
const void*& poolOfThisThread()
{
  static constinit thread_local const void* pool = nullptr;
  return pool;
}

// Starts a thread that blocks signals from its first instruction on: it inherits the mask of its starter.
// False when the system has no thread to give.
bool startThread(void* (*body)(void*), void* argument, pthread_t& thread)
{
  sigset_t blocked;
  sigset_t before;
  sigfillset(&blocked);
  for (const int ownFault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) {
    sigdelset(&blocked, ownFault);  // blocked, these would kill without the program's crash handler
  }
  pthread_sigmask(SIG_SETMASK, &blocked, &before);
  const int failure = pthread_create(&thread, nullptr, body, argument);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return failure == 0;
}

}  // namespace

// All members below `mutex` are guarded by it. Invariants: living >= running.size(); work waits only while
// a thread lives, so that it is always taken up; ids in `queue` rise from front to back.
struct KwThreadPool::Impl
{
  struct Item
  {
    unsigned long id;
    Work work;
    void* argument;
  };

  // The process whose threads these are (its generation), 0 before initThreadPool. Looked at before the mutex
  // is touched: in a forked child the mutex may be held by a thread that does not exist there.
  std::atomic<unsigned> process = 0;

  mutable std::mutex mutex;
  std::condition_variable workOrEnd;  // for the threads
  std::condition_variable progress;   // for drain and the destructor
  std::string name;
  std::chrono::seconds idle{0};
  size_t minThreads = 0;
  size_t maxThreads = 0;
  size_t maxQueued = 0;
  std::deque<Item> queue;
  std::vector<unsigned long> running;  // ids of the work in progress, in no order; has room for every thread
  size_t living = 0;
  size_t drainers = 0;
  unsigned long lastId = 0;
  bool ending = false;
  // A thread has been woken, and none has looked at the queue since. One at a time: whoever looks wakes the
  // next one when it finds more than it takes. So a caller who gives much work at once does not pay for
  // waking each thread. A free thread that does not wait is starting or about to end; it will look too.
  bool waking = false;
  Clock::time_point promiseAgain;  // see kNoPromise
  // The thread that ended last. Each ending thread joins the one before it, so that joining this one joins
  // all, and no caller of doWork ever waits for a thread's end.
  std::optional<pthread_t> lastEnded;

  // What getCurrentAvailableThreadCount gives, for it is asked before each work: kept with each change.
  std::atomic<int> available = 0;
  // Threads that could not be started are not to be promised now; looked at under the mutex.
  std::atomic<bool> noPromise = false;

  bool usable() const
  {
    return process.load(std::memory_order_acquire) == generation.load(std::memory_order_relaxed);
  }
  size_t freeThreads() const { return living - running.size(); }

  // See getCurrentAvailableThreadCount.
  size_t availableOf(size_t threads) const
  {
    const size_t taken = running.size() + queue.size();
    return threads - std::min(threads, taken);
  }
  void publishAvailable()
  {
    available.store(static_cast<int>(availableOf(maxThreads)), std::memory_order_relaxed);
  }

  void addThread();
  void threadRefused();
  void wakeOne();
  static void* threadMain(void* pool);
  void serve();
  bool waitForWork(std::unique_lock<std::mutex>& lock);
  void run(const Item& item) const noexcept;
  void reportThrow(const char* what) const noexcept;
  bool doneUpTo(unsigned long id) const;
};

void KwThreadPool::Impl::addThread()
{
  try {
    running.reserve(living + 1);
  } catch (const std::bad_alloc&) {
    threadRefused();
    return;
  }
  pthread_t thread;
  if (startThread(&threadMain, this, thread)) {
    ++living;
  } else {
    threadRefused();
  }
}

void KwThreadPool::Impl::threadRefused()
{
  promiseAgain = Clock::now() + kNoPromise;
  noPromise.store(true, std::memory_order_relaxed);
}

void KwThreadPool::Impl::wakeOne()
{
  if (!waking && freeThreads() > 0) {
    waking = true;
    workOrEnd.notify_one();
  }
}

void* KwThreadPool::Impl::threadMain(void* pool)
{
  poolOfThisThread() = pool;
  static_cast<Impl*>(pool)->serve();
  return nullptr;
}

void KwThreadPool::Impl::serve()
{
  std::unique_lock lock(mutex);
  if (!name.empty()) {
    pthread_setname_np(pthread_self(), name.c_str());
  }
  while (waitForWork(lock)) {
    const Item item = queue.front();
    queue.pop_front();
    running.push_back(item.id);
    if (!queue.empty()) {
      wakeOne();
    }
    lock.unlock();
    run(item);
    if (!usable()) {
      return;  // the work forked and returned in the child as well
    }
    lock.lock();
    *std::find(running.begin(), running.end(), item.id) = running.back();
    running.pop_back();
    publishAvailable();
    if (drainers > 0) {
      progress.notify_all();
    }
  }
  --living;
  const std::optional<pthread_t> before = std::exchange(lastEnded, pthread_self());
  if (living == 0) {
    progress.notify_all();
  }
  lock.unlock();
  if (before) {
    pthread_join(*before, nullptr);
  }
}

// False: the thread is to end. The lock is held before and after.
bool KwThreadPool::Impl::waitForWork(std::unique_lock<std::mutex>& lock)
{
  const Clock::time_point deadline = Clock::now() + idle;
  waking = false;  // whoever was woken, this thread looks at the queue
  while (queue.empty()) {
    if (ending) {
      return false;
    }
    bool timedOut = false;
    if (living <= minThreads) {
      workOrEnd.wait(lock);
    } else {
      timedOut = workOrEnd.wait_until(lock, deadline) == std::cv_status::timeout;
    }
    waking = false;
    if (timedOut && queue.empty() && living > minThreads) {
      return false;
    }
  }
  return true;
}

void KwThreadPool::Impl::run(const Item& item) const noexcept
{
  try {
    item.work(item.argument);
  } catch (const std::exception& thrown) {
    reportThrow(thrown.what());
  } catch (...) {
    reportThrow("something that is no std::exception");
  }
}

// Takes no memory: what was thrown may say that there is none.
void KwThreadPool::Impl::reportThrow(const char* what) const noexcept
{
  char line[512];
  std::snprintf(line, sizeof line - 1, "KwThreadPool %s: work threw: %s", name.c_str(), what);
  const size_t length = std::char_traits<char>::length(line);
  line[length] = '\n';
  line[length + 1] = '\0';
  std::fputs(line, stderr);
}

bool KwThreadPool::Impl::doneUpTo(unsigned long id) const
{
  return (queue.empty() || queue.front().id > id) &&
         std::all_of(running.begin(), running.end(), [&](unsigned long other) { return other > id; });
}

KwThreadPool::KwThreadPool() : impl_(std::make_unique<Impl>()) {}

KwThreadPool::~KwThreadPool()
{
  if (impl_->process.load(std::memory_order_acquire) == 0) {
    return;
  }
  if (!impl_->usable()) {
    static_cast<void>(impl_.release());  // the parent's threads stand in its lock and conditions for ever
    return;
  }
  assert(poolOfThisThread() != impl_.get());
  const kwxml::SinkPause pause;
  std::unique_lock lock(impl_->mutex);
  impl_->ending = true;
  impl_->workOrEnd.notify_all();
  impl_->progress.wait(lock, [&] { return impl_->living == 0; });
  const std::optional<pthread_t> lastEnded = impl_->lastEnded;
  lock.unlock();
  if (lastEnded) {
    pthread_join(*lastEnded, nullptr);
  }
}

int KwThreadPool::initThreadPool(const char* name, int idleSeconds, int minThreads, int maxThreads,
                                 int maxQueued)
{
  if (!name || idleSeconds < 0 || minThreads < 0 || maxThreads < 1 || minThreads > maxThreads ||
      maxQueued < 0 || impl_->process.load(std::memory_order_acquire) != 0 || !countsForks) {
    return -1;
  }
  std::lock_guard lock(impl_->mutex);
  impl_->name.assign(name, strnlen(name, kThreadNameLength));
  impl_->idle = std::chrono::seconds(idleSeconds);
  impl_->minThreads = static_cast<size_t>(minThreads);
  impl_->maxThreads = static_cast<size_t>(maxThreads);
  impl_->maxQueued = static_cast<size_t>(maxQueued);
  impl_->publishAvailable();
  impl_->process.store(generation.load(), std::memory_order_release);
  return 0;
}

int KwThreadPool::getCurrentAvailableThreadCount() const
{
  if (!impl_->usable()) {
    return 0;
  }
  if (!impl_->noPromise.load(std::memory_order_relaxed)) {
    return impl_->available.load(std::memory_order_relaxed);
  }
  const std::lock_guard lock(impl_->mutex);
  const bool still = Clock::now() < impl_->promiseAgain;
  impl_->noPromise.store(still, std::memory_order_relaxed);
  return static_cast<int>(impl_->availableOf(still ? impl_->living : impl_->maxThreads));
}

unsigned long KwThreadPool::doWork(Work work, void* argument)
{
  if (!work || !impl_->usable()) {
    return kRefused;
  }
  std::lock_guard lock(impl_->mutex);
  if (impl_->ending) {
    return kRefused;
  }
  if (impl_->queue.size() >= impl_->freeThreads() && impl_->living < impl_->maxThreads) {
    impl_->addThread();
  }
  // Work that waits for a thread that is just waking up does not count as queued.
  if (impl_->living == 0 || impl_->queue.size() >= impl_->freeThreads() + impl_->maxQueued) {
    return kRefused;
  }
  try {
    impl_->queue.push_back({impl_->lastId + 1, work, argument});
  } catch (const std::bad_alloc&) {
    return kRefused;
  }
  impl_->publishAvailable();
  impl_->wakeOne();
  return ++impl_->lastId;
}

void KwThreadPool::drain()
{
  if (!impl_->usable() || poolOfThisThread() == impl_.get()) {
    return;
  }
  const kwxml::SinkPause pause;
  std::unique_lock lock(impl_->mutex);
  const unsigned long last = impl_->lastId;
  ++impl_->drainers;
  impl_->progress.wait(lock, [&] { return impl_->doneUpTo(last); });
  --impl_->drainers;
}
