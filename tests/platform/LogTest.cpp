// Logs: files, rotation, levels, the sink, many threads.
#include <gtest/gtest.h>
#include <kwxml/platform/EvEvent.h>
#include <kwxml/platform/LogSink.h>
#include <unistd.h>

#include <algorithm>
#include <regex>
#include <thread>

#include "platform/TempDirectory.h"

namespace {

using kwxml::LogRecord;
using kwxml::setLogLevel;
using kwxml::setLogSink;
using kwxml::test::TempDirectory;

class EvDebugFiles : public testing::Test
{
protected:
  EvDebugSettings into(const char* name) const { return {.directory = directory.path(), .name = name}; }
  const TempDirectory directory;
};

// What a line of a file says after timestamp, level and thread. The expression sees the head alone: it would
// follow a long line by recursion.
std::string saidIn(const std::string& line)
{
  static const std::regex& layout =
      *new std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d \[(\d+)\] (\d+)/\d+ )");
  const std::string head = line.substr(0, 100);
  std::smatch parts;
  if (!std::regex_search(head, parts, layout, std::regex_constants::match_continuous) ||
      parts[2] != std::to_string(getpid())) {
    return "badly laid out: " + line;
  }
  return parts[1].str() + " " + line.substr(static_cast<size_t>(parts.length(0)));
}

TEST_F(EvDebugFiles, LinesCarryLevelFunctionReferenceAndText)
{
  EvDebug log(into("../lay out"));
  setLogLevel(15);
  EXPECT_EQ(directory.fileCount(), 0u) << "no line, no file";
  log.DebugLvl("Room::function", 15, 0, "%s %d", "text", 7);
  log.DebugLvl("Room::function", 16, 0, "above the level");
  log.DebugLvl(nullptr, 0, 77, "first\n2020-01-01 [0] 1/1 forged\n");
  setLogLevel(-5);
  EXPECT_EQ(log.getDebugLevel(), 0);
  log.DebugLvl("f", 1, 0, "above the level");
  log.DebugLvl("f", 0, 0, "error");
  const std::vector<std::string> lines = directory.lines("_._lay_out.log");
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(saidIn(lines[0]), "15 Room::function text 7");
  EXPECT_EQ(saidIn(lines[1]), "0 ref=77 first");
  EXPECT_EQ(lines[2], "\t2020-01-01 [0] 1/1 forged");
  EXPECT_EQ(saidIn(lines[3]), "0 f error");
  EXPECT_EQ(directory.fileCount(), 1u);
}

TEST_F(EvDebugFiles, RotatesAtTheSizeSet)
{
  EvDebug log({.files = 2, .directory = directory.path(), .name = "rotating"});
  log.setLogFileSize(1);
  const std::string text(100000, 'x');
  for (int i = 0; i < 45; ++i) {  // four megabytes and a half
    log.DebugLvl("f", 0, 0, "%d %s", i, text.c_str());
  }
  EXPECT_EQ(directory.fileCount(), 3u);
  int last = 45;  // newest first: no line is missing before the oldest file's first
  for (const char* name : {"rotating.log", "rotating.1.log", "rotating.2.log"}) {
    const std::vector<std::string> lines = directory.lines(name);
    EXPECT_LE(directory.read(name).size(), 1u << 20);
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
      EXPECT_EQ(saidIn(*line), "0 f " + std::to_string(--last) + " " + text);
    }
  }
  EXPECT_LE(last, 25);
}

TEST_F(EvDebugFiles, ManyThreadsAndLogsOnOneFileWriteEveryLineWholeAndOnce)
{
  constexpr int kThreads = 16;
  constexpr int kLines = 2000;
  EvDebug one(into("shared"));
  EvEvent two(into("shared"));
  int toSink = 0;
  setLogSink([&](const LogRecord&) { ++toSink; });  // calls are serialised, so this needs no lock
  std::vector<std::jthread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kLines; ++i) {
        (t % 2 ? one : two).DebugLvl("f", 0, 0, "%d:%d:%s", t, i, std::string(size_t(i % 300), 'y').c_str());
      }
    });
  }
  threads.clear();  // all are done
  setLogSink({});
  EXPECT_EQ(toSink, kThreads * kLines);
  int next[kThreads] = {};
  for (const std::string& line : directory.lines("shared.log")) {
    int t = -1;
    int i = -1;
    ASSERT_EQ(sscanf(line.substr(line.find(" f ")).c_str(), " f %d:%d:", &t, &i), 2) << line;
    ASSERT_TRUE(t >= 0 && t < kThreads && i == next[t]) << line;  // a thread's lines keep their order
    ++next[t];
    ASSERT_TRUE(line.ends_with(":" + std::string(size_t(i % 300), 'y'))) << line;
  }
  EXPECT_EQ(std::count(next, next + kThreads, kLines), kThreads);
}

TEST_F(EvDebugFiles, IdentifiersNameTheLogAndOwnLevelsStay)
{
  const int id = EvDebug::getLogId("TestMessage");
  EXPECT_EQ(EvDebug::getLogId("TestMessage"), id);
  EXPECT_NE(EvDebug::getLogId("Other"), id);
  EXPECT_EQ(EvDebug::getLogId(""), -1);
  EXPECT_EQ(EvDebug::getLogId(nullptr), -1);

  EvDebug log({.level = 3, .directory = "", .name = ""});
  EXPECT_EQ(log.initialize(-1, 0, 0, ""), -1);
  EXPECT_EQ(log.initialize(1000000, 0, 0, ""), -1);
  EXPECT_EQ(log.initialize(id, 0, 0, directory.path().c_str()), 0);
  setLogLevel(9);
  EXPECT_EQ(log.getDebugLevel(), 3);
  setLogLevel(0);
  log.DebugLvl("f", 3, 0, "own level");
  EXPECT_EQ(directory.lines("TestMessage.log").size(), 1u);
}

TEST_F(EvDebugFiles, WithoutADirectoryThereIsNoFile)
{
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(directory.path());
  EvDebug log;
  log.DebugLvl("f", 0, 0, "nowhere");
  log.setLogFileSize(1);
  log.DebugLvl("f", 0, 0, "nowhere");
  std::filesystem::current_path(before);
  EXPECT_EQ(directory.fileCount(), 0u);
}

TEST(LogSink, GetsLinesWholeAndMayLogThrowAndReplaceItself)
{
  EvDebug log;
  EvDebug unheard({.toSink = 0, .directory = "", .name = ""});
  std::vector<std::string> got;
  setLogSink([&](const LogRecord& record) {
    got.push_back(std::to_string(record.level) + std::string(record.function) + std::string(record.text));
    log.DebugLvl("inner", 0, 0, "does not come back");
    if (record.reference == 1) {
      throw std::runtime_error("on purpose");
    }
    if (record.reference == 2) {
      setLogSink({});
    }
  });
  const std::string text(1 << 20, 'z');
  log.DebugLvl("f", 0, 0, "%s", text.c_str());
  log.DebugLvl("f", 1, 0, "above the level");
  unheard.DebugLvl("f", 0, 0, "toSink is 0");
  testing::internal::CaptureStderr();
  log.DebugLvl("f", 0, 1, "a\nb");
  EXPECT_TRUE(testing::internal::GetCapturedStderr().ends_with("the sink failed: on purpose\n"));
  log.DebugLvl("f", 0, 2, "last");
  log.DebugLvl("f", 0, 0, "after the sink is gone");
  EXPECT_EQ(got, (std::vector<std::string>{"0f" + text, "0fa\nb", "0flast"}));
}

}  // namespace
