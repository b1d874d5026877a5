// Messages as Python objects.
//
// For each message there is at most one Python object at a time. The object of a whole message owns the
// message; that of a nested one refers to the object around it, and is known to that by the nested message's
// address. Whoever moves messages (a list that grows), or ends them, corrects or frees those objects first:
// an object whose message is removed takes the message over, and becomes a whole message.
//
// While the encoders write a message without the GIL, the object of the whole message counts them. Everything
// that changes a message calls mutate() first.
#pragma once

#include "Catalogue.h"

#include <map>
#include <memory>
#include <vector>

namespace kwxml::python {

struct MessageObject;
/// The objects of messages that are nested in one, by the messages' addresses.
using Children = std::map<const YMMessageBase*, MessageObject*, std::less<>>;

/// The object of a message.
struct MessageObject
{
  PyObject_HEAD YMMessageBase* message;  ///< never null
  ClassInfo* cls;                        ///< of the message
  MessageObject* parent;  ///< the object around it, owned; null for a whole message, which owns `message`
  Children* children;     ///< null until there is one
  unsigned writers;       ///< of a whole message: how many threads write it without the GIL
};

/// Adds the type to the module. Throws PythonError.
void addMessageType(PyObject* module);

/// Ends an object that nobody refers to.
void endMessage(PyObject* self) noexcept;

/// A new object that owns the message. Throws PythonError.
Ref wrap(Catalogue& catalogue, std::unique_ptr<YMMessageBase> message);
/// The object of a message that is nested in that of `parent`, and whose Python type is there. Throws
/// PythonError.
Ref nested(MessageObject& parent, YMMessageBase& message);
/// The same of the message that `locate()` finds; null where it finds none. It is asked again after a type
/// has been made: making one may run any Python code, which may move or remove the message.
template <class Locate>
Ref nestedAt(MessageObject& parent, Locate locate)
{
  Catalogue& catalogue = *parent.cls->catalogue;
  for (;;) {
    YMMessageBase* const message = locate();
    if (message == nullptr) {
      return nullptr;
    }
    ClassInfo& cls = catalogue.of(*message);
    if (cls.type != nullptr) {
      return nested(parent, *message);
    }
    catalogue.type(cls);
  }
}
/// A new message of the class, with its defaults. Throws PythonError.
Ref create(ClassInfo& cls);

inline MessageObject& asMessage(PyObject* object)
{
  return *reinterpret_cast<MessageObject*>(object);
}
inline PyObject* asObject(MessageObject& message)
{
  return reinterpret_cast<PyObject*>(&message);
}
/// Whether an object is a message.
inline bool isMessage(PyObject* object)
{
  return PyObject_TypeCheck(object, support.messageType);
}

/// The object of the whole message that this one is nested in, or is.
MessageObject& root(MessageObject& message);
/// Gives the message to change. Throws PythonError (BusyError) while another thread writes it.
YMMessageBase& mutate(MessageObject& message);

/// Holds off changes of the message, and lets other threads run, as long as the object lives.
class Writing
{
public:
  explicit Writing(MessageObject& message) : root_(root(message))
  {
    ++root_.writers;
    ++threads_;
  }
  ~Writing()
  {
    --root_.writers;
    --threads_;
  }
  Writing(const Writing&) = delete;
  Writing& operator=(const Writing&) = delete;

  /// Whether any thread writes any message.
  static bool anywhere() { return threads_ > 0; }

private:
  static unsigned threads_;  ///< changed with the GIL held
  MessageObject& root_;
};

/// The object of a nested message, removed from those of `parent`: it has still to be given a message of its
/// own. Null when there is none.
Children::node_type takeChild(MessageObject& parent, const YMMessageBase* message);
/// Makes the object of a nested message, taken from its parent, that of a whole one.
void setFree(Children::node_type child, std::unique_ptr<YMMessageBase> message) noexcept;

/// Sets a field from a Python object; None and null unset it. Throws PythonError, with the message unchanged.
void writeField(MessageObject& message, const FieldInfo& field, PyObject* value);
/// The value of a field. Throws PythonError.
Ref readField(MessageObject& message, const FieldInfo& field);
/// Removes the value of a field. Objects of its messages become those of whole ones. Throws PythonError.
void unsetField(MessageObject& message, const FieldInfo& field);

/// The field of that name. Throws PythonError (KeyError) when there is none, TypeError when it is no str.
const FieldInfo& fieldNamed(const ClassInfo& cls, PyObject* name);
/// Sets fields from a mapping of names to values. `who` is named where there is no such field. Throws
/// PythonError.
void writeFields(MessageObject& message, PyObject* mapping);

}  // namespace kwxml::python
