// Event containers and their arguments.
#include <gtest/gtest.h>
#include <kwxml/platform/EvMessageContainer.h>

#include <climits>
#include <cstdint>
#include <string>
#include <vector>

namespace {

TEST(ArgumentInfo, KeepsTypesValuesKindsAndOrder)
{
  ArgumentInfo info;
  EXPECT_EQ(info.NoOfArgs(), 0);
  info.AddArgument(INT_MIN, ArgumentInfo::kInt);
  info.AddArgument(UINT_MAX, ArgumentInfo::kUnsignedInt);
  info.AddArgument(LONG_MIN, ArgumentInfo::kLong);
  info.AddArgument(ULONG_MAX, ArgumentInfo::kUnsignedLong);
  info.AddArgument(LLONG_MIN, ArgumentInfo::kLongLong);
  info.AddArgument(ULLONG_MAX, ArgumentInfo::kUnsignedLongLong);
  info.AddArgument(std::string("a\0b", 3), ArgumentInfo::kString);
  info.AddArgument("literal", 99);
  info.AddArgument(static_cast<const char*>(nullptr), -1);
  const std::vector<ArgumentInfo::Argument> expected = {{5, INT_MIN},
                                                        {6, UINT_MAX},
                                                        {7, LONG_MIN},
                                                        {8, ULONG_MAX},
                                                        {9, LLONG_MIN},
                                                        {10, ULLONG_MAX},
                                                        {11, std::string("a\0b", 3)},
                                                        {99, std::string("literal")},
                                                        {-1, std::string()}};
  EXPECT_EQ(info.NoOfArgs(), 9);
  EXPECT_EQ(info.arguments(), expected);
  EXPECT_EQ(std::vector(info.begin(), info.end()), expected);
  info.Clear();
  EXPECT_EQ(info.NoOfArgs(), 0);
  EXPECT_EQ(info.begin(), info.end());
}

TEST(ArgumentInfo, ReadsAnyValueAsAnyType)
{
  struct Case
  {
    ArgumentInfo::Argument argument;
    int asInt;
    unsigned long long asUnsigned;
    std::string asText;
  };
  const Case cases[] = {
      {{ArgumentInfo::kString, -1}, -1, ULLONG_MAX, "-1"},
      {{ArgumentInfo::kInt, UINT_MAX}, -1, UINT_MAX, "4294967295"},
      {{ArgumentInfo::kInt, ULLONG_MAX}, -1, ULLONG_MAX, "18446744073709551615"},
      {{0, INT64_C(0x1'0000'0007)}, 7, 0x1'0000'0007, "4294967303"},
      {{ArgumentInfo::kLong, std::string("12")}, 0, 0, "12"},
  };
  for (const Case& each : cases) {
    EXPECT_EQ(each.argument.as<int>(), each.asInt) << each.asText;
    EXPECT_EQ(each.argument.as<unsigned long long>(), each.asUnsigned) << each.asText;
    EXPECT_EQ(each.argument.as<std::string>(), each.asText);
  }
}

TEST(EvMessageContainer, IsAValueThatStartsEmpty)
{
  EvMessageContainer event;
  event.setMessageId(-3);
  event.setSeverity(4);
  event.setCategory(5);
  event.arguments().AddArgument("text", ArgumentInfo::kString);
  const EvMessageContainer copy = event;
  EXPECT_EQ(copy, event);
  event = EvMessageContainer();
  EXPECT_EQ(event.getMessageId(), 0);
  EXPECT_EQ(event.getSeverity(), 0);
  EXPECT_EQ(event.getCategory(), 0);
  EXPECT_EQ(event.arguments().NoOfArgs(), 0);
  EXPECT_EQ(copy.getMessageId(), -3);
  EXPECT_EQ(copy.getSeverity(), 4);
  EXPECT_EQ(copy.getCategory(), 5);
  EXPECT_EQ(copy.arguments().arguments().at(0).as<std::string>(), "text");
}

}  // namespace
