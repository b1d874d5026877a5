// kwxml._kwxml: the part of the module kwxml that is written in C++.
#include "Codec.h"
#include "Collections.h"
#include "Message.h"
#include "Records.h"

#include <kwxml/codec/StandInPasswords.h>
#include <kwxml/diagnostics/XMLDebug.h>

namespace py = pybind11;

namespace kwxml::python {

namespace {

/// [(name, type number, class or None, class of keys or None, doc), ...]
py::object fieldsOf(const py::object& type)
{
  const ClassInfo* const cls =
      PyType_Check(type.ptr()) ? Catalogue::ofType(reinterpret_cast<PyTypeObject*>(type.ptr())) : nullptr;
  if (cls == nullptr || cls->def->isEnum()) {
    throw py::type_error("expected a class of messages");
  }
  const auto classOf = [](ClassInfo* target) -> py::object {
    return target != nullptr ? py::reinterpret_borrow<py::object>(
                                   reinterpret_cast<PyObject*>(target->catalogue->type(*target)))
                             : py::none();
  };
  py::list out;
  for (const FieldInfo& field : cls->fields) {
    out.append(py::make_tuple(field.name, static_cast<int>(field.type), classOf(field.target),
                              classOf(field.keyTarget), field.isDate, field.doc));
  }
  return out;
}

}  // namespace

}  // namespace kwxml::python

PYBIND11_MODULE(_kwxml, module)
{
  using namespace kwxml::python;
  try {
    support.module = own(PyImport_ImportModule("kwxml._support")).release();
    addCatalogueType(module.ptr());
    addMessageType(module.ptr());
    addListType(module.ptr());
    addMapType(module.ptr());
  } catch (const PythonError&) {
    throw py::error_already_set();
  }
  addRecords(module);
  module.def("seal_views", [] {
    seal(support.listType);
    seal(support.mapType);
  });
  module.def("fields_of", [](const py::object& type) {
    try {
      return fieldsOf(type);
    } catch (const PythonError&) {
      throw py::error_already_set();
    }
  });
  module.def("log_to_standard_error", &kwxml::logToStandardError, py::arg("level") = 0,
             "Shows the library's errors on standard error, and its traces up to a level.");
  module.def("register_password_algorithms", &kwxml::registerPasswordAlgorithms,
             "Has passwords protected by the key that the settings name. False where they name none.");
}
