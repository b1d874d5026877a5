// A catalogue made of schemas at run time beside the compiled one of the same schemas, with which the program
// is linked: record for record, and look-up for look-up.
#include "TablesText.h"

#include "platform/TempDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace kwxml;

TEST(RuntimeCatalogue, IsTheCompiledOne)
{
  const Registry& compiled = Registry::current();
  short system = 0;
  ASSERT_TRUE(compiled.findSystem(SYSTEM, system)) << Registry::describeLoaded();
  std::string problems;
  const Registry::Owner made = Registry::fromSchemas({SCHEMAS}, problems);
  ASSERT_NE(made, nullptr) << problems;
  test::expectSameCatalogue(*made, compiled);
}

TEST(RuntimeCatalogue, ErrorsWithoutEndAreAnError)
{
  std::string schema = "<catalogue>";
  for (int i = 0; i < 1500; ++i) {
    schema += "<mistake/>\n";
  }
  const test::TempDirectory folder;
  std::string problems;
  EXPECT_EQ(Registry::fromSchemas({folder.write("Many.xml", schema + "</catalogue>")}, problems), nullptr);
  EXPECT_GT(std::count(problems.begin(), problems.end(), '\n'), 1000);
  EXPECT_EQ(Registry::fromSchemas({}, problems), nullptr);
  EXPECT_EQ(problems, "no schemas\n");
}

}  // namespace
