// The accessors of a field, as a wrapper header declares them.
#pragma once

#include "Schema.h"

#include <cstddef>
#include <string>

namespace kwxml::catalogue {

/// The accessors of the field at position `number` of its class, with the field's documentation above them;
/// empty for a field without a value in memory. `timeName` is the name of the accessor of a date, and empty
/// for other fields. `tag` is the class's tag in C++.
std::string accessors(const Field& field, std::size_t number, const std::string& name,
                      const std::string& timeName, const std::string& tag);

/// A schema's text as a comment on lines of its own. It ends in no backslash, which would join the next line.
std::string comment(const std::string& text, const std::string& indent);

/// The name of a wrapper or an enumeration from everywhere.
std::string qualified(const Class& cls);

/// Whether a map is given as a view: a map of messages by keys that are none.
constexpr bool isTypedMap(FieldDataType type)
{
  const FieldTypeInfo& info = fieldTypeInfo(type);
  return info.mapValue == FIELD_OBJECT && info.mapKey != FIELD_OBJECT;
}

}  // namespace kwxml::catalogue
