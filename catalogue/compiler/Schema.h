// The catalogue as the stages of the compiler see it: what was written, then what each stage adds.
//
// parse fills what a schema file says, resolve turns names into types and references, check reads only, lay
// out assigns class indices and slots, and the emitters read only. A stage that could not do its work for an
// element has reported an error and left the initial values; later stages skip such elements.
#pragma once

#include "Diagnostics.h"

#include <kwxml/model/Metadata.h>

#include <deque>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kwxml::catalogue {

/// What the indices of classes count in 16 bits.
inline constexpr int maxClasses = std::numeric_limits<std::int16_t>::max();

struct Class;
struct System;

/// An <annotation> element.
struct Annotation
{
  Location at;
  std::string name;
  std::vector<std::pair<std::string, std::string>> members;  ///< in document order
};

/// A <field>, or an <enumerator> (then of type FIELD_ENUMERATOR and with a value).
struct Field
{
  Location at;
  std::string name;
  std::optional<std::string> formerly;  ///< its name in messages of earlier programs
  std::string doc;                      ///< one line, without blanks at its ends

  // As written.
  std::string typeName;
  std::optional<std::string> of;
  std::optional<std::string> key;
  std::optional<std::string> className;
  std::optional<std::string> keyClassName;
  std::optional<std::string> defaultText;
  std::optional<long long> writtenSlot;
  std::optional<std::string> dateForm;
  std::optional<std::string> passwordName;
  bool hidden = false;
  bool timeOfDay = false;
  bool cdata = false;
  bool xpath = false;
  std::vector<Annotation> annotations;
  long long value = 0;

  // Resolved.
  FieldDataType type = FIELD_INVALID;       ///< FIELD_INVALID: could not be resolved
  const Class* keyReference = nullptr;      ///< the key class of a type 39
  const Class* reference = nullptr;         ///< the class named by `class`
  std::optional<std::string> defaultValue;  ///< as the library reads it
  int passwordType = 0;

  // Laid out.
  int slot = 0;

  bool isEnumerator() const { return type == FIELD_ENUMERATOR; }
  /// The hash of the field's record: of the name, 0 when hidden, the value of an enumerator.
  std::uint32_t recordHash() const
  {
    return isEnumerator() ? static_cast<std::uint32_t>(value)
           : hidden       ? 0
                          : nameHash(name.data(), name.size());
  }
};

/// A <message> or an <enum>.
struct Class
{
  Location at;
  const System* system = nullptr;
  std::string name;
  std::optional<std::string> formerly;  ///< as a field's
  std::string doc;                      ///< as a field's
  bool isEnum = false;
  long long id = 0;
  std::optional<long long> writtenIndex;
  std::vector<Field> fields;

  // Laid out.
  int index = -1;
  int numberOfSlots = 0;
};

/// An <xpath> element.
struct XPath
{
  Location at;
  long long id = 0;
  std::string message;        ///< empty when it is not known: tables do not have it
  const Class* of = nullptr;  ///< when it is not known, one that has the path's fields
  std::string path;

  // Resolved.
  std::vector<int> fieldIndices;
};

struct System
{
  Location at;
  std::string name;
  std::string doc;  ///< as a field's
  long long index = 0;
  std::deque<Class> classes;
  std::vector<XPath> xpaths;

  /// True for the systems whose messages build their nested objects when they are made.
  bool isEager() const;
  /// True for the systems whose XPath tables the library looks at.
  bool hasXPathTables() const { return index == 12 || index == 18 || index == 22 || index == 100; }
};

/// References between classes are pointers, so elements stay where they are once parsed.
struct Catalogue
{
  std::deque<System> systems;  ///< in the order of the files
};

/// System, "_", class: the name by which schemas refer to a class.
std::string tagName(const Class& cls);

/// Readers take names of enumerators in any case.
std::string lowerCase(std::string text);

/// The class's tag identifier.
std::uint32_t tagId(const Class& cls);

}  // namespace kwxml::catalogue
