// All that the catalogue knows of a class, for people and for programs. Not installed.
//
// One walk collects it from the constant tables, in which all its texts lie; they last as long as the
// registry does. Two printers follow: a text, whose layout may change, and JSON, which docs/formats.md
// describes.
#pragma once

#include <kwxml/model/Registry.h>

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kwxml {

/// A field or an enumerator.
struct FieldDetails
{
  const FieldDef* def;
  const char* defaultText;  ///< null without one; of a field for nobody's eyes a mask
  const char* formerName;   ///< null without one
  const char* doc;          ///< may be empty
};

struct ClassDetails
{
  PackedReference place;
  const _ClassDef* cls;
  const char* systemName;
  const char* systemDoc;   ///< may be empty
  const char* formerName;  ///< null without one
  const char* doc;         ///< may be empty
  std::uint32_t fingerprint;
  std::vector<FieldDetails> fields;
};

/// Empty when there is no class at a place.
std::optional<ClassDetails> describeClass(const PackedReference& place);

/// Lines for people: what the class is, and a row for each field or enumerator.
std::string detailsText(const ClassDetails& details);

/// An array with an object for each class, with a line end.
std::string detailsJson(std::span<const ClassDetails> classes);

}  // namespace kwxml
