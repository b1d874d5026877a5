// The way back: from the tables of a compiled catalogue to what its schemas said.
#pragma once

#include "Schema.h"

namespace kwxml::catalogue {

/// A laid-out catalogue whose tables these are. Elements have no places; a path has no message when those of
/// several messages read the same; documentation is left out.
Catalogue readTables(const CatalogueTables& tables);

}  // namespace kwxml::catalogue
