#include "OutputFiles.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>
#include <utility>

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

OutputFolder::OutputFolder(fs::path directory) : directory_(std::move(directory))
{
  fs::create_directories(directory_);
}

OutputFolder::~OutputFolder()
{
  std::error_code ignored;  // the failure that led here is the one to report
  for (const std::string& name : changed_) {
    fs::remove(directory_ / (name + temporary), ignored);
  }
}

void OutputFolder::add(const OutputFile& file)
{
  const fs::path place = directory_ / file.name;
  if (holds(place, file.text)) {
    return;
  }
  changed_.push_back(file.name);
  const fs::path path = directory_ / (file.name + temporary);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << file.text;
  out.close();
  if (!out) {
    throw fs::filesystem_error("cannot write", path, std::make_error_code(std::errc::io_error));
  }
  if (const fs::file_status earlier = fs::status(place); fs::is_regular_file(earlier)) {
    fs::permissions(path, earlier.permissions());
  }
}

void OutputFolder::commit()
{
  for (const std::string& name : changed_) {  // a rename that can only fail must not leave half of them done
    if (fs::is_directory(fs::symlink_status(directory_ / name))) {
      throw fs::filesystem_error("cannot replace", directory_ / name,
                                 std::make_error_code(std::errc::is_a_directory));
    }
  }
  for (const std::string& name : changed_) {
    fs::rename(directory_ / (name + temporary), directory_ / name);
  }
  changed_.clear();
}

}  // namespace kwxml::catalogue
