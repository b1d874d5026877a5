// All that the catalogue knows of a class, for people and for programs.
//
// One walk collects it from the constant tables, in which all its texts lie; they last as long as the
// registry does. Two printers follow: a text, whose layout may change, and JSON, which docs/formats.md
// describes.
#pragma once

#include <kwxml/model/Registry.h>
#include <kwxml/platform/Export.h>

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kwxml {

/// A field or an enumerator.
struct FieldDetails
{
  const FieldDef* def;      ///< its record
  const char* defaultText;  ///< null without one; of a field for nobody's eyes a mask
  const char* formerName;   ///< null without one
  const char* doc;          ///< may be empty
};

/// A class or an enumeration. All texts are the registry's, and last as long as that does.
struct ClassDetails
{
  PackedReference place;             ///< where it stands, and in which registry
  const _ClassDef* cls;              ///< its record
  const char* systemName;            ///< of its system
  const char* systemDoc;             ///< may be empty
  const char* formerName;            ///< null without one
  const char* doc;                   ///< may be empty
  std::uint32_t fingerprint;         ///< of its layout: equal layouts have equal ones
  std::vector<FieldDetails> fields;  ///< fields or enumerators, in the order of the schema
};

/// What is known of the class at a place; empty when there is none.
KWXML_API std::optional<ClassDetails> describeClass(const PackedReference& place);

/// Lines for people: what the class is, and a row for each field or enumerator.
KWXML_API std::string detailsText(const ClassDetails& details);

/// An array with an object for each class, with a line end.
KWXML_API std::string detailsJson(std::span<const ClassDetails> classes);

}  // namespace kwxml
