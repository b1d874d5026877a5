// Names of the catalogue as people type them: found, or answered with the nearest name there is.
#pragma once

#include <kwxml/model/Metadata.h>

#include <string>
#include <string_view>
#include <vector>

namespace kwxml::tool {

/// "; did you mean 'X'?" with the candidate that needs the fewest changes (case apart), or nothing when none
/// is near.
std::string didYouMean(std::string_view name, const std::vector<std::string>& candidates);

/// Names of the populated systems.
std::vector<std::string> systemNames();
/// Tag names ("System_Class") of all classes.
std::vector<std::string> tagNames();

/// One class of the catalogue, by its place.
struct ClassPlace
{
  short system;
  int index;
};

/// The class that a tag name or a tag identifier (decimal or 0x) names. Throws Failure (usage) when there is
/// none.
ClassPlace findTag(const std::string& tag);
/// The index of a system by its name. Throws Failure (usage) when there is none.
short findSystem(const std::string& name);

}  // namespace kwxml::tool
