// Differences of two catalogues as text for people and as JSON for programs.
#pragma once

#include "Evolution.h"

#include <iosfwd>
#include <set>
#include <string>
#include <vector>

namespace kwxml::catalogue {

/// What a report shows, and with what.
struct EvolutionReport
{
  std::vector<Difference> differences;
  std::vector<std::string> olderFiles;  ///< by the numbers in the places
  std::vector<std::string> newerFiles;
  std::set<std::string> allowed;  ///< names of rules that do not count

  bool allows(const Difference& difference) const;
  /// True when a difference that breaks data is not allowed.
  bool breaksData() const;

  /// A line "FILE:LINE:COLUMN: KIND: RULE: TEXT" per difference, and a line for each form of the data.
  void printText(std::ostream& out) const;
  /// An array with an object per difference.
  void printJson(std::ostream& out) const;
};

/// All rules: a line "RULE: KIND" each, and a line for each form of the data.
void printRules(std::ostream& out);

/// Null when no rule has the name.
const EvolutionRule* findEvolutionRule(const std::string& name);

}  // namespace kwxml::catalogue
