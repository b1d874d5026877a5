// What the forms of a message lose of it. The forms are what programs of before expect, so no later version
// mends them; who writes a schema can still choose.
#include "AnnotationRecord.h"
#include "Stages.h"

#include <algorithm>
#include <iterator>

namespace kwxml::catalogue {
namespace {

struct Loss
{
  FieldDataType type;
  Rule rule;
  const char* text;
};

constexpr Loss losses[] = {
    {FIELD_LONG, Rule::WideIntegers, "the binary form keeps 32 bits of a long; longlong keeps 64"},
    {FIELD_ULONG, Rule::WideIntegers, "the binary form keeps 32 bits of a ulong; longlong keeps 64"},
    {FIELD_LIST_LONG, Rule::WideIntegers, "the binary form keeps 32 bits of each long; longlong keeps 64"},
    {FIELD_LIST_ULONG, Rule::WideIntegers, "the binary form keeps 32 bits of each ulong; longlong keeps 64"},
    {FIELD_ULONGLONG, Rule::Ulonglong,
     "the binary form has no key for a ulonglong: readers lose it and misread what follows; use longlong"},
    {FIELD_LIST_ULONGLONG, Rule::Ulonglong,
     "the binary form mixes up the lengths of a list of ulonglong: readers lose it and misread what follows; "
     "use longlong"},
    {FIELD_WSTRING, Rule::WideStrings,
     "XML and the binary form leave a wstring out; string travels in every form"},
    {FIELD_LIST_WSTRING, Rule::WideStrings,
     "XML leaves a list of wstring out, and the binary form has a marker of it alone: readers misread what "
     "follows; string travels in every form"},
};

void warnOfField(const Field& field, Diagnostics& diagnostics)
{
  const auto warn = [&](Rule rule, const std::string& text) {
    diagnostics.warning(field.at, rule, "field " + inQuotes(field.name) + ": " + text);
  };
  const auto* loss = std::find_if(std::begin(losses), std::end(losses),
                                  [&](const Loss& row) { return row.type == field.type; });
  if (loss != std::end(losses)) {
    warn(loss->rule, loss->text);
  }
  if (field.cdata &&
      (field.type == FIELD_BSTRING || field.type == FIELD_LIST_BSTRING || field.type == FIELD_PSTRING)) {
    warn(Rule::IdleCdata, "XML has no sections of bytes and passwords: attribute 'cdata' changes nothing");
  }
  if (field.type == FIELD_PSTRING && field.passwordType == 0) {
    const bool unmarked = annotationRecordSize(field) == 0;
    warn(Rule::PasswordType,
         unmarked
             ? "without attribute 'password' XML leaves it out, and readers refuse a binary message with it"
             : "without a password type XML leaves it out");
  }
}

}  // namespace

void checkForms(const Catalogue& catalogue, Diagnostics& diagnostics)
{
  for (const System& system : catalogue.systems) {
    if (system.isEager()) {
      diagnostics.warning(system.at, Rule::OldWay,
                          "system " + inQuotes(system.name) + " has an index of the old way, " +
                              std::to_string(system.index) +
                              ": all fields are always written; choose another index unless you need that");
    }
    for (const Class& cls : system.classes) {
      for (const Field& field : cls.fields) {
        if (!field.hidden) {  // no reader finds a hidden one in any form
          warnOfField(field, diagnostics);
        }
      }
    }
  }
}

}  // namespace kwxml::catalogue
