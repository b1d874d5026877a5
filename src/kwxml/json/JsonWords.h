// Names and words of the JSON form. Not installed.
#pragma once

#include <kwxml/model/FieldTypes.h>

namespace kwxml {

/// What belongs where people have written something else.
inline const char* describe(JsonForm form)
{
  switch (form) {
    case JsonForm::Object:
      return "a message is an object";
    case JsonForm::Array:
      return "a list is an array";
    case JsonForm::EntryObject:
      return "a map is an object of its entries";
    case JsonForm::EntryArray:
      return "a map with messages as keys is an array of objects with key and value";
    default:
      return "an object or an array stands where a text or a number belongs";
  }
}
inline constexpr const char* describeWideElement = "an element of a wide string is a number of 32 bits";

}  // namespace kwxml
