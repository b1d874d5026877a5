// XML Schema documents (XSD 1.0) of message classes, for those who check or make documents without this
// library.
//
// A schema has a root element for each class that is asked for, a complex type with the tag name of each
// class that is met below them (messages may hold themselves), and simple types for the values. It accepts
// what the library writes: plain, readable, and with the names of enumerators. Numbers must fit the declared
// type, and enumerations must have an enumerator, as a strict reading wants it; a message whose slots hold
// something else is written, but neither read strictly nor valid. Fields stand in any order, as readers take
// them.
//
// Fields whose type has no XML form, whose class is missing, or whose name is no XML name without a colon are
// left out, with a comment in the schema.
#pragma once

#include <kwxml/model/Metadata.h>

#include <cstdint>
#include <span>
#include <string>

namespace kwxml {

/// Where a document has its values. CDATA-marked texts are elements in every form.
enum class XmlSchemaForm : std::uint8_t
{
  Attributes,  ///< scalars as attributes, list items and the parts of map entries in the attribute `val`
  Elements,    ///< the text of elements (EncodingFlags::valuesAsElements)
  Both,        ///< either, also mixed, as readers take it. An item that has neither is not found out.
};

/// Makes `out` the schema document of some message classes, as UTF-8 with an end of line; each is named by
/// its place in the registry, and may be named twice. False, with `out` unchanged and an error line, when
/// there is no message class at a place (an enumeration is none) or its root element would have no XML name.
/// Reads constant tables alone: safe for concurrent use.
[[nodiscard]] bool xmlSchema(std::string& out, std::span<const PackedReference> classes,
                             XmlSchemaForm form = XmlSchemaForm::Both);

}  // namespace kwxml
