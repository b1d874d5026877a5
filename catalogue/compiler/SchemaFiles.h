// Catalogues from schema files.
#pragma once

#include "Diagnostics.h"
#include "Schema.h"

#include <string>
#include <vector>

namespace kwxml::catalogue {

/// The files themselves, and of each folder its *.xml files, sorted by name. Throws std::runtime_error or
/// std::filesystem::filesystem_error.
std::vector<std::string> schemaFiles(const std::vector<std::string>& paths);

/// What the files hold, taken through all stages up to the layout. When the diagnostics have errors
/// afterwards it is not to be used: it is what there was when they were found.
Catalogue loadSchemas(const std::vector<std::string>& files, Diagnostics& diagnostics);

}  // namespace kwxml::catalogue
