// The library's diagnostics. What they sample once per process (focus, settings) each test tries in a process
// of its own: threadsafe death tests run their statement in a fresh one.
#include <gtest/gtest.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/LogSink.h>

#include <cstdlib>
#include <cstring>
#include <iostream>

#include "platform/TempDirectory.h"

namespace {

using kwxml::LogRecord;
using kwxml::test::TempDirectory;

void say(const std::string& text)
{
  std::cerr << text << '\n';
}

/// What a process with these settings and a log directory says: each line that its sink gets, and at the end
/// how many are in its own log and in the library's.
void expectSaid(const std::string& settings, const char* focus, void (*work)(const TempDirectory& directory),
                const std::string& said)
{
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        {
          const TempDirectory directory;
          const std::string log = "[Log]\ndirectory=" + (directory / "logs") + "\n";
          setenv("KWXML_SETTINGS", directory.write("settings.ini", log + settings).c_str(), 1);
          focus != nullptr ? setenv("KWXML_FOCUS", focus, 1) : unsetenv("KWXML_FOCUS");
          kwxml::setLogSink([](const LogRecord& record) {
            say(std::string(record.log) + ' ' + std::to_string(record.level) + ' ' + record.function + ' ' +
                (record.systemName ? record.systemName : "none") + ' ' + std::string(record.text));
          });
          work(directory);
          say(std::to_string(directory.lines("logs/backup.log").size()) + " lines and " +
              std::to_string(directory.lines("logs/XMLMessage.log").size()));
        }
        exit(0);
      },
      testing::ExitedWithCode(0), "^" + said + "$");
}

/// What a process without a log directory and without a sink writes to standard error.
void expectShown(const char* focus, void (*work)(), const std::string& shown)
{
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        unsetenv("KWXML_SETTINGS");
        focus != nullptr ? setenv("KWXML_FOCUS", focus, 1) : unsetenv("KWXML_FOCUS");
        work();
        exit(0);
      },
      testing::ExitedWithCode(0), shown);
}

TEST(StandardError, HasTheLinesOfProcessesThatHaveAFocusAndNoLog)
{
  const auto work = [] {
    XMLDebug::getInstance()->logError("f", "a\nb\x1B[2J %d", 1);
    XMLDebug::getInstance()->debug("f", 1, "unseen");
    kwxml::setLogSink([](const LogRecord&) { say("sink"); });
    XMLDebug::getInstance()->logError("f", "unseen");
  };
  expectShown("backup", work, R"(^backup: error: f a\\nb\?\[2J 1
sink
$)");
}

TEST(StandardError, IsTheWayOutOfSilence)
{
  const auto work = [] {
    XMLDebug::getInstance()->logError("f", "silent");
    kwxml::logToStandardError(10);
    XMLDebug::getInstance()->logError("f", "shown");
    XMLDebug::getInstance()->debug("f", 10, "shown, too");
    XMLDebug::getInstance()->debug("f", 11, "unseen");
    kwxml::setLogSink([](const LogRecord&) { say("sink"); });
    XMLDebug::getInstance()->logError("f", "twice");
  };
  expectShown(nullptr, work, R"(^platform_tests: error: f shown
platform_tests: level 10: f shown, too
platform_tests: error: f twice
sink
$)");
}

TEST(StandardError, HasNoFloodAndTellsWhatIsLeftOut)
{
  const auto work = [] {
    for (int i = 0; i < 100000; ++i) {
      XMLDebug::getInstance()->logError("f", "%d", i);
    }
  };
  expectShown("backup", work, R"(error: f 99
(.*
)*backup: [0-9]+ more lines are not shown
$)");
}

TEST(XMLDebugProcess, IsSilentWithoutFocus)
{
  const auto work = [](const TempDirectory& directory) {
    XMLDebug* instance = XMLDebug::getInstance();
    instance->logError("f", "unseen");
    KWPI_Focus::setFocus("late");  // the focus was sampled
    instance->debug("f", 0, "unseen");
    say("level " + std::to_string(instance->getDebugLevel()));
    say("logs " + std::to_string(std::filesystem::exists(directory / "logs")));
  };
  for (const char* focus : {static_cast<const char*>(nullptr), ""}) {
    expectSaid("level=30\n[EventManager]\nXMLMessage_DEBUGLEVEL=1\n", focus, work,
               "level -1\nlogs 0\n0 lines and 0\n");
  }
}

TEST(XMLDebugProcess, WritesToTheProcessLogWithFocus)
{
  const auto work = [](const TempDirectory&) {
    const XMLDebug* instance = XMLDebug::getInstance();
    instance->logError("f", "%s %d", "error", 1);
    instance->debug("f", 15, "trace %d", 2);
    instance->debug("f", 16, "too fine");
    instance->debug(3, "unnamed %d", 3);
    instance->debug("f", "plain %d", 4);
    say("level " + std::to_string(instance->getDebugLevel()));
  };
  expectSaid("level=15\n[EventManager@other]\nXMLMessage_DEBUGLEVEL=1\n", "backup", work,
             "backup 0 f none error 1\nbackup 15 f none trace 2\nbackup 3  none unnamed 3\n"
             "backup 1 f none plain 4\nlevel 15\n4 lines and 0\n");
}

TEST(XMLDebugProcess, WritesToBothLogsWithTheSetting)
{
  const auto work = [](const TempDirectory&) {
    KWPI_Focus::setFocus("backup");
    XMLDebug* instance = XMLDebug::getInstance();
    instance->logError("f", "%s %d", "error", 1);
    std::strcpy(XMLDebug::sysName, "Host");
    instance->logError("f", "%s", std::string(5000, 'x').c_str());
    kwxml::setLogLevel(1);
    instance->debug("f", "trace");
  };
  expectSaid("size_mb=0\nfiles=x\n[EventManager@backup]\nXMLMessage_DEBUGLEVEL=0\n", nullptr, work,
             "KwPlatform: setting size_mb of section \\[Log\\] is 0, not between 1 and 1048576; using 10\n"
             "KwPlatform: settings file .*: \"files\" in section \\[Log\\] is no number: \"x\"\n"
             "backup 0 f none error 1\nXMLMessage 0 f  error 1\n"
             "backup 0 f none x+\nXMLMessage 0 f Host x+\n"
             "backup 1 f none trace\nXMLMessage 1 f Host trace\n3 lines and 3\n");
}

TEST(XMLDebug, ErrorTexts)
{
  std::string texts;
  for (int code = 2336; code <= 2347; ++code) {
    texts += XMLDebug::getErrorString(code) + std::string("\n");
  }
  EXPECT_EQ(texts,
            "Generic error\nInvalid day in the date\nInvalid month in the date\nInvalid hour in the time\n"
            "Invalid Minutes in time\nInvalid seconds in time\nInvalid Boolean Value\nInvalid Enum value\n"
            "Invalid time format\nInvalid date format\nInvalid integer value\nGeneric error\n");
}

}  // namespace
