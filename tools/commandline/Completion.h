// What may stand at the cursor of a command line that is being typed. The scripts of the shells ask for it
// (see share/), with the program's first argument being completeOption.
#pragma once

#include "Values.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace kwxml::commandline {

/// The first argument of a call that asks for completion. The words of the line follow, those behind the
/// program's name up to the cursor, without the shell's quotes. The last of them is the one to complete, and
/// may be empty.
inline constexpr std::string_view completeOption = "--complete";

/// Options that stand before the cursor, by their names with dashes, and their values.
using GivenOptions = std::map<std::string, std::string>;

/// The values of a kind that ofKind() has named, whatever they begin with.
using ValuesOfKind = std::function<std::vector<Word>(const std::string& kind, const GivenOptions& given)>;

struct Candidates
{
  std::vector<Word> words{};
  /// fileKind or folderKind where the shell is to offer these, too; else empty.
  std::string paths{};
};

/// What the last word can become. Nothing where the line has a mistake before it.
Candidates complete(CLI::App& app, const std::vector<std::string>& words, const ValuesOfKind& valuesOfKind);

/// A line for each word: the word, and behind a tab its meaning. A last line ":file" or ":folder" where the
/// shell is to offer these.
std::string toLines(const Candidates& candidates);

}  // namespace kwxml::commandline
