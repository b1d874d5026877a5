#include <kwxml/traverse/MsgFieldContext.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/Annotations.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/model/AccessorRules.h>

#include <algorithm>
#include <cstring>
#include <iterator>

using kwxml::AccessorRules;
using kwxml::MessageAccess;

/// Nearly always the record that the context was made from.
const FieldDef* MsgFieldContext::findRecord() const
{
  const _ClassDef* cls = message_ != nullptr ? message_->getClass() : nullptr;
  if (cls == nullptr || field_.name == nullptr) {
    return nullptr;
  }
  if (field_.fieldNumber >= 0 && field_.fieldNumber < cls->numberOfFields &&
      cls->fields[field_.fieldNumber].name == field_.name) {
    return &cls->fields[field_.fieldNumber];
  }
  for (const FieldDef& def : *cls) {
    if (std::strcmp(def.getName(), field_.getName()) == 0) {
      return &def;
    }
  }
  return nullptr;
}

bool MsgFieldContext::hasAnnotations() const
{
  const FieldDef* def = getRecord();
  return def != nullptr && def->annotations != nullptr;
}

bool MsgFieldContext::hasAnnotation(unsigned long tag) const
{
  const FieldDef* def = getRecord();
  return def != nullptr && kwxml::AnnotationRecord(def->annotations).has(tag);
}

bool MsgFieldContext::getAnnotation(AnnotationBase& annotation) const
{
  // The decoder logs an error for a field without the annotation, but most fields have none.
  return hasAnnotation(annotation.getTagID()) &&
         XMLDecoder::FillAnnotation(message_, annotation, field_.getName());
}

void MsgFieldContext::readListValue(std::vector<void*>* out) const
{
  const FieldDef* def = getRecord();
  if (out == nullptr || def == nullptr || def->type != field_.type) {
    return;
  }
  MessageAccess::listElements(*message_, *def, *out);
}

bool MsgFieldContext::isList() const
{
  return kwxml::fieldTypeInfo(field_.type).element != FIELD_UNSET;
}

void MsgFieldContext::clearList()
{
  if (message_ == nullptr) {
    return;
  }
  const unsigned long tag = message_->getTagID();
  if (isList() && message_->isSet(field_.fieldNumber, tag, field_.hash)) {
    message_->deleteMember(field_.fieldNumber, tag, field_.hash, false);
  }
}

void MsgFieldContext::EnableField()
{
  Annotation::CommandParam parameter;
  if (getAnnotation(parameter) && parameter.useDefault &&
      !message_->isSet(field_.fieldNumber, message_->getTagID(), field_.hash)) {
    message_->setDefaults(field_.fieldNumber);
  }
}

template <class T, class... Types>
bool MsgFieldContext::append(const T& value, Types... types)
{
  if (!isList()) {
    return false;
  }
  modified_ = true;
  const FieldDataType taken[] = {types...};
  if (std::find(std::begin(taken), std::end(taken), field_.type) != std::end(taken)) {
    auto*& list = AccessorRules::collection<std::vector<T>>(
        *message_, "MsgFieldContext::replaceValue",
        {field_.fieldNumber, field_.slot, message_->getTagID(), field_.hash}, true);
    if (list != nullptr) {
      list->push_back(value);
    }
  }
  return true;
}

void MsgFieldContext::replaceInteger(long long value)
{
  message_->setint64(field_.fieldNumber, field_.slot, value, message_->getTagID(), field_.hash);
  modified_ = true;
}

void MsgFieldContext::replaceValue(int value)
{
  // Enumerators are kept as unsigned numbers.
  const bool done = field_.type == FIELD_LIST_ENUM ? append(static_cast<unsigned>(value), FIELD_LIST_ENUM)
                                                   : append(value, FIELD_LIST_INT);
  if (!done) {
    replaceInteger(value);
  }
}

void MsgFieldContext::replaceValue(unsigned int value)
{
  if (!append(value, FIELD_LIST_UINT, FIELD_LIST_ENUM)) {
    // A single enumerator is kept as a signed number, so that one below zero is itself again.
    replaceInteger(field_.type == FIELD_ENUM ? static_cast<long long>(static_cast<int>(value))
                                             : static_cast<long long>(value));
  }
}

void MsgFieldContext::replaceValue(long value)
{
  if (!append(value, FIELD_LIST_LONG)) {
    replaceInteger(value);
  }
}

void MsgFieldContext::replaceValue(unsigned long value)
{
  if (!append(value, FIELD_LIST_ULONG)) {
    replaceInteger(static_cast<long long>(value));
  }
}

void MsgFieldContext::replaceValue(long long value)
{
  if (!append(value, FIELD_LIST_LONGLONG)) {
    replaceInteger(value);
  }
}

void MsgFieldContext::replaceValue(bool value)
{
  if (!append(static_cast<unsigned>(value), FIELD_LIST_BOOL)) {
    replaceInteger(value ? 1 : 0);
  }
}

void MsgFieldContext::replaceValue(float value)
{
  if (!append(value, FIELD_LIST_FLOAT)) {
    message_->setfloat(field_.fieldNumber, field_.slot, value, message_->getTagID(), field_.hash);
    modified_ = true;
  }
}

void MsgFieldContext::replaceValue(double value)
{
  if (!append(value, FIELD_LIST_DOUBLE)) {
    message_->setdouble(field_.fieldNumber, field_.slot, value, message_->getTagID(), field_.hash);
    modified_ = true;
  }
}

void MsgFieldContext::replaceValue(const std::string& value)
{
  if (!append(value, FIELD_LIST_STRING)) {
    message_->setstring(field_.fieldNumber, field_.slot, value, message_->getTagID(), field_.hash);
    modified_ = true;
  }
}

void MsgFieldContext::replaceValue(const bstring& value, bool)
{
  if (append(value, FIELD_LIST_BSTRING)) {
    return;
  }
  modified_ = true;
  const unsigned long tag = message_->getTagID();
  if (message_->isSet(field_.fieldNumber, tag, field_.hash)) {
    message_->getbstringobjectByRef(field_.fieldNumber, field_.slot, tag, field_.hash) = value.text();
  } else {
    message_->setbstringobject(field_.fieldNumber, field_.slot, value, tag, field_.hash);
  }
}

void MsgFieldContext::replaceValue(const pstring& value)
{
  if (isList()) {
    return;
  }
  message_->setpstringobject(field_.fieldNumber, field_.slot, value,
                             static_cast<Annotation::PasswordEncryptType>(value.getEncryptionType()),
                             message_->getTagID(), field_.hash);
  modified_ = true;
}

void MsgFieldContext::replaceValue(const YMMessageBase* value)
{
  if (value == nullptr) {
    return;
  }
  const unsigned long tag = message_->getTagID();
  if (field_.type == FIELD_LIST_OBJECT) {
    append(YMMessageBase(*value), FIELD_LIST_OBJECT);
  } else if (field_.type == FIELD_OBJECT) {
    YMMessageBase* held = message_->isSet(field_.fieldNumber, tag, field_.hash)
                              ? static_cast<YMMessageBase*>(
                                    message_->getObject(field_.fieldNumber, field_.slot, tag, field_.hash))
                              : nullptr;
    if (held != nullptr) {
      *held = *value;
    } else {
      message_->setObject(field_.fieldNumber, field_.slot, new YMMessageBase(*value), true, tag, field_.hash,
                          true);
    }
  }
}
