// The registry's look-ups, the type predicates and schema texts.
#include "support/Messages.h"
#include "support/Rows.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace kwxml::test;

namespace {

const std::string logs = "model/log.rows";

}  // namespace

TEST(LookUps, TypePredicatesAreTheirIrregularSets)
{
  const auto described = [](int number) {
    const auto type = static_cast<FieldDataType>(number);
    const auto storage = kwxml::fieldTypeInfo(type).storage;
    std::string text = storage == kwxml::Storage::InPlace ? "in place" : "";
    text += storage == kwxml::Storage::Object ? "object" : storage == kwxml::Storage::None ? "nowhere" : "";
    text += kwxml::isPrimitiveType(type) ? ", primitive" : "";
    text += kwxml::isListType(type) ? ", list" : "";
    text += kwxml::isCollectionType(type) ? ", collection" : "";
    if (FieldDef::isMapType(type) || FieldDef::getMapKeyType(type) + FieldDef::getMapValueType(type) != 0) {
      text += FieldDef::isMapType(type) ? ", map" : ", no map";
      text += " from " + std::to_string(FieldDef::getMapKeyType(type));
      text += " to " + std::to_string(FieldDef::getMapValueType(type));
    }
    return text;
  };
  expectRows("model/schemas.rows", "types",
             [&](const Lines& cells) -> Lines { return {described(std::stoi(cells[0]))}; });
  for (int number = 44; number < 256; ++number) {
    EXPECT_EQ(described(number), described(43)) << number;
  }
  EXPECT_STREQ(FieldDef::getFieldTypeName(FIELD_UNSET), "Unknown Type ");
  EXPECT_STREQ(FieldDef::getFieldTypeName(FIELD_LIST_ULONGLONG), "Unknown Type ");
  EXPECT_STREQ(FieldDef::getFieldTypeName(FIELD_PSTRING), "bstring");
}

TEST(LookUps, TagsResolveBothWaysOrNotAtAll)
{
  Transcript log(logs);
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
  }
}

TEST(LookUps, NamesAreExactAndEnumerationsAreSearchedByName)
{
  Transcript log(logs);
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
  EXPECT_STREQ(YMMessageBase::getEnumString(1, "Color", 3), "");
  EXPECT_STREQ(YMMessageBase::getEnumString(206, "Color", 1), "");

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
  EXPECT_EQ(YMMessageBase::GetClassDefFromClassID(field), color);
  EXPECT_EQ(YMMessageBase::GetClassDefFromClassID(broken), nullptr);
  EXPECT_EQ(YMMessageBase::GetClassDefFromClassID(reinterpret_cast<const unsigned long*>(broken.name)),
            nullptr);
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
  expectRows("model/schemas.rows", "schemas", [](const Lines& cells) {
    const bool whole = cells.size() > 1;
    std::string schema;
    EXPECT_TRUE(YMMessageBase::getMessageSchemaString(make(cells[0]).getTagID(), schema, whole, whole));
    std::istringstream in(schema);
    Lines lines;
    for (std::string line; std::getline(in, line);) {
      lines.push_back(line.empty() ? "(nothing)" : shown(line));
    }
    EXPECT_TRUE(schema.ends_with('\n'));
    return lines;
  });
}
