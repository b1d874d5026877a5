#include <kwxml/reading/Problems.h>

#include <kwxml/model/Metadata.h>
#include <kwxml/text/NearestName.h>
#include <kwxml/text/ShownText.h>
#include <kwxml/text/Utf8.h>

#include <array>
#include <charconv>

namespace kwxml {

namespace {

struct KindRow
{
  ProblemKind kind;
  Severity severity;
  const char* name;
};

constexpr std::array kindTable{
    KindRow{ProblemKind::NotWellFormed, Severity::Error, "not well-formed"},
    KindRow{ProblemKind::ClassUnknown, Severity::Error, "unknown class"},
    KindRow{ProblemKind::TooDeep, Severity::Error, "nested too deep"},
    KindRow{ProblemKind::BufferCut, Severity::Error, "damaged"},
    KindRow{ProblemKind::NoMemory, Severity::Error, "too much memory"},
    KindRow{ProblemKind::NotOfType, Severity::Error, "not of its type"},
    KindRow{ProblemKind::OutOfRange, Severity::Error, "out of range"},
    KindRow{ProblemKind::EnumeratorUnknown, Severity::Error, "unknown enumerator"},
    KindRow{ProblemKind::GivenTwice, Severity::Error, "given twice"},
    KindRow{ProblemKind::EntryIncomplete, Severity::Error, "incomplete entry"},
    KindRow{ProblemKind::StrayText, Severity::Error, "stray text"},
    KindRow{ProblemKind::ItemUnreadable, Severity::Error, "unreadable item"},
    KindRow{ProblemKind::PasswordUnreadable, Severity::Error, "unreadable password"},
    KindRow{ProblemKind::WireCodeOther, Severity::Error, "other wire code"},
    KindRow{ProblemKind::PrecisionLost, Severity::Warning, "precision lost"},
    KindRow{ProblemKind::AttributeUnknown, Severity::Warning, "unknown attribute"},
    KindRow{ProblemKind::ElementUnknown, Severity::Warning, "unknown element"},
    KindRow{ProblemKind::MemberUnknown, Severity::Warning, "unknown member"},
    KindRow{ProblemKind::FieldUnknown, Severity::Warning, "unknown field"},
    KindRow{ProblemKind::WireCodeUnclear, Severity::Warning, "unclear wire code"},
    KindRow{ProblemKind::TrailingBytes, Severity::Warning, "trailing bytes"},
    KindRow{ProblemKind::TextRescued, Severity::Warning, "rescued text"},
};
static_assert(
    [] {
      for (std::size_t i = 0; i < kindTable.size(); ++i) {
        if (static_cast<std::size_t>(kindTable[i].kind) != i) {
          return false;
        }
      }
      return kindTable.size() == static_cast<std::size_t>(ProblemKind::TextRescued) + 1;
    }(),
    "one row for each kind, in their order");

const KindRow& rowOf(ProblemKind kind)
{
  return kindTable[static_cast<std::size_t>(kind)];
}

constexpr std::size_t longestQuote = 100;
constexpr std::size_t longestRemark = 400;

/// Cut between characters, and nothing in it is obeyed.
std::string bounded(std::string_view text, std::size_t limit)
{
  const std::size_t size = utf8Cut(text, limit);
  return shown(text.substr(0, size)) + (size < text.size() ? "..." : "");
}

std::string quoted(const Problem& problem)
{
  return "'" + bounded(problem.text, longestQuote) + "'";
}

bool hasValues(FieldDataType type)
{
  return fieldTypeInfo(type).storage != Storage::None || type == FIELD_INT64;  // a part of a map's entry
}

/// Of a type with values; some have no name in a schema listing.
std::string typeName(FieldDataType type)
{
  const FieldTypeInfo& info = fieldTypeInfo(type);
  return info.text != nullptr          ? info.text
         : info.element != FIELD_UNSET ? "list<" + typeName(info.element) + ">"
                                       : "longlong";
}

std::string nearest(std::string_view name, const _ClassDef* cls)
{
  NearestName search(name);
  if (cls != nullptr) {
    for (const FieldDef& def : *cls) {
      if (name == def.getName()) {
        return "; the field is hidden: it is written, and not read";
      }
      search.consider(def.getName());
    }
  }
  return search.question();
}

/// The enumerator that a text names by a negative number; null for any other text.
const FieldDef* negativeEnumerator(const _ClassDef* cls, std::string_view text)
{
  long long number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  return result.ec == std::errc() && result.ptr == text.data() + text.size() && number < 0
             ? findEnumerator(cls, number)
             : nullptr;
}

}  // namespace

const char* nameOf(ProblemKind kind)
{
  return rowOf(kind).name;
}

Severity severityOf(ProblemKind kind)
{
  return rowOf(kind).severity;
}

std::string describe(const Problem& problem)
{
  const std::string remark = bounded(problem.remark, longestRemark);
  switch (problem.kind) {
    case ProblemKind::NotWellFormed:
    case ProblemKind::TooDeep:
    case ProblemKind::BufferCut:
    case ProblemKind::NoMemory:
    case ProblemKind::EntryIncomplete:
    case ProblemKind::WireCodeOther:
    case ProblemKind::WireCodeUnclear:
    case ProblemKind::TrailingBytes:
    case ProblemKind::TextRescued:
      return remark.empty() ? nameOf(problem.kind) : remark;
    case ProblemKind::ClassUnknown:
      return remark.empty() ? "unknown class " + quoted(problem) : remark;
    case ProblemKind::NotOfType:
      if (!remark.empty()) {
        return (problem.text.empty() ? "" : quoted(problem) + ": ") + remark;
      }
      return hasValues(problem.type) ? quoted(problem) + " is no " + typeName(problem.type)
                                     : quoted(problem) + " is given for a field without values";
    case ProblemKind::OutOfRange:
      return quoted(problem) + " is out of the range of " + typeName(problem.type) +
             (remark.empty() ? "" : ": " + remark);
    case ProblemKind::EnumeratorUnknown: {
      const _ClassDef* cls = problem.field != nullptr ? findClass(packedReference(*problem.field)) : nullptr;
      const std::string value = problem.text.empty() ? "the value" : quoted(problem);
      if (const FieldDef* negative = negativeEnumerator(cls, problem.text)) {
        return value + ": negative numbers of enumerators are not read; the name '" + negative->name + "' is";
      }
      return cls != nullptr && cls->name != nullptr
                 ? value + " is no enumerator of " + std::string(cls->name) + nearest(problem.text, cls)
                 : value + " cannot be looked up: the catalogue lacks the field's enumeration";
    }
    case ProblemKind::GivenTwice:
      return problem.text.empty() ? "given more than once; the last value counts"
                                  : "the key " + bounded(problem.text, longestQuote) +
                                        " is given more than once; its first value counts";
    case ProblemKind::StrayText:
      return problem.text.empty() ? "text where no value stands"
                                  : "text " + quoted(problem) + " where no value stands";
    case ProblemKind::ItemUnreadable:
      return (problem.text.empty() ? "" : quoted(problem) + ": ") +
             (remark.empty() ? "the item cannot be read" : remark);
    case ProblemKind::PasswordUnreadable:
      return "the password " + (remark.empty() ? "cannot be read" : remark);
    case ProblemKind::PrecisionLost:
      return quoted(problem) + " has more digits than a " + typeName(problem.type) + " keeps";
    case ProblemKind::AttributeUnknown:
      return "unknown attribute " + quoted(problem) + nearest(problem.text, problem.owner);
    case ProblemKind::ElementUnknown:
      return "unknown element " + quoted(problem) +
             (remark.empty() ? nearest(problem.text, problem.owner) : ": " + remark);
    case ProblemKind::MemberUnknown:
      return "unknown member " + quoted(problem) + nearest(problem.text, problem.owner);
    case ProblemKind::FieldUnknown:
      return "unknown field " + std::string(problem.text);
  }
  return {};
}

void Problems::met(const Problem& problem)
{
  ++counts_[static_cast<std::size_t>(severityOf(problem.kind))];
  kinds_ |= std::uint32_t{1} << static_cast<unsigned>(problem.kind);
  if (entries_.size() < most_) {
    std::string path = bounded(problem.path, longestRemark);
    std::string text = (path.empty() ? "" : path + ": ") + describe(problem);
    entries_.push_back({problem.kind, problem.place, std::move(path), std::move(text)});
  }
}

void Problems::clear()
{
  *this = Problems(most_);
}

std::string toText(const Problems::Entry& problem, std::string_view file, Severity severity)
{
  std::string out = shown(file);
  const ReadPlace& place = problem.place;
  if (place.line != 0) {
    out += ":" + std::to_string(place.line) + ":" + std::to_string(place.column);
  } else if (place.offset != 0) {
    out += ":+" + std::to_string(place.offset);
  }
  return out + (severity == Severity::Error ? ": error: " : ": warning: ") + problem.text;
}

std::string toText(const Problems::Entry& problem, std::string_view file)
{
  return toText(problem, file, severityOf(problem.kind));
}

std::string toText(const Problems& problems, std::string_view file)
{
  std::string out;
  for (const Problems::Entry& problem : problems.entries()) {
    out += toText(problem, file) + "\n";
  }
  if (problems.more() > 0) {
    out += shown(file) + ": and " + std::to_string(problems.more()) + " more\n";
  }
  return out;
}

}  // namespace kwxml
