// A visitor's view of one field of a message that is being walked (XmlTraverse): what it is, whether it is
// set, its annotations, and ways to change it.
#pragma once

#include <kwxml/model/StringTypes.h>
#include <kwxml/model/YMMessageBase.h>

#include <string>
#include <vector>

class AnnotationBase;

/// A field on the path from the outermost message of a walk: its record, and the field through which the walk
/// came to the message that holds it (null in the outermost message). Lives as long as the field is handled.
struct FieldDefTraverseInfo : FieldDef
{
  const FieldDefTraverseInfo* parent = nullptr;
};

/// Owns nothing: message and parents outlive it. The field is one of the message's class. Whoever calls
/// replaceValue() may be told of a failure by a line in the log, as the accessors of YMMessageBase do it; the
/// message is unchanged then.
class MsgFieldContext
{
public:
  MsgFieldContext(const FieldDef& field, YMMessageBase* message) : field_{field, nullptr}, message_(message)
  {
  }
  MsgFieldContext(const FieldDefTraverseInfo& field, YMMessageBase* message)
      : field_(field), message_(message)
  {
  }

  const FieldDefTraverseInfo& getField() const noexcept { return field_; }
  const FieldDefTraverseInfo* getTRParent() const noexcept { return field_.parent; }
  /// The record of the field of this name in the message's class; null when it has none.
  const FieldDef* getRecord() const
  {
    const _ClassDef* cls = message_ != nullptr ? message_->getClass() : nullptr;
    return cls != nullptr && cls == class_ ? record_ : findRecord();
  }
  /// The message that holds the field.
  YMMessageBase* getMessage() const noexcept { return message_; }

  /// Whether the field was set when the walk came to it.
  bool isValueSet() const noexcept { return valueSet_; }
  void setValueState(bool set) noexcept { valueSet_ = set; }
  /// Whether replaceValue() was called: the walk keeps a message that it made when something in it was.
  bool isModified() const noexcept { return modified_; }

  /// Fills `annotation` from the one of its kind that the message's class attaches to the field of this name.
  /// False, with `annotation` unchanged, when there is none (nothing is logged) or its record is damaged
  /// (logged).
  bool getAnnotation(AnnotationBase& annotation) const;
  /// Whether the class attaches any annotation, or form of a date or a password, to the field.
  bool hasAnnotations() const;
  /// The same question as getAnnotation()'s without the answer's members.
  bool hasAnnotation(unsigned long tag) const;

  /// Appends a pointer to each element of a list field, as XMLDecoder::ReadFromList does. Null does nothing.
  void readListValue(std::vector<void*>* out) const;
  /// Removes a list field that is set from the message.
  void clearList();
  /// Gives an unset field its default value when its annotation CommandParam says anything about useDefault.
  void EnableField();

  // A scalar field takes the value through the setter of its kind (setint64, setfloat, setdouble, setstring).
  // To a list field whose elements are of the very type it is appended (int also to lists of enumerations,
  // unsigned int to lists of uint, of enumerations and bools being such); other lists stay as they are.
  // Either way the field counts as modified.

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
  /// An unset field gets a byte string of its own, the one of a set field takes the text. The flag has no
  /// effect.
  void replaceValue(const bstring& value, bool flag);
  /// Text and encryption type. Lists have no passwords: they stay as they are, and unmodified.
  void replaceValue(const pstring& value);
  /// Null does nothing. A nested message that is set is assigned to (KwException, logged, when the classes
  /// differ), an unset one becomes a copy; neither counts as a modification, deliberately. A list of messages
  /// gets a copy appended and is modified. Nothing happens to other fields.
  void replaceValue(const YMMessageBase* value);

  /// Do nothing; kept for visitors that call them.
  void replaceFieldValue() {}
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
