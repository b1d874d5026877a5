// Test programs have a focus from the start: the diagnostics sample it once, when they are first used.
#include <kwxml/platform/KWPI_Focus.h>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
  KWPI_Focus::setFocus("tests");
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
