#include "Rules.h"

#include <algorithm>
#include <iterator>

namespace kwxml::catalogue {
namespace {

struct Description
{
  const char* name;
  const char* meaning;
};

/// In the order of Rule.
constexpr Description descriptions[] = {
    {"annotation-member", "a member that its annotation does not have"},
    {"hash-of-zero", "a field whose name has the hash 0: no name leads to it"},
    {"idle-cdata", "cdata on bytes or passwords, where it changes nothing"},
    {"old-way", "a system with an index of the old way: all fields of its messages are always written"},
    {"password-type",
     "a pstring without a password type: XML leaves it out; without any annotation readers refuse a binary "
     "message "
     "with it"},
    {"repeated-id", "two classes of a system with one ID"},
    {"repeated-xpath", "two XPaths of a system with one text"},
    {"same-hash", "two fields of a class with one hash"},
    {"ulonglong", "a ulonglong or a list of it, which readers of the binary form misread"},
    {"unread-xpath", "an XPath in a system without XPath tables"},
    {"wide-integers", "a long, a ulong or a list of them, of which the binary form keeps 32 bits"},
    {"wide-strings", "a wstring or a list of it, which XML and the binary form leave out"},
};
static_assert(std::size(descriptions) == static_cast<std::size_t>(Rule::WideStrings) + 1);

}  // namespace

const char* ruleName(Rule rule)
{
  return descriptions[static_cast<std::size_t>(rule)].name;
}

const char* ruleMeaning(Rule rule)
{
  return descriptions[static_cast<std::size_t>(rule)].meaning;
}

std::vector<Rule> allRules()
{
  std::vector<Rule> rules;
  for (std::size_t i = 0; i < std::size(descriptions); ++i) {
    rules.push_back(static_cast<Rule>(i));
  }
  return rules;
}

std::optional<Rule> findRule(std::string_view name)
{
  const auto* found = std::find_if(std::begin(descriptions), std::end(descriptions),
                                   [&](const Description& one) { return name == one.name; });
  return found != std::end(descriptions)
             ? std::optional<Rule>(static_cast<Rule>(found - std::begin(descriptions)))
             : std::nullopt;
}

std::string ruleNames()
{
  std::string all;
  for (const Rule rule : allRules()) {
    all += (all.empty() ? "" : ", ") + std::string(ruleName(rule));
  }
  return all;
}

}  // namespace kwxml::catalogue
