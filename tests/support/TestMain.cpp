// Test programs have a focus from the start: the diagnostics sample it once, when they are first used. And
// they have a time zone.
#include <kwxml/platform/KWPI_Focus.h>

#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char** argv)
{
  KWPI_Focus::setFocus("tests");
  setenv("TZ", "UTC", 1);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
