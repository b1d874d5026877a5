// The sample catalogue as it is linked: fixed contents, and what holds for the tables of every catalogue.
#include <kwxml/model/Metadata.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Chooser = XML_KWMessage_MessageSystemChooser;

const MessageSystemRow& row(int system)
{
  return Chooser::msgSysStruct[system];
}

const _ClassDef& classNamed(int system, std::string_view name)
{
  for (int i = 0; i < row(system).numberOfClasses; ++i) {
    const _ClassDef& cls = row(system).classes[i];
    if (cls.name != nullptr && name == cls.name) {
      return cls;
    }
  }
  ADD_FAILURE() << "no class " << name;
  return row(1).classes[0];
}

/// A field as text: packed references, name, type, slot, hash, annotation bytes.
std::string describe(const FieldDef& field)
{
  char text[64];
  std::string out;
  for (int i = 0; i < FieldDef::packedReferences(field.type); ++i) {
    const kwxml::PackedReference reference = kwxml::packedReference(field, i);
    std::snprintf(text, sizeof text, "%02X%06X ", reference.system, reference.classIndex);
    out += text;
  }
  std::snprintf(text, sizeof text, " type %d slot %d hash 0x%X", field.type, field.slot, field.hash);
  out += field.getName() + std::string(text);
  if (field.annotations != nullptr) {
    out += " [";
    for (int i = 0; i < (field.annotations[0] << 8 | field.annotations[1]); ++i) {
      std::snprintf(text, sizeof text, "%02X", field.annotations[i]);
      out += text;
    }
    out += "]";
  }
  return out;
}

struct ExpectedClass
{
  int system;
  int index;
  const char* name;
  unsigned classId;
  int slots;
  int defaultsIndex;
  std::vector<std::string> fields;
};

TEST(Sample, FixedClasses)
{
  const ExpectedClass expected[] = {
      {1,
       0,
       "Status",
       0x3F0,
       5,
       0,
       {"errorCode type 1 slot 0 hash 0x9CB015", "errorMessage type 8 slot 1 hash 0xB7ECDF"}},
      {1,
       1,
       "Color",
       0x13,
       0,
       -1,
       {"RED type 32 slot 0 hash 0x1",
        "GREEN type 32 slot 0 hash 0x2 [001F000000010027B94D00130474657874000C427269676874"
        "20677265656E]"}},
      {1,
       2,
       "Item",
       0x20,
       7,
       -1,
       {"name type 8 slot 0 hash 0x337A8B", "price type 11 slot 4 hash 0x5FB149",
        "01000001 color type 10 slot 5 hash 0xA72F63", "tags type 20 slot 6 hash 0x363419"}},
      {2,
       0,
       "Order",
       0x10,
       2,
       -1,
       {"01000002 items type 22 slot 0 hash 0xFDE7C0", "01000000 status type 23 slot 1 hash 0xCDCFF2"}},
      {2, 1, "Ledger", 0x11, 1, -1, {"totals type 37 slot 0 hash 0x448DAF"}},
      {18,
       74,
       "ProcessingInstructionInfo",
       0x454EA9,
       14,
       -1,
       {"requestId type 8 slot 0 hash 0x5C940A", "locale type 8 slot 4 hash 0x960E5A",
        "userName type 8 slot 8 hash 0x1AFCF6", "priority type 1 slot 12 hash 0x8879A4",
        "timeout type 2 slot 13 hash 0xAF4D61"}},
      {20,
       35,
       "EventArgument",
       0x6C3D92,
       7,
       -1,
       {"1200004A processinginstructioninfo type 23 slot 0 hash 0xCAC2C9",
        "position type 1 slot 1 hash 0x929929", "14000001 type type 10 slot 2 hash 0x368F3A",
        "data type 8 slot 3 hash 0x2EEFAA"}},
  };
  for (const ExpectedClass& want : expected) {
    SCOPED_TRACE(want.name);
    ASSERT_GT(row(want.system).numberOfClasses, want.index);
    const _ClassDef& cls = row(want.system).classes[want.index];
    EXPECT_STREQ(cls.name, want.name);
    EXPECT_EQ(cls.classId, want.classId);
    EXPECT_EQ(cls.numberOfSlots, want.slots);
    EXPECT_EQ(cls.defaultsIndex, want.defaultsIndex);
    std::vector<std::string> fields;
    for (const FieldDef& field : cls) {
      fields.push_back(describe(field));
    }
    EXPECT_EQ(fields, want.fields);
  }
}

TEST(Sample, RegistryRows)
{
  const std::vector<std::string> expected = {"1 Demo 3 eager",   "2 Shop 2 eager",      "12 Inventory 9",
                                             "18 KwEntities 75", "20 Common 36",        "31 Legacy 4 eager",
                                             "60 Types 18",      "119 MonitoringHost 6"};
  std::vector<std::string> rows;
  for (int i = 0; i < Chooser::numberOfSystems; ++i) {
    if (row(i).name != nullptr) {
      rows.push_back(std::to_string(i) + " " + row(i).name + " " + std::to_string(row(i).numberOfClasses) +
                     (row(i).eager != 0 ? " eager" : ""));
    } else {
      EXPECT_EQ(row(i).classes, nullptr);
      EXPECT_EQ(row(i).numberOfClasses, 0);
    }
  }
  EXPECT_EQ(rows, expected);
}

TEST(Sample, Defaults)
{
  const auto run = [](int system, const _ClassDef& cls) {
    std::vector<std::string> entries;
    const kwxml::DefaultValue* entry = row(system).defaults + cls.defaultsIndex;
    for (; entry->text != nullptr; ++entry) {
      entries.push_back(std::string(cls.fields[entry->fieldNumber].getName()) + "=" + entry->text);
    }
    EXPECT_EQ(entry->fieldNumber, kwxml::DefaultValue::noField);
    return entries;
  };
  EXPECT_EQ(run(1, classNamed(1, "Status")), std::vector<std::string>{"errorCode=0"});
  EXPECT_EQ(run(60, classNamed(60, "Hidden")),
            (std::vector<std::string>{"before=1", "secret=2", "after=3", "bytes=xyz", "flag=false"}));
  EXPECT_EQ(run(31, classNamed(31, "Defaults")),
            (std::vector<std::string>{
                "intValue=-7", "uintValue=4294967295", "longValue=-9000000000", "ulongValue=16",
                "longlongValue=9223372036854775807", "ulonglongValue=12", "boolValue=true",
                "stringValue=text \"quoted\" \xC3\xBC?\?/", "enumValue=1", "doubleValue=2.5",
                "floatValue=-0.125", "bytesValue=bytes", "time32Value=86400", "time64Value=1700000000"}));
  EXPECT_EQ(row(2).defaults[0].fieldNumber, kwxml::DefaultValue::noField);
  EXPECT_EQ(row(2).defaults[0].text, nullptr);
}

TEST(Sample, UsesEveryTypeThatASchemaCanName)
{
  std::set<int> types;
  for (const FieldDef& field : classNamed(60, "AllTypes")) {
    types.insert(field.type);
  }
  std::set<int> expected;
  for (int type = 0; type < static_cast<int>(kwxml::fieldTypeCount); ++type) {
    if (type != FIELD_RESERVED && type != FIELD_ENUMERATOR && type != FIELD_INT64) {
      expected.insert(type);
    }
  }
  EXPECT_EQ(types, expected);
}

TEST(Sample, StorageShapes)
{
  EXPECT_EQ(classNamed(60, "Slots24").numberOfSlots, 24);
  EXPECT_EQ(classNamed(60, "Slots25").numberOfSlots, 25);
  const _ClassDef& straddle = classNamed(60, "Straddle");
  EXPECT_EQ(straddle.fields[22].slot, 22);
  EXPECT_EQ(straddle.fields[23].slot, 26);
  std::vector<int> slots;
  for (const FieldDef& field : classNamed(60, "ExplicitSlots")) {
    slots.push_back(field.slot);
  }
  EXPECT_EQ(slots, (std::vector<int>{6, 0, 1, 10}));
  EXPECT_EQ(classNamed(60, "ExplicitSlots").numberOfSlots, 11);
  EXPECT_EQ(classNamed(60, "Empty").fields, nullptr);
}

TEST(Sample, AnnotationRecords)
{
  const std::pair<const char*, const char*> expected[] = {
      {"dateTime", "[0005010000]"},
      {"dateOnly", "[0005020000]"},
      {"daySeconds", "[0005080000]"},
      {"cdataText", "[0005000080]"},
      {"marked", "[0005008000]"},
      {"password1", "[0005100000]"},
      {"password11", "[0005B00000]"},
      {"suppressed", "[000C0000000100B90AD50000]"},
      {"single", "[000C008000010084A2E70000]"},
      {"command",
       "[001D0000000100897422001"
       "10A75736544656661756C74000474727565]"},
  };
  for (const auto& [name, record] : expected) {
    for (const FieldDef& field : classNamed(60, "Annotated")) {
      if (std::strcmp(field.getName(), name) == 0) {
        const std::string text = describe(field);
        EXPECT_EQ(text.substr(text.find('[')), record) << name;
      }
    }
  }
}

const _ClassDef* referenced(const FieldDef& field, int which)
{
  const kwxml::PackedReference reference = kwxml::packedReference(field, which);
  if (reference.system >= Chooser::numberOfSystems ||
      reference.classIndex >= row(reference.system).numberOfClasses) {
    return nullptr;
  }
  return &row(static_cast<int>(reference.system)).classes[reference.classIndex];
}

void checkFields(const _ClassDef& cls)
{
  std::set<int> usedSlots;
  for (const FieldDef& field : cls) {
    SCOPED_TRACE(field.getName());
    const auto position = static_cast<int>(&field - cls.fields);
    EXPECT_EQ(field.fieldNumber, field.type == FIELD_UNSET ? 0 : position);
    EXPECT_EQ(field.reserved, 0U);
    EXPECT_EQ(field.type == FIELD_ENUMERATOR, cls.isEnum());
    if (!cls.isEnum() && field.hash != 0) {
      EXPECT_EQ(field.hash, kwxml::nameHash(field.getName(), std::strlen(field.getName())));
    }
    for (int i = 0; i < kwxml::fieldTypeInfo(field.type).slots; ++i) {
      EXPECT_TRUE(usedSlots.insert(field.slot + i).second);
      EXPECT_LT(field.slot + i, cls.numberOfSlots);
    }
    for (int i = 0; i < FieldDef::packedReferences(field.type); ++i) {
      const _ClassDef* target = referenced(field, i);
      ASSERT_NE(target, nullptr);
      ASSERT_NE(target->name, nullptr);
      EXPECT_EQ(target->isEnum(), field.type == FIELD_ENUM || field.type == FIELD_LIST_ENUM);
    }
  }
}

TEST(Tables, HoldWhatLookupsCountOn)
{
  for (int system = 0; system < Chooser::numberOfSystems; ++system) {
    const MessageSystemRow& table = row(system);
    SCOPED_TRACE(table.name != nullptr ? table.name : "");
    const int count = table.numberOfClasses;
    const auto byId = [](const kwxml::ClassIdIndex& a, const kwxml::ClassIdIndex& b) {
      return a.classId < b.classId;
    };
    EXPECT_TRUE(std::is_sorted(table.classIds, table.classIds + count, byId));
    std::set<int> reachable;
    for (int i = 0; i < count; ++i) {
      const kwxml::ClassIdIndex& entry = table.classIds[i];
      ASSERT_TRUE(entry.classIndex >= 0 && entry.classIndex < count);
      EXPECT_EQ(table.classes[entry.classIndex].classId, entry.classId);
      reachable.insert(entry.classIndex);
    }
    for (int i = 0; i < count; ++i) {
      // No identifier leads to a record without a name, one leads to every other.
      EXPECT_EQ(reachable.contains(i), table.classes[i].name != nullptr) << i;
      checkFields(table.classes[i]);
    }
  }
}

TEST(Tables, XPathsAreSortedAndLeadToAField)
{
  const XPathDataRow& data = Chooser::xpathData[0];
  ASSERT_EQ(data.system, 12);
  ASSERT_EQ(data.count, 47);
  const auto byId = [](const XPathIDHelper& a, const XPathIDHelper& b) { return a.id < b.id; };
  EXPECT_TRUE(std::is_sorted(data.idToFieldsInfo, data.idToFieldsInfo + data.count, byId));
  const auto byText = [](const XPathIDToXPath& a, const XPathIDToXPath& b) {
    return std::strcmp(a.xpath, b.xpath) < 0;
  };
  EXPECT_TRUE(std::is_sorted(data.idToXPath, data.idToXPath + data.count, byText));
  EXPECT_EQ(data.idToXPath[data.count].xpath, nullptr);
  EXPECT_EQ(data.fieldsInfo[data.count].fieldIndices, nullptr);

  for (int i = 0; i < data.count; ++i) {
    const XPathIDToXPath& entry = data.idToXPath[i];
    const auto* helper =
        std::find_if(data.idToFieldsInfo, data.idToFieldsInfo + data.count,
                     [&](const auto& h) { return static_cast<std::uint32_t>(h.id) == entry.id; });
    const kwxml::XPathFieldsInfo& info = data.fieldsInfo[helper->fieldsInfoIndex];
    const _ClassDef* cls = &classNamed(12, entry.id >= 1000 ? "Sheet" : "Stock");
    std::string path;
    for (int level = 0; level < info.depth; ++level) {
      ASSERT_LT(info.fieldIndices[level], cls->numberOfFields);
      const FieldDef& field = cls->fields[info.fieldIndices[level]];
      if (level + 1 < info.depth) {
        path += std::string(field.getName()) + "[1]/";
        cls = referenced(field, 0);
      } else {
        path += (kwxml::fieldTypeInfo(field.type).element == FIELD_UNSET ? "@" : "") +
                std::string(field.getName());
      }
    }
    EXPECT_EQ(path, entry.xpath);
  }

  const XPathDataRow& end = Chooser::xpathData[1];
  EXPECT_EQ(end.system, 0);
  EXPECT_EQ(end.count, -1);
  EXPECT_EQ(end.fieldsInfo, nullptr);
}

}  // namespace
