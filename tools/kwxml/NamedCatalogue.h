// The catalogue that the command line names.
#pragma once

#include <iosfwd>
#include <string>

namespace kwxml::tool {

/// The variable of the environment that names one where the command line does not.
inline constexpr const char* catalogueVariable = "KWXML_CATALOGUE";

/// Loads a catalogue (a schema file, a folder of them or a library) and makes it the one in use; with an
/// empty path the one that the tool is linked with stays. Throws Failure. What is wrong with schemas goes to
/// `warnings`, a line each.
void useNamedCatalogue(const std::string& path, std::ostream& warnings);

}  // namespace kwxml::tool
