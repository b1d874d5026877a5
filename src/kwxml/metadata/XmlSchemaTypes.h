// The types of values in an XML Schema document. Not installed.
//
// Types that the schema defines for values are named without "_" before their first dot, or at all; those of
// classes have it behind the system's name, so that no class can meet them.
#pragma once

#include <kwxml/metadata/XmlSchema.h>

#include <map>
#include <string>
#include <string_view>

namespace kwxml {

/// The name of the type of a class: its tag name, or its place where that is no XML name.
std::string xmlSchemaTypeName(const PackedReference& place);

/// The annotation of a schema's element: what is written there, and what the catalogue says of it, for
/// people. Nothing of what is empty.
std::string xmlDocumentation(std::string_view text, std::string_view doc);

/// Gives the types that values have by name, and keeps the definitions of those that have been asked for.
class XmlSchemaTypes
{
public:
  explicit XmlSchemaTypes(XmlSchemaForm form) : form_(form) {}

  /// The text of a scalar; `isOldWay` of a message that is written with all its fields, so that an
  /// enumeration may be 0 without having such an enumerator.
  std::string ofScalar(const FieldDef& def, bool isOldWay);
  /// The element of a list's item; that of a CDATA-marked list has the value as its text in every form.
  std::string ofItem(const FieldDef& def, bool isOldWay, bool isCdata);
  /// The element of a map's key or value, which is no message.
  std::string ofMapPart(FieldDataType part);

  /// The definitions, sorted by name.
  std::string definitions() const;

private:
  std::string ofNumber(FieldDataType type);
  std::string ofListedNumber(FieldDataType type);
  std::string ofBytes();
  std::string ofReal(FieldDataType type);
  std::string ofInteger(const FieldDef& def);
  std::string ofEnumeration(const FieldDef& def, bool isOldWay, bool isListed);
  std::string itemOf(const std::string& valueType);
  std::string unionOf(const std::string& name, const std::string& first, const std::string& second);

  /// Keeps the definition of a simple type and gives its name.
  std::string define(const std::string& name, std::string_view content, std::string_view doc = {});
  std::string restriction(const std::string& name, std::string_view base, std::string_view facets,
                          std::string_view doc = {});

  const XmlSchemaForm form_;
  std::map<std::string, std::string> definitions_;
};

}  // namespace kwxml
