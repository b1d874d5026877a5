// Placeholder values: what every type gets, and where the filling ends.
#include <kwxml/metadata/DummyValues.h>

#include "support/DataFile.h"
#include "support/LogCapture.h"
#include "support/Messages.h"
#include "support/SmallStack.h"

#include <gtest/gtest.h>

using namespace kwxml::test;

TEST(Dummy, EveryTypeGetsWhatItGets)
{
  LogCapture log;
  YMMessageBase m = make("Types_AllTypes");
  m.wipeBitset();
  ASSERT_EQ(recurseAndFillDummyValues(&m), 0);
  std::string set;
  for (const FieldDef& def : *m.getClass()) {
    set += isSet(m, def.getName()) ? def.getName() + std::string("\n") : "";
  }
  expectGolden(KWXML_SOURCE_DIR "/tests/metadata/dummy.txt", set + toXml(m));
  YMMessageBase empty = make("Types_Empty");
  EXPECT_EQ(recurseAndFillDummyValues(&empty), 0);
  EXPECT_EQ(log.lines(), std::vector<LogLine>());
}

TEST(Dummy, NothingAndClassesWithoutEndFail)
{
  LogCapture log;
  YMMessageBase none;
  YMMessageBase* nothing = nullptr;
  EXPECT_EQ(recurseAndFillDummyValues(nullptr) + recurseAndFillDummyValues(&none), 2);
  EXPECT_EQ(log.lines(), std::vector<LogLine>());
  EXPECT_EQ(createXMLObjectWithDummyValues(nothing), 1);
  const LogLine failed{0, "createXMLObjectWithDummyValues",
                       "recurseAndFillDummyValues() failed with Return Code[1]"};
  EXPECT_EQ(log.lines(), std::vector<LogLine>{failed});
  log.clear();
  YMMessageBase node = make("Types_Node");
  YMMessageBase* pointer = &node;
  onSmallStack([&] { EXPECT_EQ(createXMLObjectWithDummyValues(pointer), 1); });
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{
                             {0, "recurseAndFillDummyValues", "Messages nest deeper than [64]"}, failed}));
  EXPECT_EQ(pointer, &node);
}
