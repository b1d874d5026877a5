// Settings and the focus; settings.transcript shows what settings files may hold.
#include <gtest/gtest.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/KWPlatformInfo.h>
#include <stdlib.h>

#include "platform/TempDirectory.h"

namespace {

TEST(KWPlatformInfo, FocusSectionsWinKeyByKey)
{
  const kwxml::test::TempDirectory directory;
  const std::string path =
      directory.write("settings.ini", "[S]\nlevel = 15\nPath=/a b\n[S@backup]\nlevel=0x19\n");
  setenv("KWXML_SETTINGS", path.c_str(), 1);
  KWPlatformInfo settings;
  const auto number = [&](const char* section, const char* key) {
    long long value = -99;
    const int found = settings.getNumber(section, key, value);
    EXPECT_EQ(found, value != -99);
    return value;
  };
  EXPECT_EQ(number("S", "level"), 15);
  settings.setFocus("backup");
  EXPECT_EQ(number("S", "level"), 25);
  std::string text;
  EXPECT_NE(settings.getString("S", "Path", text), 0);
  EXPECT_EQ(text, "/a b");
  settings.setFocus(std::string("restore"));
  EXPECT_EQ(number("S", "level"), 15);
  settings.setFocus(nullptr);
  EXPECT_EQ(number("S", "level"), 15);
  for (const auto& [section, key] :
       {std::pair("S", "path"), {"S", "Path"}, {"S", "Missing"}, {"T", "level"}}) {
    EXPECT_EQ(number(section, key), -99) << key;
  }
  EXPECT_TRUE(settings.getString("T", "Path", text) == 0 && settings.getString("S", "path", text) == 0);
  EXPECT_EQ(text, "/a b");
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
