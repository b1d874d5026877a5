// kwxml-catalogue: schema files in, constant tables and wrapper headers out.
#include "CompareCatalogues.h"
#include "CppText.h"
#include "EvolutionReport.h"
#include "OutputFiles.h"
#include "SchemaFiles.h"
#include "Stages.h"

#include <CLI/CLI.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include <algorithm>
#include <charconv>
#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;
using namespace kwxml::catalogue;

constexpr int exitDone = 0;
constexpr int exitRefused = 1;
constexpr int exitUsage = 2;
constexpr unsigned maxShards = 9999;
constexpr std::size_t maxName = 255;
constexpr const char* builtInName = "builtin";

struct Arguments
{
  bool strict = false;
  bool listOutputs = false;
  bool format = false;
  Emission emission;
  std::vector<std::string> allowed;  ///< names of rules
  std::string outputDirectory;
  std::vector<std::string> schemas;
};

constexpr const char* description =
    "Compiles schema files of message systems into C++: the constant tables of a catalogue library and one "
    "header\n"
    "of typed wrappers per system.";

constexpr const char* footer =
    "Writes OUTDIR/tables_000.cpp and on, OUTDIR/classes.cpp, OUTDIR/lists.cpp, OUTDIR/registry.cpp and\n"
    "OUTDIR/<System>.h. The same schemas give the same bytes, and a file whose text stays keeps its time.\n"
    "Mistakes are reported on standard error as\n"
    "FILE:LINE:COLUMN: error: TEXT, the place being just behind the start tag of the element in question; "
    "nothing\n"
    "is written then. Warnings have the name of their rule, for --allow, behind them.\n"
    "\n"
    "Exit status: 0 done, 1 the schemas have errors or a file could not be read or written, 2 usage.\n"
    "\n"
    "Other calls: kwxml-catalogue --against OLD NEW compares two versions of a catalogue, kwxml-catalogue "
    "--rules\n"
    "lists what that finds; see kwxml-catalogue --against --help.\n"
    "\n"
    "Example: kwxml-catalogue -o build/catalogue schemas/Demo.xml schemas/Shop.xml";

constexpr const char* compareDescription =
    "Lists the differences of two versions of a catalogue, and what each does to data that the older one "
    "wrote.\n"
    "Nothing is compiled.";

constexpr const char* compareFooter =
    "Exit status: 0 done, 1 a difference that is not allowed breaks data or a catalogue has errors, 2 "
    "usage.\n"
    "\n"
    "Example: kwxml-catalogue --against released/schemas schemas --allow enumerator-removed";

/// Of an option's value: empty, or why it is refused.
std::string refuseShards(const std::string& value)
{
  unsigned shards = 0;
  const char* end = value.data() + value.size();
  const auto result = std::from_chars(value.data(), end, shards);
  return result.ec == std::errc() && result.ptr == end && shards >= 1 && shards <= maxShards
             ? std::string()
             : "takes a number from 1 to " + std::to_string(maxShards) + ", not " + quoted(value);
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
             : "takes a name that C++ has room for, of letters, digits and '_', not " + quoted(value);
}

std::string refuseRule(const std::string& value)
{
  return findRule(value) ? std::string() : "unknown rule " + quoted(value) + "; known: " + ruleNames();
}

/// CLI11's words, but for unknown options.
std::string explain(const CLI::App& app, const CLI::ParseError& error)
{
  const bool unknown = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
  return unknown ? "unknown option " + kwxml::catalogue::quoted(app.remaining().front()) : error.what();
}

void addOptions(CLI::App& app, Arguments& arguments)
{
  const auto check = [](std::string (*refuse)(const std::string&)) {
    return CLI::Validator([refuse](std::string& value) { return refuse(value); }, "");
  };
  app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.add_option("SCHEMA", arguments.schemas,
                 "Schema files, or directories: their *.xml files, sorted by name")
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->type_name("");
  app.add_option("-o", arguments.outputDirectory, "Where the files go; made when it does not exist")
      ->type_name("OUTDIR");
  app.add_option("--name", arguments.emission.name, "Name of the catalogue (default: catalogue)")
      ->check(check(refuseName))
      ->type_name("NAME");
  app.add_option("--shards", arguments.emission.shards,
                 "Number of table files (default: one per 256 classes)")
      ->check(check(refuseShards))
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
      ->check(check(refuseRule))
      ->type_name("RULE");
  app.set_version_flag("--version", "kwxml-catalogue " KWXML_VERSION, "Print the version");
  app.footer(footer);
}

std::string refuseEvolutionRule(const std::string& value)
{
  return findEvolutionRule(value) != nullptr ? std::string()
                                             : "no rule is called " + quoted(value) + "; --rules lists them";
}

/// What comparing takes, which shares words with compiling but not their meaning.
struct CompareCall
{
  bool rules = false;
  CompareArguments arguments;
};

void addOptions(CLI::App& app, CompareCall& call)
{
  app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.add_option("--against", call.arguments.older,
                 "The older schema file or directory, or the library of a compiled catalogue")
      ->type_name("OLD");
  app.add_option("NEW", call.arguments.newer, "The newer one, alike")->type_name("");
  app.add_option("--format", call.arguments.format, "text, or json: an array of objects, for programs")
      ->check(CLI::IsMember({"text", "json"}).description(""))
      ->type_name("FORMAT");
  app.add_option("--allow", call.arguments.allowed, "Differences of this rule do not count; may be repeated")
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false)
      ->check(CLI::Validator([](std::string& value) { return refuseEvolutionRule(value); }, ""))
      ->type_name("RULE");
  app.add_flag("--rules", call.rules, "List the rules, and no differences");
  app.set_version_flag("--version", "kwxml-catalogue " KWXML_VERSION, "Print the version");
  app.footer(compareFooter);
}

/// What a whole command line lacks, empty when it lacks nothing.
std::string findMissing(const Arguments& arguments)
{
  if (arguments.emission.name == builtInName && !arguments.emission.builtIn) {
    return "--name: the message library's own catalogue is called " + kwxml::catalogue::quoted(builtInName);
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

std::string headLine(const std::vector<std::string>& files)
{
  std::string names;
  for (const std::string& file : files) {
    names += (names.empty() ? "" : ", ") + fs::path(file).filename().string();
  }
  // The line is a comment; a file name must not end it.
  std::replace_if(
      names.begin(), names.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '_');
  return "// Generated by kwxml-catalogue from " + names + ". Do not edit.\n";
}

struct XmlPlatform
{
  XmlPlatform() { xercesc::XMLPlatformUtils::Initialize(); }
  ~XmlPlatform() { xercesc::XMLPlatformUtils::Terminate(); }
  XmlPlatform(const XmlPlatform&) = delete;
  XmlPlatform& operator=(const XmlPlatform&) = delete;
};

bool isValid(const std::string& path, const std::string& text)
{
  Diagnostics diagnostics;
  try {
    parse({{diagnostics.addFile(path), text}}, diagnostics);
  } catch (const TooManyErrors&) {
    // It has them.
  }
  return !diagnostics.hasErrors();
}

/// Brings a schema file into its canonical layout. One that is not valid stays as it is.
void formatFile(const std::string& path, const SchemaText& schema, Diagnostics& diagnostics)
{
  const std::size_t errors = diagnostics.errors();
  parse({schema}, diagnostics);
  if (diagnostics.errors() > errors) {
    return;
  }
  std::string reason = "it is no regular file";
  try {
    const fs::path place = fs::canonical(path);  // not a link to it
    const std::optional<std::string> text =
        fs::is_regular_file(place) ? format(schema.text, reason) : std::nullopt;
    if (text && isValid(path, *text)) {
      OutputFolder folder(place.parent_path());
      folder.add({place.filename().string(), *text});
      folder.commit();
      return;
    }
    reason = text ? "its canonical layout would not be valid" : reason;
  } catch (const fs::filesystem_error& error) {
    reason = error.what();
  }
  diagnostics.error({schema.file, 0, 0}, reason);
}

int formatFiles(const Arguments& arguments)
{
  const XmlPlatform platform;
  Diagnostics diagnostics;
  try {
    const std::vector<SchemaText> schemas = read(schemaFiles(arguments.schemas), diagnostics);
    for (const SchemaText& schema : schemas) {
      formatFile(diagnostics.files()[schema.file], schema, diagnostics);
    }
  } catch (const TooManyErrors&) {
    // They are printed as any others.
  }
  diagnostics.print(std::cerr);
  return diagnostics.hasErrors() ? exitRefused : exitDone;
}

int compile(const Arguments& arguments)
{
  const XmlPlatform platform;
  Diagnostics diagnostics;
  if (arguments.strict) {
    diagnostics.makeWarningsErrors();
  }
  for (const std::string& rule : arguments.allowed) {
    diagnostics.allow(*findRule(rule));
  }
  const std::vector<std::string> files = schemaFiles(arguments.schemas);
  const Catalogue catalogue = loadSchemas(files, diagnostics);
  try {
    if (!diagnostics.hasErrors()) {
      checkForms(catalogue, diagnostics);
    }
  } catch (const TooManyErrors&) {
    // They are printed as any others.
  }
  diagnostics.print(std::cerr);
  if (diagnostics.hasErrors()) {
    return exitRefused;
  }
  Emission emission = arguments.emission;
  emission.headLine = headLine(files);
  if (!arguments.listOutputs) {
    OutputFolder folder(arguments.outputDirectory);
    emit(catalogue, emission, [&folder](const OutputFile& file) { folder.add(file); });
    folder.commit();
    return exitDone;
  }
  emit(catalogue, emission, [](const OutputFile& file) { std::cout << file.name << '\n'; });
  return exitDone;
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

int run(const Arguments& arguments)
{
  return arguments.format ? formatFiles(arguments) : compile(arguments);
}

int run(const CompareCall& call)
{
  if (call.rules) {
    printRules(std::cout);
    return exitDone;
  }
  const XmlPlatform platform;
  return compareCatalogues(call.arguments);
}

/// Reads the command line as that of one kind of call, and does what it says.
template <class Call>
int runCall(const char* about, int argc, char** argv)
{
  Call call;
  CLI::App app(about, "kwxml-catalogue");
  addOptions(app, call);
  std::string problem;
  try {
    app.parse(argc, argv);
    problem = findMissing(call);
  } catch (const CLI::CallForHelp&) {
    std::cout << app.help();
    return exitDone;
  } catch (const CLI::CallForVersion& version) {
    std::cout << version.what() << '\n';
    return exitDone;
  } catch (const CLI::ParseError& error) {
    problem = explain(app, error);
  }
  if (!problem.empty()) {
    std::cerr << "kwxml-catalogue: " << oneLine(problem) << '\n';
    return exitUsage;
  }
  return run(call);
}

/// Asked for beside options that take values, which need not be there then.
template <class Call>
int answer(const char* about, char* program, std::string question)
{
  char* words[] = {program, question.data(), nullptr};
  return runCall<Call>(about, 2, words);
}

bool isComparing(int argc, char** argv)
{
  for (int i = 1; i < argc && std::string_view(argv[i]) != "--"; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "--against" || argument.starts_with("--against=") || argument == "--rules") {
      return true;
    }
  }
  return false;
}

}  // namespace

int main(int argc, char** argv)
{
  try {
    const auto asks = [&](std::string_view question) {
      return std::any_of(argv, argv + argc, [&](const char* word) { return word == question; });
    };
    const int status = !isComparing(argc, argv) ? runCall<Arguments>(description, argc, argv)
                       : asks("--help") || asks("-h")
                           ? answer<CompareCall>(compareDescription, argv[0], "--help")
                       : asks("--version") ? answer<CompareCall>(compareDescription, argv[0], "--version")
                                           : runCall<CompareCall>(compareDescription, argc, argv);
    if (!std::cout.flush()) {
      throw std::runtime_error("cannot write to standard output");
    }
    return status;
  } catch (const std::exception& exception) {
    std::cerr << "kwxml-catalogue: " << oneLine(exception.what()) << '\n';
  } catch (const xercesc::XMLException&) {
    std::cerr << "kwxml-catalogue: the XML parser cannot be started\n";
  } catch (const xercesc::OutOfMemoryException&) {
    std::cerr << "kwxml-catalogue: not enough memory\n";
  }
  return exitRefused;
}
