#include "Values.h"

#include "Message.h"

#include <datetime.h>

#include <cmath>
#include <limits>
#include <utility>

namespace kwxml::python {

namespace {

/// An int of an object that is one, or stands for one as those of other libraries do. Null for any other.
Ref wholeNumber(PyObject* value)
{
  if (PyLong_Check(value)) {
    return share(value);
  }
  return PyIndex_Check(value) != 0 ? own(PyNumber_Index(value)) : nullptr;
}

[[noreturn]] void failRange(const FieldInfo& field, PyObject* value, const std::string& least,
                            const std::string& most)
{
  const Ref shown(PyObject_Str(value));
  PyErr_Clear();  // Python writes no number of thousands of digits
  fail(PyExc_OverflowError, field.path() + ": " +
                                (shown != nullptr ? std::string(utf8(shown.get())) : "a huge number") +
                                " is out of range: " + least + " to " + most);
}

/// The seconds of a date.
Ref secondsOf(const FieldInfo& field, PyObject* value)
{
  const Ref seconds = callSupport("seconds_of", "(O)", value);
  if (seconds.get() == Py_None) {
    failType(field, "datetime with a time zone and no fraction of a second, or int", value);
  }
  return share(seconds.get());
}

void importDates()
{
  if (PyDateTimeAPI == nullptr) {
    PyDateTime_IMPORT;
    if (PyDateTimeAPI == nullptr) {
      throw PythonError();
    }
  }
}

}  // namespace

void failType(const FieldInfo& field, const char* expected, PyObject* given)
{
  const ClassInfo* const cls = Catalogue::ofType(Py_TYPE(given));
  if (cls != nullptr && cls->catalogue != field.owner->catalogue &&
      std::string_view(expected) == Py_TYPE(given)->tp_name) {
    fail(PyExc_TypeError, utf8(callSupport("other_catalogue", "(ssOO)", field.path().c_str(), expected,
                                           field.owner->catalogue->self(), cls->catalogue->self())
                                   .get()));
  }
  fail(PyExc_TypeError, field.path() + ": expected " + expected + ", got " + Py_TYPE(given)->tp_name);
}

Ref enumerator(const FieldInfo& field, long long number)
{
  if (field.target != nullptr && number == static_cast<std::int32_t>(number)) {
    field.target->catalogue->type(*field.target);
    const auto found = field.target->enumerators.find(static_cast<std::int32_t>(number));
    if (found != field.target->enumerators.end()) {
      return share(found->second.get());
    }
  }
  return own(PyLong_FromLongLong(number));
}

int enumeratorNumber(const FieldInfo& field, PyObject* value)
{
  PyTypeObject* const type = field.target != nullptr ? field.target->catalogue->type(*field.target) : nullptr;
  const Ref number = PyUnicode_Check(value)
                         ? callSupport("enumerator_named", "(sOO)", field.path().c_str(),
                                       type != nullptr ? reinterpret_cast<PyObject*>(type) : Py_None, value)
                         : share(value);
  if (Py_TYPE(number.get()) != type && !PyLong_CheckExact(number.get())) {
    const Ref other = callSupport("is_enumerator", "(O)", number.get());
    if (other.get() == Py_True || PyBool_Check(number.get())) {
      failType(field, type != nullptr ? type->tp_name : "int", value);
    }
  }
  return static_cast<int>(integer(field, number.get(), std::numeric_limits<std::int32_t>::min(),
                                  std::numeric_limits<std::int32_t>::max()));
}

Ref date(long long seconds)
{
  importDates();
  const Ref arguments = own(Py_BuildValue("(LO)", seconds, PyDateTime_TimeZone_UTC));
  Ref made(PyDateTime_FromTimestamp(arguments.get()));
  if (made == nullptr) {
    PyErr_Clear();  // a year that Python's calendar lacks
    return own(PyLong_FromLongLong(seconds));
  }
  return made;
}

long long integer(const FieldInfo& field, PyObject* value, long long least, long long most)
{
  Ref number = wholeNumber(value);
  if (number == nullptr && field.isDate) {
    number = secondsOf(field, value);
  }
  if (number == nullptr) {
    failType(field, "int", value);
  }
  int overflow = 0;
  const long long result = PyLong_AsLongLongAndOverflow(number.get(), &overflow);
  if (overflow != 0 || result < least || result > most) {
    failRange(field, number.get(), std::to_string(least), std::to_string(most));
  }
  return result;
}

unsigned long long unsignedInteger(const FieldInfo& field, PyObject* value, unsigned long long most)
{
  const Ref number = wholeNumber(value);
  if (number == nullptr) {
    failType(field, "int", value);
  }
  const unsigned long long result = PyLong_AsUnsignedLongLong(number.get());
  if (PyErr_Occurred() != nullptr || result > most) {
    PyErr_Clear();
    failRange(field, number.get(), "0", std::to_string(most));
  }
  return result;
}

double real(const FieldInfo& field, PyObject* value)
{
  if (PyFloat_Check(value)) {
    return PyFloat_AS_DOUBLE(value);
  }
  const bool isNumber = PyLong_Check(value) || (Py_TYPE(value)->tp_as_number != nullptr &&
                                                Py_TYPE(value)->tp_as_number->nb_float != nullptr);
  if (!isNumber) {
    failType(field, "float", value);
  }
  const double result = PyFloat_AsDouble(value);
  if (result == -1.0 && PyErr_Occurred() != nullptr) {
    throw PythonError();
  }
  return result;
}

float single(const FieldInfo& field, PyObject* value)
{
  const double number = real(field, value);
  // What rounds to more than the largest float. A cast of it would not be defined.
  constexpr double beyond = 0x1.ffffffp127;
  if (std::isfinite(number) && std::fabs(number) >= beyond) {
    failRange(field, value, "-3.4028234e+38", "3.4028234e+38");
  }
  return static_cast<float>(number);
}

std::string narrowText(const FieldInfo& field, PyObject* value)
{
  if (!PyUnicode_Check(value)) {
    failType(field, "str", value);
  }
  Py_ssize_t size = 0;
  if (const char* bytes = PyUnicode_AsUTF8AndSize(value, &size)) {
    return {bytes, static_cast<std::size_t>(size)};
  }
  PyErr_Clear();
  const Ref encoded = own(PyUnicode_AsEncodedString(value, "utf-8", "surrogateescape"));
  return {PyBytes_AS_STRING(encoded.get()), static_cast<std::size_t>(PyBytes_GET_SIZE(encoded.get()))};
}

std::wstring wideText(const FieldInfo& field, PyObject* value)
{
  if (!PyUnicode_Check(value)) {
    failType(field, "str", value);
  }
  const Py_ssize_t size = PyUnicode_GetLength(value);
  std::wstring out(static_cast<std::size_t>(size), L'\0');
  if (PyUnicode_AsWideChar(value, out.data(), size) < 0) {
    throw PythonError();
  }
  return out;
}

std::optional<std::string> bufferOf(PyObject* object)
{
  Py_buffer buffer;
  if (PyObject_GetBuffer(object, &buffer, PyBUF_FULL_RO) != 0) {
    if (PyErr_ExceptionMatches(PyExc_TypeError) == 0) {
      throw PythonError();
    }
    PyErr_Clear();
    return std::nullopt;
  }
  struct Release
  {
    Py_buffer& held;
    ~Release() { PyBuffer_Release(&held); }
  } const release{buffer};
  std::string out(static_cast<std::size_t>(buffer.len), '\0');
  checked(PyBuffer_ToContiguous(out.data(), &buffer, buffer.len, 'C'));
  return out;
}

std::string bytesOf(const FieldInfo& field, PyObject* value)
{
  std::optional<std::string> bytes = bufferOf(value);
  if (!bytes) {
    failType(field, "bytes", value);
  }
  return std::move(*bytes);
}

Ref password(const pstring& value)
{
  const Ref words = text(value.text());
  return callSupport("Password", "(Oi)", words.get(), value.getEncryptionType());
}

pstring passwordFrom(const FieldInfo& field, PyObject* value)
{
  std::string words = narrowText(field, value);
  if (PyUnicode_CheckExact(value)) {
    return pstring(words);
  }
  const Ref type = callSupport("password_type", "(O)", value);
  const FieldInfo& named = field;
  return pstring(words, static_cast<int>(integer(named, type.get(), std::numeric_limits<int>::min(),
                                                 std::numeric_limits<int>::max())));
}

YMMessageBase messageFrom(const FieldInfo& field, ClassInfo* cls, PyObject* value)
{
  if (cls == nullptr) {
    fail(PyExc_TypeError, field.path() + ": the catalogue lacks the class of its messages");
  }
  if (isMessage(value)) {
    if (asMessage(value).cls != cls) {
      failType(field, cls->name.c_str(), value);
    }
    return *asMessage(value).message;
  }
  if (PyDict_Check(value)) {
    const Ref made = create(*cls);
    writeFields(asMessage(made.get()), value);
    return std::move(*asMessage(made.get()).message);
  }
  failType(field, cls->name.c_str(), value);
}

}  // namespace kwxml::python
