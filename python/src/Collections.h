// Lists and maps of messages: views that hold their message and look their field up with each call, so that
// nothing they show can be gone. What is to be stored is converted before the collection is looked at, since
// that may run any Python code.
#pragma once

#include "Message.h"

namespace kwxml::python {

/// What can be done with the list of one field type. Indices have been checked against size() by the caller,
/// with no Python code in between. All throw PythonError or std::bad_alloc, with the list unchanged.
struct ListAccess
{
  virtual ~ListAccess() = default;
  /// Number of elements; 0 for an unset field.
  virtual std::size_t size(const MessageObject& message, const FieldInfo& field) const = 0;
  /// An element.
  virtual Ref item(MessageObject& message, const FieldInfo& field, std::size_t index) const = 0;
  /// The elements of an iterable, converted; taken by put() of the same type.
  struct Values
  {
    virtual ~Values() = default;
    virtual std::size_t size() const = 0;
  };
  /// Converts all elements of an iterable, or one object alone.
  virtual std::unique_ptr<Values> convert(const FieldInfo& field, PyObject* iterable) const = 0;
  virtual std::unique_ptr<Values> convertOne(const FieldInfo& field, PyObject* value) const = 0;
  /// Replaces the elements from `begin` to before `end`. The field is set afterwards.
  virtual void put(MessageObject& message, const FieldInfo& field, std::size_t begin, std::size_t end,
                   Values& values) const = 0;
  /// Replaces every `step`th element from `begin` on by a value.
  virtual void putEach(MessageObject& message, const FieldInfo& field, std::size_t begin, Py_ssize_t step,
                       Values& values) const = 0;
  /// Removes `count` elements, every `step`th from `begin` on.
  virtual void erase(MessageObject& message, const FieldInfo& field, std::size_t begin, Py_ssize_t step,
                     std::size_t count) const = 0;
  /// Puts the elements of a list that is set into another order, in which each of their indices is once.
  virtual void arrange(MessageObject& message, const FieldInfo& field,
                       const std::vector<std::size_t>& order) const = 0;
};
/// That of a type; null for a type that is no list.
const ListAccess* listAccess(FieldDataType type);

/// What can be done with the map of one field type. All throw as those of ListAccess do.
struct MapAccess
{
  virtual ~MapAccess() = default;
  /// Number of entries; 0 for an unset field.
  virtual std::size_t size(const MessageObject& message, const FieldInfo& field) const = 0;
  /// All keys, as a list.
  virtual Ref keys(const MessageObject& message, const FieldInfo& field) const = 0;
  /// The value of a key; null when there is none.
  virtual Ref find(MessageObject& message, const FieldInfo& field, PyObject* key) const = 0;
  /// Sets the value of a key.
  virtual void put(MessageObject& message, const FieldInfo& field, PyObject* key, PyObject* value) const = 0;
  /// False when there is no such key.
  virtual bool erase(MessageObject& message, const FieldInfo& field, PyObject* key) const = 0;
  /// Replaces all entries by those of a mapping or of an iterable of pairs.
  virtual void replace(MessageObject& message, const FieldInfo& field, PyObject* entries) const = 0;
};
/// That of a type; null for a type that is no map.
const MapAccess* mapAccess(FieldDataType type);

/// The object of a list or map.
struct CollectionObject
{
  PyObject_HEAD MessageObject* message;  ///< owned; null in one whose making has failed
  const FieldInfo* field;                ///< the field of the message's class
};

/// A view of a field that is a list or a map. Throws PythonError.
Ref view(MessageObject& message, const FieldInfo& field);
/// Makes a field that is a list or a map hold the elements of another object. Throws PythonError.
void writeCollection(MessageObject& message, const FieldInfo& field, PyObject* value);
/// Makes objects of the messages in a list or map those of whole ones; the field is then removed. Throws
/// PythonError.
void freeElements(MessageObject& message, const FieldInfo& field);

/// Add the types to the module. Throw PythonError.
void addListType(PyObject* module);
void addMapType(PyObject* module);

/// The value of a collection field in a message, of the C++ type `Value`; null for an unset field.
template <class Value>
const Value* storedIn(const YMMessageBase& message, const FieldInfo& field)
{
  return field.isSet(message) ? static_cast<const Value*>(message.getObject_const(
                                    field.number, field.slot, message.getTagID(), field.def->hash))
                              : nullptr;
}
/// The same, to change; made and marked set where the field is unset.
template <class Value>
Value& madeIn(YMMessageBase& message, const FieldInfo& field)
{
  const unsigned long tag = message.getTagID();
  if (storedIn<Value>(message, field) == nullptr) {
    auto made = std::make_unique<Value>();
    message.setObject(field.number, field.slot, made.get(), true, tag, field.def->hash, true);
    (void)made.release();  // the message's now
  }
  return *static_cast<Value*>(message.getObject(field.number, field.slot, tag, field.def->hash));
}

}  // namespace kwxml::python
