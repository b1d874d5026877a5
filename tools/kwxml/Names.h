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

/// A system, or a class by its tag name ("System_Class").
struct CatalogueName
{
  std::string name;
  bool isEnum;
  const char* doc;  ///< what its schema says of it; may be empty
};

/// The populated systems.
std::vector<CatalogueName> systemNames();
/// All classes.
std::vector<CatalogueName> tagNames();

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
