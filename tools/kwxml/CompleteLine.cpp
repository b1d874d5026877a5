#include "CompleteLine.h"

#include "Files.h"
#include "NamedCatalogue.h"
#include "Names.h"
#include "Report.h"

#include <commandline/Completion.h>

#include <cstdlib>
#include <exception>
#include <sstream>

namespace kwxml::tool {

namespace {

using commandline::GivenOptions;
using commandline::Word;

/// The path as the shell would give it: nobody has expanded the word yet.
std::string expanded(const std::string& path)
{
  const char* const home = std::getenv("HOME");  // NOLINT(concurrency-mt-unsafe)
  return path.starts_with("~/") && home != nullptr ? home + path.substr(1) : path;
}

void useCatalogueOf(const GivenOptions& given)
{
  const auto named = given.find("--catalogue");
  const char* const variable = std::getenv(catalogueVariable);  // NOLINT(concurrency-mt-unsafe)
  std::ostringstream nobodyReads;
  useNamedCatalogue(named != given.end()  ? expanded(named->second)
                    : variable != nullptr ? variable
                                          : "",
                    nobodyReads);
}

std::vector<Word> namesOf(const std::string& kind, const GivenOptions& given)
{
  useCatalogueOf(given);
  std::vector<Word> words;
  const auto add = [&](const CatalogueName& one, const char* what) {
    constexpr std::size_t enough = 200;
    words.push_back({oneLine(one.name, 0), *one.doc != '\0' ? oneLine(one.doc, enough) : what});
  };
  if (kind == systemKind || kind == classKind) {
    for (const CatalogueName& system : systemNames()) {
      add(system, "system");
    }
  }
  if (kind == messageKind || kind == classKind) {
    for (const CatalogueName& one : tagNames()) {
      if (!one.isEnum || kind == classKind) {
        add(one, one.isEnum ? "enum" : "message");
      }
    }
  }
  return words;
}

}  // namespace

void completeLine(CLI::App& app, const std::vector<std::string>& words) noexcept
{
  try {
    LibraryLog log(0);
    const LibraryLog::Silence silence(log);
    const commandline::Candidates found = commandline::complete(app, words, namesOf);
    if (const std::string lines = toLines(found); !lines.empty()) {
      writeOutput("", lines);
    }
  } catch (const std::exception&) {
    // A word about it would stand in the middle of the line that is being typed.
  }
}

}  // namespace kwxml::tool
