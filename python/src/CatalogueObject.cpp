#include "Catalogue.h"
#include "Codec.h"

#include <cstring>
#include <new>
#include <utility>

namespace kwxml::python {

namespace {

CatalogueObject& asCatalogue(PyObject* object)
{
  return *reinterpret_cast<CatalogueObject*>(object);
}

std::vector<std::string> pathsOf(PyObject* sequence)
{
  const Ref list = own(PySequence_List(sequence));
  std::vector<std::string> paths;
  for (Py_ssize_t i = 0; i < PyList_GET_SIZE(list.get()); ++i) {
    PyObject* encoded = nullptr;
    if (PyUnicode_FSConverter(PyList_GET_ITEM(list.get(), i), &encoded) == 0) {
      throw PythonError();
    }
    const Ref bytes(encoded);
    paths.emplace_back(PyBytes_AS_STRING(encoded), static_cast<std::size_t>(PyBytes_GET_SIZE(encoded)));
  }
  return paths;
}

[[noreturn]] void failLoading(const std::string& problems)
{
  raise(callSupport("CatalogueError", "(N)", text(problems).release()));
}

/// Arguments: "schemas", "library" or "builtin", and the paths.
PyObject* newCatalogue(PyTypeObject* type, PyObject* arguments, PyObject*) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const char* kind = nullptr;
    PyObject* sequence = nullptr;
    if (PyArg_ParseTuple(arguments, "sO", &kind, &sequence) == 0) {
      throw PythonError();
    }
    const std::vector<std::string> paths = pathsOf(sequence);
    Ref self = own(type->tp_alloc(type, 0));
    std::string problems;
    Registry::Owner owned;
    const Registry* registry = nullptr;
    if (std::strcmp(kind, "builtin") == 0) {
      registry = &Registry::first();
    } else {
      const Released released;
      if (std::strcmp(kind, "library") == 0) {
        registry = paths.size() == 1 ? Registry::fromLibrary(paths.front(), problems) : nullptr;
      } else {
        owned = Registry::fromSchemas(paths, problems);
        registry = owned.get();
      }
    }
    if (registry == nullptr) {
      failLoading(problems);
    }
    asCatalogue(self.get()).catalogue =
        std::make_unique<Catalogue>(self.get(), std::move(owned), *registry).release();
    checked(PyObject_SetAttrString(self.get(), "warnings", text(problems).get()));
    return self.release();
  });
}

int traverse(PyObject* self, visitproc visit, void* arg)
{
  Py_VISIT(Py_TYPE(self));
  const Catalogue* const catalogue = asCatalogue(self).catalogue;
  return catalogue != nullptr ? catalogue->traverse(visit, arg) : 0;
}

int clear(PyObject* self)
{
  if (Catalogue* const catalogue = asCatalogue(self).catalogue) {
    catalogue->clear();
  }
  return 0;
}

void end(PyObject* self) noexcept
{
  PyObject_GC_UnTrack(self);
  delete std::exchange(asCatalogue(self).catalogue, nullptr);
  PyTypeObject* const type = Py_TYPE(self);
  type->tp_free(self);
  Py_DECREF(type);
}

PyObject* nameMethod(PyObject* self, PyObject*) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr),
                 [&] { return text(catalogueOf(self).registry().name()).release(); });
}

/// [(name, index, doc), ...]
PyObject* systemsMethod(PyObject* self, PyObject*) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const Registry& registry = catalogueOf(self).registry();
    Ref out = own(PyList_New(0));
    for (int system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
      if (const char* const name = registry.row(static_cast<unsigned>(system)).name) {
        checked(PyList_Append(out.get(),
                              own(Py_BuildValue("(sis)", name, system, registry.doc(system, -1, -1))).get()));
      }
    }
    return out.release();
  });
}

/// [(name, index, is enumeration), ...] of the classes that have a name: others fill the places between them.
PyObject* classesMethod(PyObject* self, PyObject* number) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const Registry& registry = catalogueOf(self).registry();
    const long index = PyLong_AsLong(number);
    if (index == -1 && PyErr_Occurred() != nullptr) {
      throw PythonError();
    }
    Ref out = own(PyList_New(0));
    const char* const systemName = registry.row(static_cast<unsigned>(index)).name;
    for (int i = 0; const _ClassDef* const cls = registry.findClass(static_cast<int>(index), i); ++i) {
      short system = 0;
      int place = 0;
      if (systemName != nullptr && cls->name != nullptr &&
          registry.findClass(systemName, cls->name, system, place) && place == i) {
        checked(PyList_Append(
            out.get(), own(Py_BuildValue("(siN)", cls->name, i, PyBool_FromLong(cls->isEnum()))).get()));
      }
    }
    return out.release();
  });
}

/// The class at a position; raises IndexError.
PyObject* classMethod(PyObject* self, PyObject* arguments) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    int system = 0;
    int index = 0;
    if (PyArg_ParseTuple(arguments, "ii", &system, &index) == 0) {
      throw PythonError();
    }
    Catalogue& catalogue = catalogueOf(self);
    ClassInfo* const cls = catalogue.at(system, index);
    if (cls == nullptr) {
      fail(PyExc_IndexError, "the catalogue has no such class");
    }
    return share(reinterpret_cast<PyObject*>(catalogue.type(*cls))).release();
  });
}

/// The class of a tag name, or None. Names of systems and of classes may have "_" in them.
PyObject* findMethod(PyObject* self, PyObject* name) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    if (!PyUnicode_Check(name)) {
      fail(PyExc_TypeError, std::string("a class is named by str, not ") + Py_TYPE(name)->tp_name);
    }
    Catalogue& catalogue = catalogueOf(self);
    const std::string_view tag = utf8IfAny(name).value_or("");
    for (std::size_t at = tag.find('_'); at != std::string_view::npos; at = tag.find('_', at + 1)) {
      short system = 0;
      int index = 0;
      if (catalogue.registry().findClass(tag.substr(0, at), tag.substr(at + 1), system, index)) {
        return share(reinterpret_cast<PyObject*>(catalogue.type(*catalogue.at(system, index)))).release();
      }
    }
    return share(Py_None).release();
  });
}

template <Form form>
PyObject* readMethod(PyObject* self, PyObject* arguments, PyObject* keywords) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr),
                 [&] { return readCall(catalogueOf(self), nullptr, form, arguments, keywords); });
}

PyMethodDef methods[] = {
    {"_name", nameMethod, METH_NOARGS, nullptr},
    {"_systems", systemsMethod, METH_NOARGS, nullptr},
    {"_classes", classesMethod, METH_O, nullptr},
    {"_class", classMethod, METH_VARARGS, nullptr},
    {"_find", findMethod, METH_O, nullptr},
    {"from_xml", method(readMethod<Form::Xml>), METH_VARARGS | METH_KEYWORDS,
     "from_xml(data, *, lenient=False, strict=False, problems=None, memory_limit=0): the message in a text."},
    {"from_json", method(readMethod<Form::Json>), METH_VARARGS | METH_KEYWORDS,
     "from_json(data, *, lenient=False, strict=False, problems=None, memory_limit=0): the message in a "
     "text."},
    {"from_bytes", method(readMethod<Form::Binary>), METH_VARARGS | METH_KEYWORDS,
     "from_bytes(data, *, lenient=False, strict=False, problems=None, memory_limit=0): the message in "
     "bytes."},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace

Catalogue& catalogueOf(PyObject* object)
{
  if (!PyObject_TypeCheck(object, support.catalogueType) || asCatalogue(object).catalogue == nullptr) {
    fail(PyExc_TypeError, std::string("expected a catalogue, got ") + Py_TYPE(object)->tp_name);
  }
  return *asCatalogue(object).catalogue;
}

void addCatalogueType(PyObject* module)
{
  PyType_Slot slots[] = {{Py_tp_new, reinterpret_cast<void*>(newCatalogue)},
                         {Py_tp_dealloc, reinterpret_cast<void*>(end)},
                         {Py_tp_traverse, reinterpret_cast<void*>(traverse)},
                         {Py_tp_clear, reinterpret_cast<void*>(clear)},
                         {Py_tp_methods, methods},
                         {0, nullptr}};
  PyType_Spec spec{"kwxml._kwxml.CatalogueBase", sizeof(CatalogueObject), 0,
                   Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE | Py_TPFLAGS_HAVE_GC | Py_TPFLAGS_IMMUTABLETYPE,
                   slots};
  Ref made = own(PyType_FromSpec(&spec));
  support.catalogueType = reinterpret_cast<PyTypeObject*>(made.get());
  checked(PyModule_AddObjectRef(module, "CatalogueBase", made.release()));
}

}  // namespace kwxml::python
