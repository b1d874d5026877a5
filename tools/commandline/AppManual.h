// Pages of the manual for programs whose command lines CLI11 knows: made of the same texts as their help.
#pragma once

#include "Manual.h"

#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace kwxml::commandline {

/// The first argument of a call that writes the pages; the folder follows, which gets folders man1, man5 and
/// so on.
inline constexpr std::string_view pagesOption = "--man-pages";

/// One way to call a program.
struct Call
{
  CLI::App& app;
  std::string words;  ///< that begin it
};

/// The page of a program or a command, and of further ways to call it.
Page pageOf(const Call& about, const std::vector<Call>& further, const std::vector<std::string>& seeAlso);

/// The page of a program, and one for each of its commands. Commands of a command are on its page.
/// What a program's help says of the exit status and the environment stands on the pages of its commands,
/// too.
std::vector<Page> pagesOf(CLI::App& program, const std::vector<std::string>& seeAlso);

/// Writes the files of pages; see toRoff() for the version. Throws std::exception.
void writePages(const std::vector<Page>& pages, const std::string& folder, const std::string& version);

}  // namespace kwxml::commandline
