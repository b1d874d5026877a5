// The sample catalogue as it is linked: fixed contents, and what holds for the tables of every catalogue.
#include <kwxml/model/Metadata.h>

#include "support/DataFile.h"
#include "support/Messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iomanip>
#include <set>
#include <span>
#include <sstream>
#include <string_view>

namespace {

using Chooser = XML_KWMessage_MessageSystemChooser;

const MessageSystemRow& row(int system)
{
  return Chooser::msgSysStruct[system];
}

/// A field as text: packed references, name, type, slot, hash, annotation bytes.
void describe(const FieldDef& field, std::ostream& out)
{
  out << std::hex << std::uppercase << std::setfill('0') << " ";
  for (int i = 0; i < FieldDef::packedReferences(field.type); ++i) {
    const kwxml::PackedReference reference = kwxml::packedReference(field, i);
    out << " " << std::setw(2) << reference.system << std::setw(6) << reference.classIndex;
  }
  out << " " << field.getName() << std::dec << " type " << int{field.type} << " slot " << field.slot
      << " hash 0x" << std::hex << field.hash;
  const unsigned char* const record = field.annotations;
  for (int i = 0; record != nullptr && i < (record[0] << 8 | record[1]); ++i) {
    out << (i == 0 ? " annotations " : "") << std::setw(2) << int{record[i]};
  }
  out << std::dec << "\n";
}

/// The tables of a system as text.
void describe(const MessageSystemRow& table, std::ostream& out)
{
  for (int i = 0; i < table.numberOfClasses; ++i) {
    const _ClassDef& cls = table.classes[i];
    if (cls.name == nullptr) {
      continue;
    }
    out << "class " << i << " " << cls.name << " id 0x" << std::hex << std::uppercase << cls.classId
        << std::dec << " slots " << cls.numberOfSlots << "\n";
    for (const FieldDef& field : cls) {
      describe(field, out);
    }
    if (cls.defaultsIndex >= 0) {
      const kwxml::DefaultValue* entry = table.defaults + cls.defaultsIndex;
      out << "  defaults at " << cls.defaultsIndex << "\n";
      for (; entry->text != nullptr; ++entry) {
        out << "    " << cls.fields[entry->fieldNumber].getName() << " = " << entry->text << "\n";
      }
      EXPECT_EQ(entry->fieldNumber, kwxml::DefaultValue::noField);
    }
  }
}

void describe(const XPathDataRow& data, std::ostream& out)
{
  const std::span ids(data.idToFieldsInfo, static_cast<std::size_t>(data.count));
  const std::span paths(data.idToXPath, ids.size());
  EXPECT_TRUE(std::ranges::is_sorted(ids, {}, &XPathIDHelper::id));
  EXPECT_TRUE(
      std::ranges::is_sorted(paths, {}, [](const auto& path) { return std::string_view(path.xpath); }));
  EXPECT_EQ(data.idToXPath[data.count].xpath, nullptr);
  EXPECT_EQ(data.fieldsInfo[data.count].fieldIndices, nullptr);
  for (const XPathIDToXPath& path : paths) {
    out << path.xpath << " id " << path.id << " fields";
    const auto id = std::ranges::find(ids, static_cast<std::int32_t>(path.id), &XPathIDHelper::id);
    ASSERT_NE(id, ids.end());
    const kwxml::XPathFieldsInfo& info = data.fieldsInfo[id->fieldsInfoIndex];
    for (const std::int16_t index : std::span(info.fieldIndices, static_cast<std::size_t>(info.depth))) {
      out << " " << index;
    }
    out << "\n";
  }
}

TEST(Sample, Tables)
{
  std::ostringstream text;
  text
      << "Each system with its classes, their fields and defaults; the classes that a field refers to stand\n"
         "before its name, two digits of the system and six of the class's index.\n";
  for (int system = 0; system < Chooser::numberOfSystems; ++system) {
    if (row(system).name != nullptr) {
      text << "\nsystem " << system << " " << row(system).name << (row(system).eager != 0 ? " eager" : "")
           << ": " << row(system).numberOfClasses << " classes\n";
      describe(row(system), text);
    } else {
      EXPECT_TRUE(row(system).classes == nullptr && row(system).numberOfClasses == 0) << system;
    }
  }
  EXPECT_EQ(row(2).defaults[0].fieldNumber, kwxml::DefaultValue::noField);
  EXPECT_EQ(row(2).defaults[0].text, nullptr);
  const XPathDataRow* data = Chooser::xpathData;
  for (; data->system != 0; ++data) {
    text << "\n" << data->count << " xpaths of system " << data->system << "\n";
    describe(*data, text);
  }
  EXPECT_TRUE(data->count == -1 && data->fieldsInfo == nullptr);

  kwxml::test::expectGolden("catalogue/sample.txt", text.str());
}

TEST(Sample, UsesEveryTypeThatASchemaCanName)
{
  std::set<int> types;
  for (const FieldDef& field : *kwxml::test::make("Types_AllTypes").getClass()) {
    types.insert(field.type);
  }
  for (int type = 0; type < static_cast<int>(kwxml::fieldTypeCount); ++type) {
    EXPECT_EQ(types.contains(type), type != FIELD_RESERVED && type != FIELD_ENUMERATOR && type != FIELD_INT64)
        << type;
  }
}

void checkFields(const _ClassDef& cls)
{
  std::set<int> usedSlots;
  EXPECT_EQ(cls.fields == nullptr, cls.numberOfFields == 0);
  for (const FieldDef& field : cls) {
    SCOPED_TRACE(field.getName());
    EXPECT_EQ(field.fieldNumber, field.type == FIELD_UNSET ? 0 : &field - cls.fields);
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
      const kwxml::PackedReference reference = kwxml::packedReference(field, i);
      const _ClassDef* target = kwxml::findClass(reference.system, reference.classIndex);
      ASSERT_TRUE(target != nullptr && target->name != nullptr);
      EXPECT_EQ(target->isEnum(), field.type == FIELD_ENUM || field.type == FIELD_LIST_ENUM);
    }
  }
}

TEST(Tables, HoldWhatLookupsCountOn)
{
  for (int system = 0; system < Chooser::numberOfSystems; ++system) {
    const MessageSystemRow& table = row(system);
    SCOPED_TRACE(table.name != nullptr ? table.name : "");
    const std::span ids(table.classIds, static_cast<std::size_t>(table.numberOfClasses));
    EXPECT_TRUE(std::ranges::is_sorted(ids, {}, &kwxml::ClassIdIndex::classId));
    std::set<int> reachable;
    for (const kwxml::ClassIdIndex& entry : ids) {
      ASSERT_TRUE(entry.classIndex >= 0 && entry.classIndex < table.numberOfClasses);
      EXPECT_EQ(table.classes[entry.classIndex].classId, entry.classId);
      reachable.insert(entry.classIndex);
    }
    for (int i = 0; i < table.numberOfClasses; ++i) {
      // No identifier leads to a record without a name, one leads to every other.
      EXPECT_EQ(reachable.contains(i), table.classes[i].name != nullptr) << i;
      checkFields(table.classes[i]);
    }
  }
}

}  // namespace
