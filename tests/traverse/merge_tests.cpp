// What a merge copies, appends and leaves alone, for every field type.
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/model/Limits.h>
#include <kwxml/traverse/XmlTraverse.h>

#include "support/DataFile.h"
#include "support/LogCapture.h"
#include "support/Messages.h"
#include "support/SmallStack.h"

#include <gtest/gtest.h>

using namespace kwxml::test;

namespace {

bool merge(YMMessageBase& from, YMMessageBase& into)
{
  return XmlTraverse().merge(from, into);
}

/// A message with one field set.
YMMessageBase only(const char* name, int variant)
{
  YMMessageBase m = make("Types_AllTypes");
  m.wipeBitset();
  fill(m, field(m, name), variant);
  return m;
}

std::size_t elements(YMMessageBase& m, const char* name)
{
  std::vector<void*> out;
  XMLDecoder::ReadFromList(&m, name, &out);
  return out.size();
}

}  // namespace

TEST(Merge, EveryTypeIsReplacedAppendedOrLeftAlone)
{
  LogCapture log;
  YMMessageBase sample = make("Types_AllTypes");
  for (const FieldDef& def : *sample.getClass()) {
    if (kwxml::fieldTypeInfo(def.type).storage == kwxml::Storage::None) {
      continue;
    }
    const char* name = def.getName();
    const bool list = kwxml::fieldTypeInfo(def.type).element != FIELD_UNSET;
    const bool left = FieldDef::isMapType(def.type) || def.type == FIELD_LIST_UINT ||
                      def.type == FIELD_LIST_ENUM || def.type == FIELD_LIST_BOOL;
    YMMessageBase from = only(name, 1);
    const YMMessageBase source = from;

    YMMessageBase empty = make("Types_AllTypes");
    empty.wipeBitset();
    const YMMessageBase untouched = empty;
    EXPECT_TRUE(merge(from, empty));
    EXPECT_TRUE(empty == (left ? untouched : source)) << name;
    EXPECT_TRUE(from == source) << name;

    YMMessageBase into = only(name, 2);
    const YMMessageBase before = into;
    EXPECT_TRUE(merge(from, into));
    if (list && !left) {
      EXPECT_EQ(elements(into, name), 6u) << name;
    } else {
      EXPECT_TRUE(into == (left ? before : source)) << name;
    }
    YMMessageBase nothing = make("Types_AllTypes");
    nothing.wipeBitset();
    EXPECT_TRUE(merge(nothing, into));
    EXPECT_EQ(isSet(into, name), true) << name;
  }
  EXPECT_EQ(log.lines(), std::vector<LogLine>());
}

TEST(Merge, ListsAreAppendedAndNestedMessagesMerge)
{
  expectCases(KWXML_SOURCE_DIR "/tests/traverse/merge.cases", [](const std::string& input) {
    LogCapture log(10);
    const auto line = input.find('\n');
    YMMessageBase from = fromXml(input.substr(0, line));
    YMMessageBase into = fromXml(input.substr(line + 1));
    log.clear();
    const std::string before = toXml(into);
    const bool merged = merge(from, into);
    const std::string lines = toText(log);
    EXPECT_TRUE(merged || toXml(into) == before);
    return (merged ? toXml(into) + "\n" : "refused\n") + lines;
  });
  YMMessageBase twice = only("objectList", 1);
  fill(twice, field(twice, "stringList"), 1);
  EXPECT_TRUE(merge(twice, twice)) << "with itself";
  EXPECT_EQ(elements(twice, "objectList") + elements(twice, "stringList"), 12u);

  const LogCapture log(10);
  YMMessageBase leaf = make("Types_Leaf");
  YMMessageBase none;
  EXPECT_FALSE(merge(none, leaf) || merge(leaf, none) || merge(none, none));
  EXPECT_EQ(log.lines(), std::vector<LogLine>());
}

TEST(Merge, PasswordsKeepTheirScheme)
{
  YMMessageBase from = make("Types_AllTypes");
  const FieldDef& def = field(from, "pstringValue");
  from.setpstringobject(def.fieldNumber, def.slot, pstring("p"), Annotation::BASE64, from.getTagID(),
                        def.hash);
  YMMessageBase into = make("Types_AllTypes");
  merge(from, into);
  const pstring* merged = into.getpstringobject_const(def.fieldNumber, def.slot, into.getTagID(), def.hash);
  EXPECT_EQ(merged->text() + std::to_string(merged->getEncryptionType()), "p9");
}

TEST(Merge, StopsAtTheNestingLimit)
{
  LogCapture log;
  YMMessageBase a = nodeChain(kwxml::maxMessageNesting + 1);
  YMMessageBase b = nodeChain(kwxml::maxMessageNesting + 1);
  onSmallStack([&] { EXPECT_TRUE(merge(a, b)); });
  EXPECT_EQ(log.texts(), std::vector<std::string>{"Messages nest deeper than [64]"});
}
