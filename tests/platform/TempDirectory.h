// A directory for the files of one test, gone with it.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace kwxml::test {

class TempDirectory
{
public:
  TempDirectory()
  {
    if (!mkdtemp(path_.data())) {
      throw std::runtime_error("no temporary directory");
    }
  }
  ~TempDirectory()
  {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

  std::string write(const std::string& name, const std::string& content) const
  {
    std::ofstream(*this / name, std::ios::binary) << content;
    return *this / name;
  }
  std::string read(const std::string& name) const
  {
    std::ifstream in(*this / name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }
  std::vector<std::string> lines(const std::string& name) const
  {
    std::ifstream in(*this / name);
    std::vector<std::string> result;
    for (std::string line; std::getline(in, line);) {
      result.push_back(line);
    }
    return result;
  }
  size_t fileCount() const
  {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
  }

private:
  std::string path_ = (std::filesystem::temp_directory_path() / "kwxml_test_XXXXXX").string();
};

}  // namespace kwxml::test
