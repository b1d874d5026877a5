// The field types of messages: their enumeration, a constant table of their properties and one dispatcher.
//
// Every walk over field values (copy, compare, delete, encodings, rendering) goes through visitFieldType()
// and groups types by the properties here (storage, element, map key and value), so that a new type or
// property is one row or one column in FieldTypes.def.
#pragma once

#include <kwxml/platform/CxxStandard.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

class YMMessageBase;
class bstring;
class pstring;

/// The one-byte type of a field record: the enumerators are the rows of FieldTypes.def. Values above 42 are
/// invalid everywhere.
enum FieldDataType : std::uint8_t
{
/// Here and below: what a row of FieldTypes.def becomes.
#define KWXML_FIELD_TYPE(number, enumerator, ...) enumerator = number,
#include <kwxml/model/FieldTypes.def>
#undef KWXML_FIELD_TYPE
  FIELD_INVALID = 255  ///< stands for every number above 42
};

namespace kwxml {

/// How a message keeps a value.
enum class Storage : std::uint8_t
{
  None,     ///< no storage, no accessor
  InPlace,  ///< the value itself lies in its consecutive 8-byte slots
  Object,   ///< one slot holds an owned pointer, null until the value is created
};

/// What a value is in JSON.
enum class JsonForm : std::uint8_t
{
  None,            ///< absent
  Number,          ///< a number of 32 bits
  WideNumber,      ///< a number of 64 bits: a text beyond 2^53
  UnsignedNumber,  ///< a number of 64 bits without a sign, though the slot has one: a text beyond 2^53
  Truth,           ///< true or false; a number where the slot holds neither 0 nor 1
  Real,            ///< a number; a text for an infinite value and for a value that is no number
  Text,            ///< a text
  WideText,        ///< a text; an array of numbers where an element is no character
  Bytes,           ///< a text in base64
  Password,        ///< a text
  Enumerator,      ///< the name as a text, or the number
  Object,          ///< a message
  Array,           ///< a list
  EntryObject,     ///< a map: its entries are members
  EntryArray,      ///< a map: an array of objects with key and value
};

/// The properties of a field type; see FieldTypes.def for the columns.
struct FieldTypeInfo
{
  FieldDataType type;      ///< its number
  const char* text;        ///< its name in schema listings
  Storage storage;         ///< how a message keeps the value
  std::int8_t slots;       ///< 8-byte slots of the value
  FieldDataType element;   ///< of a list: the type of its elements; else FIELD_UNSET
  FieldDataType mapKey;    ///< of a map: the type of its keys; else FIELD_UNSET
  FieldDataType mapValue;  ///< of a map: the type of its values; else FIELD_UNSET
  std::uint8_t wireCode;   ///< how the binary form codes it
  std::uint8_t appType;    ///< application type code of XPath records
  JsonForm json;           ///< what the value is in JSON
};

/// The properties of all field types, by their numbers.
inline constexpr FieldTypeInfo fieldTypeTable[] = {
#define KWXML_FIELD_TYPE(number, enumerator, text, storage, slots, Value, element, mapKey, mapValue, wire, \
                         app, json)                                                                        \
  {enumerator, text, Storage::storage, slots, element, mapKey, mapValue, wire, app, JsonForm::json},
/// The column Value is not wanted here.
#define KWXML_TYPE(...) int
#include <kwxml/model/FieldTypes.def>
#undef KWXML_TYPE
#undef KWXML_FIELD_TYPE
};

/// Number of field types; their numbers are below it.
inline constexpr std::size_t fieldTypeCount = std::size(fieldTypeTable);

static_assert(
    [] {
      for (std::size_t i = 0; i < fieldTypeCount; ++i) {
        if (fieldTypeTable[i].type != i) {
          return false;
        }
      }
      return fieldTypeCount == 43;
    }(),
    "the rows of FieldTypes.def are dense and in the order of their numbers");

/// The properties of a type; those of FIELD_UNSET for an invalid number.
constexpr const FieldTypeInfo& fieldTypeInfo(unsigned type)
{
  return fieldTypeTable[type < fieldTypeCount ? type : 0];
}

/// The C++ type that holds a value: FieldValue<FIELD_LIST_INT> is std::vector<int>.
template <FieldDataType T>
struct FieldValueOf;
/// The column Value as it stands.
#define KWXML_TYPE(...) __VA_ARGS__
#define KWXML_FIELD_TYPE(number, enumerator, text, storage, slots, Value, ...) \
  template <>                                                                  \
  struct FieldValueOf<enumerator>                                              \
  {                                                                            \
    using type = Value;                                                        \
  };
#include <kwxml/model/FieldTypes.def>
#undef KWXML_FIELD_TYPE
#undef KWXML_TYPE
/// No value.
template <>
struct FieldValueOf<FIELD_INVALID>
{
  using type = void;  ///< none
};
/// The type that FieldValueOf names; void for FIELD_INVALID.
template <FieldDataType T>
using FieldValue = typename FieldValueOf<T>::type;

/// A std::type_identity of the C++ type in which a scalar leaves the library's slots, where integers of all
/// widths are 64-bit: the narrower one for those types of which FieldValue says less.
template <FieldDataType T>
constexpr auto nativeValueOf()
{
  if constexpr (T == FIELD_INT || T == FIELD_ENUM || T == FIELD_TIME32) {
    return std::type_identity<int>();
  } else if constexpr (T == FIELD_UINT) {
    return std::type_identity<unsigned int>();
  } else if constexpr (T == FIELD_LONG) {
    return std::type_identity<long>();
  } else if constexpr (T == FIELD_ULONG) {
    return std::type_identity<unsigned long>();
  } else if constexpr (T == FIELD_ULONGLONG) {
    return std::type_identity<unsigned long long>();
  } else if constexpr (T == FIELD_BOOL) {
    return std::type_identity<bool>();
  } else {
    return std::type_identity<FieldValue<T>>();
  }
}
/// The type that nativeValueOf() names.
template <FieldDataType T>
using NativeValue = typename decltype(nativeValueOf<T>())::type;

/// A field type as a compile-time value, handed to visitors by visitFieldType().
template <FieldDataType T>
struct FieldTypeTag
{
  static constexpr FieldDataType type = T;                 ///< the type
  static constexpr FieldTypeInfo info = fieldTypeInfo(T);  ///< its properties
  using Value = FieldValue<T>;                             ///< the C++ type that holds a value
};

// Groups of types that behave alike; a visitor's overloads are constrained by these concepts. `Tag` is a
// FieldTypeTag.

/// A type without storage and accessor.
template <class Tag>
concept NoStorage = Tag::info.storage == Storage::None;
/// A value that lies in the message's slots.
template <class Tag>
concept InPlaceValue = Tag::info.storage == Storage::InPlace;
/// An integer in one slot.
template <class Tag>
concept IntegerSlot = InPlaceValue<Tag> && std::is_same_v<typename Tag::Value, long long>;
/// A floating-point number in one slot.
template <class Tag>
concept FloatingSlot = InPlaceValue<Tag> && std::is_floating_point_v<typename Tag::Value>;
/// A string, narrow or wide, that lies in four slots.
template <class Tag>
concept StringSlot = InPlaceValue<Tag> && Tag::info.slots == 4;
/// A value that the slot points to.
template <class Tag>
concept ObjectValue = Tag::info.storage == Storage::Object;
/// A list.
template <class Tag>
concept ListValue = ObjectValue<Tag> && Tag::info.element != FIELD_UNSET;
/// A map.
template <class Tag>
concept MapValue = ObjectValue<Tag> && Tag::info.mapKey != FIELD_UNSET;
/// A nested message.
template <class Tag>
concept MessageValue = std::is_same_v<typename Tag::Value, YMMessageBase>;
/// A byte string.
template <class Tag>
concept ByteString = std::is_same_v<typename Tag::Value, bstring>;
/// A password.
template <class Tag>
concept PasswordString = std::is_same_v<typename Tag::Value, pstring>;

/// Calls `visitor(FieldTypeTag<T>{}, args...)` for the type; FIELD_INVALID for a number above 42. There is no
/// default branch, so the compiler names a type that was forgotten. The jump stands where it is called, so
/// that what a walk keeps in registers stays there.
template <class Visitor, class... Args>
[[gnu::always_inline]] constexpr decltype(auto) visitFieldType(FieldDataType type, Visitor&& visitor,
                                                               Args&&... args)
{
  switch (type) {
#define KWXML_FIELD_TYPE(number, enumerator, ...) \
  case enumerator:                                \
    return visitor(FieldTypeTag<enumerator>{}, std::forward<Args>(args)...);
#include <kwxml/model/FieldTypes.def>
#undef KWXML_FIELD_TYPE
    case FIELD_INVALID:
      break;
  }
  return visitor(FieldTypeTag<FIELD_INVALID>{}, std::forward<Args>(args)...);
}

}  // namespace kwxml
