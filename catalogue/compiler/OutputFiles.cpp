#include "OutputFiles.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <memory>
#include <system_error>
#include <utility>

namespace kwxml::catalogue {
namespace {

namespace fs = std::filesystem;

struct Close
{
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Close>;

/// A new file beside a place, for what is to come there. Takes nobody's file, and follows no link.
File createBeside(const fs::path& place, fs::path& path)
{
  constexpr int tries = 1000;
  File file;
  for (int i = 0; file == nullptr && i < tries && (i == 0 || errno == EEXIST); ++i) {
    path = place;
    path += ".new" + (i > 0 ? std::to_string(i) : std::string());
    file.reset(std::fopen(path.c_str(), "wbx"));
  }
  return file;
}

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
  for (const Waiting& file : changed_) {
    fs::remove(file.path, ignored);
  }
}

void OutputFolder::add(const OutputFile& file)
{
  const fs::path place = directory_ / file.name;
  if (holds(place, file.text)) {
    return;
  }
  fs::path path;
  File out = createBeside(place, path);
  const auto failed = [&path] {
    return fs::filesystem_error("cannot write", path, std::error_code(errno, std::generic_category()));
  };
  if (out == nullptr) {
    throw failed();
  }
  changed_.push_back({file.name, path});
  const bool written = std::fwrite(file.text.data(), 1, file.text.size(), out.get()) == file.text.size();
  if (std::fclose(out.release()) != 0 || !written) {
    throw failed();
  }
  if (const fs::file_status earlier = fs::status(place); fs::is_regular_file(earlier)) {
    fs::permissions(path, earlier.permissions());
  }
}

void OutputFolder::commit()
{
  for (const Waiting& file : changed_) {  // a rename that can only fail must not leave half of them done
    if (fs::is_directory(fs::symlink_status(directory_ / file.name))) {
      throw fs::filesystem_error("cannot replace", directory_ / file.name,
                                 std::make_error_code(std::errc::is_a_directory));
    }
  }
  for (const Waiting& file : changed_) {
    fs::rename(file.path, directory_ / file.name);
  }
  changed_.clear();
}

}  // namespace kwxml::catalogue
