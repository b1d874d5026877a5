#include "Completion.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace kwxml::commandline {

namespace {

bool takesValue(const CLI::Option& option)
{
  return option.get_items_expected_max() > 0;
}

bool mayRepeat(const CLI::Option& option)
{
  return option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll ||
         option.get_items_expected_max() > 1;
}

/// Reads the words before the cursor as CLI11 would, which itself reads only whole lines.
class Line
{
public:
  explicit Line(CLI::App& app) : command_(&app) {}

  /// The next word; false where it has no place, or no option its name.
  bool add(const std::string& word)
  {
    if (awaiting_ != nullptr) {
      give(*std::exchange(awaiting_, nullptr), word);
      return true;
    }
    if (!optionsEnded_ && word == "--") {
      optionsEnded_ = true;
      return true;
    }
    if (!optionsEnded_ && word.size() > 1 && word.starts_with('-')) {
      return addOption(word);
    }
    const std::vector<CLI::App*> commands = commandsOf(*command_);
    if (commands.empty()) {
      ++positionals_;
      return true;
    }
    const auto named = std::find_if(commands.begin(), commands.end(),
                                    [&](const CLI::App* one) { return one->get_name() == word; });
    if (named == commands.end()) {
      return false;
    }
    command_ = *named;
    return true;
  }

  Candidates candidates(const std::string& word, const ValuesOfKind& valuesOfKind) const
  {
    Candidates found;
    const auto equals = word.find('=');
    if (awaiting_ != nullptr) {
      found = values(*awaiting_, "", valuesOfKind);
    } else if (!optionsEnded_ && word.starts_with("--") && equals != std::string::npos) {
      CLI::Option* const option = find(word.substr(0, equals));
      if (option != nullptr && takesValue(*option)) {
        found = values(*option, word.substr(0, equals + 1), valuesOfKind);
      }
    } else if (!optionsEnded_ && (word.starts_with('-') || takesOnlyOptions())) {
      found.words = options();
    } else if (CLI::Option* const option = nextPositional(); option != nullptr) {
      found = values(*option, "", valuesOfKind);
    } else {
      for (const CLI::App* command : commandsOf(*command_)) {
        found.words.push_back({command->get_name(), command->get_description()});
      }
    }
    std::erase_if(found.words, [&](const Word& one) { return !one.text.starts_with(word); });
    return found;
  }

private:
  /// Calls visit(app) for the command and those above it whose options may stand behind it, until it gives
  /// true.
  template <class Visit>
  void climb(Visit visit) const
  {
    for (CLI::App* app = command_; app != nullptr && !visit(*app) && app->get_fallthrough();
         app = app->get_parent()) {
    }
  }

  /// Null when there is none.
  CLI::Option* find(const std::string& name) const
  {
    CLI::Option* found = nullptr;
    climb([&](CLI::App& app) {
      found = app.get_option_no_throw(name);
      return found != nullptr;
    });
    return found;
  }

  bool addOption(const std::string& word)
  {
    const bool isLong = word.starts_with("--");
    const auto equals = isLong ? word.find('=') : std::string::npos;
    const std::string name = isLong ? word.substr(0, equals) : word.substr(0, 2);
    CLI::Option* const option = find(name);
    if (option == nullptr) {
      return false;
    }
    if (!takesValue(*option)) {
      give(*option, "");
      return name == word;
    }
    if (name != word) {
      give(*option, word.substr(name.size() + (isLong ? 1 : 0)));
    } else {
      awaiting_ = option;
    }
    return true;
  }

  void give(const CLI::Option& option, const std::string& value)
  {
    given_[option.get_name()] = value;
    givenOptions_.push_back(&option);
  }

  bool isPossible(const CLI::Option& option) const
  {
    return std::all_of(givenOptions_.begin(), givenOptions_.end(), [&](const CLI::Option* given) {
      const std::set<CLI::Option*> excluded = given->get_excludes();
      return (given != &option || mayRepeat(option)) &&
             std::none_of(excluded.begin(), excluded.end(),
                          [&](const CLI::Option* one) { return one == &option; });
    });
  }

  std::vector<Word> options() const
  {
    std::vector<Word> words;
    climb([&](CLI::App& app) {
      for (const CLI::Option* option : app.get_options()) {
        // An option without a group is hidden. Each command has a --help of its own.
        const bool isShown = option->nonpositional() && !option->get_group().empty() && isPossible(*option) &&
                             (option != app.get_help_ptr() || &app == command_);
        if (!isShown) {
          continue;
        }
        for (const std::string& name : option->get_lnames()) {
          words.push_back({"--" + name, option->get_description()});
        }
        for (const std::string& name : option->get_snames()) {
          words.push_back({"-" + name, option->get_description()});
        }
      }
      return false;
    });
    return words;
  }

  bool takesOnlyOptions() const { return commandsOf(*command_).empty() && nextPositional() == nullptr; }

  /// Null when there is room for no more.
  CLI::Option* nextPositional() const
  {
    std::size_t before = 0;
    for (CLI::Option* option :
         command_->get_options([](const CLI::Option* one) { return one->get_positional(); })) {
      if (before++ == positionals_ || option->get_items_expected_max() > 1) {
        return option;
      }
    }
    return nullptr;
  }

  Candidates values(CLI::Option& option, const std::string& before, const ValuesOfKind& valuesOfKind) const
  {
    Values known = valuesOf(option);
    if (known.kind == fileKind || known.kind == folderKind) {
      return {.paths = known.kind};
    }
    if (!known.kind.empty()) {
      known.words = valuesOfKind(known.kind, given_);
    }
    for (Word& word : known.words) {
      word.text.insert(0, before);
    }
    return {.words = std::move(known.words)};
  }

  CLI::App* command_;
  CLI::Option* awaiting_ = nullptr;  ///< it has its name, but not its value
  bool optionsEnded_ = false;
  std::size_t positionals_ = 0;
  GivenOptions given_;
  std::vector<const CLI::Option*> givenOptions_;
};

std::string onOneLine(std::string text)
{
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
  return text;
}

}  // namespace

Candidates complete(CLI::App& app, const std::vector<std::string>& words, const ValuesOfKind& valuesOfKind)
{
  if (words.empty()) {
    return {};
  }
  Line line(app);
  for (std::size_t i = 0; i + 1 < words.size(); ++i) {
    if (!line.add(words[i])) {
      return {};
    }
  }
  return line.candidates(words.back(), valuesOfKind);
}

std::string toLines(const Candidates& candidates)
{
  std::string lines;
  for (const Word& word : candidates.words) {
    lines += onOneLine(word.text) + (word.meaning.empty() ? "" : "\t") + onOneLine(word.meaning) + "\n";
  }
  return lines + (candidates.paths.empty() ? "" : ":" + candidates.paths + "\n");
}

}  // namespace kwxml::commandline
