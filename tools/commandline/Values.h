// What CLI11 was told of commands, and of the values that an option takes. It has no place for these but the
// name of a check.
#pragma once

#include <functional>
#include <string>
#include <vector>

// Its header takes compilers seconds.
namespace CLI {
class App;
class Option;
class Validator;
}  // namespace CLI

namespace kwxml::commandline {

/// A word that may stand on the command line. Its meaning may be empty.
struct Word
{
  std::string text;
  std::string meaning;
};

std::vector<Word> wordsWithoutMeaning(const std::vector<std::string>& texts);

/// Values of these kinds the shell itself completes.
inline constexpr const char* fileKind = "file";
inline constexpr const char* folderKind = "folder";

/// For an option whose values are of a kind: one of those above, or one that the program knows.
CLI::Validator ofKind(const std::string& kind);
/// Of an option's value: why it is refused, or nothing.
using Refusal = std::function<std::string(const std::string& value)>;
/// For an option whose values are mostly some of these words, or by `refuse` nothing else. The words hold no
/// control characters.
CLI::Validator offering(const std::vector<Word>& words, const Refusal& refuse);

struct Values
{
  std::string kind;  ///< empty: there are words, or nothing is known
  std::vector<Word> words;
};

/// What the option was declared with.
Values valuesOf(CLI::Option& option);

/// The commands that help shows.
std::vector<CLI::App*> commandsOf(CLI::App& app);

}  // namespace kwxml::commandline
