#include "CompareCatalogues.h"

#include "EvolutionReport.h"
#include "Stages.h"

#include <iostream>

namespace kwxml::catalogue {
namespace {

constexpr int exitDone = 0;
constexpr int exitBroken = 1;
constexpr int exitUsage = 2;

/// The catalogue, laid out unless the diagnostics have errors.
Catalogue load(const std::vector<std::string>& files, Diagnostics& diagnostics)
{
  Catalogue catalogue = parse(files, diagnostics);
  if (!diagnostics.hasErrors()) {
    resolve(catalogue, diagnostics);
    check(catalogue, diagnostics);
    layOut(catalogue, diagnostics);
  }
  diagnostics.print(std::cerr);
  return catalogue;
}

}  // namespace

int compareCatalogues(const CompareArguments& arguments)
{
  if (arguments.format != "text" && arguments.format != "json") {
    std::cerr << "kwxml-catalogue: --format takes text or json, not " << quoted(arguments.format) << '\n';
    return exitUsage;
  }
  EvolutionReport report;
  for (const std::string& name : arguments.allowed) {
    if (findRule(name) == nullptr) {
      std::cerr << "kwxml-catalogue: no rule is called " << quoted(name) << "; --rules lists them\n";
      return exitUsage;
    }
    report.allowed.insert(name);
  }
  Diagnostics older;
  Diagnostics newer;
  const Catalogue before = load(arguments.olderFiles, older);
  const Catalogue after = load(arguments.newerFiles, newer);
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
