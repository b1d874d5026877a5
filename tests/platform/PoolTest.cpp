// The thread pool: what it takes and refuses, that taken work runs exactly once whatever happens around it,
// and when threads, drain and the pool itself end. Nothing here depends on how long something takes: works
// wait on gates, and what can only be polled gives up after a generous time.
#include <gtest/gtest.h>
#include <kwxml/platform/KwThreadPool.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <latch>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr unsigned long kRefused = KwThreadPool::kRefused;
using Task = std::function<void()>;

void* runTask(void* task)
{
  (*static_cast<Task*>(task))();
  return nullptr;
}

struct Pool : KwThreadPool
{
  Pool(int idleSeconds, int least, int most, int queued, const char* name = "pool")
  {
    EXPECT_EQ(initThreadPool(name, idleSeconds, least, most, queued), 0);
  }
};

unsigned long give(KwThreadPool& pool, Task& task)
{
  return pool.doWork(runTask, &task);
}

// Work that waits until the gate is open.
struct Gated
{
  std::latch gate{1};
  std::atomic<int> done = 0;
  Task task = [this] {
    gate.wait();
    ++done;
  };
};

bool eventually(const std::function<bool()>& condition)
{
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::yield();
  }
  return true;
}

TEST(KwThreadPool, RefusesArgumentsThatMakeNoSense)
{
  KwThreadPool pool;
  Task task = [] {};
  EXPECT_EQ(give(pool, task), kRefused);
  EXPECT_EQ(pool.getCurrentAvailableThreadCount(), 0);
  pool.drain();
  EXPECT_EQ(pool.initThreadPool(nullptr, 1, 1, 1, 1), -1);
  for (const auto& [idle, least, most, queued] : std::vector<std::array<int, 4>>{
           {-1, 1, 1, 1}, {1, -1, 1, 1}, {1, 0, 0, 1}, {1, 0, -1, 1}, {1, 2, 1, 1}, {1, 1, 1, -1}}) {
    EXPECT_EQ(pool.initThreadPool("pool", idle, least, most, queued), -1);
  }
  EXPECT_EQ(pool.initThreadPool("pool", INT_MAX, 0, INT_MAX, INT_MAX), 0);
  EXPECT_EQ(pool.initThreadPool("pool", 1, 1, 1, 1), -1);
  EXPECT_EQ(pool.getCurrentAvailableThreadCount(), INT_MAX);
  EXPECT_EQ(pool.doWork(nullptr, nullptr), kRefused);
}

TEST(KwThreadPool, TakesAsMuchAsThreadsAndQueueHold)
{
  for (const auto& [threads, queued] : {std::pair{1, 0}, {1, 2}, {3, 0}, {3, 2}}) {
    Gated works;
    Pool pool(60, 0, threads, queued);
    for (int i = 0; i < threads + queued; ++i) {
      EXPECT_EQ(pool.getCurrentAvailableThreadCount(), std::max(threads - i, 0));
      EXPECT_EQ(give(pool, works.task), static_cast<unsigned long>(i) + 1);
    }
    EXPECT_EQ(give(pool, works.task), kRefused);
    works.gate.count_down();
    pool.drain();
    EXPECT_EQ(works.done, threads + queued);
    EXPECT_EQ(pool.getCurrentAvailableThreadCount(), threads);
  }
}

TEST(KwThreadPool, RunsEachWorkOnce)
{
  constexpr size_t kGivers = 16;
  constexpr size_t kEach = 10000;
  Pool pool(0, 1, 4, 8);
  std::vector<std::atomic<int>> runs(kGivers * kEach);
  std::vector<unsigned long> ids(runs.size());
  std::vector<std::jthread> givers;
  const auto count = [](void* run) -> void* {
    ++*static_cast<std::atomic<int>*>(run);
    return nullptr;
  };
  for (size_t giver = 0; giver < kGivers; ++giver) {
    givers.emplace_back([&, giver] {
      for (size_t i = giver * kEach; i < (giver + 1) * kEach; ++i) {
        while ((ids[i] = pool.doWork(count, &runs[i])) == kRefused) {
          std::this_thread::yield();
        }
      }
    });
  }
  givers.clear();  // all has been given
  pool.drain();
  const std::set<unsigned long> distinct(ids.begin(), ids.end());
  EXPECT_EQ(distinct.size(), runs.size());
  EXPECT_TRUE(std::all_of(runs.begin(), runs.end(), [](const auto& run) { return run == 1; }));
}

std::atomic<int> threadsStarted;
std::atomic<int> threadsEnded;

// Once in each thread that asks for it.
struct ThreadMark
{
  ThreadMark() { ++threadsStarted; }
  ~ThreadMark() { ++threadsEnded; }
};

TEST(KwThreadPool, EndsIdleThreadsAboveTheMinimum)
{
  for (const int least : {0, 1, 3}) {
    threadsStarted = threadsEnded = 0;
    std::latch together(4);
    Task task = [&] {
      static thread_local ThreadMark mark;
      static_cast<void>(&mark);
      together.arrive_and_wait();
    };
    Task another = [] {};
    {
      Pool pool(0, least, 4, 0);
      for (int i = 0; i < 4; ++i) {
        ASSERT_NE(give(pool, task), kRefused);
      }
      pool.drain();
      EXPECT_TRUE(eventually([&] { return threadsEnded == 4 - least; })) << least;
      EXPECT_EQ(pool.getCurrentAvailableThreadCount(), 4);
      EXPECT_NE(give(pool, another), kRefused);
      pool.drain();
      EXPECT_EQ(threadsEnded, 4 - least);
    }
    EXPECT_EQ(threadsStarted, 4);
    EXPECT_EQ(threadsEnded, 4);  // the destructor waited for the threads, not only for their work
  }
}

TEST(KwThreadPool, DestructorWaitsForTakenWorkAndRefusesMore)
{
  std::atomic<unsigned long> taken = 0;
  std::atomic<unsigned long> done = 0;
  auto pool = std::make_unique<Pool>(60, 0, 2, INT_MAX);
  Task count = [&] { ++done; };
  Task giveUntilRefused = [&, it = pool.get()] {
    EXPECT_TRUE(eventually([&] { return give(*it, count) == kRefused || (++taken, false); }));
  };
  ASSERT_NE(give(*pool, giveUntilRefused), kRefused);
  pool.reset();
  EXPECT_EQ(done, taken);
}

TEST(KwThreadPool, DrainReturnsThoughWorkKeepsComing)
{
  std::atomic<bool> stop = false;
  Task chain;  // outlives the pool, whose destructor waits for it
  Pool pool(60, 2, 2, 8);
  chain = [&] {
    pool.drain();  // one of the pool's own threads does not wait
    if (!stop) {
      EXPECT_TRUE(give(pool, chain) != kRefused || stop);
    }
  };
  for (int i = 0; i < 4; ++i) {
    ASSERT_NE(give(pool, chain), kRefused);
  }
  for (int i = 0; i < 100; ++i) {
    pool.drain();
  }
  stop = true;
}

TEST(KwThreadPool, GoesOnAfterWorkThatThrows)
{
  std::atomic<int> done = 0;
  Task tasks[] = {[] { throw std::runtime_error("disk on fire"); }, [] { throw 7; },
                  [] { throw std::runtime_error(std::string(5000, 'x')); }, [&] { ++done; }};
  testing::internal::CaptureStderr();
  {
    Pool pool(60, 1, 1, 8, "thrower");
    for (Task& task : tasks) {
      ASSERT_NE(give(pool, task), kRefused);
    }
  }
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(said.find("KwThreadPool thrower: work threw: disk on fire\n"), 0U) << said;
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 3) << said;
  EXPECT_EQ(done, 1);
}

TEST(KwThreadPool, ThreadsHaveTheNameAndLeaveSignalsToTheProgram)
{
  char name[64] = {};
  sigset_t blocked = {};
  Task look = [&] {
    pthread_getname_np(pthread_self(), name, sizeof name);
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  };
  Pool pool(60, 1, 1, 1, "a name beyond 15 bytes");
  ASSERT_NE(give(pool, look), kRefused);
  pool.drain();
  EXPECT_STREQ(name, "a name beyond 1");
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGCHLD, SIGALRM, SIGPIPE, SIGUSR1, SIGRTMIN}) {
    EXPECT_EQ(sigismember(&blocked, signal), 1) << signal;
  }
  EXPECT_EQ(sigismember(&blocked, SIGSEGV), 0);
  sigset_t own;
  pthread_sigmask(SIG_SETMASK, nullptr, &own);
  EXPECT_EQ(sigismember(&own, SIGTERM), 0);
}

// While it lives no thread can be started in this process: the system has no such stack to give.
class NoThreads
{
public:
  NoThreads()
  {
    pthread_getattr_default_np(&before_);
    pthread_attr_t huge;
    pthread_attr_init(&huge);
    pthread_attr_setstacksize(&huge, size_t{1} << 50);
    EXPECT_EQ(pthread_setattr_default_np(&huge), 0);
    pthread_attr_destroy(&huge);
  }
  ~NoThreads()
  {
    pthread_setattr_default_np(&before_);
    pthread_attr_destroy(&before_);
  }

private:
  pthread_attr_t before_;
};

TEST(KwThreadPool, LivesWithThreadsThatCannotBeStarted)
{
  Gated works;
  Pool none(60, 4, 4, 4);
  Pool one(60, 4, 4, 1);
  ASSERT_NE(give(one, works.task), kRefused);
  {
    NoThreads noThreads;
    EXPECT_EQ(give(none, works.task), kRefused);
    EXPECT_NE(give(one, works.task), kRefused);  // waits for the thread that exists
    EXPECT_EQ(give(one, works.task), kRefused);
  }
  works.gate.count_down();
  one.drain();
  EXPECT_EQ(works.done, 2);
  EXPECT_NE(give(none, works.task), kRefused);
  none.drain();
  EXPECT_EQ(works.done, 3);
}

TEST(KwThreadPool, HasNoThreadsInAForkedChild)
{
  Gated works;
  auto pool = std::make_unique<Pool>(60, 1, 2, 2);
  for (int i = 0; i < 3; ++i) {
    ASSERT_NE(give(*pool, works.task), kRefused);
  }
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    alarm(60);  // against a child that waits for threads of its parent
    bool right = pool->getCurrentAvailableThreadCount() == 0 && give(*pool, works.task) == kRefused &&
                 pool->initThreadPool("pool", 60, 1, 2, 2) == -1;
    pool->drain();
    pool.reset();
    KwThreadPool own;
    right = right && own.initThreadPool("own", 60, 1, 2, 2) == 0 && own.getCurrentAvailableThreadCount() == 2;
    _exit(right ? 0 : 1);
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  works.gate.count_down();
}

TEST(KwThreadPoolProcess, DrainAtExitLosesNothing)
{
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        static Pool& pool = *new Pool(60, 2, 2, 50);
        static Gated& works = *new Gated;
        std::atexit([] { std::cerr << works.done << " done\n"; });
        std::atexit([] {
          works.gate.count_down();
          pool.drain();
        });
        for (int i = 0; i < 50; ++i) {
          give(pool, works.task);
        }
        std::exit(0);
      },
      testing::ExitedWithCode(0), "^50 done");
}

}  // namespace
