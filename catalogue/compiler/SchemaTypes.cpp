#include "SchemaTypes.h"

#include <kwxml/model/StringTypes.h>

#include <algorithm>
#include <iterator>

namespace kwxml::catalogue {
namespace {

/// The schema name of a scalar type: its text in the table of types, but for those that have none, or share
/// one, or are named after a C type there. Null for lists, maps and types that no schema can name.
const char* scalarName(const FieldTypeInfo& info)
{
  if (info.type == FIELD_UNSET) {
    return "none";
  }
  if (info.type == FIELD_UTF16) {
    return "utf16";
  }
  if (info.type == FIELD_PSTRING) {
    return "pstring";
  }
  if (info.type == FIELD_TIME32) {
    return "time32";
  }
  if (info.type == FIELD_TIME64) {
    return "time64";
  }
  return info.element == FIELD_UNSET && info.mapKey == FIELD_UNSET ? info.text : nullptr;
}

/// The schema name of a map's key or value type; 64-bit integers have a type of their own there.
const char* mapColumnName(FieldDataType type)
{
  return scalarName(fieldTypeInfo(type == FIELD_INT64 ? FIELD_LONGLONG : type));
}

/// The names of the rows that have one, comma-separated.
template <class Name>
std::string joinRows(Name name)
{
  std::string all;
  for (const FieldTypeInfo& info : fieldTypeTable) {
    const std::string one = name(info);
    if (!one.empty()) {
      all += (all.empty() ? "" : ", ") + one;
    }
  }
  return all;
}

template <std::size_t N>
std::string join(const char* const (&names)[N])
{
  std::string all;
  for (const char* name : names) {
    all += (all.empty() ? "" : ", ") + std::string(name);
  }
  return all;
}

}  // namespace

std::optional<FieldDataType> scalarType(const std::string& name)
{
  for (const FieldTypeInfo& info : fieldTypeTable) {
    const char* known = scalarName(info);
    if (known != nullptr && name == known) {
      return info.type;
    }
  }
  return std::nullopt;
}

std::optional<FieldDataType> listType(const std::string& of)
{
  for (const FieldTypeInfo& info : fieldTypeTable) {
    if (info.element != FIELD_UNSET && of == scalarName(fieldTypeInfo(info.element))) {
      return info.type;
    }
  }
  return std::nullopt;
}

std::optional<FieldDataType> mapType(const std::string& key, const std::string& of)
{
  for (const FieldTypeInfo& info : fieldTypeTable) {
    if (info.mapKey != FIELD_UNSET && key == mapColumnName(info.mapKey) &&
        of == mapColumnName(info.mapValue)) {
      return info.type;
    }
  }
  return std::nullopt;
}

std::string scalarNames()
{
  return joinRows([](const FieldTypeInfo& info) -> std::string {
           const char* name = scalarName(info);
           return name != nullptr ? name : "";
         }) +
         ", list, map";
}

std::string listElementNames()
{
  return joinRows([](const FieldTypeInfo& info) -> std::string {
    return info.element != FIELD_UNSET ? scalarName(fieldTypeInfo(info.element)) : "";
  });
}

std::string mapTypeNames()
{
  return joinRows([](const FieldTypeInfo& info) {
    return info.mapKey == FIELD_UNSET
               ? std::string()
               : std::string(mapColumnName(info.mapKey)) + " to " + mapColumnName(info.mapValue);
  });
}

std::optional<int> passwordType(const std::string& name)
{
  const auto* found =
      std::find(std::begin(passwordEncryptTypeNames), std::end(passwordEncryptTypeNames), name);
  if (found == std::end(passwordEncryptTypeNames)) {
    return std::nullopt;
  }
  return static_cast<int>(found - std::begin(passwordEncryptTypeNames));
}

std::string passwordNames()
{
  return join(passwordEncryptTypeNames);
}

const AnnotationKind* findAnnotationKind(const std::string& name)
{
  const auto* found = std::find_if(std::begin(annotationKinds), std::end(annotationKinds),
                                   [&](const AnnotationKind& kind) { return name == kind.name; });
  return found != std::end(annotationKinds) ? found : nullptr;
}

std::string annotationNames()
{
  std::string all;
  for (const AnnotationKind& kind : annotationKinds) {
    all += (all.empty() ? "" : ", ") + std::string(kind.name);
  }
  return all;
}

const char* enumeratorName(FieldDataType type)
{
  static constexpr const char* names[] = {
#define KWXML_FIELD_TYPE(number, enumerator, ...) #enumerator,
#include <kwxml/model/FieldTypes.def>
#undef KWXML_FIELD_TYPE
  };
  return names[type];
}

}  // namespace kwxml::catalogue
