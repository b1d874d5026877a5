#include "SchemaTypes.h"

#include <kwxml/model/SchemaTypeNames.h>
#include <kwxml/model/StringTypes.h>

#include <algorithm>
#include <iterator>

namespace kwxml::catalogue {
namespace {

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
    const char* known = schemaScalarName(info.type);
    if (known != nullptr && name == known) {
      return info.type;
    }
  }
  return std::nullopt;
}

std::optional<FieldDataType> listType(const std::string& of)
{
  for (const FieldTypeInfo& info : fieldTypeTable) {
    if (info.element != FIELD_UNSET && of == schemaScalarName(info.element)) {
      return info.type;
    }
  }
  return std::nullopt;
}

std::optional<FieldDataType> mapType(const std::string& key, const std::string& of)
{
  for (const FieldTypeInfo& info : fieldTypeTable) {
    if (info.mapKey != FIELD_UNSET && key == schemaMapPartName(info.mapKey) &&
        of == schemaMapPartName(info.mapValue)) {
      return info.type;
    }
  }
  return std::nullopt;
}

std::string scalarNames()
{
  return joinRows([](const FieldTypeInfo& info) -> std::string {
           const char* name = schemaScalarName(info.type);
           return name != nullptr ? name : "";
         }) +
         ", list, map";
}

std::string listElementNames()
{
  return joinRows([](const FieldTypeInfo& info) -> std::string {
    return info.element != FIELD_UNSET ? schemaScalarName(info.element) : "";
  });
}

std::string mapTypeNames()
{
  return joinRows([](const FieldTypeInfo& info) {
    return info.mapKey == FIELD_UNSET
               ? std::string()
               : std::string(schemaMapPartName(info.mapKey)) + " to " + schemaMapPartName(info.mapValue);
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

std::string passwordName(int type)
{
  const auto number = static_cast<std::size_t>(type);
  return number < std::size(passwordEncryptTypeNames) ? passwordEncryptTypeNames[number]
                                                      : std::to_string(type);
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
