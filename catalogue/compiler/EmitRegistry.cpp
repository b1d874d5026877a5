// The class records, what else stands beside them, and the registry with the catalogue as an object, in a
// file each so that none takes compilers long:
//
//   classes.cpp and lists.cpp, seen by the catalogue's own files alone
//
//     namespace KWXMLMSG_STRUCT_DEFS_Demo {
//     extern const ::FieldDef Status[];
//     }
//
//     namespace KWXMLMSG_STRUCT_DEFS_CHOOSER {
//     extern const ::_ClassDef SchemaChooser_Demo[];
//     const ::_ClassDef SchemaChooser_Demo[] = {
//         {"Status", KWXMLMSG_STRUCT_DEFS_Demo::Status, 0x3F0, 0, 2, 5},
//     };
//     const ::kwxml::ClassIdIndex MessageIDAndIndicesMapping_Demo[] = {{0x3F0, 0}};
//     const ::kwxml::DefaultValue DefaultValuesMetadata_Demo[] = {{0, "0"}, {65535, nullptr}};
//     const ::kwxml::ClassNameIndex classNames_pets[] = {{0x1234ABCD, 1, 0}};
//     }
//
//   registry.cpp
//
//     namespace {
//     const ::MessageSystemRow systemRows[206] = {...};
//     }
//
//     #pragma GCC visibility push(default)
//
//     namespace Demo { void RegisterSubsystem() {} }
//
//     const ::MessageSystemRow XML_KWMessage_MessageSystemChooser::msgSysStruct[206] = {...};
//     const ::XPathDataRow XML_KWMessage_MessageSystemChooser::xpathData[] = {..., {0, nullptr, nullptr,
//     nullptr, -1}};
//
//     namespace kwxml::catalogues::inline v2 {
//     extern const ::kwxml::Registry* const pets;
//     const ::kwxml::Registry* const pets = &registry;
//     }
//     const ::kwxml::Registry* const XML_KWMessage_MessageSystemChooser::catalogue = &registry;
//
// What others see of the object are pointers: a program may have a copy of what it refers to in a library.
//
// Systems come in ascending order of their indices. The rows stand there twice: the catalogue's object refers
// to those that no other catalogue of the process can take the place of, as the first one does with
// msgSysStruct.
#include "CppText.h"
#include "Stages.h"
#include "Tables.h"

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

std::string classes(const SystemTables& tables)
{
  const std::string& system = tables.system->name;
  std::string lines;
  for (const auto& [cls, defaultsIndex] : tables.classes) {
    if (cls == nullptr) {
      lines += "    {nullptr, nullptr, 0x0, -1, 0, 0},\n";
      continue;
    }
    const std::string fields =
        cls->fields.empty() ? "nullptr" : "::KWXMLMSG_STRUCT_DEFS_" + system + "::" + cppName(cls->name);
    lines += "    {" + literal(cls->name) + ", " + fields + ", " +
             hexadecimal(static_cast<unsigned long>(cls->id)) + ", " + std::to_string(defaultsIndex) + ", " +
             std::to_string(cls->fields.size()) + ", " + std::to_string(cls->numberOfSlots) + "},\n";
  }
  return array("::_ClassDef", "SchemaChooser_" + system, lines);
}

std::string defaults(const SystemTables& tables)
{
  std::string lines;
  for (const auto& [field, text] : tables.defaults) {
    lines += "    {" + std::to_string(field) + ", " + (text != nullptr ? literal(*text) : "nullptr") + "},\n";
  }
  return array("::kwxml::DefaultValue", "DefaultValuesMetadata_" + tables.system->name, lines);
}

std::string classIds(const SystemTables& tables)
{
  std::string lines;
  for (const auto& [id, index] : tables.classIds) {
    lines += "    {" + hexadecimal(static_cast<unsigned long>(id)) + ", " + std::to_string(index) + "},\n";
  }
  return array("::kwxml::ClassIdIndex", "MessageIDAndIndicesMapping_" + tables.system->name, lines);
}

/// The XPath arrays of one system, each with an entry of zeros at its end, as anonymous-namespace constants.
std::string xpathArrays(const SystemTables& tables)
{
  const std::string& name = tables.system->name;
  std::string indices;
  std::string fieldsInfo;
  for (std::size_t i = 0; i < tables.xpath.paths.size(); ++i) {
    const XPath* const xpath = tables.xpath.paths[i];
    const std::string array = "xpath" + std::to_string(i) + "_" + name;
    std::string list;
    for (const int index : xpath->fieldIndices) {
      list += (list.empty() ? "" : ", ") + std::to_string(index);
    }
    indices += "const ::std::int16_t " + array + "[] = {" + list + "};\n";
    fieldsInfo += "    {" + array + ", " + std::to_string(xpath->fieldIndices.size()) + "},\n";
  }
  std::string helpers;
  for (const auto& [id, index] : tables.xpath.byId) {
    helpers += "    {" + std::to_string(id) + ", " + std::to_string(index) + "},\n";
  }
  std::string texts;
  for (const XPath* xpath : tables.xpath.byText) {
    texts += "    {" + std::to_string(xpath->id) + ", " + literal(xpath->path) + "},\n";
  }
  return indices + "const ::kwxml::XPathFieldsInfo fieldsInfo_" + name + "[] = {\n" + fieldsInfo +
         "    {nullptr, 0},\n};\n" + "const ::XPathIDHelper idToFieldsInfo_" + name + "[] = {\n" + helpers +
         "    {0, 0},\n};\n" + "const ::XPathIDToXPath idToXPath_" + name + "[] = {\n" + texts +
         "    {0, nullptr},\n};\n";
}

/// The rows as an array of that name.
std::string registryRows(const std::vector<SystemTables>& systems, const std::string& name)
{
  std::string out = "const ::MessageSystemRow " + name + "[" +
                    std::to_string(XML_KWMessage_MessageSystemChooser::numberOfSystems) + "] = {\n";
  auto next = systems.begin();
  for (int row = 0; row < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++row) {
    if (next == systems.end() || next->system->index != row) {
      out += "    {},\n";
      continue;
    }
    const System& system = *next->system;
    const std::string space = std::string("::") + chooser + "::";
    out += "    {" + literal(system.name) + ", " + space + "SchemaChooser_" + system.name + ",\n     " +
           space + "MessageIDAndIndicesMapping_" + system.name + ",\n     " + space +
           "DefaultValuesMetadata_" + system.name + ", " + std::to_string(next->classes.size()) + ", " +
           (system.isEager() ? "1" : "0") + "},\n";
    ++next;
  }
  return out + "};\n";
}

/// One of the arrays that CatalogueTables counts; none where it would be empty.
std::string counted(const std::string& type, const std::string& name, const std::string& lines)
{
  return lines.empty() ? "" : array("::kwxml::" + type, name, lines);
}

/// The lists of a catalogue go by its name: several may be linked into one program.
std::string listName(const char* list, const Emission& emission)
{
  return list + ("_" + emission.name);
}

std::string names(const Tables& tables, const Emission& emission)
{
  std::string classNames;
  for (const ClassNameIndex& entry : tables.classNames) {
    classNames += "    {" + hexadecimal(entry.hash, 8) + ", " + std::to_string(entry.system) + ", " +
                  std::to_string(entry.classIndex) + "},\n";
  }
  const auto place = [](const auto& row) {
    return "    {" + std::to_string(row.system) + ", " + std::to_string(row.classIndex) + ", " +
           std::to_string(row.field) + ", 0, ";
  };
  std::string formerNames;
  for (const FormerNameRow& row : tables.formerNames) {
    formerNames += place(row) + hexadecimal(nameHash(row.name.data(), row.name.size())) + ", " +
                   literal(row.name) + "},\n";
  }
  std::string docs;
  for (const DocRow& row : tables.docs) {
    docs += place(row) + literal(row.text) + "},\n";
  }
  // Visible to registry.cpp, and no further.
  return counted("ClassNameIndex", listName("classNames", emission), classNames) +
         counted("FormerName", listName("formerNames", emission), formerNames) +
         counted("DocText", listName("docs", emission), docs);
}

std::string xpathArray(const std::string& name, const std::string& rows)
{
  return "const ::XPathDataRow " + name + "[] = {\n" + rows + "    {0, nullptr, nullptr, nullptr, -1},\n};\n";
}

std::string catalogueObject(const Tables& tables, const Emission& emission)
{
  const std::string& name = emission.name;
  const auto count = [](std::size_t size) { return std::to_string(size) + ", "; };
  const auto pointer = [&emission](std::size_t size, const char* array) {
    return size > 0 ? std::string("::") + chooser + "::" + listName(array, emission) : "nullptr";
  };
  const std::string declarator = "const ::kwxml::Registry* const " + name;
  return "\nnamespace {\nconstexpr ::kwxml::CatalogueTables tables = {\n    " +
         std::to_string(CatalogueTables::currentVersion) + ", " + count(tables.classNames.size()) +
         count(tables.formerNames.size()) + count(tables.docs.size()) + literal(name) +
         ",\n    systemRows, xpathRows, " + pointer(tables.classNames.size(), "classNames") + ", " +
         pointer(tables.formerNames.size(), "formerNames") + ", " + pointer(tables.docs.size(), "docs") +
         "};\nconstinit const ::kwxml::Registry registry(tables);\n}  // namespace\n\nnamespace " +
         objectNamespace + " {\nextern " + declarator + ";\n" + declarator +
         " = &registry;\n}  // namespace " + objectNamespace + "\n" +
         (emission.builtIn ? ""
                           : "\n[[gnu::weak]] const ::kwxml::Registry* const "
                             "XML_KWMessage_MessageSystemChooser::catalogue = &registry;\n");
}

/// A file of tables that only the catalogue's other files see.
OutputFile hiddenTables(const char* name, const Emission& emission, const std::string& before,
                        const std::string& tables)
{
  return {name, emission.headLine + "#include <kwxml/model/Metadata.h>\n\n" + hiddenFromHere + before +
                    "\nnamespace " + chooser + " {\n" + tables + "}  // namespace " + chooser + "\n\n" +
                    hiddenToHere};
}

std::string tableDeclarations(const std::string& system)
{
  return "extern const ::_ClassDef SchemaChooser_" + system +
         "[];\nextern const ::kwxml::ClassIdIndex MessageIDAndIndicesMapping_" + system +
         "[];\nextern const ::kwxml::DefaultValue DefaultValuesMetadata_" + system + "[];\n";
}

}  // namespace

void emitRegistry(const Catalogue& catalogue, const Emission& emission, const TakeFile& take)
{
  const Tables tables = makeTables(catalogue);
  std::string fields;
  std::string classRecords;
  std::string lists;
  std::string declarations;
  std::string xpathConstants;
  std::string xpathRows;
  std::string functions;
  for (const SystemTables& system : tables.systems) {
    const std::string& name = system.system->name;
    fields += fieldDeclarations(*system.system);
    classRecords += classes(system);
    lists += classIds(system) + defaults(system);
    declarations += tableDeclarations(name);
    if (!system.xpath.paths.empty()) {
      xpathConstants += xpathArrays(system);
      xpathRows += "    {" + std::to_string(system.system->index) + ", fieldsInfo_" + name +
                   ", idToFieldsInfo_" + name + ", idToXPath_" + name + ", " +
                   std::to_string(system.xpath.paths.size()) + "},\n";
    }
    functions += "\nnamespace " + name +
                 " {\nvoid RegisterSubsystem();\nvoid RegisterSubsystem() {}\n}  // namespace " + name + "\n";
  }
  take(hiddenTables("classes.cpp", emission, fields, classRecords));
  take(hiddenTables("lists.cpp", emission, "", lists + names(tables, emission)));
  take({"registry.cpp",
        emission.headLine + "#include <kwxml/model/Registry.h>\n\n" + hiddenFromHere + "\nnamespace " +
            chooser + " {\n" + declarations + "extern const ::kwxml::ClassNameIndex " +
            listName("classNames", emission) + "[];\nextern const ::kwxml::FormerName " +
            listName("formerNames", emission) + "[];\nextern const ::kwxml::DocText " +
            listName("docs", emission) + "[];\n}  // namespace " + chooser + "\n\nnamespace {\n" +
            xpathConstants + registryRows(tables.systems, "systemRows") + xpathArray("xpathRows", xpathRows) +
            "}  // namespace\n\n" + hiddenToHere + "#pragma GCC visibility push(default)\n" + functions +
            "\n" +
            "// Weak: several catalogues of a process may define these; the first counts.\n[[gnu::weak]] " +
            registryRows(tables.systems, "XML_KWMessage_MessageSystemChooser::msgSysStruct") +
            "\n[[gnu::weak]] " + xpathArray("XML_KWMessage_MessageSystemChooser::xpathData", xpathRows) +
            catalogueObject(tables, emission) + "\n" + hiddenToHere});
}

}  // namespace kwxml::catalogue
