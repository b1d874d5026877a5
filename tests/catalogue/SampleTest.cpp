// The sample catalogue as it is linked: fixed contents, and what holds for the tables of every catalogue.
#include <kwxml/model/Metadata.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
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

const _ClassDef* referenced(const FieldDef& field, int which)
{
  const kwxml::PackedReference reference = kwxml::packedReference(field, which);
  return kwxml::findClass(reference.system, reference.classIndex);
}

/// A field as text: packed references, name, type, slot, hash, annotation bytes.
std::string describe(const FieldDef& field)
{
  std::ostringstream out;
  out << std::hex << std::uppercase << std::setfill('0');
  for (int i = 0; i < FieldDef::packedReferences(field.type); ++i) {
    const kwxml::PackedReference reference = kwxml::packedReference(field, i);
    out << std::setw(2) << reference.system << std::setw(6) << reference.classIndex << " ";
  }
  out << field.getName() << std::dec << " type " << int{field.type} << " slot " << field.slot << " hash 0x"
      << std::hex << field.hash;
  const unsigned char* const record = field.annotations;
  for (int i = 0; record != nullptr && i < (record[0] << 8 | record[1]); ++i) {
    out << (i == 0 ? " annotations " : "") << std::setw(2) << int{record[i]};
  }
  return out.str();
}

/// The tables of a system as text.
void describe(int system, std::ostream& out)
{
  const MessageSystemRow& table = row(system);
  out << "\nsystem " << system << " " << table.name << (table.eager != 0 ? " eager" : "") << ": "
      << table.numberOfClasses << " classes\n";
  for (int i = 0; i < table.numberOfClasses; ++i) {
    const _ClassDef& cls = table.classes[i];
    if (cls.name == nullptr) {
      continue;
    }
    out << "class " << i << " " << cls.name << " id 0x" << std::hex << std::uppercase << cls.classId
        << std::dec << " slots " << cls.numberOfSlots << "\n";
    for (const FieldDef& field : cls) {
      out << "  " << describe(field) << "\n";
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

// Against sample.txt; with KWXML_UPDATE=1 in the environment the file is written instead.
TEST(Sample, Tables)
{
  const char* const path = KWXML_SOURCE_DIR "/tests/catalogue/sample.txt";
  std::ostringstream text;
  text << "Each system with its classes, their fields and defaults. Before a field's name are the classes to "
          "which\n"
          "it refers: two digits of the system, six of the class's index.\n";
  for (int system = 0; system < Chooser::numberOfSystems; ++system) {
    if (row(system).name != nullptr) {
      describe(system, text);
    } else {
      EXPECT_EQ(row(system).classes, nullptr);
      EXPECT_EQ(row(system).numberOfClasses, 0);
    }
  }
  if (std::getenv("KWXML_UPDATE") != nullptr) {
    std::ofstream(path) << text.str();
  }
  std::ostringstream expected;
  expected << std::ifstream(path).rdbuf();
  EXPECT_EQ(text.str(), expected.str());
  EXPECT_EQ(row(2).defaults[0].fieldNumber, kwxml::DefaultValue::noField);
  EXPECT_EQ(row(2).defaults[0].text, nullptr);
}

TEST(Sample, UsesEveryTypeThatASchemaCanName)
{
  std::set<int> types;
  for (const FieldDef& field : classNamed(60, "AllTypes")) {
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
      const _ClassDef* target = referenced(field, i);
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

TEST(Tables, XPathsAreSortedAndLeadToAField)
{
  const XPathDataRow& data = Chooser::xpathData[0];
  ASSERT_EQ(data.system, 12);
  ASSERT_EQ(data.count, 47);
  const std::span ids(data.idToFieldsInfo, 47);
  const std::span paths(data.idToXPath, 47);
  EXPECT_TRUE(std::ranges::is_sorted(ids, {}, &XPathIDHelper::id));
  EXPECT_TRUE(
      std::ranges::is_sorted(paths, {}, [](const auto& path) { return std::string_view(path.xpath); }));
  EXPECT_EQ(data.idToXPath[data.count].xpath, nullptr);
  EXPECT_EQ(data.fieldsInfo[data.count].fieldIndices, nullptr);

  for (const XPathIDToXPath& entry : paths) {
    const auto helper = std::ranges::find(ids, static_cast<std::int32_t>(entry.id), &XPathIDHelper::id);
    ASSERT_NE(helper, ids.end());
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
