// Messages as one line, for people and for tests.
#include <kwxml/traverse/MessageMatchers.h>

#include <catalogue/Demo.h>
#include <catalogue/Shop.h>
#include <catalogue/Types.h>
#include <gmock/gmock-matchers.h>
#include <gtest/gtest.h>

#include <sstream>

TEST(MessageText, IsOneLineWithoutSecrets)
{
  Types::AllTypes all;
  all.set_intValue(-5);
  all.set_stringValue("two\nlines\x1B[2J");
  all.set_enumValue(Types::Level::MIDDLE);
  all.set_pstringValue(pstring("secret", Annotation::PLAIN_TEXT));
  all.set_intList({1, 2});
  all.mutable_objectValue().set_text("nested");
  const std::string text = kwxml::toString(all);
  EXPECT_EQ(
      text,
      "Types_AllTypes {intValue:[-5],uintValue:[0],longValue:[0],ulongValue:[0],longlongValue:[0],"
      "ulonglongValue[],boolValue:[false],stringValue:[two\\nlines\\x1B[2J],doubleValue:[0],floatValue:[0],"
      "bstringValue:[],time32Value:[0],time64Value:[0],enumValue:[MIDDLE],number:[0],text:[nested],"
      "intList[1,2]}");
  std::ostringstream out;
  out << std::as_const(all) << YMMessageBase();
  EXPECT_EQ(out.str(), text + "(no class)");
  EXPECT_EQ(testing::PrintToString(all), text);
}

TEST(MessageMatchers, ExplainEachDifference)
{
  Shop::Order expected;
  expected.mutable_items().emplace_back().set_name("saw");
  Shop::Order actual = expected;
  EXPECT_TRUE(testing::Matcher<const YMMessageBase&>(kwxml::EqualsMessage(expected)).Matches(actual));
  actual.mutable_items()[0].set_name("axe");
  actual.mutable_items()[0].set_price(2.5);
  actual.mutable_status().set_errorCode(1);
  testing::StringMatchResultListener listener;
  EXPECT_FALSE(testing::ExplainMatchResult(kwxml::EqualsMessage(expected), actual, &listener));
  EXPECT_EQ(listener.str(), R"(
  items[0].name: "axe", expected "saw"
  items[0].price: 2.5, expected 0
  status.errorCode: 1, expected 0)");
  const testing::Matcher<const YMMessageBase*> pointed = kwxml::EqualsMessage(expected);
  EXPECT_FALSE(pointed.Matches(nullptr));
  EXPECT_TRUE(pointed.Matches(&expected));
}
