// kwxml-catalogue: schema files in, constant tables and wrapper headers out.
#include "CompareCatalogues.h"
#include "EvolutionReport.h"
#include "Stages.h"

#include <xercesc/util/PlatformUtils.hpp>

#include <algorithm>
#include <charconv>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <system_error>

namespace {

namespace fs = std::filesystem;
using namespace kwxml::catalogue;

constexpr int exitDone = 0;
constexpr int exitRefused = 1;
constexpr int exitUsage = 2;
constexpr unsigned maxShards = 9999;

constexpr const char* usage =
    "usage: kwxml-catalogue [--shards N] [--strict] -o OUTDIR SCHEMA...\n"
    "       kwxml-catalogue --against OLD [--format text|json] [--allow RULE]... NEW\n"
    "       kwxml-catalogue --rules\n";

constexpr const char* help =
    "Compiles schema files of message systems into C++: the constant tables of a catalogue library and one "
    "header\n"
    "of typed wrappers per system.\n"
    "\n"
    "  SCHEMA      a schema file, or a directory: its *.xml files, sorted by name\n"
    "  -o OUTDIR   where the files go; made when it does not exist\n"
    "  --shards N  the number of table files (default: one per 256 classes)\n"
    "  --strict    what is only suspicious, and warned of, is an error\n"
    "  --help      this text\n"
    "\n"
    "With --against nothing is compiled: the differences of two versions of a catalogue are listed, and "
    "what each\n"
    "does to data that the older one wrote.\n"
    "\n"
    "  OLD, NEW       a schema file, or a directory\n"
    "  --format json  an array of objects, for programs\n"
    "  --allow RULE   differences of this rule do not count; may be repeated\n"
    "  --rules        lists the rules\n"
    "\n"
    "Writes OUTDIR/tables_000.cpp and on, OUTDIR/registry.cpp and OUTDIR/<System>.h. The same schemas give "
    "the same\n"
    "bytes. Mistakes are reported on standard error as FILE:LINE:COLUMN: error: TEXT, the place being just "
    "behind\n"
    "the start tag of the element in question; nothing is written then.\n"
    "\n"
    "Exit status: 0 done, 1 the schemas have errors, a file could not be read or written, or a difference "
    "that is not\n"
    "allowed breaks data, 2 usage.\n"
    "\n"
    "Example: kwxml-catalogue -o build/catalogue schemas/Demo.xml schemas/Shop.xml\n";

struct Arguments
{
  bool help = false;
  bool rules = false;
  bool compiling = false;  // an option of one kind of call was given
  bool comparing = false;  // of the other
  std::optional<std::string> against;
  CompareArguments compare;
  bool strict = false;
  unsigned shards = 0;
  std::string outputDirectory;
  std::vector<std::string> schemas;
};

/// Returns what is wrong, empty when nothing is.
std::string readArguments(int argc, char** argv, Arguments& arguments)
{
  bool options = true;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (options && argument == "--help") {
      arguments.help = true;
      return {};
    }
    if (options && argument == "--rules") {
      arguments.rules = true;
      return {};
    }
    if (options && argument == "--") {
      options = false;
    } else if (options && argument == "--strict") {
      arguments.compiling = true;
      arguments.strict = true;
    } else if (options && (argument == "--against" || argument == "--format" || argument == "--allow")) {
      if (++i == argc) {
        return argument + " needs a value";
      }
      arguments.comparing = arguments.comparing || argument != "--against";
      if (argument == "--against") {
        arguments.against = argv[i];
      } else if (argument == "--format") {
        arguments.compare.format = argv[i];
      } else {
        arguments.compare.allowed.emplace_back(argv[i]);
      }
    } else if (options && (argument == "-o" || argument == "--shards")) {
      if (++i == argc) {
        return argument + " needs a value";
      }
      const std::string value = argv[i];
      arguments.compiling = true;
      if (argument == "-o") {
        arguments.outputDirectory = value;
        continue;
      }
      const char* end = value.data() + value.size();
      const auto result = std::from_chars(value.data(), end, arguments.shards);
      if (result.ec != std::errc() || result.ptr != end || arguments.shards < 1 ||
          arguments.shards > maxShards) {
        return "--shards takes a number from 1 to " + std::to_string(maxShards) + ", not " + quoted(value);
      }
    } else if (options && argument.size() > 1 && argument.starts_with('-')) {
      return "unknown option " + quoted(argument);
    } else {
      arguments.schemas.push_back(argument);
    }
  }
  if (!arguments.against && arguments.comparing) {
    return "--format and --allow go with --against";
  }
  if (arguments.against && arguments.compiling) {
    return "--against compiles nothing: -o, --shards and --strict do not go with it";
  }
  if (arguments.against) {
    return arguments.schemas.size() == 1 ? "" : "--against takes one newer schema file or directory";
  }
  if (arguments.outputDirectory.empty()) {
    return "no output directory";
  }
  return arguments.schemas.empty() ? "no schemas" : "";
}

/// The files that the arguments stand for. Throws std::runtime_error or fs::filesystem_error.
std::vector<std::string> schemaFiles(const std::vector<std::string>& arguments)
{
  std::vector<std::string> files;
  for (const std::string& argument : arguments) {
    if (!fs::is_directory(argument)) {
      files.push_back(argument);
      continue;
    }
    std::vector<std::string> found;
    for (const fs::directory_entry& entry : fs::directory_iterator(argument)) {
      if (entry.path().extension() == ".xml") {
        found.push_back(entry.path().string());
      }
    }
    if (found.empty()) {
      throw std::runtime_error(argument + " has no *.xml files");
    }
    std::sort(found.begin(), found.end());
    files.insert(files.end(), found.begin(), found.end());
  }
  return files;
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

/// Writes all files beside their places first and moves them there when every one is whole, so that a failure
/// leaves what was there before.
void writeFiles(const fs::path& directory, const std::vector<OutputFile>& files)
{
  constexpr const char* temporary = ".new";
  fs::create_directories(directory);
  const auto removeTemporaries = [&] {
    std::error_code ignored;  // the failure that led here is the one to report
    for (const OutputFile& file : files) {
      fs::remove(directory / (file.name + temporary), ignored);
    }
  };
  try {
    for (const OutputFile& file : files) {
      const fs::path path = directory / (file.name + temporary);
      std::ofstream out(path, std::ios::binary | std::ios::trunc);
      out << file.text;
      out.close();
      if (!out) {
        throw fs::filesystem_error("cannot write", path, std::make_error_code(std::errc::io_error));
      }
    }
    for (const OutputFile& file : files) {  // a rename that can only fail must not leave half of them done
      const fs::path path = directory / file.name;
      if (fs::is_directory(fs::symlink_status(path))) {
        throw fs::filesystem_error("cannot replace", path, std::make_error_code(std::errc::is_a_directory));
      }
    }
    for (const OutputFile& file : files) {
      fs::rename(directory / (file.name + temporary), directory / file.name);
    }
  } catch (...) {
    removeTemporaries();
    throw;
  }
}

struct XmlPlatform
{
  XmlPlatform() { xercesc::XMLPlatformUtils::Initialize(); }
  ~XmlPlatform() { xercesc::XMLPlatformUtils::Terminate(); }
  XmlPlatform(const XmlPlatform&) = delete;
  XmlPlatform& operator=(const XmlPlatform&) = delete;
};

int compile(const Arguments& arguments)
{
  const XmlPlatform platform;
  Diagnostics diagnostics;
  if (arguments.strict) {
    diagnostics.makeWarningsErrors();
  }
  const std::vector<std::string> files = schemaFiles(arguments.schemas);
  Catalogue catalogue = parse(files, diagnostics);
  if (!diagnostics.hasErrors()) {  // what follows counts on the structure that the grammar asks for
    resolve(catalogue, diagnostics);
    check(catalogue, diagnostics);
    layOut(catalogue, diagnostics);
  }
  diagnostics.print(std::cerr);
  if (diagnostics.hasErrors()) {
    return exitRefused;
  }
  writeFiles(arguments.outputDirectory, emit(catalogue, headLine(files), arguments.shards));
  return exitDone;
}

int compareWith(const std::string& older, Arguments arguments)
{
  const XmlPlatform platform;
  arguments.compare.olderFiles = schemaFiles({older});
  arguments.compare.newerFiles = schemaFiles(arguments.schemas);
  return compareCatalogues(arguments.compare);
}

}  // namespace

int main(int argc, char** argv)
{
  try {
    Arguments arguments;
    const std::string problem = readArguments(argc, argv, arguments);
    if (!problem.empty()) {
      std::cerr << "kwxml-catalogue: " << problem << '\n' << usage;
      return exitUsage;
    }
    if (arguments.help) {
      std::cout << usage << '\n' << help;
      return exitDone;
    }
    if (arguments.rules) {
      printRules(std::cout);
      return exitDone;
    }
    return arguments.against ? compareWith(*arguments.against, arguments) : compile(arguments);
  } catch (const std::exception& exception) {
    std::cerr << "kwxml-catalogue: " << exception.what() << '\n';
    return exitRefused;
  } catch (const xercesc::XMLException&) {
    std::cerr << "kwxml-catalogue: the XML parser cannot be started\n";
    return exitRefused;
  }
}
