// The registry's look-ups, the type predicates and schema texts.
#include "support/LogCapture.h"
#include "support/Messages.h"

#include <gtest/gtest.h>

#include <set>

using namespace kwxml::test;

TEST(LookUps, TypePredicatesAreTheirIrregularSets)
{
  const std::set<int> notPrimitive{0, 22, 23, 24, 35, 38, 39};
  const std::set<int> lists{6, 13, 14, 15, 16, 17, 19, 20, 21, 22, 26, 27, 28};
  const std::set<int> inPlace{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 41, 42};
  const std::set<int> noStorage{0, 24, 29, 32, 40};
  const int keys[] = {40, 40, 40, 8, 8, 8, 23};
  const int values[] = {40, 8, 23, 40, 8, 23, 23};
  for (int t = 0; t < 256; ++t) {
    SCOPED_TRACE(t);
    const auto type = static_cast<FieldDataType>(t);
    EXPECT_EQ(kwxml::isPrimitiveType(type), notPrimitive.count(t) == 0);
    EXPECT_EQ(kwxml::isListType(type), lists.count(t) != 0);
    EXPECT_EQ(kwxml::isCollectionType(type), lists.count(t) != 0 || t == 30 || (t >= 33 && t <= 39));
    const bool map = t >= 33 && t <= 39;
    EXPECT_EQ(FieldDef::isMapType(type), map);
    EXPECT_EQ(FieldDef::getMapKeyType(type), map ? keys[t - 33] : 0);
    EXPECT_EQ(FieldDef::getMapValueType(type), map ? values[t - 33] : 0);
    const auto storage = kwxml::fieldTypeInfo(type).storage;
    EXPECT_EQ(storage == kwxml::Storage::InPlace, inPlace.count(t) != 0);
    EXPECT_EQ(storage == kwxml::Storage::None, t > 42 || noStorage.count(t) != 0);
  }
  EXPECT_STREQ(FieldDef::getFieldTypeName(FIELD_UNSET), "Unknown Type ");
  EXPECT_STREQ(FieldDef::getFieldTypeName(FIELD_LIST_ULONGLONG), "Unknown Type ");
  EXPECT_STREQ(FieldDef::getFieldTypeName(FIELD_PSTRING), "bstring");
}

TEST(LookUps, TagsResolveBothWaysOrNotAtAll)
{
  LogCapture log;
  short system = 0;
  int index = 0;
  EXPECT_TRUE(YMMessageBase::getIndicesFromTagID(system, index, 0x010003F0));
  EXPECT_EQ(system, 1);
  EXPECT_EQ(index, 0);
  for (const unsigned long tag :
       {0x000003F0ul, 0xCE0003F0ul, 0xFF0003F0ul, 0xCD0003F0ul, 0x01000014ul, 0x01000000ul,
        0x01FFFFFFul}) {  // no system, beyond the last, empty row, between two IDs, outside
    EXPECT_FALSE(YMMessageBase::getIndicesFromTagID(system, index, tag)) << tag;
    EXPECT_EQ(system, static_cast<short>(tag >> 24));
    EXPECT_EQ(YMMessageBase::GetClassDef(tag), nullptr);
    EXPECT_EQ(YMMessageBase::getTagNameFromTagID(tag), "");
  }
  EXPECT_TRUE(log.lines().empty());
  for (int s = 1; s < 206; ++s) {
    const MessageSystemRow& row = XML_KWMessage_MessageSystemChooser::msgSysStruct[s];
    for (short i = 0; i < row.numberOfClasses; ++i) {
      unsigned long tag = 0;
      ASSERT_TRUE(YMMessageBase::getTagIDFromIndices(static_cast<short>(s), i, tag));
      if (row.classes[i].name != nullptr) {
        ASSERT_TRUE(YMMessageBase::getIndicesFromTagID(system, index, tag)) << row.name << i;
        EXPECT_EQ(system, s);
        EXPECT_EQ(index, i);
        EXPECT_EQ(YMMessageBase::getTagNameFromTagID(tag), std::string(row.name) + "_" + row.classes[i].name);
      }
    }
  }
  unsigned long tag = 0;
  EXPECT_FALSE(YMMessageBase::getTagIDFromIndices(206, 0, tag));
  EXPECT_FALSE(YMMessageBase::getTagIDFromIndices(-1, 0, tag));
  EXPECT_FALSE(YMMessageBase::getTagIDFromIndices(1, -1, tag));
  EXPECT_FALSE(YMMessageBase::getTagIDFromIndices(1, 3, tag));
  for (const auto& [s, i] : {std::pair<short, int>{0, 0}, {206, 0}, {1, -1}, {1, 3}, {2, 70000}}) {
    EXPECT_EQ(YMMessageBase::GetClassDef(s, i), nullptr);
    EXPECT_TRUE(log.has("YMMessageBase::GetClassDef",
                        "Unable to retrieve metadata for message with msgSysIndex : [" + std::to_string(s) +
                            "], msgIndex : [" + std::to_string(i) + "]"));
  }
}

TEST(LookUps, NamesAreExactAndEnumerationsAreSearchedByName)
{
  LogCapture log;
  short system = 0;
  int index = 0;
  EXPECT_TRUE(YMMessageBase::getMessageSystemIndexFromName("Shop", system));
  EXPECT_EQ(system, 2);
  EXPECT_FALSE(YMMessageBase::getMessageSystemIndexFromName("shop", system));
  EXPECT_FALSE(YMMessageBase::getMessageSystemIndexFromName(nullptr, system));
  EXPECT_FALSE(YMMessageBase::getMessageSystemIndexFromName("", system));
  system = 2;
  EXPECT_TRUE(YMMessageBase::getMessageIndexFromName("Ledger", system, index));
  EXPECT_EQ(index, 1);
  for (const short wrong : {short{-1}, short{206}, short{0}, short{205}}) {
    system = wrong;
    EXPECT_FALSE(YMMessageBase::getMessageIndexFromName("Ledger", system, index));
  }
  const _ClassDef* color = YMMessageBase::GetClassDef(0x01000013);
  const _ClassDef* status = YMMessageBase::GetClassDef(0x010003F0);
  EXPECT_EQ(YMMessageBase::getFieldNumberFromName(color, "GREEN"), 1);
  EXPECT_EQ(YMMessageBase::getFieldNumberFromName(color, "green"), -1);
  EXPECT_EQ(YMMessageBase::getFieldNumberFromName(status, "errorMessage"), 1);
  EXPECT_EQ(YMMessageBase::getFieldNumberFromName(status, ""), -1);
  EXPECT_EQ(YMMessageBase::getFieldNumberFromName(nullptr, "x"), -1);
  EXPECT_STREQ(YMMessageBase::getEnumString(1, "Color", 2), "GREEN");
  EXPECT_STREQ(YMMessageBase::getEnumString(60, "Level", -3), "BELOW");
  EXPECT_TRUE(log.lines().empty());
  EXPECT_STREQ(YMMessageBase::getEnumString(1, "Color", 3), "");
  EXPECT_TRUE(log.has("YMMessageBase::getEnumString",
                      "Subsystem : [1] :: Enum : [Color] does not have a member with value : [3]"));
  EXPECT_STREQ(YMMessageBase::getEnumString(206, "Color", 1), "");
  EXPECT_TRUE(log.has("YMMessageBase::getEnumString", "Subsystem : [206] does not exist"));

  const YMMessageBase item = make("Demo_Item");
  const FieldDef& field = kwxml::test::field(item, "color");
  EXPECT_TRUE(FieldDef::isValidEnumValue(field, 2));
  EXPECT_FALSE(FieldDef::isValidEnumValue(field, 0));
  EXPECT_FALSE(FieldDef::isValidEnumValue(kwxml::test::field(item, "price"), 2));
  FieldDef broken = field;
  broken.name =
      "\xCE\x00\x00\x01"
      "broken";
  EXPECT_FALSE(FieldDef::isValidEnumValue(broken, 2));
  EXPECT_TRUE(log.has("static bool FieldDef::isValidEnumValue(const FieldDef&, int)",
                      "Error identifying [broken]:[2] as an enum "));
  EXPECT_EQ(YMMessageBase::GetClassDefFromClassID(field), color);
  EXPECT_EQ(YMMessageBase::GetClassDefFromClassID(broken), nullptr);
  EXPECT_TRUE(log.has(
      "YMMessageBase::GetClassDefFromPtrToClassID",
      "Error retrieving metadata with msgSysIndex : [206], msgIndex : [1]. Total_subsystems : [206]"));
  EXPECT_EQ(YMMessageBase::GetClassDefFromClassID(reinterpret_cast<const unsigned long*>(broken.name)),
            nullptr);
  EXPECT_TRUE(log.has(
      "YMMessageBase::GetClassDefFromPtrToClassID",
      "Error retrieving metadata with msgSysIndex : [206], msgIndex : [1]. Total_Subsystems : [206]"));
}

TEST(LookUps, XPathRowsAndOldWaySystems)
{
  EXPECT_NE(YMMessageBase::getXPathData(12), nullptr);
  EXPECT_EQ(YMMessageBase::getXPathData(2), nullptr);
  EXPECT_EQ(YMMessageBase::getXPathData(22), nullptr) << "no such system in this catalogue";
  EXPECT_TRUE(YMMessageBase::isOldWay(0x010003F0));
  EXPECT_TRUE(YMMessageBase::isOldWay(0xC9000000));
  EXPECT_FALSE(YMMessageBase::isOldWay(0x3C000000));
  for (int s = 0; s < 206; ++s) {
    const MessageSystemRow& row = XML_KWMessage_MessageSystemChooser::msgSysStruct[s];
    if (row.name != nullptr) {
      EXPECT_EQ(row.eager == 1, YMMessageBase::isOldWay(static_cast<unsigned long>(s) << 24)) << row.name;
    }
  }
}

TEST(LookUps, SchemaTexts)
{
  std::string text = "kept";
  EXPECT_FALSE(YMMessageBase::getMessageSchemaString(0xC9000001ul, text, true, true));
  EXPECT_FALSE(YMMessageBase::getMessageSchemaString(text, 1, 77, true, true));
  EXPECT_EQ(text, "kept");
  const YMMessageBase hidden = make("Types_Hidden");
  ASSERT_TRUE(YMMessageBase::getMessageSchemaString(hidden.getTagID(), text, false, false));
  EXPECT_EQ(text,
            "Subsystem Name : Types\nSubsystem Id : 60\nMessage Name : Hidden\nMessage Id : 24584\n\n"
            "FIELD TYPE                    \tFIELD NAME                    ID   \tINDEX\n"
            "int                           \tbefore                        0    \t0    \n"
            "string                        \tafter                         2    \t2    \n"
            "bstring                       \tbytes                         4    \t10   \n"
            "bool                          \tflag                          5    \t11   \n");
  ASSERT_TRUE(YMMessageBase::getMessageSchemaString(hidden.getTagID(), text, true, true));
  EXPECT_NE(
      text.find(
          "\nint                           \tsecret                        \t0         \t1    \t1    \n"),
      std::string::npos);
  ASSERT_TRUE(YMMessageBase::getMessageSchemaString(make("Types_Empty").getTagID(), text, true, true));
  EXPECT_EQ(text.substr(text.find("FIELD TYPE")),
            "FIELD TYPE                    \tFIELD NAME                    \tHASH      \tID   \tINDEX\n");
}
