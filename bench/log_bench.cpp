// Logging whole messages: what a line costs the thread that logs it, beside the binary form of the same
// message, and how many lines a second come through. These need other threads and a clock of their own, so
// they are no benchmarks of the usual kind: the tables are printed at the end of a run.

#include "BareXml.h"
#include "Comparison.h"
#include "Documents.h"
#include "Heap.h"

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/log/XmlBinaryLogger.h>
#include <kwxml/log/XmlLoggerHelper.h>
#include <kwxml/platform/LogSink.h>

#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace kwxml::bench {

namespace {

/// Of the running thread alone.
double processorNanoseconds()
{
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

/// What one call costs the thread, in the best of many series. `between` follows each series, unmeasured.
template <class Body, class Between>
double nanoseconds(int calls, Body body, Between between)
{
  double best = std::numeric_limits<double>::infinity();
  for (int series = 0; series < 400; ++series) {
    const double begin = processorNanoseconds();
    for (int i = 0; i < calls; ++i) {
      body();
    }
    best = std::min(best, (processorNanoseconds() - begin) / calls);
    between();
  }
  return best;
}

template <class Body>
double nanoseconds(Body body)
{
  return nanoseconds(1000, body, [] {});
}

void printCost(const char* document, YMMessageBase message)
{
  constexpr int burst = 16;  // fewer than the pool has threads: nothing is refused
  XmlBinaryLogger logger;
  logger.initialize();
  const auto drain = [] { XmlLoggerHelper::getXmlLoggerInstance()->drain(); };
  const double clock = nanoseconds(
      burst, [] {}, drain);
  const double line = nanoseconds(
                          burst, [&] { logger.Debug("bench", "request %d: %bxml_kw", &message, 7); }, drain) -
                      clock;
  const double encode = nanoseconds([&] {
    BinaryBuffer out;
    BinarySerializer::serialize(message, out);
  });
  // A line keeps the function's name and its text.
  const double kept = 2 * nanoseconds([] {
                        char* text = new char[32];
                        benchmark::DoNotOptimize(text);
                        delete[] text;
                      });
  constexpr double limit = 1.3;
  const double ratio = (line - kept) / encode;
  std::printf("%-24s %9.0f ns %9.0f ns %12.2f %12.2f %s\n", document, line, encode, ratio, limit,
              ratio <= limit ? "met" : "MISSED");
}

/// What a line costs a caller who has to make its XML, beside the DOM that the XML library's writer would
/// need for it. A child has no threads: there every caller does the pool's work.
template <class Values>
void printRenderedCost(const char* document, const Values& values)
{
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    YMMessageBase message = makeMessage(values);
    XmlBinaryLogger logger;
    logger.initialize();
    const auto cost = [](auto body) { return nanoseconds(4, body, [] {}); };
    const double line = cost([&] { logger.Debug("bench", "request %d: %bxml_kw", &message, 7); });
    std::string xml;
    const double dom = cost([&] {
      writeBare(values, xml);
      char small[1024];
      const int size = std::snprintf(small, sizeof small, "%s", xml.c_str());
      std::string whole(static_cast<std::size_t>(size), '\0');
      std::snprintf(whole.data(), whole.size() + 1, "%s", xml.c_str());
      benchmark::DoNotOptimize(whole.data());
    });
    constexpr double limit = 0.1;
    std::printf("%-24s %9.0f ns %9.0f ns %12.3f %12.2f %s\n", document, line, dom, line / dom, limit,
                line / dom <= limit ? "met" : "MISSED");
    std::fflush(stdout);
    _exit(0);
  }
  waitpid(child, nullptr, 0);
}

void printThroughput(int callers, const YMMessageBase& message)
{
  constexpr int lines = 4000;
  std::atomic<int> written = 0;
  setLogSink([&written](const LogRecord&) { written.fetch_add(1, std::memory_order_relaxed); });
  const auto begin = std::chrono::steady_clock::now();
  std::vector<std::thread> threads;
  for (int t = 0; t < callers; ++t) {
    threads.emplace_back([&, own = message]() mutable {
      XmlBinaryLogger logger;
      logger.initialize();
      for (int i = 0; i < lines / callers; ++i) {
        logger.Debug("bench", "request %d: %bxml_kw", &own, i);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  XmlLoggerHelper::getXmlLoggerInstance()->drain();
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
  setLogSink({});
  std::printf("%2d callers %32.0f lines a second%s\n", callers, written / seconds.count(),
              written == lines / callers * callers ? "" : " (LINES ARE MISSING)");
}

}  // namespace

void printLog()
{
  setLogSink([](const LogRecord&) {});
  std::printf("\n%-24s %12s %12s %12s %12s\n", "a logged line", "caller", "encode", "", "target");
  printCost("W1 flat", makeMessage(flatValues()));
  printCost("W2 order", makeMessage(orderValues()));
  printCost("W3 bulk", makeMessage(bulkValues()));
  std::printf("\n%-24s %12s %12s %12s %12s\n", "the caller makes the XML", "caller", "DOM", "", "target");
  printRenderedCost("W1 flat", flatValues());
  printRenderedCost("W2 order", orderValues());
  printRenderedCost("W3 bulk", bulkValues());
  for (const int callers : {1, 4, 16}) {
    printThroughput(callers, makeMessage(flatValues()));
  }
}

}  // namespace kwxml::bench
