#include "Shown.h"

#include "Collections.h"

#include <kwxml/traverse/MessageDiff.h>

#include <string>
#include <vector>

namespace kwxml::python {

namespace {

/// Messages nest as deep as a program likes: Python's own limit ends a walk.
class Deeper
{
public:
  explicit Deeper(const char* where)
  {
    if (Py_EnterRecursiveCall(where) != 0) {
      throw PythonError();
    }
  }
  ~Deeper() { Py_LeaveRecursiveCall(); }
  Deeper(const Deeper&) = delete;
  Deeper& operator=(const Deeper&) = delete;
};

constexpr const char* hiddenValue = "****";

std::string textOf(PyObject* value)
{
  const Ref words = own(PyObject_Repr(value));
  // What no UTF-8 can be made of is escaped by repr() already.
  const Ref bytes = own(PyUnicode_AsEncodedString(words.get(), "utf-8", "backslashreplace"));
  return {PyBytes_AS_STRING(bytes.get()), static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.get()))};
}

/// The entries of a map as a list of pairs.
Ref entries(MessageObject& message, const FieldInfo& field)
{
  const Ref keys = field.map->keys(message, field);
  Ref out = own(PyList_New(0));
  for (Py_ssize_t i = 0; i < PyList_GET_SIZE(keys.get()); ++i) {
    PyObject* const key = PyList_GET_ITEM(keys.get(), i);
    if (const Ref value = field.map->find(message, field, key)) {
      const Ref pair = own(PyTuple_Pack(2, key, value.get()));
      checked(PyList_Append(out.get(), pair.get()));
    }
  }
  return out;
}

std::string fieldText(MessageObject& message, const FieldInfo& field)
{
  if (field.isSecret) {
    return hiddenValue;
  }
  std::string out;
  if (field.list != nullptr) {
    for (std::size_t i = 0; i < field.list->size(message, field); ++i) {
      out += (i > 0 ? ", " : "") + textOf(field.list->item(message, field, i).get());
    }
    return "[" + out + "]";
  }
  if (field.map != nullptr) {
    const Ref pairs = entries(message, field);
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(pairs.get()); ++i) {
      PyObject* const pair = PyList_GET_ITEM(pairs.get(), i);
      out +=
          (i > 0 ? ", " : "") + textOf(PyTuple_GET_ITEM(pair, 0)) + ": " + textOf(PyTuple_GET_ITEM(pair, 1));
    }
    return "{" + out + "}";
  }
  return textOf(readField(message, field).get());
}

/// A value without messages in it.
Ref plain(PyObject* value)
{
  return isMessage(value) ? toDict(asMessage(value)) : share(value);
}

Ref plainField(MessageObject& message, const FieldInfo& field)
{
  if (field.list != nullptr) {
    Ref out = own(PyList_New(0));
    for (std::size_t i = 0; i < field.list->size(message, field); ++i) {
      checked(PyList_Append(out.get(), plain(field.list->item(message, field, i).get()).get()));
    }
    return out;
  }
  if (field.map != nullptr) {
    const Ref pairs = entries(message, field);
    const bool asPairs = field.type == FIELD_MAP_OBJECT_OBJECT;  // a dict is no key of a dict
    Ref out = own(asPairs ? PyList_New(0) : PyDict_New());
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(pairs.get()); ++i) {
      PyObject* const pair = PyList_GET_ITEM(pairs.get(), i);
      const Ref key = plain(PyTuple_GET_ITEM(pair, 0));
      const Ref value = plain(PyTuple_GET_ITEM(pair, 1));
      if (asPairs) {
        checked(PyList_Append(out.get(), own(PyTuple_Pack(2, key.get(), value.get())).get()));
      } else {
        checked(PyDict_SetItem(out.get(), key.get(), value.get()));
      }
    }
    return out;
  }
  return plain(readField(message, field).get());
}

/// Keeps what diffMessages() tells. Python objects are made afterwards: other threads, which change messages,
/// may run then.
class Collecting final : public MessageDiffVisitor
{
public:
  struct Kept
  {
    MessageDifference::Kind kind;
    std::string path, left, right;
  };
  std::vector<Kept> all;

  void differs(const MessageDifference& difference) override
  {
    all.push_back({difference.kind, std::string(difference.path), std::string(difference.left),
                   std::string(difference.right)});
  }
};

}  // namespace

Ref shown(MessageObject& message)
{
  const Deeper deeper(" while a message is shown");
  std::string out = message.cls->name + "(";
  const char* separator = "";
  for (const FieldInfo& field : message.cls->fields) {
    if (field.isSet(*message.message)) {
      out += separator + field.name + "=" + fieldText(message, field);
      separator = ", ";
    }
  }
  return text(out + ")");
}

Ref shownField(MessageObject& message, const FieldInfo& field)
{
  const Deeper deeper(" while a message is shown");
  return text(fieldText(message, field));
}

Ref toDict(MessageObject& message)
{
  const Deeper deeper(" while a message is made a dict");
  Ref out = own(PyDict_New());
  for (const FieldInfo& field : message.cls->fields) {
    if (field.isSet(*message.message)) {
      checked(PyDict_SetItem(out.get(), text(field.name).get(), plainField(message, field).get()));
    }
  }
  return out;
}

Ref differences(const YMMessageBase& left, const YMMessageBase& right)
{
  Collecting collected;
  diffMessages(left, right, collected);
  Ref list = own(PyList_New(0));
  for (const Collecting::Kept& one : collected.all) {
    const Ref before = one.kind == MessageDifference::Kind::OnlyRight ? share(Py_None) : text(one.left);
    const Ref after = one.kind == MessageDifference::Kind::OnlyLeft ? share(Py_None) : text(one.right);
    const Ref difference =
        callSupport("Difference", "(OOO)", text(one.path).get(), before.get(), after.get());
    checked(PyList_Append(list.get(), difference.get()));
  }
  return list;
}

}  // namespace kwxml::python
