// Messages of every class, with values of every type.
#pragma once

#include "support/Messages.h"

#include <vector>

namespace kwxml::test {

/// Of the sample catalogue.
std::vector<PackedReference> everyMessageClass();

/// Four messages of each class: the same ones in every run. Enumerations are ones that their enumerators
/// have.
std::vector<YMMessageBase> randomMessages();

/// What the types of values have at their ends, and the texts that only a readable form has.
std::vector<YMMessageBase> borders();

}  // namespace kwxml::test
