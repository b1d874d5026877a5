// Event containers and their arguments.
#include <gtest/gtest.h>
#include <kwxml/platform/EvMessageContainer.h>

#include <climits>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

namespace {

using Argument = ArgumentInfo::Argument;

TEST(ArgumentInfo, KeepsTypesValuesKindsAndOrder)
{
  ArgumentInfo info;
  EXPECT_EQ(info.NoOfArgs(), 0);
  std::vector<Argument> expected;
  const auto add = [&](const auto& value, int kind, const Argument& argument) {
    info.AddArgument(value, kind);
    expected.push_back(argument);
  };
  add(INT_MIN, ArgumentInfo::kInt, {5, INT_MIN});
  add(UINT_MAX, ArgumentInfo::kUnsignedInt, {6, UINT_MAX});
  add(LONG_MIN, ArgumentInfo::kLong, {7, LONG_MIN});
  add(ULONG_MAX, ArgumentInfo::kUnsignedLong, {8, ULONG_MAX});
  add(LLONG_MIN, ArgumentInfo::kLongLong, {9, LLONG_MIN});
  add(ULLONG_MAX, ArgumentInfo::kUnsignedLongLong, {10, ULLONG_MAX});
  add(std::string("a\0b", 3), ArgumentInfo::kString, {11, std::string("a\0b", 3)});
  add("literal", 99, {99, std::string("literal")});
  add(static_cast<const char*>(nullptr), -1, {-1, std::string()});
  EXPECT_EQ(info.NoOfArgs(), 9);
  EXPECT_EQ(info.arguments(), expected);
  EXPECT_EQ(std::vector(info.begin(), info.end()), expected);
  info.Clear();
  EXPECT_EQ(info.NoOfArgs(), 0);
  EXPECT_EQ(info.begin(), info.end());
}

TEST(ArgumentInfo, ReadsAnyValueAsAnyType)
{
  const std::tuple<Argument, int, unsigned long long, std::string> cases[] = {
      {{ArgumentInfo::kString, -1}, -1, ULLONG_MAX, "-1"},
      {{ArgumentInfo::kInt, UINT_MAX}, -1, UINT_MAX, "4294967295"},
      {{ArgumentInfo::kInt, ULLONG_MAX}, -1, ULLONG_MAX, "18446744073709551615"},
      {{0, INT64_C(0x1'0000'0007)}, 7, 0x1'0000'0007, "4294967303"},
      {{ArgumentInfo::kLong, std::string("12")}, 0, 0, "12"},
  };
  for (const auto& [argument, asInt, asUnsigned, asText] : cases) {
    EXPECT_EQ(argument.as<int>(), asInt) << asText;
    EXPECT_EQ(argument.as<unsigned long long>(), asUnsigned) << asText;
    EXPECT_EQ(argument.as<std::string>(), asText);
  }
}

TEST(EvMessageContainer, IsAValueThatStartsEmpty)
{
  const auto parts = [](const EvMessageContainer& e) {
    return std::tuple(e.getMessageId(), e.getSeverity(), e.getCategory(), e.arguments().NoOfArgs());
  };
  EvMessageContainer event;
  event.setMessageId(-3);
  event.setSeverity(4);
  event.setCategory(5);
  event.arguments().AddArgument("text", ArgumentInfo::kString);
  const EvMessageContainer copy = event;
  EXPECT_EQ(copy, event);
  event = EvMessageContainer();
  EXPECT_EQ(parts(event), std::tuple(0, 0, 0, 0));
  EXPECT_EQ(parts(copy), std::tuple(-3, 4, 5, 1));
  EXPECT_EQ(copy.arguments().arguments().at(0).as<std::string>(), "text");
}

}  // namespace
