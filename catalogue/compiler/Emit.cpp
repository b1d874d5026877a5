#include "Stages.h"

#include <iterator>

namespace kwxml::catalogue {

std::vector<OutputFile> emit(const Catalogue& catalogue, const std::string& headLine, unsigned shards)
{
  std::vector<OutputFile> files = emitTables(catalogue, headLine, shards);
  files.push_back(emitRegistry(catalogue, headLine));
  for (const System& system : catalogue.systems) {
    files.push_back(emitHeader(system, headLine));
  }
  return files;
}

}  // namespace kwxml::catalogue
