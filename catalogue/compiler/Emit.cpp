#include "Stages.h"

#include <iterator>

namespace kwxml::catalogue {

std::vector<OutputFile> emit(const Catalogue& catalogue, const Emission& emission)
{
  std::vector<OutputFile> files = emitTables(catalogue, emission);
  files.push_back(emitRegistry(catalogue, emission));
  for (const System& system : catalogue.systems) {
    files.push_back(emitHeader(system, emission));
  }
  return files;
}

}  // namespace kwxml::catalogue
