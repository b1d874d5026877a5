// How the values of fields stand in JSON. Not installed.
#pragma once

#include <kwxml/model/FieldTypes.h>

namespace kwxml {

enum class JsonShape
{
  Value,  ///< a text, a number, true or false
  Message,
  List,
  KeyedMap,  ///< an object, whose members are the entries
  EntryMap,  ///< an array of objects with a key and a value
};

inline JsonShape shapeOf(FieldDataType type)
{
  const FieldTypeInfo& info = fieldTypeInfo(type);
  return info.element != FIELD_UNSET   ? JsonShape::List
         : info.mapKey == FIELD_OBJECT ? JsonShape::EntryMap
         : info.mapKey != FIELD_UNSET  ? JsonShape::KeyedMap
         : type == FIELD_OBJECT        ? JsonShape::Message
                                       : JsonShape::Value;
}

/// For people who have written something else.
inline const char* describe(JsonShape shape)
{
  switch (shape) {
    case JsonShape::Message:
      return "a message is an object";
    case JsonShape::List:
      return "a list is an array";
    case JsonShape::KeyedMap:
      return "a map is an object of its entries";
    case JsonShape::EntryMap:
      return "a map with messages as keys is an array of objects with key and value";
    case JsonShape::Value:
      break;
  }
  return "an object or an array stands where a text or a number belongs";
}
inline constexpr const char* describeWideElement = "an element of a wide string is a number of 32 bits";

// The rules know these names from XML.
inline constexpr const char* mapKeyName = "__mapKey__";
inline constexpr const char* mapValueName = "__mapValue__";
inline constexpr const char* mapPartValueName = "val";

}  // namespace kwxml
