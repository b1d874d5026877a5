// Settings files and the focus.
#include <gtest/gtest.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/KWPlatformInfo.h>
#include <stdlib.h>

#include <limits>
#include <map>
#include <optional>

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
  using Limits = std::numeric_limits<long long>;
  std::map<std::string, std::optional<long long>> cases = {
      {"0", 0},
      {"-12", -12},
      {"+7", 7},
      {"0XfF", 255},
      {"9223372036854775807", Limits::max()},
      {"-9223372036854775808", Limits::min()},
  };
  for (const char* none :
       {"9223372036854775808", "-9223372036854775809", "12a", "-", "--1", "0x", "1 2", ""}) {
    cases[none] = std::nullopt;
  }
  for (const auto& [text, expected] : cases) {
    const std::string path = directory.write("n" + text + ".ini", "[S]\nn=" + text + "\n");
    const KWPlatformInfo settings = readSettings(path);
    long long number = 42;
    testing::internal::CaptureStderr();
    EXPECT_EQ(settings.getNumber("S", "n", number), expected.has_value()) << text;
    EXPECT_EQ(number, expected.value_or(42)) << text;
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              expected ? ""
                       : "KwPlatform: settings file " + path + ": \"n\" in section [S] is no number: \"" +
                             text + "\"\n");
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
      {"a.ini", "neither\n", "line 3: neither a section, a setting nor a comment"},
      {"b.ini", "[open\n", "line 3: neither a section, a setting nor a comment"},
      {"c.ini", "long=" + std::string(200, 'x') + "\n", "line 3: longer than 197 bytes"},
      {"d.ini", "k=2\n", "line 3: second value of \"k\" in section [S]"},
      {"e.ini", "[" + std::string(49, 's') + "]\n", "line 3: section name longer than 48 bytes"},
      {"f.ini", std::string("z=\0\n", 4), "line 3: holds a zero byte"},
      {"g.ini", std::string(1 << 20, '\n'), "larger than 1 MB"},
      {"missing/a.ini", "", "No such file or directory"},
  };
  for (const auto& each : cases) {
    std::string report = "KwPlatform: settings file " + (directory / each.name) + ": " + each.problem + "\n";
    for (int time = 0; time < 2; ++time) {
      testing::internal::CaptureStderr();
      const KWPlatformInfo settings = readSettings(directory.write(each.name, "[S]\nk=1\n" + each.content));
      EXPECT_EQ(testing::internal::GetCapturedStderr(), report);
      report.clear();
      std::string text;
      EXPECT_EQ(settings.getString("S", "k", text), 0) << each.name;
    }
  }
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
