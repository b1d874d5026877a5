#include "CommandLine.h"

#include "CppText.h"
#include "EvolutionReport.h"

#include <commandline/AppManual.h>
#include <commandline/Completion.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>

namespace kwxml::catalogue {

using namespace commandline;

const char* const description =
    "Compiles schema files of message systems into C++: the constant tables of a catalogue library and one "
    "header\n"
    "of typed wrappers per system.";

const char* const compareDescription =
    "Lists the differences of two versions of a catalogue, and what each does to data that the older one "
    "wrote.\n"
    "Nothing is compiled.";

namespace {

constexpr unsigned maxShards = 9999;
constexpr std::size_t maxName = 255;
constexpr const char* builtInName = "builtin";

constexpr const char* footer =
    "Writes OUTDIR/tables_000.cpp and on, OUTDIR/classes.cpp, OUTDIR/lists.cpp, OUTDIR/registry.cpp and\n"
    "OUTDIR/<System>.h. The same schemas give the same bytes, and a file whose text stays keeps its time.\n"
    "Mistakes are reported on standard error as\n"
    "FILE:LINE:COLUMN: error: TEXT, the place being just behind the start tag of the element in question; "
    "nothing\n"
    "is written then. Warnings have the name of their rule, for --allow, behind them.\n"
    "\n"
    "Other calls: kwxml-catalogue --against OLD NEW compares two versions of a catalogue, kwxml-catalogue "
    "--rules\n"
    "lists what that finds; see kwxml-catalogue --against --help.\n"
    "\n"
    "Exit status: 0 done, 1 the schemas have errors or a file could not be read or written, 2 usage.\n"
    "\n"
    "Example:\n  kwxml-catalogue -o build/catalogue schemas/Demo.xml schemas/Shop.xml";

constexpr const char* compareFooter =
    "Exit status: 0 done, 1 a difference that is not allowed breaks data or a catalogue has errors, 2 "
    "usage.\n"
    "\n"
    "Example:\n  kwxml-catalogue --against released/schemas schemas --allow enumerator-removed";

/// Of an option's value: empty, or why it is refused.
std::string refuseShards(const std::string& value)
{
  unsigned shards = 0;
  const char* end = value.data() + value.size();
  const auto result = std::from_chars(value.data(), end, shards);
  return result.ec == std::errc() && result.ptr == end && shards >= 1 && shards <= maxShards
             ? std::string()
             : "takes a number from 1 to " + std::to_string(maxShards) + ", not " + inQuotes(value);
}

std::string refuseName(const std::string& value)
{
  const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  const auto isPart = [&](char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '_'; };
  // Names with "__" are those of the C++ implementation.
  return !value.empty() && value.size() <= maxName && isLetter(value[0]) &&
                 std::all_of(value.begin(), value.end(), isPart) && value.find("__") == std::string::npos &&
                 isUsableNamespace(value)
             ? std::string()
             : "takes a name that C++ has room for, of letters, digits and '_', not " + inQuotes(value);
}

std::string refuseRule(const std::string& value)
{
  return findRule(value) ? std::string() : "unknown rule " + inQuotes(value) + "; known: " + ruleNames();
}

std::string refuseEvolutionRule(const std::string& value)
{
  return findEvolutionRule(value) != nullptr
             ? std::string()
             : "no rule is called " + inQuotes(value) + "; --rules lists them";
}

std::string refuseFormat(const std::string& value)
{
  return value == "text" || value == "json" ? "" : "takes text or json, not " + inQuotes(value);
}

bool beginsComparing(std::string_view word)
{
  return word == "--against" || word.starts_with("--against=") || word == "--rules";
}

/// The two calls as the command line knows them, for those who ask for neither.
struct Calls
{
  Calls()
  {
    addOptions(compiling, arguments);
    addOptions(comparing, compareCall);
  }
  Arguments arguments;
  CompareCall compareCall;
  CLI::App compiling{description, "kwxml-catalogue"};
  CLI::App comparing{compareDescription, "kwxml-catalogue"};
};

}  // namespace

void addOptions(CLI::App& app, Arguments& arguments)
{
  std::vector<Word> rules;
  for (const Rule rule : allRules()) {
    rules.push_back({ruleName(rule), ruleMeaning(rule)});
  }
  app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.add_option("SCHEMA", arguments.schemas,
                 "Schema files, or directories: their *.xml files, sorted by name")
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->check(ofKind(fileKind))
      ->type_name("");
  app.add_option("-o", arguments.outputDirectory, "Where the files go; made when it does not exist")
      ->check(ofKind(folderKind))
      ->type_name("OUTDIR");
  app.add_option("--name", arguments.emission.name, "Name of the catalogue (default: catalogue)")
      ->check(offering({}, refuseName))
      ->type_name("NAME");
  app.add_option("--shards", arguments.emission.shards,
                 "Number of table files (default: one per 256 classes)")
      ->check(offering({}, refuseShards))
      ->type_name("N");
  app.add_flag("--built-in", arguments.emission.builtIn, "The catalogue of the message library itself")
      ->group("");  // for the library's own build
  app.add_flag("--list-outputs", arguments.listOutputs,
               "Print the names of the files that would be written, and write none");
  app.add_flag("--format", arguments.format,
               "Rewrite the schema files in their canonical layout, and no others")
      ->excludes("-o")
      ->excludes("--list-outputs");
  app.add_flag("--strict", arguments.strict, "What is only suspicious, and warned of, is an error");
  app.add_option("--allow", arguments.allowed, "Do not warn of what this rule finds; may be repeated")
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false)  // one value each: what follows is a schema
      ->check(offering(rules, refuseRule))
      ->type_name("RULE");
  app.add_flag("--help-schema", arguments.helpSchema, "Print what schema files hold");
  app.set_version_flag("--version", programVersion, "Print the version");
  app.footer(footer);
}

void addOptions(CLI::App& app, CompareCall& call)
{
  std::vector<Word> rules;
  for (const EvolutionRule& rule : evolutionRules) {
    rules.push_back({rule.name, kindName(rule.kind)});
  }
  app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.add_option("--against", call.arguments.older,
                 "The older schema file or directory, or the library of a compiled catalogue")
      ->check(ofKind(fileKind))
      ->type_name("OLD");
  app.add_option("NEW", call.arguments.newer, "The newer one, alike")->check(ofKind(fileKind))->type_name("");
  app.add_option("--format", call.arguments.format, "text, or json: an array of objects, for programs")
      ->check(offering({{"text", "for people"}, {"json", "for programs"}}, refuseFormat))
      ->type_name("FORMAT");
  app.add_option("--allow", call.arguments.allowed, "Differences of this rule do not count; may be repeated")
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false)
      ->check(offering(rules, refuseEvolutionRule))
      ->type_name("RULE");
  app.add_flag("--rules", call.rules, "List the rules, and no differences");
  app.set_version_flag("--version", programVersion, "Print the version");
  app.footer(compareFooter);
}

std::string findMissing(const Arguments& arguments)
{
  if (arguments.helpSchema) {
    return "";
  }
  if (arguments.emission.name == builtInName && !arguments.emission.builtIn) {
    return "--name: the message library's own catalogue is called " + inQuotes(builtInName);
  }
  const bool compiles = arguments.strict || !arguments.allowed.empty() || arguments.emission.shards != 0 ||
                        arguments.emission.name != Emission().name;
  if (arguments.format && compiles) {
    return "--format excludes the options of compiling";
  }
  if (arguments.outputDirectory.empty() && !arguments.listOutputs && !arguments.format) {
    return "no output directory";
  }
  return arguments.schemas.empty() ? "no schemas" : "";
}

std::string findMissing(const CompareCall& call)
{
  if (call.rules) {
    return call.arguments.older.empty() && call.arguments.newer.empty() ? "" : "--rules takes nothing else";
  }
  return call.arguments.older.empty() || call.arguments.newer.empty()
             ? "--against takes an older and a newer catalogue"
             : "";
}

bool isComparing(const std::vector<std::string>& words)
{
  const auto end = std::find(words.begin(), words.end(), "--");
  return std::any_of(words.begin(), end, beginsComparing);
}

std::string completions(const std::vector<std::string>& words)
{
  Calls calls;
  const auto none = [](const std::string&, const GivenOptions&) { return std::vector<Word>(); };
  if (words.empty() || isComparing({words.begin(), words.end() - 1})) {
    return toLines(complete(calls.comparing, words, none));
  }
  Candidates found = complete(calls.compiling, words, none);
  const Candidates others = complete(calls.comparing, {words.back()}, none);
  std::copy_if(others.words.begin(), others.words.end(), std::back_inserter(found.words),
               [](const Word& word) { return beginsComparing(word.text); });
  found.paths += beginsComparing(words.back()) ? others.paths : "";
  return toLines(found);
}

Page commandPage()
{
  Calls calls;
  return pageOf({calls.compiling, "kwxml-catalogue"}, {{calls.comparing, "kwxml-catalogue --against OLD"}},
                {"kwxml(1)", "kwxml-schema(5)"});
}

}  // namespace kwxml::catalogue
