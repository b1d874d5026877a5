// The library's diagnostics. What they sample once per process (focus, settings) each test tries in a process
// of its own: threadsafe death tests run their statement in a fresh one.
#include <gtest/gtest.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/LogSink.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <iostream>

#include "platform/TempDirectory.h"

namespace {

using kwxml::LogRecord;
using kwxml::test::TempDirectory;

// For the statement of a death test: settings with a log directory, and the environment that names them.
class FreshProcess
{
public:
  explicit FreshProcess(const std::string& settings, const char* focus)
  {
    setenv(
        "KWXML_SETTINGS",
        directory.write("settings.ini", "[Log]\ndirectory=" + (directory / "logs") + "\n" + settings).c_str(),
        1);
    if (focus) {
      setenv("KWXML_FOCUS", focus, 1);
    } else {
      unsetenv("KWXML_FOCUS");
    }
  }

  size_t linesOf(const std::string& log) const { return directory.lines("logs/" + log + ".log").size(); }

  TempDirectory directory;
};

void say(const std::string& text)
{
  std::cerr << text << '\n';
}

std::string describe(const LogRecord& record)
{
  return std::string(record.log) + "|" + std::to_string(record.level) + "|" + record.function + "|" +
         (record.systemName ? record.systemName : "none") + "|" + std::string(record.text);
}

class XMLDebugProcess : public testing::Test
{
protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(XMLDebugProcess, IsSilentWithoutFocus)
{
  for (const char* focus : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_EXIT(
        {
          {
            FreshProcess process("level=30\n[EventManager]\nXMLMessage_DEBUGLEVEL=1\n", focus);
            kwxml::setLogSink([](const LogRecord& record) { say(describe(record)); });
            XMLDebug* instance = XMLDebug::getInstance();
            instance->logError("f", "unseen");
            KWPI_Focus::setFocus("late");  // the focus was sampled
            instance->debug("f", 0, "unseen");
            say("level " + std::to_string(instance->getDebugLevel()));
            say("logs " + std::to_string(std::filesystem::exists(process.directory / "logs")));
          }
          exit(0);
        },
        testing::ExitedWithCode(0), "^level -1\nlogs 0\n$");
  }
}

TEST_F(XMLDebugProcess, WritesToTheProcessLogWithFocus)
{
  EXPECT_EXIT(
      {
        {
          FreshProcess process("level=15\n[EventManager@other]\nXMLMessage_DEBUGLEVEL=1\n", "backup");
          kwxml::setLogSink([](const LogRecord& record) { say(describe(record)); });
          const XMLDebug* instance = XMLDebug::getInstance();
          instance->logError("f", "%s %d", "error", 1);
          instance->debug("f", 15, "trace %d", 2);
          instance->debug("f", 16, "too fine");
          instance->debug(3, "unnamed %d", 3);
          instance->debug("f", "plain %d", 4);
          say("level " + std::to_string(instance->getDebugLevel()));
          say("lines " + std::to_string(process.linesOf("backup")) + " " +
              std::to_string(process.linesOf("XMLMessage")));
        }
        exit(0);
      },
      testing::ExitedWithCode(0),
      "^backup\\|0\\|f\\|none\\|error 1\nbackup\\|15\\|f\\|none\\|trace 2\nbackup\\|3\\|\\|none\\|unnamed 3\n"
      "backup\\|1\\|f\\|none\\|plain 4\nlevel 15\nlines 4 0\n$");
}

TEST_F(XMLDebugProcess, WritesToBothLogsWithTheSetting)
{
  EXPECT_EXIT(
      {
        {
          FreshProcess process("size_mb=0\nfiles=x\n[EventManager@backup]\nXMLMessage_DEBUGLEVEL=0\n",
                               nullptr);
          KWPI_Focus::setFocus("backup");
          XMLDebug* instance = XMLDebug::getInstance();
          kwxml::setLogSink([](const LogRecord& record) { say(describe(record)); });
          instance->logError("f", "%s %d", "error", 1);
          std::strcpy(XMLDebug::sysName, "Host");
          instance->logError("f", "%s", std::string(5000, 'x').c_str());
          kwxml::setLogLevel(1);
          instance->debug("f", "trace");
          kwxml::setLogSink({});
          say("lines " + std::to_string(process.linesOf("backup")) + " " +
              std::to_string(process.linesOf("XMLMessage")));
        }
        exit(0);
      },
      testing::ExitedWithCode(0),
      "^KwPlatform: setting size_mb of section \\[Log\\] is 0, not between 1 and 1048576; using 10\n"
      "KwPlatform: settings file .*: \"files\" in section \\[Log\\] is no number: \"x\"\n"
      "backup\\|0\\|f\\|none\\|error 1\nXMLMessage\\|0\\|f\\|\\|error 1\n"
      "backup\\|0\\|f\\|none\\|x+\nXMLMessage\\|0\\|f\\|Host\\|x+\n"
      "backup\\|1\\|f\\|none\\|trace\nXMLMessage\\|1\\|f\\|Host\\|trace\nlines 3 3\n$");
}

TEST(XMLDebug, ErrorTexts)
{
  const char* const texts[] = {"Generic error",
                               "Invalid day in the date",
                               "Invalid month in the date",
                               "Invalid hour in the time",
                               "Invalid Minutes in time",
                               "Invalid seconds in time",
                               "Invalid Boolean Value",
                               "Invalid Enum value",
                               "Invalid time format",
                               "Invalid date format",
                               "Invalid integer value",
                               "Generic error"};
  int code = 2336;
  for (const char* text : texts) {
    EXPECT_STREQ(XMLDebug::getErrorString(code++), text);
  }
}

}  // namespace
