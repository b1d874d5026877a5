#include "TablesText.h"

#include <kwxml/model/ClassPlan.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <sstream>

namespace kwxml::test {
namespace {

std::string textOf(const char* text)
{
  return text != nullptr ? std::string("\"") + text + "\"" : "none";
}

void appendHex(std::ostream& out, const void* bytes, std::size_t size)
{
  constexpr char digits[] = "0123456789ABCDEF";
  for (const unsigned char byte : std::span(static_cast<const unsigned char*>(bytes), size)) {
    out << digits[byte >> 4] << digits[byte & 15];
  }
}

/// All of a catalogue's tables, a line for each record.
class Tables
{
public:
  explicit Tables(const Registry& registry) : registry_(registry)
  {
    const CatalogueTables& tables = registry.tables();
    line() << "version " << tables.version;
    for (int system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
      addSystem(system, registry.row(static_cast<unsigned>(system)));
    }
    const XPathDataRow* row = tables.xpath;
    for (; row->count >= 0; ++row) {
      addXPaths(*row);
    }
    line() << "the last row " << row->system;
    for (const ClassNameIndex& entry : std::span(tables.classNames, tables.numberOfClassNames)) {
      line() << "name " << entry.hash << " " << entry.system << " " << entry.classIndex;
    }
    for (const FormerName& entry : std::span(tables.formerNames, tables.numberOfFormerNames)) {
      line() << "formerly " << entry.system << " " << entry.classIndex << " " << entry.field << " "
             << entry.hash << " " << textOf(entry.name);
    }
    for (const DocText& entry : std::span(tables.docs, tables.numberOfDocs)) {
      line() << "doc " << entry.system << " " << entry.classIndex << " " << entry.field << " "
             << textOf(entry.text);
    }
    lines_.push_back(line_.str());
  }

  const std::vector<std::string>& lines() const { return lines_; }

private:
  std::ostream& line()
  {
    lines_.push_back(line_.str());
    line_.str({});
    return line_;
  }

  void addSystem(int system, const MessageSystemRow& row)
  {
    if (row.name == nullptr && row.classes == nullptr && row.numberOfClasses == 0) {
      return;
    }
    line() << "system " << system << " " << textOf(row.name) << " eager " << row.eager << " "
           << row.numberOfClasses;
    line() << "first default " << row.defaults->fieldNumber << " " << textOf(row.defaults->text);
    for (int i = 0; i < row.numberOfClasses; ++i) {
      const _ClassDef& cls = row.classes[i];
      line() << "class " << i << " " << textOf(cls.name) << " " << cls.classId << " " << cls.defaultsIndex
             << " " << cls.numberOfFields << " " << cls.numberOfSlots << " " << (cls.fields == nullptr);
      for (const FieldDef& def : cls) {
        addField(def);
      }
      for (const DefaultValue* entry = row.defaults + std::max<int>(cls.defaultsIndex, 0);
           cls.defaultsIndex >= 0 && entry->text != nullptr; ++entry) {
        line() << "  default " << entry->fieldNumber << " " << textOf(entry->text);
      }
      line() << "  fingerprint "
             << registry_.plan(static_cast<unsigned>(system), static_cast<unsigned>(i)).fingerprint;
    }
    for (const ClassIdIndex& entry : std::span(row.classIds, static_cast<std::size_t>(row.numberOfClasses))) {
      line() << "ID " << entry.classId << " " << entry.classIndex;
    }
  }

  void addField(const FieldDef& def)
  {
    std::ostream& out = line();
    out << "  " << textOf(def.getName()) << " " << int{def.type} << " " << def.fieldNumber << " " << def.slot
        << " " << def.hash << " " << def.reserved << " references ";
    appendHex(out, def.name, static_cast<std::size_t>(def.getName() - def.name));
    out << " annotations ";
    if (def.annotations != nullptr) {
      appendHex(out, def.annotations, static_cast<std::size_t>(def.annotations[0]) << 8 | def.annotations[1]);
    }
  }

  /// With the entries behind the last ones.
  void addXPaths(const XPathDataRow& row)
  {
    line() << "xpaths " << row.system << " " << row.count;
    for (int i = 0; i <= row.count; ++i) {
      const XPathFieldsInfo& info = row.fieldsInfo[i];
      std::ostream& out = line();
      out << "  " << row.idToFieldsInfo[i].id << " " << row.idToFieldsInfo[i].fieldsInfoIndex << " "
          << row.idToXPath[i].id << " " << textOf(row.idToXPath[i].xpath) << " fields";
      for (int depth = 0; depth < info.depth; ++depth) {
        out << " " << info.fieldIndices[depth];
      }
    }
  }

  const Registry& registry_;
  std::ostringstream line_;
  std::vector<std::string> lines_;
};

void expectSame(const std::vector<std::string>& made, const std::vector<std::string>& compiled)
{
  const auto differs = std::mismatch(made.begin(), made.end(), compiled.begin(), compiled.end());
  if (differs.first != made.end() || differs.second != compiled.end()) {
    ADD_FAILURE() << "line " << differs.first - made.begin()
                  << "\n  made:     " << (differs.first != made.end() ? *differs.first : "none")
                  << "\n  compiled: " << (differs.second != compiled.end() ? *differs.second : "none");
  }
}

}  // namespace

std::vector<std::string> tableLines(const Registry& registry)
{
  return Tables(registry).lines();
}

std::vector<std::string> lookUpLines(const Registry& registry)
{
  std::vector<std::string> answers;
  const auto find = [&](std::string_view system, std::string_view cls) {
    short found = -1;
    int index = -1;
    const bool isThere = registry.findClass(system, cls, found, index);
    answers.push_back(std::string(system) + "_" + std::string(cls) + " " + std::to_string(isThere) + " " +
                      std::to_string(found) + " " + std::to_string(index));
  };
  for (int system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
    const MessageSystemRow& row = registry.row(static_cast<unsigned>(system));
    const std::string name = row.name != nullptr ? row.name : "Missing";
    short number = -1;
    const bool isThere = registry.findSystem(name, number);
    answers.push_back(name + " " + std::to_string(isThere) + " " + std::to_string(number) + " " +
                      std::to_string(registry.xpathData(static_cast<short>(system)) != nullptr));
    find(name, "");
    find(name, "Missing");
    for (int index = 0; index < row.numberOfClasses; ++index) {
      const _ClassDef& cls = row.classes[index];
      find(name, cls.name != nullptr ? cls.name : "");
      short found = -1;
      int at = -1;
      const bool hasTag = registry.findTag(tagOf(system, cls), found, at);
      answers.push_back("tag " + std::to_string(hasTag) + " " + std::to_string(at));
      std::size_t count = 0;
      const FormerName* const former = registry.formerNames(system, index, count);
      for (const FormerName& entry : std::span(former, count)) {
        answers.push_back("formerly " + std::to_string(entry.field) + " " + entry.name);
        if (entry.field < 0) {
          find(name, entry.name);
        }
      }
      for (int field = -1; field < cls.numberOfFields; ++field) {
        answers.emplace_back(registry.doc(system, index, field));
      }
    }
  }
  return answers;
}

void expectSameCatalogue(const Registry& made, const Registry& compiled)
{
  expectSame(tableLines(made), tableLines(compiled));
  expectSame(lookUpLines(made), lookUpLines(compiled));
}

}  // namespace kwxml::test
