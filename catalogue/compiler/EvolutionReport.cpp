#include "EvolutionReport.h"

#include <kwxml/text/ShownText.h>

#include <algorithm>
#include <array>
#include <ostream>
#include <string_view>

namespace kwxml::catalogue {
namespace {

/// What becomes of data in one form: its name in each report, and the words.
struct FormEffect
{
  const char* shown;
  const char* member;
  const char* effect;
};

std::array<FormEffect, 5> effectsOf(const EvolutionRule& rule)
{
  return {{{"binary", "binary", rule.binary},
           {"XML", "xml", rule.xml},
           {"JSON", "json", rule.json},
           {"records", "records", rule.records},
           {"XPath", "xpath", rule.xpath}}};
}

void printEffects(std::ostream& out, const EvolutionRule& rule)
{
  for (const FormEffect& form : effectsOf(rule)) {
    out << "  " << form.shown << ": " << form.effect << '\n';
  }
}

std::string placeOf(const EvolutionReport& report, const Difference& difference)
{
  const std::vector<std::string>& files = difference.inOld ? report.olderFiles : report.newerFiles;
  const std::string file = shown(files[difference.at.file]);
  return difference.at.line == 0  // in a compiled catalogue
             ? file
             : file + ':' + std::to_string(difference.at.line) + ':' + std::to_string(difference.at.column);
}

/// A text that has been through shown(), and so holds no control characters.
void printString(std::ostream& out, std::string_view text)
{
  out << '"';
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out << '\\';
    }
    out << c;
  }
  out << '"';
}

void printMember(std::ostream& out, const char* name, const std::string& value)
{
  out << '"' << name << "\":";
  if (value.empty()) {
    out << "null";
  } else {
    printString(out, shown(value));
  }
  out << ',';
}

}  // namespace

bool EvolutionReport::allows(const Difference& difference) const
{
  return allowed.contains(evolutionRule(difference.rule).name);
}

bool EvolutionReport::breaksData() const
{
  return std::any_of(differences.begin(), differences.end(), [this](const Difference& difference) {
    return evolutionRule(difference.rule).kind == ChangeKind::DataBreaking && !allows(difference);
  });
}

void EvolutionReport::printText(std::ostream& out) const
{
  for (const Difference& difference : differences) {
    const EvolutionRule& rule = evolutionRule(difference.rule);
    out << placeOf(*this, difference) << ": " << kindName(rule.kind)
        << (allows(difference) ? " (allowed)" : "") << ": " << rule.name << ": " << shown(difference.text)
        << '\n';
    printEffects(out, rule);
  }
}

void EvolutionReport::printJson(std::ostream& out) const
{
  out << '[';
  const char* separator = "\n";
  for (const Difference& difference : differences) {
    const EvolutionRule& rule = evolutionRule(difference.rule);
    out << separator << '{';
    printMember(out, "kind", kindName(rule.kind));
    printMember(out, "rule", rule.name);
    out << "\"allowed\":" << (allows(difference) ? "true" : "false") << ',';
    printMember(out, "place", placeOf(*this, difference));
    printMember(out, "class", difference.cls);
    printMember(out, "field", difference.field);
    printMember(out, "text", difference.text);
    out << "\"effects\":{";
    const char* comma = "";
    for (const FormEffect& form : effectsOf(rule)) {
      out << comma << '"' << form.member << "\":";
      printString(out, form.effect);
      comma = ",";
    }
    out << "}}";
    separator = ",\n";
  }
  out << (differences.empty() ? "]\n" : "\n]\n");
}

void printRules(std::ostream& out)
{
  for (const EvolutionRule& rule : evolutionRules) {
    out << rule.name << ": " << kindName(rule.kind) << '\n';
    printEffects(out, rule);
  }
}

const EvolutionRule* findEvolutionRule(const std::string& name)
{
  const auto* found = std::find_if(std::begin(evolutionRules), std::end(evolutionRules),
                                   [&](const EvolutionRule& rule) { return name == rule.name; });
  return found != std::end(evolutionRules) ? found : nullptr;
}

}  // namespace kwxml::catalogue
