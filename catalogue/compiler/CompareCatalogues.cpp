#include "CompareCatalogues.h"

#include "EvolutionReport.h"
#include "ReadTables.h"
#include "SchemaFiles.h"

#include <kwxml/model/CatalogueLibrary.h>
#include <kwxml/model/Registry.h>

#include <algorithm>
#include <iostream>

namespace kwxml::catalogue {
namespace {

constexpr int exitDone = 0;
constexpr int exitBroken = 1;

/// What a compiled catalogue's schemas said, but for places in them.
Catalogue loadLibrary(const std::string& path, Diagnostics& diagnostics)
{
  const Location whole{diagnostics.addFile(path), 0, 0};
  std::string problem;
  if (const Registry* registry = loadCatalogueLibrary(path, problem)) {
    Catalogue catalogue = readTables(registry->tables());
    for (const System& system : catalogue.systems) {
      const auto unknown = std::count_if(system.xpaths.begin(), system.xpaths.end(),
                                         [](const XPath& xpath) { return xpath.message.empty(); });
      if (unknown > 0) {
        diagnostics.warning(whole, "the library does not tell of which message " + std::to_string(unknown) +
                                       " XPaths of system " + inQuotes(system.name) +
                                       " are: that they go to another message is not found");
      }
    }
    return catalogue;
  }
  diagnostics.error(whole, problem);
  return {};
}

/// The catalogue, laid out unless the diagnostics have errors.
Catalogue load(const std::string& path, Diagnostics& diagnostics)
{
  Catalogue catalogue =
      isSharedLibrary(path) ? loadLibrary(path, diagnostics) : loadSchemas(schemaFiles({path}), diagnostics);
  diagnostics.print(std::cerr);
  return catalogue;
}

}  // namespace

int compareCatalogues(const CompareArguments& arguments)
{
  EvolutionReport report;
  report.allowed.insert(arguments.allowed.begin(), arguments.allowed.end());
  Diagnostics older;
  Diagnostics newer;
  const Catalogue before = load(arguments.older, older);
  const Catalogue after = load(arguments.newer, newer);
  if (older.hasErrors() || newer.hasErrors()) {
    return exitBroken;
  }
  report.differences = compare(before, after);
  report.olderFiles = older.files();
  report.newerFiles = newer.files();
  if (arguments.format == "json") {
    report.printJson(std::cout);
  } else {
    report.printText(std::cout);
  }
  return report.breaksData() ? exitBroken : exitDone;
}

}  // namespace kwxml::catalogue
