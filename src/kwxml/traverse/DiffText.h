// Values as differences and pages show them. Not installed.
#pragma once

#include <kwxml/model/MessageInternal.h>
#include <kwxml/text/ShownText.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string>
#include <type_traits>

namespace kwxml {

template <class Number>
inline void appendNumber(std::string& out, Number value, auto... how)
{
  char digits[32];  // the longest is a double: sign, 17 digits, point, exponent
  out.append(digits, std::to_chars(digits, std::end(digits), value, how...).ptr);
}

constexpr std::string_view quotedCharacters = "\"\\";

inline void appendString(std::string& out, const std::string& text)
{
  out += '"';
  appendShown(out, text, quotedCharacters);
  out += '"';
}

inline void appendString(std::string& out, const std::wstring& text)
{
  static_assert(sizeof(wchar_t) == 4, "an element of a wide string is a character");
  out += '"';
  for (const wchar_t element : text) {
    appendShownCharacter(out, static_cast<std::uint32_t>(element), quotedCharacters);
  }
  out += '"';
}

template <class Bits>
inline void appendBits(std::string& out, Bits bits)
{
  out += "(0x";
  appendNumber(out, bits, 16);
  out += ')';
}

template <class Float>
inline void appendFloat(std::string& out, Float value)
{
  if (std::isnan(value)) {
    out += "nan";
    appendBits(out,
               std::bit_cast<std::conditional_t<sizeof(Float) == 4, std::uint32_t, std::uint64_t>>(value));
  } else {
    appendNumber(out, value);
  }
}

/// A floating value in its slot. Of a float the rest of the slot counts too when messages are compared.
template <class Float>
inline void appendFloatSlot(std::string& out, long long slot)
{
  Float value;
  std::memcpy(&value, &slot, sizeof value);
  appendFloat(out, value);
  long long plain = 0;
  std::memcpy(&plain, &value, sizeof value);
  if (plain != slot) {
    appendBits(out, static_cast<unsigned long long>(slot));
  }
}

inline void appendBool(std::string& out, long long value)
{
  out += value != 0 ? "true" : "false";
  if (value != 0 && value != 1) {
    out += '(';
    appendNumber(out, value);
    out += ')';
  }
}

/// Null when no enumerator has the value.
inline const FieldDef* enumeratorOf(long long value, const FieldDef& field)
{
  const _ClassDef* cls = findClass(packedReference(field));
  return cls != nullptr && cls->isEnum() ? findEnumerator(cls, value) : nullptr;
}

inline void appendEnum(std::string& out, long long value, const FieldDef& field)
{
  const FieldDef* enumerator = enumeratorOf(value, field);
  if (enumerator != nullptr) {
    out += enumerator->getName();
    out += '(';
  }
  appendNumber(out, value);
  if (enumerator != nullptr) {
    out += ')';
  }
}

constexpr std::string_view mask = "****";

/// A value of field type `T`, be it in its slot (a long long) or an element of a collection.
template <FieldDataType T, class Value>
inline void appendValue(std::string& out, const Value& value, const FieldDef& field)
{
  if constexpr (std::is_base_of_v<bstring, Value>) {
    out += mask;
  } else if constexpr (T == FIELD_STRING || T == FIELD_WSTRING) {
    appendString(out, value);
  } else if constexpr (std::is_floating_point_v<Value>) {
    appendFloat(out, value);
  } else if constexpr (T == FIELD_FLOAT || T == FIELD_DOUBLE) {
    appendFloatSlot<FieldValue<T>>(out, value);
  } else if constexpr (T == FIELD_BOOL) {
    appendBool(out, value);
  } else if constexpr (T == FIELD_ENUM) {
    if constexpr (std::is_same_v<Value, unsigned int>) {  // how lists keep them
      appendEnum(out, static_cast<int>(value), field);
    } else {
      appendEnum(out, value, field);
    }
  } else if constexpr (T == FIELD_ULONG || T == FIELD_ULONGLONG) {
    appendNumber(out, static_cast<unsigned long long>(value));
  } else {
    appendNumber(out, value);
  }
}

}  // namespace kwxml
