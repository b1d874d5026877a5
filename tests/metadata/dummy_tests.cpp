// Placeholder values: what every type gets, and where the filling ends.
#include <kwxml/metadata/DummyValues.h>

#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/model/MessageInternal.h>

#include "support/LogCapture.h"
#include "support/Messages.h"
#include "support/SmallStack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>

using namespace kwxml::test;

namespace {

std::size_t elements(YMMessageBase& m, const char* name)
{
  std::vector<void*> out;
  XMLDecoder::ReadFromList(&m, name, &out);
  return out.size();
}

}  // namespace

TEST(Dummy, EveryTypeGetsWhatItGets)
{
  LogCapture log;
  YMMessageBase m = make("Types_AllTypes");
  m.wipeBitset();
  ASSERT_EQ(recurseAndFillDummyValues(&m), 0);
  const std::set<std::string> filled = {"stringValue", "bstringValue", "intList",
                                        "floatList",   "objectList",   "objectValue"};
  for (const FieldDef& def : *m.getClass()) {
    if (def.type != FIELD_UNSET) {
      EXPECT_EQ(isSet(m, def.getName()), filled.contains(def.getName())) << def.getName();
    }
  }
  EXPECT_EQ(getText(m, "stringValue"), "1");
  const FieldDef& bytes = field(m, "bstringValue");
  EXPECT_EQ(m.getbstringobject_const(bytes.fieldNumber, bytes.slot, m.getTagID(), bytes.hash)->text(), "1");
  EXPECT_EQ(elements(m, "intList") + elements(m, "floatList") + elements(m, "objectList"), 15u);
  const auto* list = kwxml::MessageAccess::pointer<std::vector<YMMessageBase>>(std::as_const(m),
                                                                               field(m, "objectList").slot);
  EXPECT_EQ(getText(list->back(), "text"), "1");
  const auto* object =
      kwxml::MessageAccess::pointer<YMMessageBase>(std::as_const(m), field(m, "objectValue").slot);
  EXPECT_TRUE(*object == make("Types_Leaf")) << "stored before it is filled";

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

TEST(Dummy, EveryClassThatEndsComesBackFromXml)
{
  std::set<std::string> endless;
  for (int system = 1; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
    const MessageSystemRow& row = XML_KWMessage_MessageSystemChooser::msgSysStruct[system];
    for (int i = 0; row.name != nullptr && i < row.numberOfClasses; ++i) {
      YMMessageBase m(system, i);
      if (row.classes[i].name == nullptr || *row.classes[i].name == '\0' || m.getClass()->isEnum()) {
        continue;
      }
      LogCapture log;
      if (recurseAndFillDummyValues(&m) != 0) {
        endless.insert(m.getTagName());
        continue;
      }
      std::string xml;
      ASSERT_EQ(XMLEncoder().serialize(m, xml, false), 0) << m.getTagName();
      const std::unique_ptr<YMMessageBase> back(XMLDecoder().unSerialize(xml));
      ASSERT_NE(back, nullptr) << m.getTagName();
      std::string again;
      XMLEncoder().serialize(*back, again, false);
      const bool hides = std::any_of(m.getClass()->begin(), m.getClass()->end(),
                                     [](const FieldDef& d) { return d.hash == 0; });
      EXPECT_TRUE(xml == again || row.eager == 1 || hides) << xml;
    }
  }
  EXPECT_EQ(endless, (std::set<std::string>{"Legacy_Account", "Types_Node", "Types_Report"}))
      << "they hold themselves";
}
