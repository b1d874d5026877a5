// The human-readable table of one message class, as log lines about wrong accesses quote it.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/model/Registry.h>

namespace {

void column(std::string& out, const std::string& text, std::size_t width)
{
  out += text;
  if (text.size() < width) {
    out.append(width - text.size(), ' ');
  }
}

void row(std::string& out, const char* type, const char* name, const std::string* hash, const std::string& id,
         const std::string& index)
{
  column(out, type, 30);
  out += '\t';
  column(out, name, 30);
  if (hash != nullptr) {
    out += '\t';
    column(out, *hash, 10);
    out += '\t';
  }  // without the hash nothing stands between the name and the ID columns
  column(out, id, 5);
  out += '\t';
  column(out, index, 5);
  out += '\n';
}

}  // namespace

bool YMMessageBase::getMessageSchemaString(std::string& out, short systemIndex, int classIndex,
                                           bool includeHidden, bool showHash)
{
  const _ClassDef* cls = GetClassDef(systemIndex, classIndex);
  if (cls == nullptr) {
    return false;
  }
  const char* systemName = kwxml::Registry::of(*cls).row(static_cast<unsigned>(systemIndex)).name;
  std::string text = "Subsystem Name : ";
  text += systemName != nullptr ? systemName : "";
  text += "\nSubsystem Id : " + std::to_string(systemIndex);
  text += "\nMessage Name : ";
  text += cls->name != nullptr ? cls->name : "";
  text += "\nMessage Id : " + std::to_string(cls->classId) + "\n\n";
  const std::string hashHead = "HASH";
  row(text, "FIELD TYPE", "FIELD NAME", showHash ? &hashHead : nullptr, "ID", "INDEX");
  for (const FieldDef& def : *cls) {
    if (def.hash == 0 && !includeHidden) {
      continue;
    }
    const std::string hash = std::to_string(def.hash);
    row(text, FieldDef::getFieldTypeName(def.type), def.getName(), showHash ? &hash : nullptr,
        std::to_string(def.fieldNumber), std::to_string(def.slot));
  }
  out = std::move(text);
  return true;
}

bool YMMessageBase::getMessageSchemaString(unsigned long tagID, std::string& out, bool includeHidden,
                                           bool showHash)
{
  short system = 0;
  int index = 0;
  return getIndicesFromTagID(system, index, tagID) &&
         getMessageSchemaString(out, system, index, includeHidden, showHash);
}
