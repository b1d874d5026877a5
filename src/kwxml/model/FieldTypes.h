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

/// The one-byte type of a field record. Values above 42 are invalid everywhere.
enum FieldDataType : std::uint8_t
{
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
  Number,          ///< of 32 bits
  WideNumber,      ///< of 64 bits: a text beyond 2^53
  UnsignedNumber,  ///< the same without a sign, though the slot has one
  Truth,           ///< true or false; a number where the slot holds another one
  Real,            ///< a number; a text for what is infinite or no number
  Text,
  WideText,    ///< a text; an array of numbers where an element is no character
  Bytes,       ///< a text in base64
  Password,    ///< a text
  Enumerator,  ///< the name as a text, or the number
  Object,      ///< a message
  Array,
  EntryObject,  ///< a map: its entries are members
  EntryArray,   ///< a map: an array of objects with key and value
};

/// The properties of a field type; see FieldTypes.def for the columns.
struct FieldTypeInfo
{
  FieldDataType type;
  const char* text;
  Storage storage;
  std::int8_t slots;
  FieldDataType element;
  FieldDataType mapKey;
  FieldDataType mapValue;
  std::uint8_t wireCode;
  std::uint8_t appType;
  JsonForm json;
};

inline constexpr FieldTypeInfo fieldTypeTable[] = {
#define KWXML_FIELD_TYPE(number, enumerator, text, storage, slots, Value, element, mapKey, mapValue, wire, \
                         app, json)                                                                        \
  {enumerator, text, Storage::storage, slots, element, mapKey, mapValue, wire, app, JsonForm::json},
#define KWXML_TYPE(...) int
#include <kwxml/model/FieldTypes.def>
#undef KWXML_TYPE
#undef KWXML_FIELD_TYPE
};

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
template <>
struct FieldValueOf<FIELD_INVALID>
{
  using type = void;
};
template <FieldDataType T>
using FieldValue = typename FieldValueOf<T>::type;

/// The C++ type in which a scalar leaves the library's slots, where integers of all widths are 64-bit.
template <FieldDataType T>
struct NativeValueOf
{
  using type = FieldValue<T>;
};
template <>
struct NativeValueOf<FIELD_INT>
{
  using type = int;
};
template <>
struct NativeValueOf<FIELD_UINT>
{
  using type = unsigned int;
};
template <>
struct NativeValueOf<FIELD_LONG>
{
  using type = long;
};
template <>
struct NativeValueOf<FIELD_ULONG>
{
  using type = unsigned long;
};
template <>
struct NativeValueOf<FIELD_ULONGLONG>
{
  using type = unsigned long long;
};
template <>
struct NativeValueOf<FIELD_BOOL>
{
  using type = bool;
};
template <>
struct NativeValueOf<FIELD_ENUM> : NativeValueOf<FIELD_INT>
{
};
template <>
struct NativeValueOf<FIELD_TIME32> : NativeValueOf<FIELD_INT>
{
};
template <FieldDataType T>
using NativeValue = typename NativeValueOf<T>::type;

/// A field type as a compile-time value, handed to visitors by visitFieldType().
template <FieldDataType T>
struct FieldTypeTag
{
  static constexpr FieldDataType type = T;
  static constexpr FieldTypeInfo info = fieldTypeInfo(T);
  using Value = FieldValue<T>;
};

/// Groups of types that behave alike; a visitor's overloads are constrained by them.
template <class Tag>
concept NoStorage = Tag::info.storage == Storage::None;
template <class Tag>
concept InPlaceValue = Tag::info.storage == Storage::InPlace;
template <class Tag>
concept IntegerSlot = InPlaceValue<Tag> && std::is_same_v<typename Tag::Value, long long>;
template <class Tag>
concept FloatingSlot = InPlaceValue<Tag> && std::is_floating_point_v<typename Tag::Value>;
template <class Tag>
concept StringSlot = InPlaceValue<Tag> && Tag::info.slots == 4;
template <class Tag>
concept ObjectValue = Tag::info.storage == Storage::Object;
template <class Tag>
concept ListValue = ObjectValue<Tag> && Tag::info.element != FIELD_UNSET;
template <class Tag>
concept MapValue = ObjectValue<Tag> && Tag::info.mapKey != FIELD_UNSET;
template <class Tag>
concept MessageValue = std::is_same_v<typename Tag::Value, YMMessageBase>;
template <class Tag>
concept ByteString = std::is_same_v<typename Tag::Value, bstring>;
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
