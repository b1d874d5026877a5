// Messages as values: copy, equality, assignment, deletion, defaults, construction, caches, for every field
// type.
#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/Messages.h"
#include "support/SmallStack.h"

#include <kwxml/model/Limits.h>
#include <kwxml/platform/KwException.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace kwxml::test;

TEST(Values, EveryTypeIsCopiedComparedAndDeleted)
{
  const YMMessageBase empty = make("Types_AllTypes");
  for (const FieldDef& def : *empty.getClass()) {
    SCOPED_TRACE(def.getName());
    YMMessageBase message = make("Types_AllTypes");
    if (!fill(message, def, 1)) {
      EXPECT_EQ(def.getFieldAddrResolved(message), nullptr);
      continue;
    }
    EXPECT_TRUE(isSet(message, def.getName()));
    EXPECT_FALSE(message == empty);
    YMMessageBase copy(message);
    EXPECT_TRUE(copy == message);
    YMMessageBase assigned = make("Types_AllTypes");
    fillAll(assigned, 2);
    assigned = message;
    EXPECT_TRUE(assigned == message) << "nothing of the target survives";
    fill(copy, def, 2);
    EXPECT_FALSE(copy == message) << "the copy is deep, and the other value differs";
    YMMessageBase again = make("Types_AllTypes");
    fill(again, def, 1);
    EXPECT_TRUE(again == message) << "the original is as it was";
    message.deleteMember(def.fieldNumber, message.getTagID(), def.hash, false);
    EXPECT_FALSE(isSet(message, def.getName()));
    EXPECT_TRUE(message == empty);
    fill(message, def, 2);
    EXPECT_TRUE(message == copy);
    message.deleteMember(def.fieldNumber, message.getTagID(), def.hash, true);
    fill(message, def, 1);
    EXPECT_TRUE(message == again) << "a destroyed value can be set again";
  }
  YMMessageBase full = make("Types_AllTypes");
  fillAll(full, 3);
  full.reset();
  EXPECT_TRUE(full == empty);
}

TEST(Values, EqualityRules)
{
  YMMessageBase a = make("Types_AllTypes");
  YMMessageBase b = make("Types_AllTypes");
  const FieldDef& scalar = field(a, "doubleValue");
  const auto set = [&](YMMessageBase& m, double value) {
    m.setdouble(scalar.fieldNumber, scalar.slot, value, m.getTagID(), scalar.hash);
  };
  const auto setList = [](YMMessageBase& m, double value) {
    object<std::vector<double>>(m, "doubleList") = {value};
  };
  EXPECT_TRUE(a == b);
  setInt(a, "intValue", 0);
  EXPECT_FALSE(a == b) << "set to the default is not unset";
  setInt(b, "intValue", 0);
  set(a, std::nan(""));
  EXPECT_TRUE(a == YMMessageBase(a)) << "a scalar NaN is compared by its bits";
  set(a, 0.0);
  set(b, -0.0);
  EXPECT_FALSE(a == b);
  set(b, 0.0);
  setList(a, 0.0);
  setList(b, -0.0);
  EXPECT_TRUE(a == b) << "in a list numerically";
  setList(a, std::nan(""));
  EXPECT_FALSE(a == YMMessageBase(a));
  EXPECT_FALSE(YMMessageBase() == YMMessageBase());
  EXPECT_TRUE(make("Types_Empty") == make("Types_Empty"));
  EXPECT_FALSE(make("Types_Leaf") == make("Types_KeyLeaf"));
  EXPECT_FALSE(a < b || b < a || make("Types_Leaf") < a);
}

TEST(Values, HiddenFieldsAreCopiedButNotCompared)
{
  YMMessageBase a = make("Types_Hidden");
  const FieldDef& secret = field(a, "unseen");
  ASSERT_EQ(secret.hash, 0u);
  a.setstring(secret.fieldNumber, secret.slot, "x", a.getTagID(), 0);
  EXPECT_TRUE(a == make("Types_Hidden"));
  EXPECT_EQ(getText(YMMessageBase(a), "unseen"), "x");
}

TEST(Values, MapsOfMessagesKeepOneEntry)
{
  YMMessageBase m = make("Types_Node");
  const FieldDef& def = field(m, "byNode");
  auto*& map = m.getMapObjectAndObject(def.fieldNumber, def.slot, m.getTagID(), def.hash, true);
  map->emplace(nodeChain(1), nodeChain(2));
  map->emplace(nodeChain(2), nodeChain(1));
  EXPECT_EQ(map->size(), 1u);
  EXPECT_TRUE(map->begin()->second == nodeChain(2));
}

TEST(Values, AssignmentRefusesAnotherClassAndSurvivesItsOwnParts)
{
  Transcript log("model/log.cases");
  YMMessageBase leaf = make("Types_Leaf");
  fillAll(leaf, 1);
  const YMMessageBase before(leaf);
  const YMMessageBase status = make("Demo_Status");
  try {
    leaf = status;
    FAIL() << "no exception";
  } catch (const KwException& e) {
    log.note(e.getFunction(), e.what());
  }
  EXPECT_TRUE(leaf == before);
  EXPECT_THROW(leaf = make("Demo_Status"), KwException) << "a temporary is another class too";
  EXPECT_THROW(leaf = YMMessageBase(), KwException);
  EXPECT_TRUE(leaf == before);
  const YMMessageBase& self = leaf;
  leaf = self;
  EXPECT_TRUE(leaf == before);
  YMMessageBase node = nodeChain(4);
  const YMMessageBase& part = object<YMMessageBase>(node, "child");
  node = part;
  EXPECT_TRUE(node == nodeChain(3));
  YMMessageBase none;
  none = leaf;
  EXPECT_TRUE(none == before) << "a message without a class takes on the source's";
}

TEST(Values, CachedTextsFollowCopies)
{
  const auto texts = [](YMMessageBase& m) {
    return std::string(m.getSerializedXMLString()) + (m.isSerialized() ? ", serialized" : "") +
           (m.isCDATABufferSet() ? ", buffer " : "") + m.getCDATABuffer();
  };
  YMMessageBase m = make("Demo_Status");
  EXPECT_EQ(texts(m), "");
  m.setSerializedXMLString("<a/>", false);
  EXPECT_EQ(texts(m), "<a/>");
  m.setSerializedXMLString("<b/>", true);
  m.setLastSerializedXMLString("last");
  m.setCDATABuffer("cdata");
  YMMessageBase copy(m);
  EXPECT_EQ(texts(copy), "<b/>, serialized, buffer cdata");
  YMMessageBase assigned = make("Demo_Status");
  assigned.setCDATABuffer("gone");
  assigned = m;
  EXPECT_EQ(texts(assigned), "<b/>, serialized, buffer cdata");
  assigned = make("Demo_Status");
  EXPECT_EQ(texts(assigned), "");
  copy.clearSerializedXMLString();
  copy.resetCDATABuffer();
  EXPECT_EQ(texts(copy), "");
  copy.setLastErrorEnglishA("%s", "kept by nobody");
  EXPECT_EQ(copy.getLastErrorEnglishW(), nullptr);
}

TEST(Values, DefaultsAndOldWayConstruction)
{
  Transcript log("model/log.cases");
  YMMessageBase status = make("Demo_Status");
  log.note("primitives count as set in a system of the old way", toXml(status));
  YMMessageBase defaults = make("Legacy_Defaults");
  log.note("defaults", toXml(defaults));
  fillAll(defaults, 1);
  defaults.reset();
  log.note("reset", toXml(defaults));
  setInt(defaults, "intValue", 5);
  setText(defaults, "stringValue", "changed");
  defaults.setDefaults(field(defaults, "stringValue").fieldNumber);
  log.note("one field's default", toXml(defaults));

  const YMMessageBase account = make("Legacy_Account");
  for (const FieldDef& def : *account.getClass()) {
    const bool builds = def.hash != 0 && !FieldDef::isMapType(def.type) &&
                        std::string(def.getName()) != "processinginstructioninfo";
    EXPECT_EQ(isSet(account, def.getName()), builds) << def.getName();
    if (kwxml::fieldTypeInfo(def.type).storage == kwxml::Storage::Object && def.type != FIELD_BSTRING &&
        def.type != FIELD_PSTRING) {
      EXPECT_EQ(def.getFieldAddrResolved(account) != nullptr, builds) << def.getName();
    }
  }
  YMMessageBase resetAccount(account);
  fillAll(resetAccount, 2, 1);
  resetAccount.reset();
  EXPECT_TRUE(resetAccount == account);

  YMMessageBase hidden = make("Types_Hidden");
  log.note("with hidden fields", toXml(hidden));
  EXPECT_EQ(getInt(hidden, "secret"), 0) << "a hidden field's default is passed over";
  YMMessageBase nothing = bare("Types_Hidden");
  log.note("nothing set", toXml(nothing));
  YMMessageBase copy(nothing);
  YMMessageBase assigned = make("Types_Hidden");
  assigned = nothing;
  std::vector<long long> storage(64);
  YMMessageBase external(hidden.getSubsysID(), hidden.getClassIndex(), storage.data(), 64 * 8);
  external = nothing;
  for (const YMMessageBase* m : {&copy, &assigned, &external}) {
    EXPECT_TRUE(*m == nothing) << "the target's defaults do not survive";
    EXPECT_FALSE(isSet(*m, "before") || isSet(*m, "after") || isSet(*m, "bytes"));
  }
  hidden.setEveryPrimitiveBitset(false);
  EXPECT_TRUE(hidden == nothing);
  hidden.setEveryPrimitiveBitset(true);
  log.note("all primitives set", toXml(hidden));
  hidden = make("Types_Hidden");
  log.note("assigned", toXml(hidden));
  setInt(hidden, "before", 9);
  hidden.reset();
  EXPECT_TRUE(getInt(hidden, "before") == 1 && !isSet(hidden, "before"))
      << "reset clears the bits of primitives last";
}

TEST(Values, ProcessingInstructionInfoIsOnlyWhereTheClassHasIt)
{
  Transcript log("model/log.cases");
  YMMessageBase stock = make("Inventory_Stock");
  EXPECT_EQ(stock.getProcessinginstructioninfo(false), nullptr);
  EXPECT_FALSE(isSet(stock, "processinginstructioninfo"));
  auto*& info = stock.getProcessinginstructioninfo(true);
  ASSERT_NE(info, nullptr);
  EXPECT_TRUE(isSet(stock, "processinginstructioninfo"));
  auto& message = *reinterpret_cast<YMMessageBase*>(info);
  EXPECT_EQ(message.getTagID(), kwxml::processingInstructionTag);
  setInt(message, "priority", 3);
  YMMessageBase other = make("Inventory_Stock");
  other.setProcessinginstructioninfo(info);
  EXPECT_TRUE(other == stock);
  const auto* existing = other.getProcessinginstructioninfo(false);
  setInt(message, "priority", 4);
  other.setProcessinginstructioninfo(info);
  EXPECT_TRUE(other == stock);
  EXPECT_EQ(other.getProcessinginstructioninfo(false), existing) << "a copy into the existing one";
  other.setProcessinginstructioninfo(nullptr);
  EXPECT_TRUE(other == make("Inventory_Stock"));

  for (const char* tagName :
       {"Demo_Status", "Shop_Order", "KwEntities_ProcessingInstructionInfo", "Types_Empty"}) {
    YMMessageBase foreign = make(tagName);
    fillAll(foreign, 1, 1);
    const YMMessageBase before(foreign);
    EXPECT_EQ(foreign.getProcessinginstructioninfo(true), nullptr);
    foreign.setProcessinginstructioninfo(info);
    foreign.setProcessinginstructioninfo(nullptr);
    EXPECT_TRUE(foreign == before) << tagName;
  }
}

TEST(Values, ObjectsAreMadeFromEveryKindOfReference)
{
  Transcript log("model/log.cases");
  const auto construct = [&log](unsigned long tag, const char* xml, bool now) {
    YMMessageBase* out = nullptr;
    std::string error;
    const int result = YMMessageBase::ConstructObject(tag, xml, out, now, error);
    const std::unique_ptr<YMMessageBase> made(out);
    EXPECT_EQ(result, made == nullptr ? 1 : 0);
    log.note("made", made != nullptr ? made->getTagName() + made->getSerializedXMLString() : error);
  };
  construct(0x010003F0, nullptr, false);
  construct(0x010003F0, nullptr, true);
  construct(0x010003F0, "<broken", true);
  construct(0x010003F0, "<Demo_Item/>", true);
  construct(0xC9123456, "<a/>", true);
  YMMessageBase* out = nullptr;
  std::string error;
  EXPECT_EQ(YMMessageBase::constructObject(1, 0x3F0, "<later/>", out, false, error), 0);
  const std::unique_ptr<YMMessageBase> later(out);
  EXPECT_TRUE(later->getSerializedXMLString() == std::string("<later/>") && !later->isSerialized());

  const unsigned long status = 0x00000001, beyond = 0x000000CE, missing = 0xFFFF0001, info = 0x4A000012;
  const std::unique_ptr<YMMessageBase> made(YMMessageBase::createObjectFromClassID(&status));
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->getTagName(), "Demo_Status");
  EXPECT_EQ(YMMessageBase::createObjectFromClassID(nullptr), nullptr);
  EXPECT_EQ(YMMessageBase::createObjectFromClassID(&beyond), nullptr);
  EXPECT_EQ(YMMessageBase::createFromClassIDIfNotProcessingInstructionInfo(&beyond), nullptr);
  EXPECT_EQ(YMMessageBase::createFromClassIDIfNotProcessingInstructionInfo(&missing), nullptr);
  EXPECT_EQ(YMMessageBase::createFromClassIDIfNotProcessingInstructionInfo(&info), nullptr);
}

TEST(Values, EveryOperationFitsASmallStackAtTheNestingLimit)
{
  onSmallStack([] {
    YMMessageBase deep = nodeChain(kwxml::maxMessageNesting);
    YMMessageBase copy(deep);
    EXPECT_TRUE(copy == deep);
    copy = deep;
    copy.reset();
    EXPECT_FALSE(copy == deep);
  });
}

TEST(Values, ChainsOfMessagesThatCallersBuildMayBeAnyLength)
{
  constexpr int length = 5000;
  // In each kind of value that holds messages; `put` hands the deeper ones over without copying them.
  const auto check = [](auto put) {
    onSmallStack([&] {
      const auto chain = [&](const char* end) {
        YMMessageBase node = make("Types_Node");
        setText(node, "label", end);
        for (int i = 0; i < length; ++i) {
          YMMessageBase outer = make("Types_Node");
          put(outer, std::move(node));
          node = std::move(outer);
        }
        return node;
      };
      YMMessageBase deep = chain("end");
      YMMessageBase copy(deep);
      EXPECT_TRUE(copy == deep);
      EXPECT_FALSE(copy == chain("other"));
      copy = deep;
      EXPECT_TRUE(copy == deep);
      deep.reset();
      EXPECT_FALSE(copy == deep);
    });
  };
  check([](YMMessageBase& outer, YMMessageBase&& inner) {
    object<YMMessageBase>(outer, "child") = std::move(inner);
  });
  check([](YMMessageBase& outer, YMMessageBase&& inner) {
    object<std::vector<YMMessageBase>>(outer, "children").push_back(std::move(inner));
  });
  check([](YMMessageBase& outer, YMMessageBase&& inner) {
    object<std::map<std::string, YMMessageBase>>(outer, "byName").emplace("a", std::move(inner));
  });
}
