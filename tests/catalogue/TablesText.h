// Catalogues as texts, to compare one with another.
#pragma once

#include <kwxml/model/Registry.h>

#include <string>
#include <vector>

namespace kwxml::test {

/// All of a catalogue's tables, a line for each record.
std::vector<std::string> tableLines(const Registry& registry);
/// What each look-up answers for what the catalogue has, and for what it has not.
std::vector<std::string> lookUpLines(const Registry& registry);

/// Two catalogues with the same records, found alike; a failure names the first line that differs.
void expectSameCatalogue(const Registry& made, const Registry& compiled);

}  // namespace kwxml::test
