#include <kwxml/traverse/FieldWords.h>

#include <kwxml/annotation/AnnotationKinds.h>
#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/model/StringTypes.h>
#include <kwxml/text/Dates.h>

namespace kwxml {

namespace {

/// A type that refers to no class.
std::string plainTypeWords(FieldDataType type)
{
  const FieldTypeInfo& info = fieldTypeInfo(type);
  return type == FIELD_PSTRING           ? "password"
         : type == FIELD_INT64           ? "longlong"
         : info.text != nullptr          ? info.text
         : info.slots == 0               ? "enumerator"
         : info.storage == Storage::None ? "no type"
                                         : "bstring";
}

}  // namespace

std::string className(const PackedReference& place)
{
  const _ClassDef* cls = findClass(place);
  return cls != nullptr && cls->name != nullptr ? tagNameOf(place.system, *cls) : "unknown class";
}

std::string typeWords(const FieldDef& field)
{
  const FieldTypeInfo& info = fieldTypeInfo(field.type);
  const auto part = [&](FieldDataType type, int reference) {
    return type == FIELD_OBJECT || type == FIELD_ENUM ? className(packedReference(field, reference))
                                                      : plainTypeWords(type);
  };
  if (info.element != FIELD_UNSET) {
    return "list of " + part(info.element, 0);
  }
  if (info.mapKey != FIELD_UNSET) {
    const int references = FieldDef::packedReferences(field.type);
    return "map of " + part(info.mapKey, 0) + " to " + part(info.mapValue, references - 1);
  }
  return part(field.type, 0);
}

std::string_view annotationKindName(unsigned long tag)
{
  for (const AnnotationKind& kind : annotationKinds) {
    if (annotationTag(kind.name) == tag) {
      return kind.name;
    }
  }
  return "unknown annotation";
}

std::string annotationWords(const FieldDef& def)
{
  const AnnotationRecord record(def.annotations);
  std::string words;
  const auto add = [&](std::string_view text) {
    words += words.empty() ? "" : "; ";
    words += text;
  };
  if (record.dateForm() != 0) {
    add(record.dateForm() == Annotation::DATE ? "date, in seconds" : "date and time, in seconds");
  }
  if (record.isTimeOfDay()) {
    add("time of day, in seconds");
  }
  if (def.type == FIELD_PSTRING) {
    add(std::string("protected as ") + passwordEncryptTypeName(record.passwordType()));
  }
  record.forEachAttached([&](unsigned long tag, std::string_view members) {
    const std::string_view kind = annotationKindName(tag);
    std::string text(kind == "Text" ? "" : kind);
    AnnotationRecord::forEachMember(members, [&](std::string_view name, std::string_view value) {
      if (kind == "Text") {
        text += value;
      } else {
        text.append(" ").append(name).append("=").append(value);
      }
    });
    add(text);
  });
  return words;
}

}  // namespace kwxml
