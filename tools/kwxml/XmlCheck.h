// Texts in a message's XML that are not of their field's type or that reading loses. The library reads a
// number as far as it goes ("12x" is 12, "x" is 0), keeps any number for an enumeration and passes over what
// has no place, as its users rely on; a tool that hands on what it read must say so instead.
#pragma once

#include <kwxml/model/Metadata.h>

#include <string>
#include <vector>

namespace kwxml::tool {

/// A line for each value that would be read as something else (numbers, truth values, enumerators, dates and
/// times) and for each that would be dropped: an attribute of a field without one, text where no value
/// stands, a map's entry without its key or value, and all but the last value of a field that keeps one.
/// Attributes and elements that the class does not have are passed over. `xml` is a text that the library has
/// read as a message of class `root`: it is well-formed, declares no entities, and what the reader refuses
/// has been said.
std::vector<std::string> wrongValues(const std::string& xml, const _ClassDef& root);

}  // namespace kwxml::tool
