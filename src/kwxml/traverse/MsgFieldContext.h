// What visitors of a walk (XmlTraverse) see.
#pragma once

#include <kwxml/model/StringTypes.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/Export.h>

#include <string>
#include <vector>

class AnnotationBase;

/// A field on the path from the outermost message of a walk: its record, and the field through which the walk
/// came to the message that holds it (null in the outermost message). Lives as long as the field is handled.
struct FieldDefTraverseInfo : FieldDef
{
  /// The field that holds the message of this field; null in the outermost message.
  const FieldDefTraverseInfo* parent = nullptr;
};

/// A visitor's view of one field of a message that is being walked: the field's record, whether the field is
/// set, its annotations, and ways to change its value. Owns nothing: message and parents outlive the object.
/// The field is one of the message's class. The operations that change the message have no result; a failure
/// is logged as the accessors of YMMessageBase do it, and leaves the message unchanged.
class KWXML_API MsgFieldContext
{
public:
  /// For programs that visit a field without a walk. Copies the record; `message` is not null where a value
  /// is read or changed.
  MsgFieldContext(const FieldDef& field, YMMessageBase* message) : field_{field, nullptr}, message_(message)
  {
  }
  MsgFieldContext(const FieldDefTraverseInfo& field, YMMessageBase* message)
      : field_(field), message_(message)
  {
  }

  /// The field's record and parents, owned by this object.
  const FieldDefTraverseInfo& getField() const noexcept { return field_; }
  /// The field that holds the message of this field; null in the outermost message.
  const FieldDefTraverseInfo* getTRParent() const noexcept { return field_.parent; }
  /// The record, in the catalogue, of the field of this name in the message's class; null when the class has
  /// none.
  const FieldDef* getRecord() const
  {
    const _ClassDef* cls = message_ != nullptr ? message_->getClass() : nullptr;
    return cls != nullptr && cls == class_ ? record_ : findRecord();
  }
  /// The message that holds the field.
  YMMessageBase* getMessage() const noexcept { return message_; }

  /// Whether the field was set when the walk came to the field; false in an object that a program made, until
  /// setValueState().
  bool isValueSet() const noexcept { return valueSet_; }
  /// Sets what isValueSet() tells; the message is unchanged.
  void setValueState(bool set) noexcept { valueSet_ = set; }
  /// Whether replaceValue() was called. A walk keeps a message that it has made when a field in that message
  /// was modified.
  bool isModified() const noexcept { return modified_; }

  /// Fills `annotation` from the annotation of its kind that the message's class attaches to the field of
  /// this name. False, with `annotation` unchanged, when the field has none (nothing is logged) or the record
  /// is damaged (logged).
  [[nodiscard]] bool getAnnotation(AnnotationBase& annotation) const;
  /// Whether the class attaches any annotation, or form of a date or a password, to the field.
  bool hasAnnotations() const;
  /// Whether the class attaches the annotation with the tag identifier (AnnotationBase::getTagID()) to the
  /// field.
  bool hasAnnotation(unsigned long tag) const;

  /// Appends a pointer to each element of a list field to `out`, as XMLDecoder::ReadFromList does; the
  /// elements stay the message's. Null does nothing.
  void readListValue(std::vector<void*>* out) const;
  /// Removes a list field that is set from the message.
  void clearList();
  /// Gives an unset field its default value when its annotation CommandParam says anything about useDefault.
  void EnableField();

  /// Gives a scalar field the value, through the message's setter (setint64, setfloat, setdouble, setstring).
  /// Appends the value to a list field whose elements have the very type: int also to lists of enumerations,
  /// unsigned int to lists of uint and of enumerations, bool to lists of bool. Other lists stay as they are.
  /// In every case the field counts as modified. A null text is an empty one.
  void replaceValue(int value);
  void replaceValue(unsigned int value);
  void replaceValue(long value);
  void replaceValue(unsigned long value);
  void replaceValue(long long value);
  void replaceValue(bool value);
  void replaceValue(float value);
  void replaceValue(double value);
  void replaceValue(const std::string& value);
  void replaceValue(const char* value) { replaceValue(std::string(value != nullptr ? value : "")); }
  /// Gives a byte-string field the bytes: of a set field the byte string is changed, an unset field gets a
  /// new one. Appends to a list of byte strings; other lists stay as they are. The field counts as modified.
  /// The flag has no effect.
  void replaceValue(const bstring& value, bool flag);
  /// Gives a password field the text and the encryption type; the field counts as modified. Lists stay as
  /// they are, and unmodified.
  void replaceValue(const pstring& value);
  /// Copies the message, which stays the caller's; null does nothing. A nested message that is set is
  /// assigned to; an unset one becomes a copy. Neither counts as a modification. To a list of messages a copy
  /// is appended, and the field counts as modified. Nothing happens to other fields. Throws KwException,
  /// which is logged, when a nested message that is set has another class.
  void replaceValue(const YMMessageBase* value);

  /// Does nothing; kept for programs that call it.
  void replaceFieldValue() {}
  /// Does nothing, and leaves the text as it is; kept for programs that call it.
  void readEnumValue(std::string&, int) {}

private:
  friend class XmlTraverse;
  /// Of a field of the message's class, whose record is `record`.
  MsgFieldContext(const FieldDef& record, const FieldDefTraverseInfo* parent, YMMessageBase& message)
      : field_{record, parent}, message_(&message), class_(message.getClass()), record_(&record)
  {
  }
  const FieldDef* findRecord() const;
  void replaceInteger(long long value);
  /// Appends to the list whose elements are stored as `T`, when the field's type is one of those given.
  template <class T, class... Types>
  bool append(const T& value, Types... types);
  bool isList() const;

  FieldDefTraverseInfo field_;
  YMMessageBase* message_;
  const _ClassDef* class_ = nullptr;  ///< the one that record_ is of, where that is known
  const FieldDef* record_ = nullptr;
  bool valueSet_ = false;
  bool modified_ = false;
};
