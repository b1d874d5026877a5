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

/// Files that take the places of others together: commit() puts all of them there, and without it those that
/// were there are there as before. A file that already holds its text is left alone, its time stamp with it,
/// so that what is built from it is not built again; one that is replaced keeps its permissions. Members
/// throw std::filesystem::filesystem_error.
class OutputFolder
{
public:
  /// Makes the folder when it is not there.
  explicit OutputFolder(std::filesystem::path directory);
  ~OutputFolder();
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;

  void add(const OutputFile& file);
  void commit();

private:
  std::filesystem::path directory_;
  /// A file that waits beside its place.
  struct Waiting
  {
    std::string name;
    std::filesystem::path path;
  };
  std::vector<Waiting> changed_;
};

}  // namespace kwxml::catalogue
