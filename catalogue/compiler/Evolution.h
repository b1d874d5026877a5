// What differs between two versions of a catalogue, and what that does to data that was written with the
// older one.
//
// EvolutionRules.def has the rules: what each is called, how bad it is and what it means in each form of the
// data. What the catalogues have is matched by name, then by the former name that the newer one says. Of what
// is left over then, systems, classes, enumerators and paths are matched by number: their name has changed.
// Data knows fields by nothing but names.
#pragma once

#include "Schema.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kwxml::catalogue {

enum class ChangeKind : std::uint8_t
{
  Safe,            ///< data keeps every field that both versions have
  SourceBreaking,  ///< so it does, but programs must be changed or compiled anew
  DataBreaking,    ///< values are lost or read as others
};

enum class EvolutionRuleId : std::uint8_t
{
#define KWXML_EVOLUTION_RULE(enumerator, ...) enumerator,
#include "EvolutionRules.def"
#undef KWXML_EVOLUTION_RULE
};

/// A rule, with what becomes of data in each form.
struct EvolutionRule
{
  EvolutionRuleId id;
  const char* name;
  ChangeKind kind;
  const char* binary;
  const char* xml;
  const char* json;
  const char* records;
  const char* xpath;
};

inline constexpr EvolutionRule evolutionRules[] = {
#define KWXML_EVOLUTION_RULE(enumerator, name, kind, binary, xml, json, records, xpath) \
  {EvolutionRuleId::enumerator, name, ChangeKind::kind, binary, xml, json, records, xpath},
#include "EvolutionRules.def"
#undef KWXML_EVOLUTION_RULE
};

constexpr const EvolutionRule& evolutionRule(EvolutionRuleId id)
{
  return evolutionRules[static_cast<std::size_t>(id)];
}

/// "safe", "source-breaking", "data-breaking".
const char* kindName(ChangeKind kind);

struct Difference
{
  EvolutionRuleId rule;
  bool inOld = false;  ///< the place is in the older schemas: what stands there is gone
  Location at;
  std::string cls;    ///< tag name of the class, empty when the difference is that of a system
  std::string field;  ///< name of the field or enumerator, empty when it is that of the class
  std::string text;   ///< what has changed, as part of a sentence
};

/// The differences of two catalogues that are laid out without errors: in the order of the newer one, and
/// what is gone behind what has stayed in each of its parts.
std::vector<Difference> compare(const Catalogue& older, const Catalogue& newer);

/// The rule for a field of one type that becomes one of another.
EvolutionRuleId retypeRule(FieldDataType older, FieldDataType newer);

/// Whether no binary reader, not even one of the same type, knows where a value of the type ends.
bool isUncoded(FieldDataType type);

}  // namespace kwxml::catalogue
