// The catalogue that the command line names.
#pragma once

#include <string>

namespace kwxml::tool {

/// Loads a catalogue (a schema file, a folder of them or a library) and makes it the one in use; with an
/// empty path the one that the tool is linked with stays. Throws Failure, after the lines of what is wrong
/// with schemas.
void useNamedCatalogue(const std::string& path);

}  // namespace kwxml::tool
