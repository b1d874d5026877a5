// The tables of a laid-out catalogue, row by row: what both back ends, the one that writes C++ and the one
// that fills memory, make of it.
#pragma once

#include "Schema.h"

#include <kwxml/model/Registry.h>

#include <string>
#include <utility>
#include <vector>

namespace kwxml::catalogue {

/// A record of a field or an enumerator.
struct FieldRow
{
  std::string references;   ///< packed class references, before the name
  std::string annotations;  ///< the annotation record; empty: none
  std::uint32_t hash;
  std::int16_t number;
  std::int16_t slot;
  FieldDataType type;
};
FieldRow fieldRow(const Field& field, std::size_t position);

/// Over the rows of a class, as the library works it out of the tables.
std::uint32_t fingerprint(const Class& cls);

struct ClassRow
{
  const Class* cls;  ///< null: a record without a name
  int defaultsIndex;
};

struct DefaultRow
{
  std::uint16_t field;
  const std::string* text;  ///< null: the end of a class's run
};

struct XPathTables
{
  std::vector<const XPath*> paths;              ///< in the order of the fields-info array
  std::vector<std::pair<long long, int>> byId;  ///< identifier and index of the path
  std::vector<const XPath*> byText;
};

struct SystemTables
{
  const System* system;
  std::vector<ClassRow> classes;
  std::vector<DefaultRow> defaults;
  std::vector<std::pair<long long, int>> classIds;  ///< as many as classes
  XPathTables xpath;                                ///< empty for systems without
};

struct FormerNameRow
{
  int system;
  int classIndex;
  int field;
  std::string name;
  auto operator<=>(const FormerNameRow&) const = default;
};

struct DocRow
{
  int system;
  int classIndex;
  int field;
  std::string text;
  auto operator<=>(const DocRow&) const = default;
};

struct Tables
{
  std::vector<SystemTables> systems;  ///< in ascending order of their indices
  std::vector<ClassNameIndex> classNames;
  std::vector<FormerNameRow> formerNames;
  std::vector<DocRow> docs;
};

/// Refers to the catalogue, which must outlive it.
Tables makeTables(const Catalogue& catalogue);

}  // namespace kwxml::catalogue
