// Single values of messages as Python's, and back.
#pragma once

#include "Catalogue.h"

#include <kwxml/model/FieldTypes.h>
#include <kwxml/model/StringTypes.h>

#include <optional>
#include <string>
#include <type_traits>

namespace kwxml::python {

/// "Pets.Cat.lives: expected int, got str" as a TypeError. Throws PythonError.
[[noreturn]] void failType(const FieldInfo& field, const char* expected, PyObject* given);

/// The enumerator of a number, or the number. Throws PythonError.
Ref enumerator(const FieldInfo& field, long long number);
/// The number of an enumerator, of its name, or a number. Throws PythonError.
int enumeratorNumber(const FieldInfo& field, PyObject* value);
/// A date of UTC, or the number where Python has no such date. Throws PythonError.
Ref date(long long seconds);
/// An integer within bounds. Throws PythonError.
long long integer(const FieldInfo& field, PyObject* value, long long least, long long most);
unsigned long long unsignedInteger(const FieldInfo& field, PyObject* value, unsigned long long most);
/// A number. Throws PythonError.
double real(const FieldInfo& field, PyObject* value);
/// The same of 32 bits. Throws PythonError (OverflowError) where only an infinite value would be left.
float single(const FieldInfo& field, PyObject* value);
/// The bytes of a str: UTF-8, with those that text() kept. Throws PythonError.
std::string narrowText(const FieldInfo& field, PyObject* value);
std::wstring wideText(const FieldInfo& field, PyObject* value);
/// A copy of the bytes of an object that has a buffer, in the order of its elements; nothing for any other
/// object. Throws PythonError.
std::optional<std::string> bufferOf(PyObject* object);
/// The same for a field. Throws PythonError (TypeError) for any other object.
std::string bytesOf(const FieldInfo& field, PyObject* value);
/// kwxml.Password. Throws PythonError.
Ref password(const pstring& value);
pstring passwordFrom(const FieldInfo& field, PyObject* value);
/// A message of the class: a copy of a message, or made of a mapping of its fields. Throws PythonError.
YMMessageBase messageFrom(const FieldInfo& field, ClassInfo* cls, PyObject* value);

/// What an integer of a type is.
template <FieldDataType T>
using Whole = std::conditional_t<T == FIELD_INT64, long long, NativeValue<T>>;

/// A value of type T as Python's. Messages are left to their callers. Throws PythonError.
template <FieldDataType T, class Stored>
Ref toPython(const FieldInfo& field, const Stored& value)
{
  if constexpr (T == FIELD_BOOL) {
    return own(PyBool_FromLong(value != 0));
  } else if constexpr (T == FIELD_ENUM) {
    return enumerator(field, static_cast<int>(value));
  } else if constexpr (std::is_floating_point_v<Stored>) {
    return own(PyFloat_FromDouble(value));
  } else if constexpr (std::is_integral_v<Stored>) {
    const auto whole = static_cast<Whole<T>>(value);
    if constexpr (std::is_signed_v<Whole<T>>) {
      return field.isDate ? date(whole) : own(PyLong_FromLongLong(whole));
    } else {
      return own(PyLong_FromUnsignedLongLong(whole));
    }
  } else if constexpr (std::is_same_v<Stored, std::string>) {
    return text(value);
  } else if constexpr (std::is_same_v<Stored, std::wstring>) {
    return own(PyUnicode_FromWideChar(value.data(), static_cast<Py_ssize_t>(value.size())));
  } else if constexpr (std::is_same_v<Stored, pstring>) {
    return password(value);
  } else {
    static_assert(std::is_same_v<Stored, bstring>);
    return own(PyBytes_FromStringAndSize(value.text().data(), static_cast<Py_ssize_t>(value.size())));
  }
}

/// The value of type T that a Python object stands for, of the C++ type that is stored. Throws PythonError.
template <FieldDataType T, class Stored>
Stored fromPython(const FieldInfo& field, PyObject* value)
{
  if constexpr (T == FIELD_BOOL) {
    if (!PyBool_Check(value)) {
      failType(field, "bool", value);
    }
    return value == Py_True;
  } else if constexpr (T == FIELD_ENUM) {
    return static_cast<Stored>(enumeratorNumber(field, value));
  } else if constexpr (std::is_same_v<Stored, float>) {
    return single(field, value);
  } else if constexpr (std::is_same_v<Stored, double>) {
    return real(field, value);
  } else if constexpr (std::is_integral_v<Stored>) {
    using Limits = std::numeric_limits<Whole<T>>;
    if constexpr (std::is_signed_v<Whole<T>>) {
      return static_cast<Stored>(integer(field, value, Limits::min(), Limits::max()));
    } else {
      return static_cast<Stored>(unsignedInteger(field, value, Limits::max()));
    }
  } else if constexpr (std::is_same_v<Stored, std::string>) {
    return narrowText(field, value);
  } else if constexpr (std::is_same_v<Stored, std::wstring>) {
    return wideText(field, value);
  } else if constexpr (std::is_same_v<Stored, pstring>) {
    return passwordFrom(field, value);
  } else if constexpr (std::is_same_v<Stored, YMMessageBase>) {
    return messageFrom(field, field.target, value);
  } else {
    static_assert(std::is_same_v<Stored, bstring>);
    return bstring(bytesOf(field, value));
  }
}

}  // namespace kwxml::python
