// Small files beside those that a long command reads or writes, by which it goes on after an interruption: a
// word and its value in each line.
#pragma once

#include <map>
#include <string>

namespace kwxml::tool {

/// The lines of such a file by their words. Throws Failure (data).
std::map<std::string, std::string> readSideFile(const std::string& file);

/// The number of that word; false when there is none.
[[nodiscard]] bool sideNumber(const std::map<std::string, std::string>& lines, const char* word,
                              unsigned long long& number);

/// A name that nothing else has.
std::string randomName();
/// Whether a text may be such a name.
bool isRandomName(const std::string& text);

}  // namespace kwxml::tool
