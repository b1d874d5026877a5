#include "CompareCatalogues.h"

#include "EvolutionReport.h"
#include "ReadTables.h"
#include "SchemaFiles.h"

#include <kwxml/model/CatalogueLibrary.h>
#include <kwxml/model/Registry.h>

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
    return readTables(registry->tables());
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
