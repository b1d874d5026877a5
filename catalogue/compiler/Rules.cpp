#include "Rules.h"

#include <algorithm>
#include <iterator>

namespace kwxml::catalogue {
namespace {

/// In the order of Rule.
constexpr const char* names[] = {
    "annotation-member",  // a member that nothing looks for
    "hash-of-zero",       // a field that no name leads to
    "idle-cdata",         // a CDATA mark that changes nothing
    "old-way",            // a system whose messages are always written whole
    "password-type",      // a password without a type
    "repeated-id",        // two classes with one ID
    "repeated-xpath",     // two XPaths with one text
    "same-hash",          // two fields that one name leads to
    "ulonglong",          // a number that binary readers misread
    "unread-xpath",       // an XPath in a system without XPath tables
    "wide-integers",      // a number of which the binary form keeps half
    "wide-strings",       // a text that XML and the binary form leave out
};
static_assert(std::size(names) == static_cast<std::size_t>(Rule::WideStrings) + 1);

}  // namespace

const char* ruleName(Rule rule)
{
  return names[static_cast<std::size_t>(rule)];
}

std::optional<Rule> findRule(std::string_view name)
{
  const auto* found = std::find(std::begin(names), std::end(names), name);
  return found != std::end(names) ? std::optional<Rule>(static_cast<Rule>(found - std::begin(names)))
                                  : std::nullopt;
}

std::string ruleNames()
{
  std::string all;
  for (const char* name : names) {
    all += (all.empty() ? "" : ", ") + std::string(name);
  }
  return all;
}

}  // namespace kwxml::catalogue
