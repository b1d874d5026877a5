// The names that schema files use for field types. Not installed.
#pragma once

#include <kwxml/model/FieldTypes.h>

namespace kwxml {

/// The schema name of a scalar type: its text in the table of types, but for those that have none, or share
/// one, or are named after a C type there. Null for lists, maps and types that no schema can name.
constexpr const char* schemaScalarName(FieldDataType type)
{
  const FieldTypeInfo& info = fieldTypeInfo(type);
  return info.type == FIELD_UNSET                                    ? "none"
         : info.type == FIELD_UTF16                                  ? "utf16"
         : info.type == FIELD_PSTRING                                ? "pstring"
         : info.type == FIELD_TIME32                                 ? "time32"
         : info.type == FIELD_TIME64                                 ? "time64"
         : info.element == FIELD_UNSET && info.mapKey == FIELD_UNSET ? info.text
                                                                     : nullptr;
}

/// The schema name of a map's key or value type; 64-bit integers have a type of their own there.
constexpr const char* schemaMapPartName(FieldDataType type)
{
  return schemaScalarName(type == FIELD_INT64 ? FIELD_LONGLONG : type);
}

}  // namespace kwxml
