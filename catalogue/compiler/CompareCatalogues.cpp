#include "CompareCatalogues.h"

#include "EvolutionReport.h"
#include "Stages.h"

#include <iostream>

namespace kwxml::catalogue {
namespace {

constexpr int exitDone = 0;
constexpr int exitBroken = 1;

/// The catalogue, laid out unless the diagnostics have errors.
Catalogue load(const std::vector<std::string>& files, Diagnostics& diagnostics)
{
  Catalogue catalogue = parse(read(files, diagnostics), diagnostics);
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
  EvolutionReport report;
  report.allowed.insert(arguments.allowed.begin(), arguments.allowed.end());
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
