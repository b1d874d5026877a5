// The registry's look-ups, the type predicates and schema texts.
#include "support/DataFile.h"
#include "support/Messages.h"

#include <gtest/gtest.h>

using namespace kwxml::test;

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
  expectRows("model/lookups.cases", "types",
             [&](const Lines& cells) { return described(std::stoi(cells[0])); });
  for (int number = 44; number < 256; ++number) {
    EXPECT_EQ(described(number), described(43)) << number;
  }
  EXPECT_STREQ(FieldDef::getFieldTypeName(FIELD_UNSET), "Unknown Type ");
  EXPECT_STREQ(FieldDef::getFieldTypeName(FIELD_LIST_ULONGLONG), "Unknown Type ");
  EXPECT_STREQ(FieldDef::getFieldTypeName(FIELD_PSTRING), "bstring");
}

namespace {

std::string lookedUp(const Lines& cells)
{
  using M = YMMessageBase;
  const auto number = [&](std::size_t i) { return std::stol(cells[i], nullptr, 0); };
  short system = 0;
  int index = -1;
  if (cells[0] == "system") {
    return M::getMessageSystemIndexFromName(cells[1].c_str(), system) ? std::to_string(system) : "none";
  }
  auto tag = static_cast<unsigned long>(number(1));
  if (cells[0] == "tag") {
    const bool found = M::getIndicesFromTagID(system, index, tag);
    EXPECT_EQ(M::GetClassDef(tag) != nullptr, found);
    return M::getTagNameFromTagID(tag) + ", system " + std::to_string(system) + ", class " +
           (found ? std::to_string(index) : "none");
  }
  if (cells[0] == "field") {
    return std::to_string(M::getFieldNumberFromName(M::GetClassDef(tag), cells[2].c_str()));
  }
  system = static_cast<short>(tag);
  if (cells[0] == "value") {
    return M::getEnumString(system, cells[2].c_str(), static_cast<int>(number(3)));
  }
  if (cells[0] == "class") {
    return M::getMessageIndexFromName(cells[2].c_str(), system, index) ? std::to_string(index) : "none";
  }
  index = static_cast<int>(number(2));
  const _ClassDef* cls = M::GetClassDef(system, index);
  const bool found = M::getTagIDFromIndices(system, static_cast<short>(index), tag);
  return (cls != nullptr ? cls->name : "no class") + (found ? ", tag " + std::to_string(tag) : ", no tag");
}

}  // namespace

TEST(LookUps, NamesTagsAndIndices)
{
  expectRows("model/lookups.cases", "look-ups", lookedUp);
  short system = 0;
  EXPECT_FALSE(YMMessageBase::getMessageSystemIndexFromName(nullptr, system));
  EXPECT_EQ(YMMessageBase::getFieldNumberFromName(nullptr, "x"), -1);
}

TEST(LookUps, EveryTagResolvesBothWays)
{
  for (short s = 1; s < 206; ++s) {
    const MessageSystemRow& row = XML_KWMessage_MessageSystemChooser::msgSysStruct[s];
    for (short i = 0; i < row.numberOfClasses; ++i) {
      unsigned long tag = 0;
      ASSERT_TRUE(YMMessageBase::getTagIDFromIndices(s, i, tag));
      if (row.classes[i].name != nullptr) {
        short system = 0;
        int index = 0;
        ASSERT_TRUE(YMMessageBase::getIndicesFromTagID(system, index, tag)) << row.name << i;
        EXPECT_TRUE(system == s && index == i) << tag;
        EXPECT_EQ(YMMessageBase::getTagNameFromTagID(tag), std::string(row.name) + "_" + row.classes[i].name);
      }
    }
  }
}

TEST(LookUps, EnumerationsOfFields)
{
  Transcript log("model/log.cases");
  const YMMessageBase item = make("Demo_Item");
  const FieldDef& color = field(item, "color");
  EXPECT_TRUE(FieldDef::isValidEnumValue(color, 2));
  EXPECT_FALSE(FieldDef::isValidEnumValue(color, 0) || FieldDef::isValidEnumValue(field(item, "price"), 2));
  FieldDef broken = color;
  broken.name =
      "\xCE\x00\x00\x01"
      "broken";
  EXPECT_FALSE(FieldDef::isValidEnumValue(broken, 2));
  EXPECT_EQ(YMMessageBase::GetClassDefFromClassID(color), YMMessageBase::GetClassDef(0x01000013));
  EXPECT_EQ(YMMessageBase::GetClassDefFromClassID(broken), nullptr);
  EXPECT_EQ(YMMessageBase::GetClassDefFromClassID(reinterpret_cast<const unsigned long*>(broken.name)),
            nullptr);
}

TEST(LookUps, XPathRowsAndOldWaySystems)
{
  EXPECT_NE(YMMessageBase::getXPathData(12), nullptr);
  EXPECT_TRUE(!YMMessageBase::getXPathData(2) && !YMMessageBase::getXPathData(22)) << "the last is no system";
  EXPECT_TRUE(YMMessageBase::isOldWay(0x010003F0) && YMMessageBase::isOldWay(0xC9000000) &&
              !YMMessageBase::isOldWay(0x3C000000));
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
  expectRows("model/lookups.cases", "schemas", [](const Lines& cells) {
    const bool whole = cells.size() > 1;
    std::string schema;
    EXPECT_TRUE(YMMessageBase::getMessageSchemaString(make(cells[0]).getTagID(), schema, whole, whole));
    EXPECT_TRUE(schema.ends_with('\n'));
    return schema;
  });
}
