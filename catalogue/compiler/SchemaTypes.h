// The names that schema files use for field types, annotations and password types.
#pragma once

#include <kwxml/annotation/AnnotationKinds.h>
#include <kwxml/model/FieldTypes.h>

#include <optional>
#include <string>
#include <vector>

namespace kwxml::catalogue {

/// The scalar field type of a schema name such as "int" or "time32"; none for an unknown name.
std::optional<FieldDataType> scalarType(const std::string& name);
/// The list type whose elements have the schema name `of`.
std::optional<FieldDataType> listType(const std::string& of);
/// The map type with these schema names of key and value ("longlong", "string", "object").
std::optional<FieldDataType> mapType(const std::string& key, const std::string& of);

/// The known names, comma-separated, for error texts.
std::string scalarNames();
std::string listElementNames();
std::string mapTypeNames();

/// The number of a password type by its name; none for an unknown name.
std::optional<int> passwordType(const std::string& name);
/// The name of a password type; its number for one of those without.
std::string passwordName(int type);
std::string passwordNames();

/// Null for an unknown kind.
const AnnotationKind* findAnnotationKind(const std::string& name);
std::string annotationNames();

/// The enumerator of a field type, as generated code writes it: "FIELD_INT".
const char* enumeratorName(FieldDataType type);

}  // namespace kwxml::catalogue
