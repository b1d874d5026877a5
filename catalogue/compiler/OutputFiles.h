// Files written as a whole or not at all.
#pragma once

#include "Stages.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kwxml::catalogue {

/// The first `limit` bytes of a file, or all; none, and the reason in `error`, when it cannot be read.
std::optional<std::string> readFile(const std::filesystem::path& path, std::size_t limit, std::string& error);

/// Writes all files or, when one cannot be written, none: then those that were there are there as before. A
/// file that already holds its text is left alone, its time stamp with it, so that what is built from it is
/// not built again; one that is replaced keeps its permissions. Throws std::filesystem::filesystem_error.
void writeFiles(const std::filesystem::path& directory, const std::vector<OutputFile>& files);

}  // namespace kwxml::catalogue
