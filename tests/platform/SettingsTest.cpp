// Settings files and the focus.
#include <gtest/gtest.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/KWPlatformInfo.h>
#include <stdlib.h>

#include <limits>

#include "platform/TempDirectory.h"

namespace {

using kwxml::test::TempDirectory;

KWPlatformInfo readSettings(const std::string& path)
{
  setenv("KWXML_SETTINGS", path.c_str(), 1);
  return KWPlatformInfo();
}

TEST(KWPlatformInfo, FocusSectionsWinKeyByKey)
{
  const TempDirectory directory;
  KWPlatformInfo settings = readSettings(
      directory.write("settings.ini",
                      "; comment\n[EventManager]\nXMLMessage_DEBUGLEVEL = 15 ; inline\nPath=/a b\r\nEmpty=\n"
                      "[EventManager@backup]\nXMLMessage_DEBUGLEVEL=0x19\n"));
  const auto number = [&](const char* key) {
    long long value = -99;
    return settings.getNumber("EventManager", key, value) ? value : -99;
  };
  std::string text;
  EXPECT_EQ(number("XMLMessage_DEBUGLEVEL"), 15);
  settings.setFocus("backup");
  EXPECT_EQ(number("XMLMessage_DEBUGLEVEL"), 25);
  EXPECT_NE(settings.getString("EventManager", "Path", text), 0);
  EXPECT_EQ(text, "/a b");
  settings.setFocus(std::string("restore"));
  EXPECT_EQ(number("XMLMessage_DEBUGLEVEL"), 15);
  settings.setFocus(nullptr);
  EXPECT_EQ(number("XMLMessage_DEBUGLEVEL"), 15);

  EXPECT_NE(settings.getString("EventManager", "Empty", text), 0);
  EXPECT_EQ(text, "");
  EXPECT_EQ(settings.getString("EventManager", "path", text), 0) << "names are case-sensitive";
  EXPECT_EQ(settings.getString("Elsewhere", "Path", text), 0);
  EXPECT_EQ(number("Missing"), -99);
}

TEST(KWPlatformInfo, NumbersAreWholeAndFit)
{
  const TempDirectory directory;
  const struct
  {
    const char* text;
    int found;
    long long number;
  } cases[] = {
      {"0", 1, 0},
      {"-12", 1, -12},
      {"+7", 1, 7},
      {"0XfF", 1, 255},
      {"9223372036854775807", 1, std::numeric_limits<long long>::max()},
      {"-9223372036854775808", 1, std::numeric_limits<long long>::min()},
      {"9223372036854775808", 0, 42},
      {"-9223372036854775809", 0, 42},
      {"12a", 0, 42},
      {"-", 0, 42},
      {"--1", 0, 42},
      {"0x", 0, 42},
      {"1 2", 0, 42},
      {"", 0, 42},
  };
  int count = 0;
  for (const auto& each : cases) {
    const std::string name = std::to_string(count++) + ".ini";
    const KWPlatformInfo settings =
        readSettings(directory.write(name, std::string("[S]\nn=") + each.text + "\n"));
    long long number = 42;
    testing::internal::CaptureStderr();
    EXPECT_EQ(settings.getNumber("S", "n", number), each.found) << each.text;
    EXPECT_EQ(number, each.number) << each.text;
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              each.found ? ""
                         : "KwPlatform: settings file " + (directory / name) +
                               ": \"n\" in section [S] is no number: \"" + each.text + "\"\n");
  }
}

TEST(KWPlatformInfo, BadFilesAreReportedOnceAndCountAsNone)
{
  const TempDirectory directory;
  const struct
  {
    const char* name;
    std::string content;
    std::string problem;
  } cases[] = {
      {"a.ini", "[S]\nk=1\nneither\n", "line 3: neither a section, a setting nor a comment"},
      {"b.ini", "[S]\nk=1\n[open\n", "line 3: neither a section, a setting nor a comment"},
      {"c.ini", "[S]\nk=1\nlong=" + std::string(200, 'x') + "\n", "line 3: longer than 197 bytes"},
      {"d.ini", "[S]\nk=1\nk=2\n", "line 3: second value of \"k\" in section [S]"},
      {"e.ini", "[S]\nk=1\n[" + std::string(49, 's') + "]\n", "line 3: section name longer than 48 bytes"},
      {"f.ini", std::string("[S]\nk=1\nz=\0\n", 12), "line 3: holds a zero byte"},
      {"g.ini", "[S]\nk=1\n" + std::string(1 << 20, '\n'), "larger than 1 MB"},
  };
  for (const auto& each : cases) {
    const std::string path = directory.write(each.name, each.content);
    for (const std::string& expected :
         {"KwPlatform: settings file " + path + ": " + each.problem + "\n", std::string()}) {
      testing::internal::CaptureStderr();
      const KWPlatformInfo settings = readSettings(path);
      EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
      std::string text;
      EXPECT_EQ(settings.getString("S", "k", text), 0) << each.name;
    }
  }
  testing::internal::CaptureStderr();
  readSettings(directory / "missing.ini");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "KwPlatform: settings file " + (directory / "missing.ini") + ": No such file or directory\n");
}

TEST(KWPI_Focus, TextsStayValid)
{
  std::string text = "backup";
  KWPI_Focus::setFocus(text.c_str());
  const char* first = KWPI_Focus::getFocus();
  text = "rubbed";
  KWPI_Focus::setFocus("restore");
  EXPECT_STREQ(first, "backup");
  KWPI_Focus::setFocus(KWPI_Focus::getFocus());
  EXPECT_STREQ(KWPI_Focus::getFocus(), "restore");
  KWPI_Focus::setFocus(nullptr);
  EXPECT_EQ(KWPI_Focus::getFocus(), nullptr);
}

}  // namespace
