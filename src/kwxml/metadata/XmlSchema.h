// XML Schema documents (XSD 1.0) of message classes, for those who check or make documents without this
// library.
//
// A schema has a root element for each class that is asked for, a complex type with the tag name of each
// class that is met below these (messages may hold themselves), and simple types for the values. The schema
// accepts what the library writes: plain, readable, and with the names of enumerators. Numbers must fit the
// declared type, and enumerations must have an enumerator, as a strict reading wants it; a message with other
// values is written, but the text is neither read strictly nor valid. Fields stand in any order, as readers
// take them.
//
// Fields whose type has no XML form, whose class is missing, or whose name is no XML name without a colon are
// left out, with a comment in the schema.
#pragma once

#include <kwxml/model/Metadata.h>
#include <kwxml/platform/Export.h>

#include <cstdint>
#include <span>
#include <string>

namespace kwxml {

/// Where a document has its values. Texts that the schema marks as CDATA are elements in every form.
enum class XmlSchemaForm : std::uint8_t
{
  Attributes,  ///< scalars as attributes, list items and the parts of map entries in the attribute `val`
  Elements,    ///< the text of elements (EncodingFlags::valuesAsElements)
  Both,        ///< either, also mixed, as readers take it; an item that has neither is accepted
};

/// Replaces `out` by the schema document of some message classes, as UTF-8 with an end of line. Each class is
/// named by its place in the registry, and may be named twice. False, with `out` unchanged and an error in
/// the log, when there is no message class at a place (an enumeration is none) or the name of a root element
/// would be no XML name. Threads may call the function at the same time.
[[nodiscard]] KWXML_API bool xmlSchema(std::string& out, std::span<const PackedReference> classes,
                                       XmlSchemaForm form = XmlSchemaForm::Both);

}  // namespace kwxml
