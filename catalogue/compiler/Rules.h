// What the compiler warns of. Each rule has a name, which stands behind its warnings and by which --allow
// turns it off; names stay as they are once published.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml::catalogue {

enum class Rule
{
  AnnotationMember,
  HashOfZero,
  IdleCdata,
  OldWay,
  PasswordType,
  RepeatedId,
  RepeatedXPath,
  SameHash,
  Ulonglong,
  UnreadXPath,
  WideIntegers,
  WideStrings,
};

const char* ruleName(Rule rule);

/// What it finds.
const char* ruleMeaning(Rule rule);

/// All of them, in the order of their names.
std::vector<Rule> allRules();

/// None for an unknown name.
std::optional<Rule> findRule(std::string_view name);

/// All names, comma-separated.
std::string ruleNames();

}  // namespace kwxml::catalogue
