// The registry of message systems and what its rows point to:
//
//   namespace KWXMLMSG_STRUCT_DEFS_Demo {
//   extern const ::FieldDef Status[];
//   }
//
//   namespace KWXMLMSG_STRUCT_DEFS_CHOOSER {
//   extern const ::_ClassDef SchemaChooser_Demo[];
//   const ::_ClassDef SchemaChooser_Demo[] = {
//       {"Status", KWXMLMSG_STRUCT_DEFS_Demo::Status, 0x3F0, 0, 2, 5},
//   };
//   const ::kwxml::ClassIdIndex MessageIDAndIndicesMapping_Demo[] = {{0x3F0, 0}};
//   const ::kwxml::DefaultValue DefaultValuesMetadata_Demo[] = {{0, "0"}, {65535, nullptr}};
//   }
//
//   namespace Demo { void RegisterSubsystem() {} }
//
//   const MessageSystemRow XML_KWMessage_MessageSystemChooser::msgSysStruct[206] = {...};
//   const XPathDataRow XML_KWMessage_MessageSystemChooser::xpathData[] = {..., {0, nullptr, nullptr, nullptr,
//   -1}};
//
// Systems come in ascending order of their indices.
#include "CppText.h"
#include "Stages.h"

#include <algorithm>
#include <cstring>

namespace kwxml::catalogue {
namespace {

constexpr const char* chooser = "KWXMLMSG_STRUCT_DEFS_CHOOSER";

/// `text` as "extern const TYPE NAME[]; const TYPE NAME[] = { lines };": without the first declaration a
/// constant would be seen in its own file only.
std::string array(const std::string& type, const std::string& name, const std::string& lines)
{
  const std::string declarator = "const " + type + " " + name + "[]";
  return "extern " + declarator + ";\n" + declarator + " = {\n" + lines + "};\n";
}

int numberOfClasses(const System& system)
{
  return system.classes.back().index + 1;
}

std::string fieldDeclarations(const System& system)
{
  std::string out = "\nnamespace KWXMLMSG_STRUCT_DEFS_" + system.name + " {\n";
  for (const Class& cls : system.classes) {
    if (!cls.fields.empty()) {
      out += "extern const ::FieldDef " + cppName(cls.name) + "[];\n";
    }
  }
  return out + "}  // namespace KWXMLMSG_STRUCT_DEFS_" + system.name + "\n";
}

/// The class records and the defaults table to which they point. Every class that has defaults ends its run
/// with an entry that matches no field; a system without any still has that entry, so that its table can be
/// read.
std::string classesAndDefaults(const System& system)
{
  const std::string end = "    {65535, nullptr},\n";
  std::string defaults;
  std::size_t defaultCount = 0;
  std::string classes;
  int next = 0;
  for (const Class& cls : system.classes) {
    for (; next < cls.index; ++next) {
      classes += "    {nullptr, nullptr, 0x0, -1, 0, 0},\n";
    }
    ++next;
    const std::size_t firstDefault = defaultCount;
    for (std::size_t i = 0; i < cls.fields.size(); ++i) {
      if (cls.fields[i].defaultValue) {
        defaults += "    {" + std::to_string(i) + ", " + literal(*cls.fields[i].defaultValue) + "},\n";
        ++defaultCount;
      }
    }
    const bool hasDefaults = defaultCount > firstDefault;
    if (hasDefaults) {
      defaults += end;
      ++defaultCount;
    }
    const std::string fields =
        cls.fields.empty() ? "nullptr" : "::KWXMLMSG_STRUCT_DEFS_" + system.name + "::" + cppName(cls.name);
    classes += "    {" + literal(cls.name) + ", " + fields + ", " +
               hexadecimal(static_cast<unsigned long>(cls.id)) + ", " +
               (hasDefaults ? std::to_string(firstDefault) : "-1") + ", " +
               std::to_string(cls.fields.size()) + ", " + std::to_string(cls.numberOfSlots) + "},\n";
  }
  return array("::_ClassDef", "SchemaChooser_" + system.name, classes) +
         array("::kwxml::DefaultValue", "DefaultValuesMetadata_" + system.name,
               defaults.empty() ? end : defaults);
}

/// The class-ID table. It is as long as the class array; where the array has records without a name, the last
/// entry is repeated instead, so that no identifier leads to such a record.
std::string classIds(const System& system)
{
  std::vector<std::pair<long long, int>> entries;
  for (const Class& cls : system.classes) {
    entries.emplace_back(cls.id, cls.index);
  }
  std::sort(entries.begin(), entries.end());
  entries.resize(static_cast<std::size_t>(numberOfClasses(system)), entries.back());
  std::string lines;
  for (const auto& [id, index] : entries) {
    lines += "    {" + hexadecimal(static_cast<unsigned long>(id)) + ", " + std::to_string(index) + "},\n";
  }
  return array("::kwxml::ClassIdIndex", "MessageIDAndIndicesMapping_" + system.name, lines);
}

/// The XPath arrays of one system, each with an entry of zeros at its end, as anonymous-namespace constants.
std::string xpathArrays(const System& system)
{
  std::string indices;
  std::string fieldsInfo;
  std::vector<std::pair<long long, std::size_t>> byId;
  std::vector<const XPath*> byText;
  for (std::size_t i = 0; i < system.xpaths.size(); ++i) {
    const XPath& xpath = system.xpaths[i];
    const std::string name = "xpath" + std::to_string(i) + "_" + system.name;
    std::string list;
    for (const int index : xpath.fieldIndices) {
      list += (list.empty() ? "" : ", ") + std::to_string(index);
    }
    indices += "const ::std::int16_t " + name + "[] = {" + list + "};\n";
    fieldsInfo += "    {" + name + ", " + std::to_string(xpath.fieldIndices.size()) + "},\n";
    byId.emplace_back(xpath.id, i);
    byText.push_back(&xpath);
  }
  std::sort(byId.begin(), byId.end());
  std::sort(byText.begin(), byText.end(), [](const XPath* a, const XPath* b) {
    const int order = std::strcmp(a->path.c_str(), b->path.c_str());
    return order != 0 ? order < 0 : a->id < b->id;
  });
  std::string helpers;
  for (const auto& [id, index] : byId) {
    helpers += "    {" + std::to_string(id) + ", " + std::to_string(index) + "},\n";
  }
  std::string texts;
  for (const XPath* xpath : byText) {
    texts += "    {" + std::to_string(xpath->id) + ", " + literal(xpath->path) + "},\n";
  }
  const std::string& name = system.name;
  return indices + "const ::kwxml::XPathFieldsInfo fieldsInfo_" + name + "[] = {\n" + fieldsInfo +
         "    {nullptr, 0},\n};\n" + "const ::XPathIDHelper idToFieldsInfo_" + name + "[] = {\n" + helpers +
         "    {0, 0},\n};\n" + "const ::XPathIDToXPath idToXPath_" + name + "[] = {\n" + texts +
         "    {0, nullptr},\n};\n";
}

std::string registryRows(const std::vector<const System*>& systems)
{
  std::string out = "const MessageSystemRow XML_KWMessage_MessageSystemChooser::msgSysStruct[" +
                    std::to_string(XML_KWMessage_MessageSystemChooser::numberOfSystems) + "] = {\n";
  auto next = systems.begin();
  for (int row = 0; row < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++row) {
    if (next == systems.end() || (*next)->index != row) {
      out += "    {},\n";
      continue;
    }
    const System& system = **next++;
    const std::string space = std::string("::") + chooser + "::";
    out += "    {" + literal(system.name) + ", " + space + "SchemaChooser_" + system.name + ",\n     " +
           space + "MessageIDAndIndicesMapping_" + system.name + ",\n     " + space +
           "DefaultValuesMetadata_" + system.name + ", " + std::to_string(numberOfClasses(system)) + ", " +
           (system.isEager() ? "1" : "0") + "},\n";
  }
  return out + "};\n";
}

}  // namespace

OutputFile emitRegistry(const Catalogue& catalogue, const std::string& headLine)
{
  std::vector<const System*> systems;
  for (const System& system : catalogue.systems) {
    systems.push_back(&system);
  }
  std::sort(systems.begin(), systems.end(),
            [](const System* a, const System* b) { return a->index < b->index; });

  std::string out = headLine + "#include <kwxml/model/Metadata.h>\n";
  std::string xpathConstants;
  std::string xpathRows;
  for (const System* system : systems) {
    out += fieldDeclarations(*system);
    if (system->hasXPathTables() && !system->xpaths.empty()) {
      xpathConstants += xpathArrays(*system);
      xpathRows += "    {" + std::to_string(system->index) + ", fieldsInfo_" + system->name +
                   ", idToFieldsInfo_" + system->name + ", idToXPath_" + system->name + ", " +
                   std::to_string(system->xpaths.size()) + "},\n";
    }
  }
  out += std::string("\nnamespace ") + chooser + " {\n";
  for (const System* system : systems) {
    out += classesAndDefaults(*system) + classIds(*system);
  }
  out += std::string("}  // namespace ") + chooser + "\n";
  for (const System* system : systems) {
    out += "\nnamespace " + system->name +
           " {\nvoid RegisterSubsystem();\nvoid RegisterSubsystem() {}\n}  // namespace " + system->name +
           "\n";
  }
  if (!xpathConstants.empty()) {
    out += "\nnamespace {\n" + xpathConstants + "}  // namespace\n";
  }
  out += "\n" + registryRows(systems);
  out += "\nconst XPathDataRow XML_KWMessage_MessageSystemChooser::xpathData[] = {\n" + xpathRows +
         "    {0, nullptr, nullptr, nullptr, -1},\n};\n";
  return {"registry.cpp", out};
}

}  // namespace kwxml::catalogue
