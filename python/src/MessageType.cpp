#include "Codec.h"
#include "Message.h"
#include "Shown.h"

namespace kwxml::python {

namespace {

Ref construct(PyTypeObject* type, std::size_t positional)
{
  ClassInfo* const cls = Catalogue::ofType(type);
  if (cls == nullptr || cls->def->isEnum()) {
    fail(PyExc_TypeError,
         std::string(type->tp_name) + " is no class of a catalogue: no message can be made of it");
  }
  if (positional > 0) {
    fail(PyExc_TypeError, cls->name + "() takes the values of its fields by their names");
  }
  return create(*cls);
}

void writeKeyword(MessageObject& message, PyObject* name, PyObject* value)
{
  const FieldInfo* const field = message.cls->find(name);
  if (field == nullptr) {
    failUnknown(PyExc_TypeError, *message.cls, name);
  }
  writeField(message, *field, value);
}

PyObject* newMessage(PyTypeObject* type, PyObject* arguments, PyObject* keywords) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    Ref made = construct(type, static_cast<std::size_t>(PyTuple_GET_SIZE(arguments)));
    PyObject* name = nullptr;
    PyObject* value = nullptr;
    Py_ssize_t at = 0;
    while (keywords != nullptr && PyDict_Next(keywords, &at, &name, &value) != 0) {
      writeKeyword(asMessage(made.get()), name, value);
    }
    return made.release();
  });
}

PyObject* callType(PyObject* type, PyObject* const* arguments, std::size_t count, PyObject* names) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const auto positional = static_cast<std::size_t>(PyVectorcall_NARGS(count));
    Ref made = construct(reinterpret_cast<PyTypeObject*>(type), positional);
    const Py_ssize_t size = names != nullptr ? PyTuple_GET_SIZE(names) : 0;
    for (Py_ssize_t i = 0; i < size; ++i) {
      writeKeyword(asMessage(made.get()), PyTuple_GET_ITEM(names, i), arguments[i]);
    }
    return made.release();
  });
}

/// What is said of an attribute that is not there. The exception is set, and stays for names that Python
/// itself asks for.
void explainAttribute(PyObject* self, PyObject* name)
{
  const ClassInfo& cls = *asMessage(self).cls;
  if (PyUnicode_Tailmatch(name, own(PyUnicode_FromString("__")).get(), 0, PY_SSIZE_T_MAX, -1) == 1) {
    return;
  }
  PyErr_Clear();
  failUnknown(PyExc_AttributeError, cls, name);
}

PyObject* getAttribute(PyObject* self, PyObject* name) noexcept
{
  PyObject* const found = PyObject_GenericGetAttr(self, name);
  if (found != nullptr || PyErr_ExceptionMatches(PyExc_AttributeError) == 0) {
    return found;
  }
  return guarded(static_cast<PyObject*>(nullptr), [&]() -> PyObject* {
    explainAttribute(self, name);
    return nullptr;
  });
}

int setAttribute(PyObject* self, PyObject* name, PyObject* value) noexcept
{
  const int result = PyObject_GenericSetAttr(self, name, value);
  if (result == 0 || PyErr_ExceptionMatches(PyExc_AttributeError) == 0) {
    return result;
  }
  return guarded(-1, [&] {
    explainAttribute(self, name);
    return -1;
  });
}

PyObject* getItem(PyObject* self, PyObject* name) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    return readField(asMessage(self), fieldNamed(*asMessage(self).cls, name)).release();
  });
}

int setItem(PyObject* self, PyObject* name, PyObject* value) noexcept
{
  return guarded(-1, [&] {
    writeField(asMessage(self), fieldNamed(*asMessage(self).cls, name), value);
    return 0;
  });
}

PyObject* compare(PyObject* left, PyObject* right, int operation) noexcept
{
  if ((operation != Py_EQ && operation != Py_NE) || Py_TYPE(left) != Py_TYPE(right)) {
    Py_RETURN_NOTIMPLEMENTED;
  }
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const bool equal = *asMessage(left).message == *asMessage(right).message;
    return PyBool_FromLong(equal == (operation == Py_EQ));
  });
}

PyObject* represent(PyObject* self) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] { return shown(asMessage(self)).release(); });
}

PyObject* isSetMethod(PyObject* self, PyObject* name) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    return PyBool_FromLong(fieldNamed(*asMessage(self).cls, name).isSet(*asMessage(self).message));
  });
}

PyObject* copyMethod(PyObject* self, PyObject*) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    MessageObject& message = asMessage(self);
    return wrap(*message.cls->catalogue, std::make_unique<YMMessageBase>(*message.message)).release();
  });
}

PyObject* clearMethod(PyObject* self, PyObject*) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    for (const FieldInfo& field : asMessage(self).cls->fields) {
      unsetField(asMessage(self), field);
    }
    return share(Py_None).release();
  });
}

PyObject* reduceMethod(PyObject* self, PyObject*) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    MessageObject& message = asMessage(self);
    return callSupport("reduced", "(OO)", self, message.cls->catalogue->self()).release();
  });
}

PyObject* diffMethod(PyObject* self, PyObject* other) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    if (!isMessage(other)) {
      fail(PyExc_TypeError, std::string("diff() takes a message, got ") + Py_TYPE(other)->tp_name);
    }
    return differences(*asMessage(self).message, *asMessage(other).message).release();
  });
}

PyObject* toDictMethod(PyObject* self, PyObject*) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] { return toDict(asMessage(self)).release(); });
}

PyObject* fromDictMethod(PyObject* type, PyObject* mapping) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    Ref made = construct(reinterpret_cast<PyTypeObject*>(type), 0);
    writeFields(asMessage(made.get()), mapping);
    return made.release();
  });
}

PyMethodDef methods[] = {
    {"is_set", isSetMethod, METH_O, "is_set(name): whether the field has a value."},
    {"copy", copyMethod, METH_NOARGS, "copy(): a message of its own with the same values."},
    {"__copy__", copyMethod, METH_NOARGS, nullptr},
    {"__deepcopy__", copyMethod, METH_O, nullptr},
    {"clear", clearMethod, METH_NOARGS, "clear(): unsets all fields."},
    {"diff", diffMethod, METH_O,
     "diff(other): the values in which two messages differ, as a list of Difference."},
    {"to_dict", toDictMethod, METH_NOARGS, "to_dict(): the fields that are set, as a dict."},
    {"from_dict", fromDictMethod, METH_O | METH_CLASS,
     "from_dict(mapping): a message of a mapping of names to values."},
    {"to_xml", method(toXml), METH_VARARGS | METH_KEYWORDS,
     "to_xml(*, declaration=True, elements=False, readable=False, enum_names=False, exact=True,\n"
     "       mask_passwords=False, check=False, lenient=False): the message as XML."},
    {"to_json", method(toJson), METH_VARARGS | METH_KEYWORDS,
     "to_json(*, readable=False, mask_passwords=False, lenient=False): the message as JSON."},
    {"to_bytes", method(toBytes), METH_VARARGS | METH_KEYWORDS,
     "to_bytes(*, check=False, lenient=False): the binary form of the message."},
    {"from_xml", method(fromXml), METH_VARARGS | METH_KEYWORDS | METH_CLASS,
     "from_xml(data, *, lenient=False, strict=False, problems=None, memory_limit=0): the message in a text."},
    {"from_json", method(fromJson), METH_VARARGS | METH_KEYWORDS | METH_CLASS,
     "from_json(data, *, lenient=False, strict=False, problems=None, memory_limit=0): the message in a "
     "text."},
    {"from_bytes", method(fromBytes), METH_VARARGS | METH_KEYWORDS | METH_CLASS,
     "from_bytes(data, *, lenient=False, strict=False, problems=None, memory_limit=0): the message in "
     "bytes."},
    {"__reduce__", reduceMethod, METH_NOARGS, nullptr},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace

void addMessageType(PyObject* module)
{
  PyType_Slot slots[] = {
      {Py_tp_new, reinterpret_cast<void*>(newMessage)},
      {Py_tp_dealloc, reinterpret_cast<void*>(endMessage)},
      {Py_tp_getattro, reinterpret_cast<void*>(getAttribute)},
      {Py_tp_setattro, reinterpret_cast<void*>(setAttribute)},
      {Py_tp_richcompare, reinterpret_cast<void*>(compare)},
      {Py_tp_hash, reinterpret_cast<void*>(PyObject_HashNotImplemented)},
      {Py_tp_repr, reinterpret_cast<void*>(represent)},
      {Py_tp_methods, methods},
      {Py_mp_subscript, reinterpret_cast<void*>(getItem)},
      {Py_mp_ass_subscript, reinterpret_cast<void*>(setItem)},
      {Py_tp_doc, const_cast<char*>("A message. Each class of a catalogue is a class of its own.")},
      {0, nullptr}};
  PyType_Spec spec{"kwxml.Message", sizeof(MessageObject), 0,
                   Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE | Py_TPFLAGS_IMMUTABLETYPE, slots};
  Ref made = own(PyType_FromSpec(&spec));
  support.messageType = reinterpret_cast<PyTypeObject*>(made.get());
  support.messageType->tp_vectorcall = callType;
  checked(PyModule_AddObjectRef(module, "Message", made.release()));
}

}  // namespace kwxml::python
