// Which files a caller means by the names of files and folders.
#pragma once

#include <string>
#include <vector>

namespace kwxml::catalogue {

/// The files themselves, and of each folder its *.xml files, sorted by name. Throws std::runtime_error or
/// std::filesystem::filesystem_error.
std::vector<std::string> schemaFiles(const std::vector<std::string>& paths);

}  // namespace kwxml::catalogue
