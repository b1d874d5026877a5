// Texts in a message's XML that are not of their field's type. The library reads a number as far as it goes
// ("12x" is 12, "x" is 0), as its users rely on; a tool that hands on what it read must say so instead.
#pragma once

#include <kwxml/model/Metadata.h>

#include <string>
#include <vector>

namespace kwxml::tool {

/// A line for each value that would be read as something else: numbers, truth values, dates and times. `xml`
/// is a text that the library has read as a message of class `root`: it is well-formed, declares no entities,
/// and what the reader refuses has been said.
std::vector<std::string> wrongValues(const std::string& xml, const _ClassDef& root);

}  // namespace kwxml::tool
