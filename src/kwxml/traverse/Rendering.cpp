#include <kwxml/traverse/Rendering.h>

#include <kwxml/annotation/AnnotationKinds.h>
#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/Annotations.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/traverse/FieldText.h>
#include <kwxml/traverse/XmlUtils.h>

bool XmlUtils::getLocalizedMessage(const FieldDef&, std::string& text, int)
{
  text.clear();
  return true;
}

bool XmlUtils::getLocalizedMessage(unsigned long, std::string&, int)
{
  return true;
}

namespace kwxml {

FieldLabel::FieldLabel(const FieldDef& field, int localeId)
    : text_(XmlUtils::getLocalizedMessage(field, localized_, localeId) && !localized_.empty()
                ? std::string_view(localized_)
                : std::string_view(field.getName()))
{
}

namespace {

void appendItem(std::string& text, bool& first, std::string_view item)
{
  if (!std::exchange(first, false)) {
    text += ',';
  }
  text += item;
}

std::string enumeratorText(const _ClassDef* enumeration, int value)
{
  std::string name = enumeration != nullptr ? XMLDecoder::getEnumString(*enumeration, value) : "";
  if (!name.empty()) {
    const FieldDef* enumerator = findEnumerator(enumeration, value);
    Annotation::Text text;
    if (enumerator != nullptr && XMLDecoder::getTextAnnotation(*enumerator, text)) {
      return text.text;
    }
  }
  return name;
}

}  // namespace

std::string listText(const MsgFieldContext& field, char open, char close)
{
  const FieldDataType type = field.getField().type;
  std::string text(1, open);
  if (fieldTypeInfo(type).element != FIELD_UNSET && type != FIELD_LIST_ENUM && type != FIELD_LIST_OBJECT) {
    const FieldDef* const def = field.getRecord();
    if (def != nullptr && def->type == type) {
      appendElementTexts(text, *field.getMessage(), *def);
    }
  } else if (type != FIELD_LIST_ENUM && type != FIELD_LIST_OBJECT) {
    std::vector<void*> elements;  // what is no list is its own only element
    field.readListValue(&elements);
    for (const void* element : elements) {
      appendFieldText(text, type, element);
    }
  }
  text += close;
  return text;
}

std::string enumText(const MsgFieldContext& field)
{
  const FieldDef& def = field.getField();
  if (def.type != FIELD_ENUM && def.type != FIELD_LIST_ENUM) {
    return {};
  }
  const YMMessageBase& message = *field.getMessage();
  const auto reference = packedReference(def);
  const _ClassDef* enumeration = findClass(reference);
  if (enumeration != nullptr && !enumeration->isEnum()) {
    enumeration = nullptr;
  }
  if (def.type == FIELD_ENUM) {
    return enumeratorText(enumeration,
                          static_cast<int>(message.getint64(def.slot, message.getTagID(), def.hash)));
  }
  std::string text;
  bool first = true;
  std::vector<void*> elements;
  field.readListValue(&elements);
  for (const void* element : elements) {
    appendItem(text, first,
               enumeratorText(enumeration, static_cast<int>(*static_cast<const unsigned*>(element))));
  }
  return text;
}

}  // namespace kwxml
