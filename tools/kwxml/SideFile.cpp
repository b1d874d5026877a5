#include "SideFile.h"

#include "Files.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <random>
#include <string_view>

namespace kwxml::tool {

std::map<std::string, std::string> readSideFile(const std::string& file)
{
  std::map<std::string, std::string> lines;
  const std::string all = readInput(file);
  for (std::string_view text = all; !text.empty();) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::size_t blank = std::min(line.find(' '), line.size());
    lines.emplace(line.substr(0, blank), line.substr(std::min(blank + 1, line.size())));
  }
  return lines;
}

bool sideNumber(const std::map<std::string, std::string>& lines, const char* word, unsigned long long& number)
{
  const auto line = lines.find(word);
  if (line == lines.end()) {
    return false;
  }
  const std::string& text = line->second;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

bool isRandomName(const std::string& text)
{
  return !text.empty() && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

std::string randomName()
{
  std::random_device random;
  std::string text;
  for (int i = 0; i < 4; ++i) {
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", random());
    text += digits;
  }
  return text;
}

}  // namespace kwxml::tool
