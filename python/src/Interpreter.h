// What all sources of the module share of Python's C interface: owned references, and exceptions on their way
// through C++.
//
// A Python exception that is set travels as the C++ exception PythonError. Each function that Python calls
// ends in guarded(), which turns other C++ exceptions into Python's. All functions are called with the GIL
// held unless their comment says otherwise.
#pragma once

#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include <kwxml/platform/KwException.h>

#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>

namespace kwxml::python {

/// A Python exception is set.
struct PythonError
{
};

/// Gives a reference back.
struct DropReference
{
  /// Needs an object.
  void operator()(PyObject* object) const noexcept { Py_DECREF(object); }
};
/// An owned reference; null for none.
using Ref = std::unique_ptr<PyObject, DropReference>;

/// Owns what a call has given. Throws PythonError where the call has given null.
inline Ref own(PyObject* given)
{
  if (given == nullptr) {
    throw PythonError();
  }
  return Ref(given);
}
/// One more reference to an object that is there.
inline Ref share(PyObject* object)
{
  Py_INCREF(object);
  return Ref(object);
}
/// Throws PythonError where a call has given -1.
inline int checked(int given)
{
  if (given < 0) {
    throw PythonError();
  }
  return given;
}

/// The text of a str. Throws PythonError for one that has no UTF-8. The view holds as long as the object.
inline std::string_view utf8(PyObject* text)
{
  Py_ssize_t size = 0;
  const char* bytes = PyUnicode_AsUTF8AndSize(text, &size);
  if (bytes == nullptr) {
    throw PythonError();
  }
  return {bytes, static_cast<std::size_t>(size)};
}
/// The same; nothing for a str that has no UTF-8, as one with a lone surrogate.
inline std::optional<std::string_view> utf8IfAny(PyObject* text)
{
  Py_ssize_t size = 0;
  const char* bytes = PyUnicode_AsUTF8AndSize(text, &size);
  if (bytes != nullptr) {
    return std::string_view(bytes, static_cast<std::size_t>(size));
  }
  if (PyErr_ExceptionMatches(PyExc_UnicodeEncodeError) == 0) {
    throw PythonError();
  }
  PyErr_Clear();
  return std::nullopt;
}
/// A str of UTF-8. Bytes that are none are kept as Python keeps them in names of files.
inline Ref text(std::string_view utf8)
{
  return own(PyUnicode_DecodeUTF8(utf8.data(), static_cast<Py_ssize_t>(utf8.size()), "surrogateescape"));
}

/// Sets a Python exception with a text, which is UTF-8 or the name of a file, and throws PythonError.
[[noreturn]] inline void fail(PyObject* type, std::string_view words)
{
  PyErr_SetObject(type, text(words).get());
  throw PythonError();
}
/// Sets an exception that is made already, and throws PythonError.
[[noreturn]] inline void raise(const Ref& error)
{
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.get())), error.get());
  throw PythonError();
}

/// Gives what `work` gives, or `failed` with a Python exception set.
template <class Work, class Failed>
auto guarded(Failed failed, Work work) noexcept -> decltype(work())
{
  try {
    return work();
  } catch (const PythonError&) {
  } catch (const std::bad_alloc&) {
    PyErr_NoMemory();
  } catch (const std::exception& error) {
    PyErr_SetString(PyExc_RuntimeError, error.what());
  }
  return failed;
}

/// The GIL is released as long as the object lives. What runs then touches no Python object.
class Released
{
public:
  /// Lets other threads run.
  Released() : state_(PyEval_SaveThread()) {}
  /// Waits for the GIL.
  ~Released() { PyEval_RestoreThread(state_); }
  Released(const Released&) = delete;
  Released& operator=(const Released&) = delete;

private:
  PyThreadState* state_;
};

/// From now on a type is as it is. An object could otherwise be made one of another type with the same
/// layout.
inline void seal(PyTypeObject* type)
{
  type->tp_flags |= Py_TPFLAGS_IMMUTABLETYPE;
  PyType_Modified(type);
}

/// A function that takes keywords, as a table of methods wants it.
template <class Function>
PyCFunction method(Function function)
{
  return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(function));
}

}  // namespace kwxml::python
