// The field arrays and annotation records, spread over a number of files so that they compile side by side:
//
//   #include <kwxml/model/Metadata.h>
//
//   #pragma GCC visibility push(hidden)
//
//   namespace {
//   const unsigned char annotations0[] = {0x00, 0x05, 0x01, 0x00, 0x00};
//   }  // namespace
//
//   namespace KWXMLMSG_STRUCT_DEFS_Demo {
//   extern const ::FieldDef Status[];
//   const ::FieldDef Status[] = {
//       {"errorCode", annotations0, 0x9CB015, 0, 0, 0, ::FIELD_INT},
//       ...
//   };
//   }  // namespace KWXMLMSG_STRUCT_DEFS_Demo
//
//   #pragma GCC visibility pop
//
// Everything is constant-initialised. An annotation record that several fields of a file share stands there
// once.
#include "CppText.h"
#include "SchemaTypes.h"
#include "Stages.h"
#include "Tables.h"

#include <algorithm>
#include <cstdio>
#include <unordered_map>

namespace kwxml::catalogue {
namespace {

// Keeps one file's compile time in the order of a second.
constexpr std::size_t classesPerFile = 256;

/// One table file in the making.
class Shard
{
public:
  void addClass(const Class& cls)
  {
    if (system_ != cls.system) {
      closeNamespace();
      system_ = cls.system;
      arrays_ += "\nnamespace KWXMLMSG_STRUCT_DEFS_" + system_->name + " {\n";
    }
    const std::string name = cppName(cls.name);
    arrays_ += "extern const ::FieldDef " + name + "[];\nconst ::FieldDef " + name + "[] = {\n";
    for (std::size_t i = 0; i < cls.fields.size(); ++i) {
      addField(cls.fields[i], i);
    }
    arrays_ += "};\n";
  }

  std::string text(const std::string& headLine)
  {
    closeNamespace();
    std::string out = headLine + "#include <kwxml/model/Metadata.h>\n\n" + hiddenFromHere;
    if (!records_.empty()) {
      out += "\nnamespace {\n" + annotations_ + "}  // namespace\n";
    }
    return out + arrays_ + "\n" + hiddenToHere;
  }

private:
  void addField(const Field& field, std::size_t position)
  {
    const FieldRow row = fieldRow(field, position);
    arrays_ += "    {" + (row.references.empty() ? "" : literal(row.references) + " ") + literal(field.name) +
               ", " + annotationsName(row.annotations) + ", " + hexadecimal(row.hash) + ", 0, " +
               std::to_string(row.number) + ", " + std::to_string(row.slot) +
               ", ::" + enumeratorName(row.type) + "},\n";
  }

  std::string annotationsName(const std::string& record)
  {
    if (record.empty()) {
      return "nullptr";
    }
    const auto [known, isNew] = records_.emplace(record, records_.size());
    const std::string name = "annotations" + std::to_string(known->second);
    if (isNew) {
      annotations_ += "const unsigned char " + name + "[] = {";
      for (std::size_t i = 0; i < record.size(); ++i) {
        annotations_ += (i == 0 ? "" : ", ") + hexadecimal(static_cast<unsigned char>(record[i]), 2);
      }
      annotations_ += "};\n";
    }
    return "::" + name;
  }

  void closeNamespace()
  {
    if (system_ != nullptr) {
      arrays_ += "}  // namespace KWXMLMSG_STRUCT_DEFS_" + system_->name + "\n";
      system_ = nullptr;
    }
  }

  const System* system_ = nullptr;
  std::string annotations_;
  std::string arrays_;
  std::unordered_map<std::string, std::size_t> records_;
};

}  // namespace

void emitTables(const Catalogue& catalogue, const Emission& emission, const TakeFile& take)
{
  std::vector<const System*> systems;
  for (const System& system : catalogue.systems) {
    systems.push_back(&system);
  }
  std::sort(systems.begin(), systems.end(),
            [](const System* a, const System* b) { return a->index < b->index; });
  std::vector<const Class*> classes;
  for (const System* system : systems) {
    for (const Class& cls : system->classes) {
      if (!cls.fields.empty()) {  // an array cannot be empty; such a class has none
        classes.push_back(&cls);
      }
    }
  }
  const std::size_t count =
      emission.shards > 0 ? emission.shards
                          : std::max<std::size_t>(1, (classes.size() + classesPerFile - 1) / classesPerFile);
  for (std::size_t i = 0; i < count; ++i) {
    Shard shard;
    for (std::size_t c = classes.size() * i / count; c < classes.size() * (i + 1) / count; ++c) {
      shard.addClass(*classes[c]);
    }
    char name[32];
    std::snprintf(name, sizeof name, "tables_%03zu.cpp", i);
    take({name, shard.text(emission.headLine)});
  }
}

}  // namespace kwxml::catalogue
