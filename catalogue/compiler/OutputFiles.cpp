#include "OutputFiles.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>

namespace kwxml::catalogue {
namespace {

namespace fs = std::filesystem;

/// What a file is called until all of them are whole.
constexpr const char* temporary = ".new";

bool holds(const fs::path& path, const std::string& text)
{
  std::error_code error;
  if (!fs::is_regular_file(path, error) || fs::file_size(path, error) != text.size()) {
    return false;
  }
  std::string reason;
  return readFile(path, text.size() + 1, reason) == text;  // one that cannot be read is written
}

}  // namespace

std::optional<std::string> readFile(const fs::path& path, std::size_t limit, std::string& error)
{
  errno = 0;
  try {
    std::ifstream in(path, std::ios::binary);
    if (in.is_open()) {
      std::string content;
      char block[1 << 16];
      while (in && content.size() < limit) {  // not by the size, which a pipe or a device does not have
        in.read(block, static_cast<std::streamsize>(std::min(sizeof block, limit - content.size())));
        content.append(block, static_cast<std::size_t>(in.gcount()));
      }
      if (!in.bad()) {
        return content;
      }
    }
  } catch (const std::ios_base::failure&) {
    // The buffer's own report of a failed read, such as that of a directory.
  }
  error = errno != 0 ? std::generic_category().message(errno) : "it cannot be read";
  return std::nullopt;
}

void writeFiles(const fs::path& directory, const std::vector<OutputFile>& files)
{
  fs::create_directories(directory);
  std::vector<const OutputFile*> changed;
  for (const OutputFile& file : files) {
    if (!holds(directory / file.name, file.text)) {
      changed.push_back(&file);
    }
  }
  const auto removeTemporaries = [&] {
    std::error_code ignored;  // the failure that led here is the one to report
    for (const OutputFile* file : changed) {
      fs::remove(directory / (file->name + temporary), ignored);
    }
  };
  try {
    for (const OutputFile* file : changed) {
      const fs::path path = directory / (file->name + temporary);
      std::ofstream out(path, std::ios::binary | std::ios::trunc);
      out << file->text;
      out.close();
      if (!out) {
        throw fs::filesystem_error("cannot write", path, std::make_error_code(std::errc::io_error));
      }
      if (const fs::file_status earlier = fs::status(directory / file->name); fs::is_regular_file(earlier)) {
        fs::permissions(path, earlier.permissions());
      }
    }
    for (const OutputFile* file : changed) {  // a rename that can only fail must not leave half of them done
      const fs::path path = directory / file->name;
      if (fs::is_directory(fs::symlink_status(path))) {
        throw fs::filesystem_error("cannot replace", path, std::make_error_code(std::errc::is_a_directory));
      }
    }
    for (const OutputFile* file : changed) {
      fs::rename(directory / (file->name + temporary), directory / file->name);
    }
  } catch (...) {
    removeTemporaries();
    throw;
  }
}

}  // namespace kwxml::catalogue
