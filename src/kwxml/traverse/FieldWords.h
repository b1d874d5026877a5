// What is said of classes and fields to people: types, annotations, defaults. Not installed.
#pragma once

#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/model/Registry.h>
#include <kwxml/traverse/DiffText.h>

#include <string>
#include <string_view>

namespace kwxml {

/// The tag name of a class, or that it is unknown.
std::string className(const PackedReference& place);

/// What a field holds, in words: "list of Demo_Item".
std::string typeWords(const FieldDef& field);

/// The name of a kind of annotation, by its identifier.
std::string_view annotationKindName(unsigned long tag);

/// What the annotations of a field or an enumerator say; the kind Text is only its text.
std::string annotationWords(const FieldDef& def);

/// What the schema says of a class (field -1), a field or an enumerator; empty when it says nothing.
inline const char* docOf(const PackedReference& place, int field = -1)
{
  return registryOf(place).doc(place.system, place.classIndex, field);
}
inline const char* docOf(const PackedReference& place, const _ClassDef& cls, const FieldDef& field)
{
  return docOf(place, static_cast<int>(&field - cls.fields));
}

/// Calls `visit(field, text)` for each record of a class; `text` is that of its default, null without one. Of
/// a field for nobody's eyes it is a mask.
template <class Visit>
void forEachField(const PackedReference& place, const _ClassDef& cls, Visit visit)
{
  const DefaultValue* next =  // the defaults of a class run in the order of its fields
      cls.defaultsIndex < 0
          ? nullptr
          : registryOf(place).row(static_cast<unsigned>(place.system)).defaults + cls.defaultsIndex;
  for (const FieldDef& field : cls) {
    const bool hasDefault = next != nullptr && next->fieldNumber != DefaultValue::noField &&
                            next->fieldNumber == field.fieldNumber;
    const char* const text = hasDefault ? next++->text : nullptr;
    visit(field, text != nullptr && isSecret(field) ? mask.data() : text);
  }
}

}  // namespace kwxml
