#include "Stages.h"

namespace kwxml::catalogue {

void emit(const Catalogue& catalogue, const Emission& emission, const TakeFile& take)
{
  emitTables(catalogue, emission, take);
  emitRegistry(catalogue, emission, take);
  for (const System& system : catalogue.systems) {
    take(emitHeader(system, emission));
  }
}

}  // namespace kwxml::catalogue
