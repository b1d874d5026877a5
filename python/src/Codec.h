// Messages to and from their forms. The GIL is released while the library reads or writes.
#pragma once

#include "Message.h"

#include <kwxml/reading/Problems.h>

namespace kwxml::python {

/// A form of messages.
enum class Form
{
  Xml,
  Json,
  Binary,
};

/// What to do with what reading drops or bends.
struct ReadRules
{
  bool lenient = false;                ///< what the library reads is taken
  bool strict = false;                 ///< unknown names are errors, too
  PyObject* problems = nullptr;        ///< a list that takes all problems; borrowed, null for none
  unsigned long long memoryLimit = 0;  ///< bytes; 0 for the usual limit
};

/// Raises DecodeError where the rules say so. `none` says that there is no message. Throws PythonError.
void judge(const Problems& problems, const ReadRules& rules, bool none);

/// The message in an object with text or bytes. `expected` is its class, null for any. Throws PythonError.
Ref read(Catalogue& catalogue, Form form, PyObject* data, const ReadRules& rules, const ClassInfo* expected);
/// Parses "(data, *, lenient, strict, problems, memory_limit)", and reads.
PyObject* readCall(Catalogue& catalogue, const ClassInfo* expected, Form form, PyObject* arguments,
                   PyObject* keywords);

// Methods of classes and messages.
PyObject* fromXml(PyObject* type, PyObject* arguments, PyObject* keywords) noexcept;
PyObject* fromJson(PyObject* type, PyObject* arguments, PyObject* keywords) noexcept;
PyObject* fromBytes(PyObject* type, PyObject* arguments, PyObject* keywords) noexcept;
PyObject* toXml(PyObject* self, PyObject* arguments, PyObject* keywords) noexcept;
PyObject* toJson(PyObject* self, PyObject* arguments, PyObject* keywords) noexcept;
PyObject* toBytes(PyObject* self, PyObject* arguments, PyObject* keywords) noexcept;

}  // namespace kwxml::python
