#include "Message.h"

#include "Collections.h"
#include "Values.h"

#include <utility>

namespace kwxml::python {

unsigned Writing::threads_ = 0;

namespace {

/// A new object without a message. Throws PythonError.
MessageObject* allocate(ClassInfo& cls)
{
  PyTypeObject* const type = cls.catalogue->type(cls);
  auto* const made = reinterpret_cast<MessageObject*>(own(type->tp_alloc(type, 0)).release());
  made->cls = &cls;
  return made;
}

}  // namespace

void endMessage(PyObject* self) noexcept
{
  // What an object refers to is given back in a loop: messages nest deeper than a stack.
  MessageObject& message = asMessage(self);
  PyTypeObject* const type = Py_TYPE(self);
  MessageObject* parent = std::exchange(message.parent, nullptr);
  if (parent != nullptr) {
    parent->children->erase(message.message);
  } else {
    delete message.message;
  }
  delete message.children;
  type->tp_free(self);
  Py_DECREF(type);
  while (parent != nullptr) {
    MessageObject* next = nullptr;
    if (Py_REFCNT(parent) == 1 && parent->parent != nullptr) {
      // Its own end would go on to the next one: that is done here. It ends without a message.
      next = std::exchange(parent->parent, nullptr);
      next->children->erase(parent->message);
      parent->message = nullptr;
    }
    Py_DECREF(parent);
    parent = next;
  }
}

MessageObject& root(MessageObject& message)
{
  MessageObject* at = &message;
  while (at->parent != nullptr) {
    at = at->parent;
  }
  return *at;
}

YMMessageBase& mutate(MessageObject& message)
{
  // Looked for only while anything is written: messages may nest deep, and are changed often.
  if (Writing::anywhere() && root(message).writers > 0) {
    fail(supported("BusyError").get(), message.cls->name + ": another thread is writing the message");
  }
  return *message.message;
}

Ref wrap(Catalogue& catalogue, std::unique_ptr<YMMessageBase> message)
{
  MessageObject* const made = allocate(catalogue.of(*message));
  made->message = message.release();
  return Ref(asObject(*made));
}

Ref create(ClassInfo& cls)
{
  return wrap(*cls.catalogue,
              std::make_unique<YMMessageBase>(cls.catalogue->registry(), cls.system, cls.index));
}

Ref nested(MessageObject& parent, YMMessageBase& message)
{
  if (parent.children == nullptr) {
    parent.children = new Children();
  }
  const auto place = parent.children->lower_bound(&message);
  if (place != parent.children->end() && place->first == &message) {
    return share(asObject(*place->second));
  }
  MessageObject* const made = allocate(parent.cls->catalogue->of(message));
  Ref owner(asObject(*made));
  parent.children->emplace_hint(place, &message, made);
  made->message = &message;
  Py_INCREF(asObject(parent));
  made->parent = &parent;
  return owner;
}

Children::node_type takeChild(MessageObject& parent, const YMMessageBase* message)
{
  return parent.children != nullptr ? parent.children->extract(message) : Children::node_type();
}

void setFree(Children::node_type child, std::unique_ptr<YMMessageBase> message) noexcept
{
  MessageObject& freed = *child.mapped();
  freed.message = message.release();
  MessageObject* const parent = std::exchange(freed.parent, nullptr);
  Py_DECREF(asObject(*parent));
}

void unsetField(MessageObject& message, const FieldInfo& field)
{
  YMMessageBase& values = mutate(message);
  if (field.list != nullptr || field.map != nullptr) {
    freeElements(message, field);
  } else if (field.type == FIELD_OBJECT) {
    void*& place = values.getObject(field.number, field.slot, values.getTagID(), field.def->hash);
    if (Children::node_type child = takeChild(message, static_cast<YMMessageBase*>(place)); !child.empty()) {
      setFree(std::move(child),
              std::unique_ptr<YMMessageBase>(static_cast<YMMessageBase*>(std::exchange(place, nullptr))));
    }
  }
  values.deleteMember(field.number, values.getTagID(), field.def->hash, false);
}

Ref readField(MessageObject& message, const FieldInfo& field)
{
  if (field.list != nullptr || field.map != nullptr) {
    return view(message, field);
  }
  YMMessageBase& values = *message.message;
  if (!field.isSet(values)) {
    return share(Py_None);
  }
  const unsigned long tag = values.getTagID();
  const unsigned hash = field.def->hash;
  return visitFieldType(field.type, [&]<class Tag>(Tag) -> Ref {
    if constexpr (IntegerSlot<Tag>) {
      return toPython<Tag::type>(field, values.getint64(field.slot, tag, hash));
    } else if constexpr (Tag::type == FIELD_DOUBLE) {
      return toPython<Tag::type>(field, values.getdouble(field.slot, tag, hash));
    } else if constexpr (Tag::type == FIELD_FLOAT) {
      return toPython<Tag::type>(field, values.getfloat(field.slot, tag, hash));
    } else if constexpr (Tag::type == FIELD_STRING) {
      return toPython<Tag::type>(field, values.getstring_const(field.number, field.slot, tag, hash));
    } else if constexpr (Tag::type == FIELD_WSTRING) {
      return toPython<Tag::type>(field, values.getwstring_const(field.number, field.slot, tag, hash));
    } else if constexpr (ByteString<Tag> || PasswordString<Tag>) {
      const void* const value = values.getObject_const(field.number, field.slot, tag, hash);
      return value != nullptr ? toPython<Tag::type>(field, *static_cast<const typename Tag::Value*>(value))
                              : share(Py_None);
    } else if constexpr (MessageValue<Tag>) {
      // Asked twice, and anything may have moved the message meanwhile: a class that is made can start the
      // collector.
      Ref found = nestedAt(message, [&] {
        YMMessageBase& now = *message.message;
        return static_cast<YMMessageBase*>(
            field.isSet(now) ? now.getObject(field.number, field.slot, tag, hash) : nullptr);
      });
      return found != nullptr ? std::move(found) : share(Py_None);
    } else {
      fail(PyExc_SystemError, field.path() + ": a field without a value");
    }
  });
}

void writeField(MessageObject& message, const FieldInfo& field, PyObject* value)
{
  if (value == nullptr || value == Py_None) {
    unsetField(message, field);
    return;
  }
  if (field.list != nullptr || field.map != nullptr) {
    writeCollection(message, field, value);
    return;
  }
  const unsigned hash = field.def->hash;
  visitFieldType(field.type, [&]<class Tag>(Tag) {
    // Converted first: that may run any Python code.
    if constexpr (IntegerSlot<Tag>) {
      const auto converted = fromPython<Tag::type, long long>(field, value);
      YMMessageBase& values = mutate(message);
      values.setint64(field.number, field.slot, converted, values.getTagID(), hash);
    } else if constexpr (FloatingSlot<Tag>) {
      const auto converted = fromPython<Tag::type, typename Tag::Value>(field, value);
      YMMessageBase& values = mutate(message);
      if constexpr (Tag::type == FIELD_DOUBLE) {
        values.setdouble(field.number, field.slot, converted, values.getTagID(), hash);
      } else {
        values.setfloat(field.number, field.slot, converted, values.getTagID(), hash);
      }
    } else if constexpr (Tag::type == FIELD_STRING) {
      auto converted = fromPython<Tag::type, std::string>(field, value);
      YMMessageBase& values = mutate(message);
      values.getstringByRef(field.number, field.slot, values.getTagID(), hash) = std::move(converted);
    } else if constexpr (Tag::type == FIELD_WSTRING) {
      auto converted = fromPython<Tag::type, std::wstring>(field, value);
      YMMessageBase& values = mutate(message);
      values.getwstringByRef(field.number, field.slot, values.getTagID(), hash) = std::move(converted);
    } else if constexpr (ByteString<Tag>) {
      auto converted = fromPython<Tag::type, bstring>(field, value);
      YMMessageBase& values = mutate(message);
      values.getbstringobjectByRef(field.number, field.slot, values.getTagID(), hash) = std::move(converted);
    } else if constexpr (PasswordString<Tag>) {
      auto converted = fromPython<Tag::type, pstring>(field, value);
      YMMessageBase& values = mutate(message);
      values.getpstringobjectByRef(field.number, field.slot, values.getTagID(), hash) = std::move(converted);
    } else if constexpr (MessageValue<Tag>) {
      auto converted = std::make_unique<YMMessageBase>(fromPython<Tag::type, YMMessageBase>(field, value));
      unsetField(message, field);
      YMMessageBase& values = *message.message;
      values.setObject(field.number, field.slot, converted.get(), true, values.getTagID(), hash, true);
      (void)converted.release();  // the message's now
    } else if constexpr (NoStorage<Tag>) {
      fail(PyExc_SystemError, field.path() + ": a field without a value");
    }
  });
}

const FieldInfo& fieldNamed(const ClassInfo& cls, PyObject* name)
{
  if (!PyUnicode_Check(name)) {
    fail(PyExc_TypeError, cls.name + ": fields are named by str, got " + Py_TYPE(name)->tp_name);
  }
  const FieldInfo* const field = cls.find(name);
  if (field == nullptr) {
    failUnknown(PyExc_KeyError, cls, name);
  }
  return *field;
}

void writeFields(MessageObject& message, PyObject* mapping)
{
  if (!PyMapping_Check(mapping) || PyObject_HasAttrString(mapping, "items") == 0) {
    fail(PyExc_TypeError,
         message.cls->name + ": expected a mapping of names to values, got " + Py_TYPE(mapping)->tp_name);
  }
  // A mapping that holds itself has no end.
  if (Py_EnterRecursiveCall(" while a message is made of a mapping") != 0) {
    throw PythonError();
  }
  struct Leave
  {
    ~Leave() { Py_LeaveRecursiveCall(); }
  } const leave;
  const Ref items = own(PyMapping_Items(mapping));
  for (Py_ssize_t i = 0; i < PyList_GET_SIZE(items.get()); ++i) {
    PyObject* const item = PyList_GET_ITEM(items.get(), i);
    if (!PyTuple_Check(item) || PyTuple_GET_SIZE(item) != 2) {
      fail(PyExc_TypeError, message.cls->name + ": items() of the mapping gives no pairs");
    }
    writeField(message, fieldNamed(*message.cls, PyTuple_GET_ITEM(item, 0)), PyTuple_GET_ITEM(item, 1));
  }
}

}  // namespace kwxml::python
