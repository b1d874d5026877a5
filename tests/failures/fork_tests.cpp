// Children of processes that log, and processes that end while they log.
#include "platform/TempDirectory.h"
#include "reliability/Extent.h"
#include "support/Messages.h"

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/log/XmlBinaryLogger.h>
#include <kwxml/log/XmlLoggerHelper.h>
#include <kwxml/platform/EvDebug.h>
#include <kwxml/platform/LogSink.h>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <thread>
#include <vector>

using namespace kwxml;
using namespace kwxml::test;

namespace {

/// Runs in a child, which is killed where it hangs; gives how the child ended, as waitpid() does.
int inChild(const std::function<void()>& run)
{
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);
    run();
    _exit(0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

EvDebugSettings logIn(const TempDirectory& folder)
{
  EvDebugSettings settings;
  settings.directory = folder.path();
  settings.name = "forked";
  settings.sizeMb = 1000;  // it is not rotated
  return settings;
}

}  // namespace

TEST(Forks, AChildOfAProcessThatLogsMayLog)
{
  const TempDirectory folder;
  EvDebug file(logIn(folder));
  std::atomic<bool> stop = false;
  std::atomic<std::size_t> lines = 0;
  setLogSink([&](const LogRecord&) { ++lines; });
  XmlBinaryLogger logger;
  logger.initialize();
  const auto log = [&](int number) {
    YMMessageBase message = make("Types_Leaf");
    file.DebugLvl("Forks", 0, 0, "line %d", number);
    XMLDebug::getInstance()->logError("Forks", "line %d", number);
    logger.Debug("Forks", "%bxml_kw", &message);
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int number = 0; !stop; ++number) {
        log(number);
        usleep(100);  // the children log too
      }
    });
  }
#ifdef __SANITIZE_ADDRESS__
  constexpr int forks = 100;  // which take as long as ten times as many
#else
  constexpr int forks = 1000;
#endif
  Figures figures("forks");
  for (int i = 0; i < forks; ++i, ++figures.inputs) {
    const int status = inChild([&] {
      const std::size_t before = lines;
      log(i);
      _exit(lines >= before + 3 ? 0 : 3);  // all three of its lines have come to the sink
    });
    ASSERT_EQ(status, 0) << "fork " << i;
  }
  stop = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  XmlLoggerHelper::getXmlLoggerInstance()->drain();
  setLogSink(nullptr);
  EXPECT_NE(folder.read("forked.log").find("Forks line " + std::to_string(forks - 1)), std::string::npos);
}

TEST(Forks, ASinkMayForkAndItsChildMayLog)
{
  std::atomic<int> status = -1;
  std::atomic<int> seen = 0;
  setLogSink([&](const LogRecord& record) {
    ++seen;
    if (std::string(record.text) == "fork") {
      status = inChild([] { XMLDebug::getInstance()->logError("Forks", "passes the sink by, which runs"); });
    }
  });
  XMLDebug::getInstance()->logError("Forks", "fork");
  EXPECT_EQ(status, 0);
  EXPECT_EQ(seen, 1);
  setLogSink(nullptr);
}

TEST(Forks, ExitInASinkEndsTheProcess)
{
  const TempDirectory folder;
  const int status = inChild([&] {
    XmlBinaryLogger logger;
    logger.initialize();
    setLogSink([](const LogRecord& record) {
      if (std::string(record.text) == "exit") {
        std::exit(7);  // waits for the lines of messages, whose writers wait for this sink
      }
    });
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&] {
        while (true) {
          YMMessageBase message = make("Types_Leaf");
          logger.Debug("Forks", "%bxml_kw", &message);
        }
      });
    }
    XMLDebug::getInstance()->logError("Forks", "exit");
    for (std::thread& thread : threads) {
      thread.join();
    }
  });
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 7);
}
