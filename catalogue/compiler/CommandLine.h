// The command line of the compiler: two kinds of calls, which share words but not their meaning.
#pragma once

#include "CompareCatalogues.h"
#include "Stages.h"

#include <commandline/Manual.h>

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kwxml::catalogue {

inline constexpr const char* programVersion = "kwxml-catalogue " KWXML_VERSION;

/// A call that compiles schemas, or does something else with them.
struct Arguments
{
  bool strict = false;
  bool listOutputs = false;
  bool format = false;
  bool helpSchema = false;
  Emission emission;
  std::vector<std::string> allowed;  ///< names of rules
  std::string outputDirectory;
  std::vector<std::string> schemas;
};

/// A call that compares two catalogues.
struct CompareCall
{
  bool rules = false;
  CompareArguments arguments;
};

/// How the help on each begins.
extern const char* const description;
extern const char* const compareDescription;

/// Both must live as long as the app.
void addOptions(CLI::App& app, Arguments& arguments);
void addOptions(CLI::App& app, CompareCall& call);

/// What a whole command line lacks, empty when it lacks nothing.
std::string findMissing(const Arguments& arguments);
std::string findMissing(const CompareCall& call);

/// Whether the words behind the program's name are a call that compares.
bool isComparing(const std::vector<std::string>& words);

/// What the last word can become, as commandline/Completion.h says.
std::string completions(const std::vector<std::string>& words);

/// The page of the manual on the program.
commandline::Page commandPage();

}  // namespace kwxml::catalogue
