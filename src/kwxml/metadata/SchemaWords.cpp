#include <kwxml/metadata/SchemaWords.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/text/Dates.h>

namespace kwxml {

std::string describeField(const FieldDef& def)
{
  const FieldTypeInfo& info = fieldTypeInfo(def.type);
  std::string text = info.text != nullptr
                         ? info.text
                         : "list<" + std::string(FieldDef::getFieldTypeName(info.element)) + ">";
  const AnnotationRecord annotations(def.annotations);
  if (annotations.isTimeOfDay()) {
    text += ", a time of day";
  } else if (annotations.dateForm() != 0) {
    text += annotations.dateForm() == Annotation::DATE ? ", a date" : ", a date and time";
  }
  text += def.type == FIELD_PSTRING ? ", a password" : "";
  text += def.hash == 0 ? ", hidden: written, but not read" : "";
  return text;
}

const _ClassDef* referencedMessage(const PackedReference& reference)
{
  const _ClassDef* cls = findClass(reference);
  return cls != nullptr && cls->name != nullptr && !cls->isEnum() ? cls : nullptr;
}

}  // namespace kwxml
