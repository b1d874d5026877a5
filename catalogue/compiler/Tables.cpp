#include "Tables.h"

#include "AnnotationRecord.h"

#include <algorithm>
#include <cstring>
#include <tuple>

namespace kwxml::catalogue {
namespace {

std::string packedReferenceBytes(const Class& cls)
{
  return {static_cast<char>(cls.system->index), static_cast<char>(cls.index >> 16),
          static_cast<char>(cls.index >> 8 & 0xFF), static_cast<char>(cls.index & 0xFF)};
}

/// The class records and the defaults table to which they point. Every class that has defaults ends its run
/// with an entry that matches no field; a system without any still has that entry, so that its table can be
/// read.
void addClasses(SystemTables& tables)
{
  constexpr DefaultRow end{DefaultValue::noField, nullptr};
  for (const Class& cls : tables.system->classes) {
    tables.classes.resize(static_cast<std::size_t>(cls.index), {nullptr, -1});
    const std::size_t first = tables.defaults.size();
    for (std::size_t i = 0; i < cls.fields.size(); ++i) {
      if (cls.fields[i].defaultValue) {
        tables.defaults.push_back({static_cast<std::uint16_t>(i), &*cls.fields[i].defaultValue});
      }
    }
    const bool hasDefaults = tables.defaults.size() > first;
    if (hasDefaults) {
      tables.defaults.push_back(end);
    }
    tables.classes.push_back({&cls, hasDefaults ? static_cast<int>(first) : -1});
  }
  if (tables.defaults.empty()) {
    tables.defaults.push_back(end);
  }
}

/// The class-ID table. It is as long as the class array; where the array has records without a name, the last
/// entry is repeated instead, so that no identifier leads to such a record.
void addClassIds(SystemTables& tables)
{
  for (const Class& cls : tables.system->classes) {
    tables.classIds.emplace_back(cls.id, cls.index);
  }
  std::sort(tables.classIds.begin(), tables.classIds.end());
  if (!tables.classIds.empty()) {
    tables.classIds.resize(tables.classes.size(), std::pair(tables.classIds.back()));
  }
}

void addXPaths(SystemTables& tables)
{
  if (!tables.system->hasXPathTables()) {
    return;
  }
  for (const XPath& xpath : tables.system->xpaths) {
    tables.xpath.byId.emplace_back(xpath.id, static_cast<int>(tables.xpath.paths.size()));
    tables.xpath.paths.push_back(&xpath);
  }
  tables.xpath.byText = tables.xpath.paths;
  std::sort(tables.xpath.byId.begin(), tables.xpath.byId.end());
  std::sort(tables.xpath.byText.begin(), tables.xpath.byText.end(), [](const XPath* a, const XPath* b) {
    const int order = std::strcmp(a->path.c_str(), b->path.c_str());
    return order != 0 ? order < 0 : a->id < b->id;
  });
}

/// The index of names, the former names and the texts of one system.
void addNames(Tables& tables, const System& system)
{
  const auto number = static_cast<std::int16_t>(system.index);
  const auto addDoc = [&](int classIndex, int field, const std::string& doc) {
    if (!doc.empty()) {
      tables.docs.push_back({number, classIndex, field, doc});
    }
  };
  tables.classNames.push_back({classNameHash(system.name, {}), number, -1});
  addDoc(-1, -1, system.doc);
  for (const Class& cls : system.classes) {
    const auto index = static_cast<std::int16_t>(cls.index);
    tables.classNames.push_back({classNameHash(system.name, cls.name), number, index});
    addDoc(index, -1, cls.doc);
    if (cls.formerly) {
      tables.classNames.push_back({classNameHash(system.name, *cls.formerly), number, index});
      tables.formerNames.push_back({number, index, -1, *cls.formerly});
    }
    for (std::size_t i = 0; i < cls.fields.size(); ++i) {
      const Field& field = cls.fields[i];
      addDoc(index, static_cast<int>(i), field.doc);
      if (field.formerly) {
        tables.formerNames.push_back({number, index, static_cast<int>(i), *field.formerly});
      }
    }
  }
}

}  // namespace

FieldRow fieldRow(const Field& field, std::size_t position)
{
  std::string references;
  if (field.keyReference != nullptr) {
    references += packedReferenceBytes(*field.keyReference);
  }
  if (field.reference != nullptr) {
    references += packedReferenceBytes(*field.reference);
  }
  // Records without a type have no place in the bits of their class.
  const std::size_t number = field.type == FIELD_UNSET ? 0 : position;
  return {references,
          annotationRecord(field),
          field.recordHash(),
          static_cast<std::int16_t>(number),
          static_cast<std::int16_t>(field.slot),
          field.type};
}

std::uint32_t fingerprint(const Class& cls)
{
  std::uint32_t value = fingerprintStart;
  for (std::size_t i = 0; i < cls.fields.size(); ++i) {
    const FieldRow row = fieldRow(cls.fields[i], i);
    value = fingerprintStep(value, row.hash, row.number, row.slot, row.type);
    if (cls.fields[i].isEnumerator()) {
      const std::string& name = cls.fields[i].name;
      value = fingerprintStep(value, nameHash(name.data(), name.size()), 0, 0, 0);
    }
  }
  return value;
}

Tables makeTables(const Catalogue& catalogue)
{
  Tables tables;
  for (const System& system : catalogue.systems) {
    tables.systems.push_back({&system, {}, {}, {}, {}});
  }
  std::sort(tables.systems.begin(), tables.systems.end(),
            [](const SystemTables& a, const SystemTables& b) { return a.system->index < b.system->index; });
  for (SystemTables& system : tables.systems) {
    addClasses(system);
    addClassIds(system);
    addXPaths(system);
    addNames(tables, *system.system);
  }
  std::sort(tables.classNames.begin(), tables.classNames.end(),
            [](const ClassNameIndex& a, const ClassNameIndex& b) {
              return std::tie(a.hash, a.system, a.classIndex) < std::tie(b.hash, b.system, b.classIndex);
            });
  std::sort(tables.formerNames.begin(), tables.formerNames.end());
  std::sort(tables.docs.begin(), tables.docs.end());
  return tables;
}

}  // namespace kwxml::catalogue
