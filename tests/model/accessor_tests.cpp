// Addressing: own tags, foreign tags, wrong fields and slots, with the log lines that each failure leaves.
#include "platform/TempDirectory.h"
#include "support/AllocationCounter.h"
#include "support/DataFile.h"
#include "support/Messages.h"

#include <kwxml/model/Registry.h>
#include <kwxml/platform/KwException.h>
#include <kwxml/traverse/MsgFieldContext.h>

#include <gtest/gtest.h>

#include <utility>

using namespace kwxml::test;

namespace {

constexpr unsigned long noTag = 0x7E000001;
constexpr unsigned int codeHash = 0x9CB015;
constexpr unsigned int messageHash = 0xB7ECDF;

const std::string logs = "model/log.cases";

}  // namespace

TEST(Accessors, WrongFieldNumbersAreRefusedUnderTheFullSignature)
{
  Transcript log(logs);
  YMMessageBase m = make("Demo_Status");
  const unsigned long tag = m.getTagID();
  const YMMessageBase before(m);
  const std::vector<int> ints{1};
  m.setint64(2, 0, 1, tag, codeHash);
  m.setdouble(2, 0, 1, tag, codeHash);
  m.setstring(2, 0, "x", tag, codeHash);
  EXPECT_FALSE(m.isSet(2, tag, codeHash));
  EXPECT_EQ(m.getlistint(2, 0, tag, codeHash, true), nullptr);
  m.setlistint(2, 0, &ints, tag, codeHash);
  EXPECT_EQ(m.getObject(2, 0, tag, codeHash), nullptr);
  m.deleteMember(2, tag, codeHash, false);
  m.setint64(-1, 0, 1, tag, codeHash);  // a negative number is no field either
  EXPECT_EQ(m.getint64(5, tag, codeHash), 0);
  bool hasHash = false;
  std::string name;
  EXPECT_TRUE(m.isSet(1, hasHash, name) && hasHash && name == "errorMessage");
  EXPECT_FALSE(m.isSet(2, hasHash, name));
  EXPECT_TRUE(m == before);
}

TEST(Accessors, ForeignTagsFindTheFieldByItsHash)
{
  Transcript log(logs);
  YMMessageBase m = bare("Demo_Status");
  m.setint64(1, 4, 7, 0xC9000001, codeHash);  // field number and slot of another version of the class
  EXPECT_EQ(getInt(m, "errorCode"), 7);
  EXPECT_TRUE(isSet(m, "errorCode") && !isSet(m, "errorMessage"));
  m.setstring(0, 0, "found", 0xC9000001, messageHash);
  EXPECT_EQ(m.getstring_const(0, 3, 0xC9000001, messageHash), "found");
  EXPECT_EQ(m.getint64(3, 0xC9000001, codeHash), 7);
  EXPECT_TRUE(m.isSet(0, 0xC9000001, messageHash));
  m.unsetField(0, 0xC9000001, messageHash);
  EXPECT_FALSE(isSet(m, "errorMessage"));
  m.setField(0, 0xC9000001, messageHash);
  EXPECT_TRUE(isSet(m, "errorMessage"));
  log.note("unknown hashes");
  const YMMessageBase before(m);
  m.setint64(0, 0, 1, 5, 99);
  EXPECT_EQ(m.getstring_const(0, 0, 5, 99), "");
  EXPECT_EQ(m.getlistint_const(0, 0, 5, 99), nullptr);
  m.deleteMember(0, 5, 99, false);
  try {
    m.getObject(0, 0, 5, 99);
    FAIL() << "no exception";
  } catch (const KwException& e) {
    log.note(e.getFunction(), e.what());
  }
  EXPECT_TRUE(m == before);
}

TEST(Accessors, OwnTagTrustsTheSlotAndKeepsMemorySound)
{
  LogCapture log;
  YMMessageBase item = make("Demo_Item");
  const FieldDef& price = field(item, "price");
  const FieldDef& color = field(item, "color");
  item.setint64(price.fieldNumber, color.slot, 2, item.getTagID(), price.hash);
  EXPECT_EQ(getInt(item, "color"), 2) << "the caller's slot is written, though it is another field's";
  EXPECT_TRUE(log.lines().empty());

  // Slots that hold objects are never overwritten with something else, nor is anything outside the message.
  const FieldDef& name = field(item, "name");
  const FieldDef& tags = field(item, "tags");
  setText(item, "name", "a name that is long enough to live on the heap");
  item.getliststring(tags.fieldNumber, tags.slot, item.getTagID(), tags.hash, true)->push_back("tag");
  const YMMessageBase before(item);
  for (short slot = -2; slot < 12; ++slot) {
    for (short n = -1; n < 5; ++n) {
      if (slot != price.slot && slot != color.slot) {
        item.setdouble(n, slot, 1.5, item.getTagID(), 0);
        if (slot != name.slot) {
          item.setint64(n, slot, 7, item.getTagID(), 0);
        }
      }
      if (slot != name.slot) {
        item.setstring(n, slot, "x", item.getTagID(), 0);
      }
      EXPECT_EQ(item.getlistint(n, slot, item.getTagID(), 0, true), nullptr);
      item.setObject(n, slot == tags.slot ? short{0} : slot, nullptr, true, item.getTagID(), 0, true);
    }
  }
  EXPECT_TRUE(item == before);
  item.setint64(price.fieldNumber, name.slot, -11, item.getTagID(), price.hash);
  EXPECT_EQ(getText(item, "name"), "-11") << "a number aimed at another field's text becomes its text";
  setInt(item, "name", -12);
  EXPECT_EQ(getText(item, "name"), "-12");
  YMMessageBase all = make("Types_AllTypes");
  for (const char* text : {"bstringValue", "pstringValue"}) {
    const FieldDef& def = field(all, text);
    setInt(all, text, 1);
    EXPECT_EQ(all.getbstringobject_const(def.fieldNumber, def.slot, all.getTagID(), def.hash)->text(), "1");
    EXPECT_TRUE(isSet(all, text));
  }
  const FieldDef& wide = field(all, "wstringValue");
  setInt(all, "wstringValue", 42);
  EXPECT_EQ(all.getwstring_const(wide.fieldNumber, wide.slot, all.getTagID(), wide.hash), L"42");
}

TEST(Accessors, FieldsWithoutStorageHoldNumbersAtMost)
{
  LogCapture log;
  YMMessageBase m = make("Types_AllTypes");
  fillAll(m, 1);
  const YMMessageBase before = m;
  for (const char* name : {"utf16Value", "noneValue"}) {
    const FieldDef& def = field(m, name);
    MsgFieldContext context(FieldDefTraverseInfo{def}, &m);
    m.setint64(def.fieldNumber, def.slot, 0x5A5A5A5A5A5A, m.getTagID(), def.hash);
    context.replaceValue(7);
    context.replaceValue(1.5);
    context.replaceValue(1.5F);
    context.replaceValue(8);
    m.setint64(def.fieldNumber, def.slot, 9, noTag, def.hash);  // by its name it is no number
  }
  const FieldDef& utf16 = field(m, "utf16Value");
  EXPECT_TRUE(isSet(m, "utf16Value"));
  m.unsetField(utf16.fieldNumber, m.getTagID(), utf16.hash);
  EXPECT_TRUE(m == before);
}

TEST(Accessors, HashesAreComparedAsAWhole)
{
  YMMessageBase m = make("Demo_Status");
  setInt(m, "errorCode", 7);
  const FieldDef& def = field(m, "errorCode");
  const YMMessageBase before = m;
  Transcript log(logs);
  for (const unsigned long bit : {24, 31, 32, 63}) {
    const unsigned long hash = def.hash | 1UL << bit;
    EXPECT_FALSE(m.isSet(0, noTag, hash)) << bit;
    m.deleteMember(0, noTag, hash, false);
    if (bit < 32) {
      const auto narrow = static_cast<unsigned>(hash);
      EXPECT_EQ(m.getint64(0, noTag, narrow), 0);
      m.setint64(0, 0, 8, noTag, narrow);
      m.unsetField(0, noTag, narrow);
      EXPECT_THROW(m.getObject(0, 0, noTag, narrow), KwException);
      EXPECT_THROW(m.getObjectAccessor(true, true, 0, 0, noTag, narrow, 1, 0), KwException);
      m.setint64(99, 0, 8, noTag, narrow);  // field numbers keep their bounds
    }
  }
  EXPECT_TRUE(m == before);
}

TEST(Accessors, MarkingFollowsTheMemberTable)
{
  YMMessageBase m = make("Types_AllTypes");
  const unsigned long tag = m.getTagID();
  const auto on = [&](const char* name, auto member, auto... mark) -> decltype(auto) {
    const FieldDef& def = field(m, name);
    return (m.*member)(def.fieldNumber, def.slot, tag, def.hash, mark...);
  };
  using M = YMMessageBase;
  EXPECT_EQ(on("intList", &M::getlistint_const), nullptr);
  ASSERT_NE(on("intList", &M::getlistint, false), nullptr);
  EXPECT_TRUE(on("intList", &M::getlistint_const)->empty() && !isSet(m, "intList"));
  on("intList", &M::getlistint, true);
  EXPECT_EQ(on("stringStringMap", &M::getMapStringAndString_const), nullptr);
  EXPECT_NE(on("stringStringMap", &M::getMapStringAndString, false), nullptr);
  on("stringValue", &M::getstring);
  on("bstringValue", &M::getbstringobject);
  EXPECT_FALSE(isSet(m, "stringStringMap") || isSet(m, "stringValue") || isSet(m, "bstringValue"));
  on("stringValue", &M::getstringByRef) = "x";
  on("bstringValue", &M::getbstringobjectByRef);
  on("longValue", &M::getint64ByRef) = 3;
  EXPECT_TRUE(isSet(m, "intList") && isSet(m, "stringValue") && isSet(m, "bstringValue") &&
              isSet(m, "longValue"));
  setPassword(m, "pstringValue", pstring("p", Annotation::BASE64));
  EXPECT_EQ(on("pstringValue", &M::getpstringobject_const)->getEncryptionType(), Annotation::BASE64);
  const FieldDef& password = field(m, "pstringValue");
  m.setbstringobject(password.fieldNumber, password.slot, bstring("q"), tag, password.hash);
  EXPECT_EQ(on("pstringValue", &M::getpstringobject_const)->getEncryptionType(), Annotation::PLAIN_TEXT);
  EXPECT_TRUE(isSet(m, "pstringValue"));
  const FieldDef& object = field(m, "objectValue");
  const auto reference = kwxml::packedReference(object);
  const auto access = [&](bool create, bool mark) {
    return m.getObjectAccessor(create, mark, object.fieldNumber, object.slot, tag, object.hash,
                               static_cast<int>(reference.system), static_cast<int>(reference.classIndex));
  };
  EXPECT_EQ(access(false, false), nullptr);
  YMMessageBase* made = access(true, false);
  ASSERT_NE(made, nullptr);
  EXPECT_FALSE(isSet(m, "objectValue"));
  EXPECT_EQ(access(false, true), made);
  EXPECT_TRUE(isSet(m, "objectValue"));
  YMMessageBase leaf = make("Types_Leaf");
  setInt(leaf, "number", 4);
  m.setObjectAccessor(&leaf, object.fieldNumber, object.slot, tag, object.hash);
  EXPECT_TRUE(*access(false, false) == leaf);

  m.setObject(object.fieldNumber, object.slot, access(false, false), true, tag, object.hash, true);
  EXPECT_TRUE(*access(false, false) == leaf) << "the stored object stored again stays";
  m.setObject(object.fieldNumber, object.slot, new YMMessageBase(leaf), true, tag, object.hash, false);
  EXPECT_FALSE(isSet(m, "objectValue"));
  const FieldDef& leafList = field(m, "objectList");
  EXPECT_EQ(m.getObjectAccessor(true, true, leafList.fieldNumber, object.slot, tag, object.hash,
                                static_cast<int>(reference.system), static_cast<int>(reference.classIndex)),
            access(false, false))
      << "the slot is trusted, the field number marks";
  EXPECT_TRUE(isSet(m, "objectList"));
  m.unsetField(leafList.fieldNumber, tag, leafList.hash);
  m.setField(object.fieldNumber, tag, object.hash);

  const FieldDef& none = field(m, "noneValue");  // carries no field number of its own
  const auto position = static_cast<short>(&none - m.getClass()->fields);
  m.setField(position, tag, none.hash);
  setInt(m, "intValue", 1);
  m.deleteMember(position, tag, none.hash, false);
  EXPECT_FALSE(m.isSet(position, tag, none.hash));
  EXPECT_TRUE(isSet(m, "intValue"));
  m.unsetField(field(m, "intValue").fieldNumber, tag, 0);

  Transcript log(logs);
  m.setMemberTestBit("objectValue", false);
  EXPECT_FALSE(isSet(m, "objectValue"));
  m.setMemberTestBit("objectValue", true);
  m.setPrimitiveBitValue(field(m, "intValue").fieldNumber, true);
  EXPECT_TRUE(isSet(m, "intValue"));
  m.setPrimitiveBitValue(field(m, "ulonglongValue").fieldNumber,
                         true);  // counts as a list type, as encodings have it
  m.setPrimitiveBitValue(99, true);
}

TEST(Accessors, PasswordsObjectsAndNumbersByReference)
{
  Transcript log(logs);
  YMMessageBase m = make("Types_Strings");
  const unsigned long tag = m.getTagID();
  const FieldDef& password = field(m, "secret");
  const FieldDef& object = field(m, "bytes");
  const FieldDef& text = field(m, "narrow");
  const short far = 99;
  pstring*& held = m.getpstringobject(password.fieldNumber, password.slot, tag, password.hash);
  EXPECT_FALSE(isSet(m, "secret"));
  m.getpstringobjectByRef(password.fieldNumber, password.slot, tag, password.hash) =
      pstring("p", Annotation::BASE64);
  ASSERT_NE(held, nullptr);
  EXPECT_EQ(held->getEncryptionType(), Annotation::BASE64);
  EXPECT_TRUE(isSet(m, "secret"));
  EXPECT_EQ(m.getObject_const(password.fieldNumber, password.slot, tag, password.hash), held);
  log.note("what is stored where no field of that type is");
  const YMMessageBase before = m;
  m.getpstringobjectByRef(far, 0, tag, 0) = pstring("q");
  m.getbstringobjectByRef(far, 0, tag, 0) = bstring("q");
  m.getint64ByRef(text.fieldNumber, text.slot, tag, text.hash) = 7;
  m.getstringByRef(password.fieldNumber, password.slot, tag, password.hash) = "q";
  EXPECT_EQ(m.getObject_const(far, 0, tag, 0), nullptr);
  EXPECT_EQ(m.getObjectAccessor(true, true, far, 0, tag, 0, 60, 1), nullptr);
  m.setObject(object.fieldNumber, password.slot, held, false, tag, object.hash, true);
  EXPECT_TRUE(m == before);
  log.note("members of old");
  m.setcdataobject(0, 0, m.getcdataobject(0, 0, tag, 0), tag, 0);
  (void)std::as_const(m).getcdataobject_const(0, 0, tag, 0);
  EXPECT_EQ(m.getLastErrorEnglishStrW().length(), 0U);
  int count = -1;
  EXPECT_TRUE(YMMessageBase::getNumberOfFields(tag, count));
  EXPECT_EQ(count, m.getNumberOfFields());
  EXPECT_FALSE(YMMessageBase::getNumberOfFields(noTag, count));
  EXPECT_EQ(FieldDef::convertFieldToTypeString(FIELD_LIST_INT), FieldDef::getFieldTypeName(FIELD_LIST_INT));
  m.initialize(1, 0, false, nullptr, 0);
  EXPECT_TRUE(m == YMMessageBase(1, 0)) << "begun anew, of another class";
}

TEST(Accessors, ForeignTagsFindTheFieldByItsFormerName)
{
  const TempDirectory folder;
  std::string problems;
  const auto registry = kwxml::Registry::fromSchemas(
      {folder.write("Old.xml",
                    "<catalogue><system name=\"Old\" index=\"61\"><message name=\"M\" id=\"1\">"
                    "<field name=\"a\" type=\"int\"/><field name=\"now\" type=\"int\" formerly=\"before\"/>"
                    "</message><message name=\"N\" id=\"2\"><field name=\"a\" type=\"int\" "
                    "formerly=\"other\"/></message></system></catalogue>")},
      problems);
  ASSERT_NE(registry, nullptr) << problems;
  const kwxml::UsingCatalogue scope(*registry);
  LogCapture log;
  YMMessageBase m(61, 0);
  m.setint64(0, 0, 7, noTag, kwxml::nameHash("before", 6));
  EXPECT_EQ(getInt(m, "now"), 7);
  EXPECT_EQ(m.getint64(0, noTag, kwxml::nameHash("before", 6)), 7);
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(m.getint64(0, noTag, kwxml::nameHash("other", 5)), 0) << "that of another class";
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST(Accessors, OwnTagAccessAndLookUpsAllocateNothing)
{
  YMMessageBase m = make("Demo_Item");
  const FieldDef& price = field(m, "price");
  const FieldDef& color = field(m, "color");
  const std::string name = "price";
  const AllocationCounter counter;
  m.setdouble(price.fieldNumber, price.slot, 2.5, m.getTagID(), price.hash);
  m.setint64(color.fieldNumber, color.slot, 2, m.getTagID(), color.hash);
  m.setint64(color.fieldNumber, 0, 1, 0xC9000001, color.hash);
  EXPECT_EQ(m.getint64(color.slot, m.getTagID(), color.hash), 1);
  EXPECT_TRUE(m.isSet(price.fieldNumber, m.getTagID(), price.hash));
  const _ClassDef* cls = YMMessageBase::GetClassDef(m.getTagID());
  EXPECT_EQ(YMMessageBase::getFieldNumberFromName(cls, name), 1);
  EXPECT_EQ(counter.count(), 0u);
}
