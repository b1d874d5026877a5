// What is reported of two messages that differ: each value once, under its path, with its text; and nothing
// of two that are equal.
#include "support/AllocationCounter.h"
#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/Messages.h"
#include "support/SmallStack.h"

#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/traverse/MessageDiff.h>

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <sstream>

using namespace kwxml;
using namespace kwxml::test;
using Kind = MessageDifference::Kind;

namespace {

/// Writes down differences: "- path|left", "+ path|right", "~ path|left|right"; mirrored: with exchanged
/// sides.
struct Collector : MessageDiffVisitor
{
  explicit Collector(bool exchange = false) : mirrored(exchange) {}
  void differs(const MessageDifference& difference) override
  {
    const bool changed = difference.kind == Kind::Changed;
    std::string left(difference.left);
    std::string right(difference.right);
    const bool alike = left == "****" || left == "(no class)" || left.starts_with("nan");
    EXPECT_TRUE(!changed || alike || left != right) << difference.path;
    if (mirrored) {
      std::swap(left, right);
    }
    const std::string line = std::string(difference.path) + "|" + left + (changed ? "|" : "") + right;
    EXPECT_EQ(line.find_first_of("\n\t"), std::string::npos);
    lines += (changed ? "~ " : (difference.kind == Kind::OnlyLeft) != mirrored ? "- " : "+ ") + line + "\n";
    ++count;
  }

  bool mirrored;
  std::string lines;
  std::size_t count = 0;
};

std::string differences(const YMMessageBase& left, const YMMessageBase& right, bool mirrored = false)
{
  Collector collector(mirrored);
  EXPECT_EQ(diffMessages(left, right, collector), collector.count);
  return collector.lines;
}

/// Both ways: what the sides say of each other must agree, and say nothing only when the messages are equal.
std::string diff(const YMMessageBase& left, const YMMessageBase& right)
{
  const std::string found = differences(left, right);
  EXPECT_EQ(found, differences(right, left, true));
  EXPECT_EQ(found.empty(), left == right);
  return found;
}

std::wstring& wide(YMMessageBase& message, const std::string& name)
{
  const FieldDef& def = field(message, name);
  MessageAccess::mark(message, def);
  return MessageAccess::inPlace<std::wstring>(message, def.slot);
}

/// A message as XML, and lines below it: "mark name" marks a field as set, "name number" sets it.
YMMessageBase read(const std::string& text)
{
  const auto end = text.rfind('>') + 1;
  YMMessageBase message = fromXml(text.substr(0, end));
  std::istringstream words(text.substr(end));
  for (std::string name, value; words >> name >> value;) {
    if (name == "mark") {
      MessageAccess::mark(message, field(message, value));
    } else {
      setInt(message, name, std::stoll(value, nullptr, 0));
    }
  }
  return message;
}

}  // namespace

TEST(MessageDiff, EachValueHasItsPathAndText)
{
  expectCases("traverse/diff.cases", "", [](const std::string& input) {
    const auto second = input.find("\n<");
    const YMMessageBase left = read(input.substr(0, second));
    EXPECT_EQ(diff(left, left), "") << input;
    return diff(left, read(input.substr(second + 1)));
  });
}

/// Values that compare in ways of their own, and texts that tell them apart nevertheless.
TEST(MessageDiff, ValuesThatLookAlike)
{
  Transcript log("traverse/log.cases");
  YMMessageBase left = make("Types_AllTypes");
  YMMessageBase right = make("Types_AllTypes");
  setText(left, "stringValue", "\xC3");
  setText(right, "stringValue", std::string("\0\xC0\x80", 3));
  object<std::vector<double>>(left, "doubleList") = {0.0, std::numeric_limits<double>::infinity()};
  object<std::vector<double>>(right, "doubleList") = {-0.0, -std::numeric_limits<double>::infinity()};
  wide(left, "wstringValue") = L"\u00E9\u20AC\U0001F600\t";
  object<std::vector<std::wstring>>(left, "wstringList") = {std::wstring(1, static_cast<wchar_t>(0xD800))};
  object<std::vector<std::wstring>>(right, "wstringList") = {L"\\u{d800}"};
  log.note(diff(left, right));
  // In a list not a number equals nothing, not even itself.
  YMMessageBase floats = make("Types_AllTypes");
  object<std::vector<float>>(floats, "floatList") = {std::numeric_limits<float>::quiet_NaN()};
  log.note(diff(floats, floats));
  YMMessageBase vault = make("Secrets_Vault");
  wide(vault, "wide") = L"hunter2";
  YMMessageBase other = make("Secrets_Vault");
  wide(other, "wide") = L"swordfish";
  log.note(diff(vault, other) + diff(vault, make("Secrets_Vault")));
}

TEST(MessageDiff, WhatWasNeverMadeIsEmpty)
{
  YMMessageBase marked = make("Types_AllTypes");
  for (const char* name : {"bstringValue", "objectValue", "intList"}) {
    MessageAccess::mark(marked, field(marked, name));
  }
  YMMessageBase made = marked;
  object<std::vector<int>>(made, "intList");
  object<bstring>(made, "bstringValue");
  EXPECT_EQ(diff(marked, made), "");
  object<YMMessageBase>(made, "objectValue") = make("Types_Leaf");
  object<std::vector<int>>(made, "intList") = {1};
  EXPECT_EQ(diff(marked, made), "+ objectValue|{}\n+ intList[0]|1\n");
}

TEST(MessageDiff, MessagesOfDifferentClasses)
{
  Transcript log("traverse/log.cases");
  const YMMessageBase leaf = make("Types_Leaf");
  const YMMessageBase none;
  log.note(diff(leaf, none) + diff(none, none));
  YMMessageBase left = make("Types_AllTypes");
  YMMessageBase right = make("Types_AllTypes");
  object<std::vector<YMMessageBase>>(left, "objectList") = {leaf, leaf, none};
  object<std::vector<YMMessageBase>>(right, "objectList") = {leaf, make("Types_KeyLeaf")};
  log.note(diff(left, right));
}

// ---- Against equality

namespace {

class Mutation
{
public:
  explicit Mutation(unsigned seed) : random_(seed) {}

  unsigned below(unsigned limit) { return static_cast<unsigned>(random_()) % limit; }

  void message(YMMessageBase& m)
  {
    const auto count = static_cast<unsigned>(m.getNumberOfFields());
    for (unsigned changes = below(4); count > 0 && changes > 0; --changes) {
      change(m, m.getClass()->fields[below(count)]);
    }
  }

  void change(YMMessageBase& m, const FieldDef& def)
  {
    switch (below(4)) {
      case 0:
        m.deleteMember(def.fieldNumber, m.getTagID(), def.hash, false);
        return;
      case 1:
        MessageAccess::mark(m, def);  // perhaps without a value
        return;
      case 2:
        fill(m, def, 1 + static_cast<int>(below(2)), static_cast<int>(below(3)));
        return;
      default:
        inside(m, def);
    }
  }

private:
  /// Changes what lies in a collection or message.
  void inside(YMMessageBase& m, const FieldDef& def)
  {
    visitFieldType(def.type, [&]<class Tag>(Tag) {
      using Value = typename Tag::Value;
      if constexpr (MessageValue<Tag> || ListValue<Tag> || MapValue<Tag>) {
        Value* value = MessageAccess::pointer<Value>(m, def.slot);
        if (value == nullptr) {
          return;
        }
        if constexpr (MessageValue<Tag>) {
          message(*value);
        } else if (value->empty()) {
          return;
        } else if (below(2) == 0) {
          value->erase(value->begin());
        } else if constexpr (ListValue<Tag>) {
          value->push_back(value->front());
          if constexpr (Tag::type == FIELD_LIST_OBJECT) {
            message(value->back());
          }
        } else if constexpr (MapValue<Tag>) {
          if constexpr (Tag::info.mapValue == FIELD_OBJECT) {
            message(value->begin()->second);
          } else {
            value->begin()->second = typename Value::mapped_type();
          }
        }
      }
    });
  }

  std::mt19937 random_;
};

}  // namespace

TEST(MessageDiff, SaysNothingExactlyWhenMessagesAreEqual)
{
  LogCapture log;
  Mutation mutation(20261121);
  int equal = 0;
  int different = 0;
  for (int system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
    const MessageSystemRow& row = XML_KWMessage_MessageSystemChooser::msgSysStruct[system];
    for (int index = 0; row.name != nullptr && index < row.numberOfClasses; ++index) {
      if (row.classes[index].name == nullptr || row.classes[index].isEnum()) {
        continue;
      }
      for (int round = 0; round < 30; ++round) {
        YMMessageBase left(system, index);
        if (round % 3 != 0) {
          fillAll(left, 1, 2);
        }
        mutation.message(left);
        YMMessageBase right = left;
        mutation.message(right);
        ++(diff(left, right).empty() ? equal : different);  // holds it against operator==
      }
    }
  }
  EXPECT_GT(equal, 100);
  EXPECT_GT(different, 300);
  EXPECT_EQ(toText(log), "");
}

TEST(MessageDiff, CostsNothingWhileNothingDiffers)
{
  YMMessageBase left = make("Types_AllTypes");
  fillAll(left, 1, 3);
  YMMessageBase right = left;
  Collector collector;
  const AllocationCounter counter;
  EXPECT_EQ(diffMessages(left, right, collector), 0u);
  EXPECT_EQ(counter.count(), 0u);
}

TEST(MessageDiff, TheDeepestMessagesFitASmallStack)
{
  // What stands around each message in the one above it, and its step in the path.
  const std::string rows[][3] = {
      {"<child>", "</child>", "child."},
      {"<children>", "</children>", "children[0]."},
      {"<byNumber><__mapKey__ val='0'/><__mapValue__>", "</__mapValue__></byNumber>", "byNumber[0]."},
      {"<byName><__mapKey__ val=''/><__mapValue__>", "</__mapValue__></byName>", "byName[\"\"]."},
      {"<byNode><__mapKey__/><__mapValue__>", "</__mapValue__></byNode>", "byNode[0].value."}};
  for (const auto& [open, close, step] : rows) {
    std::string begin;
    std::string end;
    std::string path;
    for (int level = 1; level < maxMessageNesting; ++level) {
      begin += open;
      end += close;
      path += step;
    }
    const auto chain = [&](const std::string& label) {
      return fromXml("<Types_Node>" + begin + "<label>" + label + "</label>" + end + "</Types_Node>");
    };
    const YMMessageBase left = chain("left");
    const YMMessageBase right = chain("right");
    std::string found;
    onSmallStack([&] { found = differences(left, right); });
    EXPECT_EQ(found, "~ " + path + "label|\"left\"|\"right\"\n");
  }
}
