// The second back end: the tables of schemas in memory, record for record those that the compiler writes as
// C++. Part of the message library.
#include "SchemaFiles.h"
#include "Tables.h"

#include <kwxml/model/Registry.h>
#include <kwxml/model/YMMessageBase.h>

#include <cstring>
#include <exception>
#include <sstream>
#include <unordered_map>

namespace kwxml::catalogue {
namespace {

/// Bytes that stay where they are, each sequence once.
class Bytes
{
public:
  /// The bytes, with a zero byte behind them.
  const char* keep(const std::string& bytes)
  {
    const auto known = known_.find(bytes);
    if (known != known_.end()) {
      return known->second;
    }
    const std::size_t size = bytes.size() + 1;
    if (size > left_) {
      left_ = std::max(size, blockSize);
      blocks_.push_back(std::make_unique<char[]>(left_));
      next_ = blocks_.back().get();
    }
    char* const kept = next_;
    std::memcpy(kept, bytes.c_str(), size);
    next_ += size;
    left_ -= size;
    known_.emplace(std::string_view(kept, bytes.size()), kept);
    return kept;
  }
  /// Nothing more comes.
  void close() { known_ = {}; }

private:
  static constexpr std::size_t blockSize = 65536;
  std::vector<std::unique_ptr<char[]>> blocks_;
  char* next_ = nullptr;
  std::size_t left_ = 0;
  std::unordered_map<std::string_view, const char*> known_;
};

/// A registry and all that its tables point to.
class LoadedRegistry final : public Registry
{
public:
  LoadedRegistry(const Tables& tables, const std::string& name) : Registry(tables_)
  {
    std::size_t fields = 0;
    for (const SystemTables& system : tables.systems) {
      for (const ClassRow& row : system.classes) {
        fields += row.cls != nullptr ? row.cls->fields.size() : 0;
      }
    }
    fields_.reserve(fields);  // never moved: the class records point into it
    for (const SystemTables& system : tables.systems) {
      addSystem(system);
    }
    xpathRows_.push_back({0, nullptr, nullptr, nullptr, -1});
    for (const FormerNameRow& row : tables.formerNames) {
      formerNames_.push_back({static_cast<std::int16_t>(row.system),
                              static_cast<std::int16_t>(row.classIndex), static_cast<std::int16_t>(row.field),
                              0, nameHash(row.name.data(), row.name.size()), bytes_.keep(row.name)});
    }
    for (const DocRow& row : tables.docs) {
      docs_.push_back({static_cast<std::int16_t>(row.system), static_cast<std::int16_t>(row.classIndex),
                       static_cast<std::int16_t>(row.field), 0, bytes_.keep(row.text)});
    }
    classNames_ = tables.classNames;
    tables_ = {CatalogueTables::currentVersion,
               static_cast<std::uint32_t>(classNames_.size()),
               static_cast<std::uint32_t>(formerNames_.size()),
               static_cast<std::uint32_t>(docs_.size()),
               bytes_.keep(name),
               rows_,
               xpathRows_.data(),
               classNames_.data(),
               formerNames_.data(),
               docs_.data()};
    bytes_.close();
  }

private:
  struct SystemArrays
  {
    std::vector<_ClassDef> classes;
    std::vector<ClassIdIndex> classIds;
    std::vector<DefaultValue> defaults;
    std::vector<std::int16_t> fieldIndices;
    std::vector<XPathFieldsInfo> fieldsInfo;
    std::vector<XPathIDHelper> idToFieldsInfo;
    std::vector<XPathIDToXPath> idToXPath;
  };

  const FieldDef* addFields(const Class& cls)
  {
    if (cls.fields.empty()) {
      return nullptr;
    }
    const std::size_t first = fields_.size();
    for (std::size_t i = 0; i < cls.fields.size(); ++i) {
      const FieldRow row = fieldRow(cls.fields[i], i);
      const char* const name = bytes_.keep(row.references + cls.fields[i].name);
      const char* const annotations = row.annotations.empty() ? nullptr : bytes_.keep(row.annotations);
      fields_.push_back({name, reinterpret_cast<const unsigned char*>(annotations), row.hash, 0, row.number,
                         row.slot, row.type});
    }
    return &fields_[first];
  }

  void addSystem(const SystemTables& system)
  {
    SystemArrays& arrays = systems_.emplace_back();
    arrays.classes.reserve(system.classes.size());
    for (const auto& [cls, defaultsIndex] : system.classes) {
      if (cls == nullptr) {
        arrays.classes.push_back({nullptr, nullptr, 0, -1, 0, 0});
        continue;
      }
      arrays.classes.push_back({bytes_.keep(cls->name), addFields(*cls), static_cast<std::uint64_t>(cls->id),
                                defaultsIndex, static_cast<std::int16_t>(cls->fields.size()),
                                static_cast<std::int16_t>(cls->numberOfSlots)});
    }
    arrays.defaults.reserve(system.defaults.size());
    for (const auto& [field, text] : system.defaults) {
      arrays.defaults.push_back({field, text != nullptr ? bytes_.keep(*text) : nullptr});
    }
    arrays.classIds.reserve(system.classIds.size());
    for (const auto& [id, index] : system.classIds) {
      arrays.classIds.push_back({static_cast<std::uint64_t>(id), static_cast<std::int16_t>(index)});
    }
    addXPaths(system, arrays);
    rows_[system.system->index] = {bytes_.keep(system.system->name),
                                   arrays.classes.data(),
                                   arrays.classIds.data(),
                                   arrays.defaults.data(),
                                   static_cast<std::int16_t>(arrays.classes.size()),
                                   static_cast<std::int16_t>(system.system->isEager() ? 1 : 0)};
  }

  void addXPaths(const SystemTables& system, SystemArrays& arrays)
  {
    const XPathTables& xpath = system.xpath;
    if (xpath.paths.empty()) {
      return;
    }
    std::size_t indices = 0;
    for (const XPath* path : xpath.paths) {
      indices += path->fieldIndices.size();
    }
    arrays.fieldIndices.reserve(indices);
    for (const XPath* path : xpath.paths) {
      const std::size_t first = arrays.fieldIndices.size();
      for (const int index : path->fieldIndices) {
        arrays.fieldIndices.push_back(static_cast<std::int16_t>(index));
      }
      arrays.fieldsInfo.push_back(
          {arrays.fieldIndices.data() + first, static_cast<std::int32_t>(path->fieldIndices.size())});
    }
    for (const auto& [id, index] : xpath.byId) {
      arrays.idToFieldsInfo.push_back({static_cast<std::int32_t>(id), index});
    }
    for (const XPath* path : xpath.byText) {
      arrays.idToXPath.push_back({static_cast<std::uint32_t>(path->id), bytes_.keep(path->path)});
    }
    // Each array has an entry of zeros at its end.
    arrays.fieldsInfo.push_back({});
    arrays.idToFieldsInfo.push_back({});
    arrays.idToXPath.push_back({});
    xpathRows_.push_back({system.system->index, arrays.fieldsInfo.data(), arrays.idToFieldsInfo.data(),
                          arrays.idToXPath.data(), static_cast<std::int32_t>(xpath.paths.size())});
  }

  CatalogueTables tables_{};
  MessageSystemRow rows_[XML_KWMessage_MessageSystemChooser::numberOfSystems]{};
  Bytes bytes_;
  std::vector<FieldDef> fields_;
  std::deque<SystemArrays> systems_;
  std::vector<XPathDataRow> xpathRows_;
  std::vector<ClassNameIndex> classNames_;
  std::vector<FormerName> formerNames_;
  std::vector<DocText> docs_;
};

std::string nameOf(const std::vector<std::string>& paths)
{
  std::string name;
  for (const std::string& path : paths) {
    name += (name.empty() ? "" : ", ") + path;
  }
  return name;
}

}  // namespace
}  // namespace kwxml::catalogue

namespace kwxml {

Registry::Owner Registry::fromSchemas(const std::vector<std::string>& paths, std::string& problems)
{
  using namespace catalogue;
  problems.clear();
  if (paths.empty()) {
    problems = "no schemas\n";
    return nullptr;
  }
  try {
    YMMessageBase::Initialize();  // the XML parser
    Diagnostics diagnostics;
    const Catalogue schemas = loadSchemas(schemaFiles(paths), diagnostics);
    std::ostringstream lines;
    diagnostics.print(lines);
    problems = lines.str();
    if (diagnostics.hasErrors()) {
      return nullptr;
    }
    Owner loaded(new LoadedRegistry(makeTables(schemas), nameOf(paths)));
    loaded->join();
    return loaded;
  } catch (const std::exception& exception) {
    problems += std::string(exception.what()) + "\n";
    return nullptr;
  }
}

void Registry::End::operator()(const Registry* registry) const noexcept
{
  registry->leave();
  registry->endPlans();
  delete static_cast<const catalogue::LoadedRegistry*>(registry);
}

}  // namespace kwxml
