#include "Values.h"

#include <CLI/CLI.hpp>

#include <sstream>

namespace kwxml::commandline {

namespace {

// The name of a check is the one place for a text that no help shows. Its first character says what the rest
// is.
constexpr char kindMark = '=';
constexpr char wordsMark = '|';

CLI::Validator named(const std::string& name, const Refusal& refuse)
{
  return CLI::Validator([refuse](std::string& value) { return refuse(value); }, "", name);
}

}  // namespace

std::vector<Word> wordsWithoutMeaning(const std::vector<std::string>& texts)
{
  std::vector<Word> words;
  words.reserve(texts.size());
  for (const std::string& text : texts) {
    words.push_back({text, ""});
  }
  return words;
}

CLI::Validator ofKind(const std::string& kind)
{
  return named(kindMark + kind, [](const std::string&) { return std::string(); });
}

CLI::Validator offering(const std::vector<Word>& words, const Refusal& refuse)
{
  std::string name(1, wordsMark);
  for (const Word& word : words) {
    name += word.text + "\t" + word.meaning + "\n";
  }
  return named(name, refuse);
}

Values valuesOf(CLI::Option& option)
{
  Values values;
  try {
    for (int i = 0;; ++i) {
      const std::string& name = option.get_validator(i)->get_name();
      if (name.starts_with(kindMark)) {
        values.kind = name.substr(1);
      } else if (name.starts_with(wordsMark)) {
        std::istringstream lines(name.substr(1));
        for (Word word; std::getline(lines, word.text, '\t') && std::getline(lines, word.meaning);) {
          values.words.push_back(word);
        }
      }
    }
  } catch (const CLI::OptionNotFound&) {
    // CLI11 tells nobody how many checks there are: this was the one behind the last.
  }
  return values;
}

std::vector<CLI::App*> commandsOf(CLI::App& app)
{
  return app.get_subcommands([](const CLI::App* command) { return !command->get_group().empty(); });
}

}  // namespace kwxml::commandline
