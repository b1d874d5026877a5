// What is reported of two messages that differ: each value once, under its path, with its text; and nothing
// of two that are equal.
#include "support/AllocationCounter.h"
#include "support/LogCapture.h"
#include "support/Messages.h"
#include "support/SmallStack.h"

#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/traverse/MessageDiff.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <random>

using namespace kwxml;
using namespace kwxml::test;
using Kind = MessageDifference::Kind;

namespace {

struct Difference
{
  Kind kind;
  std::string path;
  std::string left;
  std::string right;
  bool operator==(const Difference&) const = default;
};

struct Collector : MessageDiffVisitor
{
  void differs(const MessageDifference& difference) override
  {
    found.push_back({difference.kind, std::string(difference.path), std::string(difference.left),
                     std::string(difference.right)});
  }
  std::vector<Difference> found;
};

std::vector<Difference> differences(const YMMessageBase& left, const YMMessageBase& right)
{
  Collector collector;
  const std::size_t count = diffMessages(left, right, collector);
  EXPECT_EQ(count, collector.found.size());
  return collector.found;
}

/// "- path|left", "+ path|right", "~ path|left|right"
std::vector<std::string> lines(const std::vector<Difference>& found)
{
  std::vector<std::string> texts;
  for (const Difference& one : found) {
    texts.push_back(one.kind == Kind::OnlyLeft    ? "- " + one.path + "|" + one.left + one.right
                    : one.kind == Kind::OnlyRight ? "+ " + one.path + "|" + one.left + one.right
                                                  : "~ " + one.path + "|" + one.left + "|" + one.right);
  }
  return texts;
}

using Lines = std::vector<std::string>;

/// Both ways: what the sides say of each other must agree, and say nothing only when the messages are equal.
Lines diff(const YMMessageBase& left, const YMMessageBase& right)
{
  const std::vector<Difference> found = differences(left, right);
  std::vector<Difference> mirrored = differences(right, left);
  for (Difference& one : mirrored) {
    std::swap(one.left, one.right);
    one.kind = one.kind == Kind::OnlyLeft    ? Kind::OnlyRight
               : one.kind == Kind::OnlyRight ? Kind::OnlyLeft
                                             : one.kind;
  }
  EXPECT_EQ(lines(found), lines(mirrored));
  EXPECT_EQ(found.empty(), left == right);
  return lines(found);
}

YMMessageBase read(const std::string& xml)
{
  const std::unique_ptr<YMMessageBase> message(XMLDecoder().unSerialize(xml, nullptr));
  if (message == nullptr) {
    throw std::invalid_argument(xml);
  }
  return *message;
}

/// The value of a list, map or message in a field, made when there is none.
template <class Value>
Value& object(YMMessageBase& message, const std::string& name)
{
  const FieldDef& def = field(message, name);
  Value*& value = MessageAccess::pointer<Value>(message, def.slot);
  if (value == nullptr) {
    value = new Value;
  }
  MessageAccess::mark(message, def);
  return *value;
}

template <class Float>
void setFloat(YMMessageBase& message, const std::string& name, Float value)
{
  const FieldDef& def = field(message, name);
  if constexpr (sizeof(Float) == 4) {
    message.setfloat(def.fieldNumber, def.slot, value, message.getTagID(), def.hash);
  } else {
    message.setdouble(def.fieldNumber, def.slot, value, message.getTagID(), def.hash);
  }
}

}  // namespace

TEST(MessageDiff, EachTypeHasItsPathAndText)
{
  struct Case
  {
    const char* left;  // within Types_AllTypes: attributes, elements
    const char* right;
    Lines expected;
  };
  const Case cases[] = {
      {" intValue='5'>", " intValue='-7'>", {"~ intValue|5|-7"}},
      {" uintValue='4294967295'>", ">", {"- uintValue|4294967295"}},
      {" longValue='-9000000000' ulongValue='1'>",
       " ulongValue='2'>",
       {"- longValue|-9000000000", "~ ulongValue|1|2"}},
      {" longlongValue='-9223372036854775808'>",
       " ulonglongValue='-1'>",
       {"- longlongValue|-9223372036854775808", "+ ulonglongValue|18446744073709551615"}},
      {" boolValue='true'>", " boolValue='false'>", {"~ boolValue|true|false"}},
      {" stringValue=''>", ">", {"- stringValue|\"\""}},
      {" stringValue='a&quot;b\\c&#10;&#13;&#9;d'>",
       " stringValue='&#xE9;&#x1F600;&#x9B;&#x2028;&#x7F;'>",
       {"~ "
        "stringValue|\"a\\\"b\\\\c\\n\\r\\td\"|\"\xC3\xA9\xF0\x9F\x98\x80\\xC2\\x9B\\xE2\\x80\\xA8\\x7F\""}},
      {" doubleValue='0.1' floatValue='0.1'>",
       " doubleValue='1e300' floatValue='-2.5'>",
       {"~ doubleValue|0.1|1e+300", "~ floatValue|0.1|-2.5"}},
      {" bstringValue='YQ=='>", " bstringValue='Yg=='>", {"~ bstringValue|****|****"}},
      {" pstringValue='a'>", ">", {"- pstringValue|****"}},
      {" time32Value='86400' time64Value='1'>",
       " time64Value='2'>",
       {"- time32Value|86400", "~ time64Value|1|2"}},
      {" enumValue='5'>", " enumValue='0'>", {"~ enumValue|MIDDLE(5)|LOW(0)"}},
      {" enumValue='100'>", " enumValue='6'>", {"~ enumValue|HIGH(100)|6"}},
      {"><intList val='1'/><intList val='2'/>",
       "><intList val='1'/><intList val='3'/><intList val='4'/>",
       {"~ intList[1]|2|3", "+ intList[2]|4"}},
      {"><ulonglongList val='18446744073709551615'/>",
       "><uintList val='1'/>",
       {"+ uintList[0]|1", "- ulonglongList[0]|18446744073709551615"}},
      {"><stringList val='a'/>", "><stringList val='A'/>", {"~ stringList[0]|\"a\"|\"A\""}},
      {"><bstringList val='YQ=='/><bstringList val='Yg=='/>",
       "><bstringList val='Yw=='/>",
       {"~ bstringList[0]|****|****", "- bstringList[1]|****"}},
      {"><boolList val='1'/><enumList val='-3'/>",
       "><boolList val='0'/><enumList val='7'/>",
       {"~ boolList[0]|true|false", "~ enumList[0]|BELOW(-3)|7"}},
      {"><floatList val='0.1'/><doubleList val='0.1'/>",
       "><floatList val='0.2'/><doubleList val='-0'/>",
       {"~ floatList[0]|0.1|0.2", "~ doubleList[0]|0.1|-0"}},
      {"><objectValue number='1' text='x'/>",
       "><objectValue number='2'/>",
       {"~ objectValue.number|1|2", "- objectValue.text|\"x\""}},
      {"><objectValue number='1' text='x'/>", ">", {"- objectValue.number|1", "- objectValue.text|\"x\""}},
      {"><objectList number='1'/>",
       "><objectList number='1'/><objectList number='3'/><objectList/>",
       {"+ objectList[1].number|3", "+ objectList[2]|{}"}},
      {"><longlongLonglongMap><__mapKey__ val='-7'/><__mapValue__ val='1'/></longlongLonglongMap>"
       "<longlongLonglongMap><__mapKey__ val='8'/><__mapValue__ val='1'/></longlongLonglongMap>",
       "><longlongLonglongMap><__mapKey__ val='8'/><__mapValue__ val='2'/></longlongLonglongMap>",
       {"- longlongLonglongMap[-7]|1", "~ longlongLonglongMap[8]|1|2"}},
      {"><stringStringMap><__mapKey__ val='a &quot;b'/><__mapValue__ val='x'/></stringStringMap>",
       "><stringStringMap><__mapKey__ val='a &quot;b'/><__mapValue__ val='y'/></stringStringMap>"
       "<stringStringMap><__mapKey__ val='&#9;'/><__mapValue__ val=''/></stringStringMap>",
       {"+ stringStringMap[\"\\t\"]|\"\"", "~ stringStringMap[\"a \\\"b\"]|\"x\"|\"y\""}},
      {"><longlongObjectMap><__mapKey__ val='1'/><__mapValue__ number='1'/></longlongObjectMap>",
       "><longlongObjectMap><__mapKey__ val='1'/><__mapValue__ text='t'/></longlongObjectMap>",
       {"- longlongObjectMap[1].number|1", "+ longlongObjectMap[1].text|\"t\""}},
      {"><objectObjectMap><__mapKey__ key='a'/><__mapValue__ number='1'/></objectObjectMap>",
       "><objectObjectMap><__mapKey__ key='b'/><__mapValue__ number='2'/></objectObjectMap>",
       {"~ objectObjectMap[0].key.key|\"a\"|\"b\"", "~ objectObjectMap[0].value.number|1|2"}},
  };
  for (const Case& one : cases) {
    const auto message = [](const std::string& content) {
      return read("<Types_AllTypes" + content + "</Types_AllTypes>");
    };
    const YMMessageBase left = message(one.left);
    EXPECT_EQ(diff(left, message(one.right)), one.expected) << one.left;
    EXPECT_EQ(diff(left, left), Lines()) << one.left;
  }
}

/// Values that compare in ways of their own, and texts that tell them apart nevertheless.
TEST(MessageDiff, ValuesThatLookAlike)
{
  YMMessageBase left = make("Types_AllTypes");
  YMMessageBase right = make("Types_AllTypes");
  setFloat(left, "doubleValue", 0.0);
  setFloat(right, "doubleValue", -0.0);
  setFloat(left, "floatValue", std::numeric_limits<float>::quiet_NaN());
  setFloat(right, "floatValue", -std::numeric_limits<float>::quiet_NaN());
  setInt(left, "boolValue", 1);
  setInt(right, "boolValue", 2);
  setInt(left, "uintValue", -1);
  setInt(right, "uintValue", 0xFFFFFFFF);
  setInt(left, "enumValue", 5);
  setInt(right, "enumValue", (1LL << 32) + 5);
  setText(left, "stringValue", "\xC3");
  setText(right, "stringValue", std::string("\0\xC0\x80", 3));
  object<std::vector<double>>(left, "doubleList") = {0.0, std::numeric_limits<double>::infinity()};
  object<std::vector<double>>(right, "doubleList") = {-0.0, -std::numeric_limits<double>::infinity()};
  MessageAccess::inPlace<std::wstring>(left, field(left, "wstringValue").slot) = L"\u00E9\u20AC\U0001F600\t";
  MessageAccess::mark(left, field(left, "wstringValue"));
  object<std::vector<std::wstring>>(left, "wstringList") = {std::wstring(1, static_cast<wchar_t>(0xD800))};
  object<std::vector<std::wstring>>(right, "wstringList") = {L"\\u{d800}"};
  EXPECT_EQ(diff(left, right),
            (Lines{"~ uintValue|-1|4294967295", "~ boolValue|true|true(2)",
                   "~ stringValue|\"\\xC3\"|\"\\x00\\xC0\\x80\"",
                   "- wstringValue|\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\\t\"", "~ doubleValue|0|-0",
                   "~ floatValue|nan(0x7fc00000)|nan(0xffc00000)", "~ enumValue|MIDDLE(5)|4294967301",
                   "~ wstringList[0]|\"\\u{d800}\"|\"\\\\u{d800}\"", "~ doubleList[1]|inf|-inf"}));

  YMMessageBase floats = make("Types_AllTypes");
  setInt(floats, "floatValue", 0x3FC00000);
  YMMessageBase rest = make("Types_AllTypes");
  setInt(rest, "floatValue", 0x13FC00000);
  EXPECT_EQ(diff(floats, rest), (Lines{"~ floatValue|1.5|1.5(0x13fc00000)"}));
  // In a list not a number equals nothing, not even itself.
  object<std::vector<float>>(floats, "floatList") = {std::numeric_limits<float>::quiet_NaN()};
  EXPECT_EQ(diff(floats, floats), (Lines{"~ floatList[0]|nan(0x7fc00000)|nan(0x7fc00000)"}));
}

TEST(MessageDiff, WhatIsSetWithoutAValue)
{
  const YMMessageBase nothing = make("Types_AllTypes");
  YMMessageBase marked = make("Types_AllTypes");
  for (const char* name : {"bstringValue", "utf16Value", "objectValue", "intList", "stringObjectMap"}) {
    MessageAccess::mark(marked, field(marked, name));
  }
  EXPECT_EQ(diff(marked, nothing), (Lines{"- bstringValue|****", "- utf16Value|(set)", "- objectValue|null",
                                          "- intList|[]", "- stringObjectMap|{}"}));
  YMMessageBase made = marked;
  object<std::vector<int>>(made, "intList");
  object<bstring>(made, "bstringValue");
  EXPECT_EQ(diff(marked, made), Lines()) << "what was never made is empty";
  object<YMMessageBase>(made, "objectValue") = make("Types_Leaf");
  object<std::vector<int>>(made, "intList") = {1};
  EXPECT_EQ(diff(marked, made), (Lines{"+ objectValue|{}", "+ intList[0]|1"}));

  // Hidden fields do not count: neither by themselves nor by the bit that others have of them.
  const auto onlyLeft = [](const char* tagName, const char* name) {
    YMMessageBase left = make(tagName);
    setInt(left, name, 5);
    return diff(left, make(tagName));
  };
  EXPECT_EQ(onlyLeft("Types_Hidden", "secret"), Lines());
  EXPECT_EQ(onlyLeft("Secrets_Untyped", "unseen"), (Lines{"- nothing|(set)"}));
  EXPECT_EQ(onlyLeft("Types_AllTypes", "intValue"), (Lines{"- intValue|5"})) << "noneValue has its bit";
}

TEST(MessageDiff, MessagesOfDifferentClasses)
{
  const YMMessageBase leaf = make("Types_Leaf");
  const YMMessageBase none;
  EXPECT_EQ(diff(leaf, make("Demo_Status")), (Lines{"~ |Types_Leaf|Demo_Status"}));
  EXPECT_EQ(diff(leaf, none), (Lines{"~ |Types_Leaf|(no class)"}));
  EXPECT_EQ(diff(none, none), (Lines{"~ |(no class)|(no class)"}));
  YMMessageBase left = make("Types_AllTypes");
  YMMessageBase right = make("Types_AllTypes");
  object<std::vector<YMMessageBase>>(left, "objectList") = {leaf, leaf, none};
  object<std::vector<YMMessageBase>>(right, "objectList") = {leaf, make("Types_KeyLeaf")};
  EXPECT_EQ(diff(left, right),
            (Lines{"~ objectList[1]|Types_Leaf|Types_KeyLeaf", "- objectList[2]|(no class)"}));
}

TEST(MessageDiff, SecretsStaySecret)
{
  const auto vault = [](const std::string& secret) {
    YMMessageBase m = make("Secrets_Vault");
    YMMessageBase inner = make("Secrets_Inner");
    setText(inner, "name", secret);
    object<pstring>(inner, "password") = secret;
    object<std::map<std::string, std::string>>(inner, "pairs") = {{secret, secret}};
    setText(m, "text", secret);
    object<std::map<std::string, YMMessageBase>>(m, "inner") = {{secret, inner}};
    setInt(m, "pin", static_cast<long long>(nameHash(secret.data(), secret.size())));
    object<std::vector<std::string>>(m, "list") = {secret, ""};
    object<std::map<std::string, std::string>>(m, "words") = {{"a", ""}, {secret, secret}, {"z", ""}};
    object<std::map<long long, long long>>(m, "numbers") = {{4711, static_cast<long long>(secret.size())}};
    MessageAccess::inPlace<std::wstring>(m, field(m, "wide").slot) =
        std::wstring(secret.begin(), secret.end());
    MessageAccess::mark(m, field(m, "wide"));
    return m;
  };
  EXPECT_EQ(diff(vault("hunter2"), vault("swordfish")),
            (Lines{"~ text|****|****", "~ wide|****|****", "~ pin|****|****", "~ list[0]|****|****",
                   "- words[#1]|****", "+ words[#2]|****", "~ numbers[#0]|****|****", "- inner[#0].name|****",
                   "- inner[#0].pairs[#0]|****", "- inner[#0].password|****", "+ inner[#1].name|****",
                   "+ inner[#1].pairs[#0]|****", "+ inner[#1].password|****"}));
  for (const std::string& line : diff(vault("hunter2"), make("Secrets_Vault"))) {
    EXPECT_EQ(line.find("hunter"), std::string::npos) << line;
  }

  // Beside them everything shows.
  YMMessageBase left = make("Secrets_Vault");
  YMMessageBase right = make("Secrets_Vault");
  YMMessageBase inner = make("Secrets_Inner");
  setText(inner, "name", "plain");
  object<pstring>(inner, "password") = "hunter2";
  object<std::map<std::string, YMMessageBase>>(left, "open") = {{"key", inner}};
  EXPECT_EQ(diff(left, right), (Lines{"- open[\"key\"].name|\"plain\"", "- open[\"key\"].password|****"}));
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
      if constexpr (ObjectValue<Tag>) {
        Value* value = MessageAccess::pointer<Value>(m, def.slot);
        if (value == nullptr) {
          return;
        }
        if constexpr (MessageValue<Tag>) {
          message(*value);
        } else if constexpr (ListValue<Tag>) {
          if (below(2) == 0 && !value->empty()) {
            value->pop_back();
          } else if (!value->empty()) {
            value->push_back(value->front());
            if constexpr (Tag::type == FIELD_LIST_OBJECT) {
              message(value->back());
            }
          }
        } else if constexpr (MapValue<Tag>) {
          if (below(2) == 0 && !value->empty()) {
            value->erase(value->begin());
          } else if (!value->empty()) {
            if constexpr (Tag::info.mapValue == FIELD_OBJECT) {
              message(value->begin()->second);
            } else {
              value->begin()->second = typename Value::mapped_type();
            }
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
        const Lines found = diff(left, right);  // holds it against operator==
        for (const Difference& one : differences(left, right)) {
          EXPECT_TRUE(one.kind != Kind::Changed || one.left != one.right || one.left == "****") << one.path;
          EXPECT_EQ((one.path + one.left + one.right).find_first_of("\n\t"), std::string::npos);
        }
        ++(found.empty() ? equal : different);
      }
    }
  }
  EXPECT_GT(equal, 100);
  EXPECT_GT(different, 300);
  EXPECT_EQ(log.lines(), std::vector<LogLine>());
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
  const auto chain = [](const char* through, const char* label) {
    YMMessageBase inner = make("Types_Node");
    setText(inner, "label", label);
    for (int level = 1; level < maxMessageNesting; ++level) {
      YMMessageBase outer = make("Types_Node");
      const FieldDef& def = field(outer, through);
      visitFieldType(def.type, [&]<class Tag>(Tag) {
        using Value = typename Tag::Value;
        if constexpr (MessageValue<Tag>) {
          object<Value>(outer, through) = std::move(inner);
        } else if constexpr (Tag::type == FIELD_LIST_OBJECT) {
          object<Value>(outer, through).push_back(std::move(inner));
        } else if constexpr (MapValue<Tag> && Tag::info.mapValue == FIELD_OBJECT) {
          object<Value>(outer, through).emplace(typename Value::key_type(), std::move(inner));
        }
      });
      inner = std::move(outer);
    }
    return inner;
  };
  const std::pair<const char*, std::string> fields[] = {{"child", "child."},
                                                        {"children", "children[0]."},
                                                        {"byNumber", "byNumber[0]."},
                                                        {"byName", "byName[\"\"]."},
                                                        {"byNode", "byNode[0].value."}};
  for (const auto& [through, step] : fields) {
    const YMMessageBase left = chain(through, "left");
    const YMMessageBase right = chain(through, "right");
    std::string path;
    for (int level = 1; level < maxMessageNesting; ++level) {
      path += step;
    }
    std::vector<Difference> found;
    onSmallStack([&] { found = differences(left, right); });
    const auto is = [&](const Difference& one) { return one.path == path + "label"; };
    EXPECT_EQ(std::count_if(found.begin(), found.end(), is), 1) << through;
  }
}
