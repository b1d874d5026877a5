#include <kwxml/platform/StandardError.h>

#include <kwxml/platform/LogSink.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace kwxml {

namespace {

constexpr double burst = 100;
constexpr double linesPerSecond = 20;

constinit std::atomic<int> shownLevel = -1;

/// Never destroyed: lines may come while the process ends.
struct Limit
{
  std::mutex mutex;
  double left = burst;
  std::chrono::steady_clock::time_point last = std::chrono::steady_clock::now();
  unsigned long long omitted = 0;
  std::string log;  ///< of the last line that was left out

  bool take()
  {
    const auto now = std::chrono::steady_clock::now();
    left = std::min(burst, left + linesPerSecond * std::chrono::duration<double>(now - last).count());
    last = now;
    if (left < 1) {
      return false;
    }
    left -= 1;
    return true;
  }
  void tellOmitted()
  {
    if (omitted != 0) {
      std::fprintf(stderr, "%s: %llu more lines are not shown\n", log.c_str(), omitted);
      omitted = 0;
    }
  }
};

Limit& limit()
{
  static Limit& instance = *new Limit;
  return instance;
}

void tellAtExit()
{
  Limit& shared = limit();
  // A thread that is ended in the midst of a line keeps the lock.
  if (const std::unique_lock lock(shared.mutex, std::try_to_lock); lock.owns_lock()) {
    shared.tellOmitted();
  }
}

}  // namespace

void alwaysToStandardError(int level)
{
  shownLevel.store(std::max(level, 0), std::memory_order_relaxed);
}

int standardErrorLevel()
{
  return shownLevel.load(std::memory_order_relaxed);
}

void writeToStandardError(const std::string& log, int level, const std::string& line)
{
  std::string text = log + (level == 0 ? ": error: " : ": level " + std::to_string(level) + ": ");
  for (const char c : line) {
    if (c == '\n') {
      text += "\\n";
    } else {
      text += c;
    }
  }
  text += '\n';
  Limit& shared = limit();
  const std::lock_guard lock(shared.mutex);
  if (!shared.take()) {
    static const bool registered = std::atexit(tellAtExit) == 0;
    static_cast<void>(registered);  // without it the number is told with the next line alone
    ++shared.omitted;
    shared.log = log;
    return;
  }
  shared.tellOmitted();
  std::fwrite(text.data(), 1, text.size(), stderr);
}

}  // namespace kwxml
