#include "Evolution.h"

#include "CppText.h"
#include "ElementMatches.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

namespace kwxml::catalogue {
namespace {

static_assert(
    [] {
      for (std::size_t i = 0; i < std::size(evolutionRules); ++i) {
        if (static_cast<std::size_t>(evolutionRules[i].id) != i) {
          return false;
        }
      }
      return true;
    }(),
    "a rule is found by its number");

using Id = EvolutionRuleId;

std::string typeText(const Field& field)
{
  std::string text = field.typeName;
  if (field.key) {
    text += " " + *field.key;
  }
  return field.of ? text + " of " + *field.of : text;
}

std::string fromTo(const std::string& what, const std::string& from, const std::string& to)
{
  return what + " was " + from + " and is " + to;
}

std::string fromTo(const std::string& what, long long from, long long to)
{
  return fromTo(what, std::to_string(from), std::to_string(to));
}

std::string hex(long long value)
{
  return hexadecimal(static_cast<unsigned long>(value));
}

std::string valueOrNone(const std::optional<std::string>& value)
{
  return value ? inQuotes(*value) : "none";
}

class Comparison
{
public:
  Comparison(const Catalogue& older, const Catalogue& newer) : older_(older), newer_(newer) {}

  std::vector<Difference> run()
  {
    matchClasses();
    for (const System& system : newer_.systems) {
      if (const System* before = systems_.oldOf(system)) {
        compareSystems(*before, system);
      } else {
        tell(Id::SystemAdded, system, "system " + inQuotes(system.name) + " is new");
      }
      reportReusedIndex(system);
    }
    for (const System& system : older_.systems) {
      if (systems_.newOf(system) == nullptr) {
        tellGone(Id::SystemRemoved, system, "system " + inQuotes(system.name) + " is gone");
      }
    }
    return std::move(differences_);
  }

private:
  // Systems have no class, and classes no field.
  void tell(Id rule, const System& system, std::string text)
  {
    differences_.push_back({rule, false, system.at, {}, {}, std::move(text)});
  }
  void tellGone(Id rule, const System& system, std::string text)
  {
    differences_.push_back({rule, true, system.at, {}, {}, std::move(text)});
  }
  void tell(Id rule, const Class& cls, std::string text)
  {
    differences_.push_back({rule, false, cls.at, tagName(cls), {}, std::move(text)});
  }
  void tellGone(Id rule, const Class& cls, std::string text)
  {
    differences_.push_back({rule, true, cls.at, tagName(cls), {}, std::move(text)});
  }
  void tell(Id rule, const Class& cls, const Field& field, std::string text)
  {
    differences_.push_back({rule, false, field.at, tagName(cls), field.name, std::move(text)});
  }
  void tellGone(Id rule, const Class& cls, const Field& field, std::string text)
  {
    differences_.push_back({rule, true, field.at, tagName(cls), field.name, std::move(text)});
  }

  static std::string kindOf(const Class& cls) { return cls.isEnum ? "enumeration " : "message "; }
  static std::string called(const Class& cls) { return kindOf(cls) + inQuotes(tagName(cls)); }
  static std::string called(const Class& cls, const Field& field)
  {
    return (cls.isEnum ? "enumerator " : "field ") + inQuotes(field.name) + " of " + inQuotes(tagName(cls));
  }

  /// All first: fields refer to classes of other systems.
  void matchClasses()
  {
    const auto index = [](const System& system) { return system.index; };
    systems_.addBy(older_.systems, newer_.systems, nameOf<System>, nameOf<System>);
    systems_.addBy(older_.systems, newer_.systems, index, index);
    const auto number = [](const Class& cls) { return std::pair(cls.isEnum, cls.id); };
    for (const System& system : newer_.systems) {
      if (const System* before = systems_.oldOf(system)) {
        matchByNames(classes_, before->classes, system.classes);
        classes_.addBy(before->classes, system.classes, number, number);
        for (const Class& cls : system.classes) {
          matchFields(cls);
        }
      }
    }
  }

  void matchFields(const Class& newer)
  {
    const Class* const older = classes_.oldOf(newer);
    if (older == nullptr || older->isEnum != newer.isEnum) {
      return;
    }
    matchByNames(fields_, older->fields, newer.fields);
    if (newer.isEnum) {
      const auto value = [](const Field& field) { return field.recordHash(); };
      fields_.addBy(older->fields, newer.fields, value, value);
    }
  }

  /// What is told of one element's former names: that of the older catalogue which nothing leads to any more,
  /// and a new one that is not the name which the element had.
  template <class Element, class... Place>
  void reportFormerNames(const Element& older, const Element& newer, const std::string& what,
                         const Place&... place)
  {
    const std::optional<std::string> former = formerName(older);
    if (former && former != readName(newer) && former != formerName(newer)) {
      tell(Id::FormerNameRemoved, place..., what + " is no longer found by " + inQuotes(*older.formerly));
    }
    const std::optional<std::string> added = formerName(newer);
    if (added && added != former && added != readName(older)) {
      tell(Id::FormerNameAdded, place..., what + " is found by " + inQuotes(*newer.formerly) + ", too");
    }
  }

  /// That its name is a former one of another element, to which programs of the older catalogue take it.
  template <class Element, class Elements, class... Place>
  void reportTakenName(const Elements& older, const Element& newer, const Element* before,
                       const std::string& what, const Place&... place)
  {
    for (const Element& owner : older) {
      if (&owner != before && owner.formerly && sameWhenRead(*owner.formerly, newer)) {
        tell(Id::FormerNameReused, place...,
             what + " is read as the former name " + inQuotes(*owner.formerly) + " of " +
                 inQuotes(owner.name));
      }
    }
  }

  static bool sameWhenRead(const std::string& former, const Class& newer) { return former == newer.name; }
  static bool sameWhenRead(const std::string& former, const Field& newer)
  {
    return newer.isEnumerator() ? lowerCase(former) == lowerCase(newer.name)
                                : hashOf(former) == hashOf(newer.name);
  }
  static std::uint32_t hashOf(const std::string& name) { return nameHash(name.data(), name.size()); }

  void compareSystems(const System& older, const System& newer)
  {
    if (older.name != newer.name) {
      tell(Id::SystemRenamed, newer,
           "system " + inQuotes(older.name) + " is now called " + inQuotes(newer.name));
    }
    if (older.index != newer.index) {
      tell(Id::SystemIndexChanged, newer,
           fromTo("index of system " + inQuotes(newer.name), older.index, newer.index));
    }
    if (older.isEager() != newer.isEager()) {
      tell(Id::SystemEagerChanged, newer,
           "system " + inQuotes(newer.name) +
               (newer.isEager() ? " becomes one of the old way" : " is no longer one of the old way"));
    }
    for (const Class& cls : newer.classes) {
      if (const Class* before = classes_.oldOf(cls)) {
        compareClasses(*before, cls);
      } else {
        tell(cls.isEnum ? Id::EnumAdded : Id::ClassAdded, cls, called(cls) + " is new");
      }
      if (!cls.isEnum) {  // the name of an enumeration is in no data
        reportTakenName(older.classes, cls, classes_.oldOf(cls), called(cls), cls);
      }
      reportReusedId(older, cls);
    }
    for (const Class& cls : older.classes) {
      if (classes_.newOf(cls) == nullptr) {
        tellGone(cls.isEnum ? Id::EnumRemoved : Id::ClassRemoved, cls, called(cls) + " is gone");
      }
    }
    if (newer.hasXPathTables()) {
      compareXPaths(older, newer);
    }
  }

  void reportReusedIndex(const System& system)
  {
    const System* before = systems_.oldOf(system);
    for (const System& older : older_.systems) {
      if (older.index == system.index && before != &older) {
        tell(Id::SystemIndexReused, system,
             "index " + std::to_string(system.index) + " of system " + inQuotes(system.name) +
                 " was that of " + inQuotes(older.name));
      }
    }
  }

  /// The ID of an enumeration is in no data, so only messages have one to lose.
  void reportReusedId(const System& older, const Class& cls)
  {
    const Class* before = classes_.oldOf(cls);
    if (before != nullptr && before->id == cls.id) {
      return;
    }
    for (const Class& owner : older.classes) {
      if (owner.id == cls.id && !owner.isEnum) {
        tell(Id::ClassIdReused, cls,
             "class ID " + hex(cls.id) + " of " + called(cls) + " was that of " + called(owner));
        return;
      }
    }
  }

  void compareClasses(const Class& older, const Class& newer)
  {
    if (older.isEnum != newer.isEnum) {
      tell(Id::ClassKindChanged, newer,
           called(older) + " is now " + kindOf(newer).insert(0, "the ") + inQuotes(tagName(newer)));
      return;
    }
    if (isRenamed(older, newer)) {
      tell(newer.isEnum                 ? Id::EnumRenamed
           : knowsOldName(older, newer) ? Id::ClassRenamedFormerly
                                        : Id::ClassRenamed,
           newer, called(older) + " is now called " + inQuotes(tagName(newer)));
    }
    if (!newer.isEnum) {
      reportFormerNames(older, newer, called(newer), newer);
    }
    if (older.id != newer.id) {
      tell(newer.isEnum ? Id::EnumIdChanged : Id::ClassIdChanged, newer,
           fromTo("class ID of " + called(newer), hex(older.id), hex(newer.id)));
    }
    if (older.index != newer.index) {
      tell(Id::ClassIndexChanged, newer, fromTo("class index of " + called(newer), older.index, newer.index));
    }
    if (newer.isEnum) {
      compareEnumerators(older, newer);
    } else {
      compareFields(older, newer);
    }
  }

  void compareEnumerators(const Class& older, const Class& newer)
  {
    for (const Field& field : newer.fields) {
      const Field* before = fields_.oldOf(field);
      if (before == nullptr) {
        tell(Id::EnumeratorAdded, newer, field, called(newer, field) + " is new");
      }
      reportTakenName(older.fields, field, before, called(newer, field), newer, field);
      if (before == nullptr) {
        continue;
      }
      if (isRenamed(*before, field)) {
        const bool sameRead = readName(*before) == readName(field);
        tell(sameRead                       ? Id::EnumeratorRespelled
             : knowsOldName(*before, field) ? Id::EnumeratorRenamedFormerly
                                            : Id::EnumeratorRenamed,
             newer, field, called(older, *before) + " is now called " + inQuotes(field.name));
      }
      const Field* const read = firstRead(newer, *before);
      if (read != nullptr && read != &field && firstRead(older, *before) == before) {
        tell(Id::EnumeratorNameTaken, newer, field,
             "the name " + inQuotes(before->name) + " of " + called(newer, field) + " is read as " +
                 inQuotes(read->name));
      }
      reportFormerNames(*before, field, called(newer, field), newer, field);
      if (before->recordHash() != field.recordHash()) {
        tell(Id::EnumeratorRenumbered, newer, field,
             fromTo("value of " + called(newer, field), before->value, field.value));
      }
      compareAnnotations(newer, *before, field);
    }
    for (const Field& field : older.fields) {
      if (fields_.newOf(field) == nullptr) {
        tellGone(Id::EnumeratorRemoved, older, field, called(older, field) + " is gone");
        const Field* const read = firstRead(newer, field);
        if (read != nullptr && firstRead(older, field) == &field) {
          tellGone(Id::EnumeratorNameTaken, older, field,
                   "the name " + inQuotes(field.name) + " of " + called(older, field) + " is read as " +
                       inQuotes(read->name));
        }
      }
    }
  }

  /// What readers take an enumerator's name for; null when they do not know it.
  static const Field* firstRead(const Class& enumeration, const Field& name)
  {
    for (const Field& field : enumeration.fields) {
      if (readName(field) == readName(name)) {
        return &field;
      }
    }
    return nullptr;
  }

  void compareFields(const Class& older, const Class& newer)
  {
    comparePositions(older, newer);
    for (const Field& field : newer.fields) {
      const Field* before = fields_.oldOf(field);
      if (before != nullptr) {
        if (isRenamed(*before, field)) {
          tell(isUncoded(field.type) ? Id::FieldRenamedUncoded : Id::FieldRenamed, newer, field,
               called(older, *before) + " is now called " + inQuotes(field.name));
        }
        compareField(newer, *before, field);
        reportFormerNames(*before, field, called(newer, field), newer, field);
      } else {
        tell(isUncoded(field.type) ? Id::FieldAddedUncoded : Id::FieldAdded, newer, field,
             called(newer, field) + " is new, of type " + typeText(field));
      }
      if (before == nullptr || isRenamed(*before, field) || (before->hidden && !field.hidden)) {
        reportNestedName(newer, field, false);
      }
      reportReusedHash(older, newer, field);
      reportTakenName(older.fields, field, before, called(newer, field), newer, field);
      reportClash(older, newer, field);
    }
    for (const Field& field : older.fields) {
      if (fields_.newOf(field) == nullptr) {
        const bool unread = field.hidden || fieldTypeInfo(field.type).storage == Storage::None;
        tellGone(unread                  ? Id::FieldRemovedUnread
                 : isUncoded(field.type) ? Id::FieldRemovedUncoded
                                         : Id::FieldRemoved,
                 older, field, called(older, field) + " is gone");
        if (!unread) {
          reportNestedName(older, field, true);
        }
      }
    }
  }

  /// Positions and slots, which move together: the first field of the class that has moved speaks for all.
  void comparePositions(const Class& older, const Class& newer)
  {
    bool numbers = false;
    bool slots = false;
    for (std::size_t i = 0; i < newer.fields.size(); ++i) {
      const Field& field = newer.fields[i];
      const Field* before = fields_.oldOf(field);
      if (before == nullptr) {
        continue;
      }
      const auto position = before - older.fields.data();
      if (!numbers && position != static_cast<std::ptrdiff_t>(i)) {
        numbers = true;
        tell(Id::FieldOrderChanged, newer, field,
             fromTo("number of " + called(newer, field), position, static_cast<long long>(i)) +
                 "; programs compiled with one version address another field in the other");
      }
      if (!slots && before->slot != field.slot) {
        slots = true;
        tell(Id::FieldSlotChanged, newer, field,
             fromTo("slot of " + called(newer, field), before->slot, field.slot) +
                 "; programs compiled with one version address another place in the other");
      }
    }
  }

  void compareField(const Class& cls, const Field& older, const Field& newer)
  {
    const std::string name = called(cls, newer);
    if (older.hidden != newer.hidden) {
      tell(newer.hidden            ? Id::FieldHidden
           : isUncoded(newer.type) ? Id::FieldAddedUncoded
                                   : Id::FieldShown,
           cls, newer, name + (newer.hidden ? " is hidden now" : " is no longer hidden"));
    }
    if (older.type != newer.type) {
      tell(retypeRule(older.type, newer.type), cls, newer,
           fromTo("type of " + name, typeText(older), typeText(newer)));
    } else if (!sameReference(older.reference, newer.reference) ||
               !sameReference(older.keyReference, newer.keyReference)) {
      tell(Id::FieldClassChanged, cls, newer,
           fromTo("class of " + name, references(older), references(newer)));
    }
    if (older.defaultValue != newer.defaultValue) {
      tell(Id::FieldDefaultChanged, cls, newer,
           fromTo("default of " + name, valueOrNone(older.defaultValue), valueOrNone(newer.defaultValue)));
    }
    compareMarks(cls, older, newer);
    compareAnnotations(cls, older, newer);
  }

  bool sameReference(const Class* older, const Class* newer) const
  {
    return older == nullptr ? newer == nullptr : newer != nullptr && classes_.newOf(*older) == newer;
  }

  static std::string references(const Field& field)
  {
    return (field.keyClassName ? inQuotes(*field.keyClassName) + " to " : std::string()) +
           inQuotes(field.className.value_or(""));
  }

  void compareMarks(const Class& cls, const Field& older, const Field& newer)
  {
    const std::string name = called(cls, newer);
    const auto mark = [&](Id rule, const char* what, const std::string& from, const std::string& to) {
      if (from != to) {
        tell(rule, cls, newer, fromTo(std::string(what) + " of " + name, from, to));
      }
    };
    const auto date = [](const Field& field) {
      return field.timeOfDay ? "timeOfDay" : field.dateForm.value_or("none");
    };
    const bool isNew = !older.timeOfDay && !older.dateForm;
    mark(isNew ? Id::DateMarkAdded : Id::DateMarkChanged, "date mark", date(older), date(newer));
    if (older.type == newer.type) {
      mark(Id::PasswordTypeChanged, "password type", older.passwordName.value_or("none"),
           newer.passwordName.value_or("none"));
    }
    const auto there = [](bool value) { return value ? "there" : "absent"; };
    mark(newer.cdata ? Id::CdataMarkAdded : Id::CdataMarkRemoved, "CDATA mark", there(older.cdata),
         there(newer.cdata));
    mark(Id::XPathMarkChanged, "XPath mark", there(older.xpath), there(newer.xpath));
  }

  void compareAnnotations(const Class& cls, const Field& older, const Field& newer)
  {
    using Members = std::vector<std::pair<std::string, std::string>>;
    const auto byName = [](const Field& field) {
      std::map<std::string, Members> all;
      for (const Annotation& annotation : field.annotations) {
        all.emplace(annotation.name, annotation.members);
      }
      return all;
    };
    const std::map<std::string, Members> before = byName(older);
    const std::map<std::string, Members> after = byName(newer);
    for (const auto& [name, members] : before) {
      const auto found = after.find(name);
      if (found == after.end()) {
        tellAnnotation(cls, newer, name, "is gone");
      } else if (found->second != members) {
        tellAnnotation(cls, newer, name, "has other members");
      }
    }
    for (const auto& [name, members] : after) {
      if (!before.contains(name)) {
        tellAnnotation(cls, newer, name, "is new");
      }
    }
  }

  void tellAnnotation(const Class& cls, const Field& field, const std::string& name, const char* what)
  {
    tell(Id::AnnotationChanged, cls, field,
         "annotation " + inQuotes(name) + " of " + called(cls, field) + " " + what);
  }

  /// A field that the programs of one version pass over, with messages in it that have a field of its name.
  void reportNestedName(const Class& cls, const Field& field, bool isGone)
  {
    std::set<const Class*> seen;
    std::vector<const Class*> left = {field.reference, field.keyReference};
    while (!left.empty()) {
      const Class* const inner = left.back();
      left.pop_back();
      if (inner == nullptr || inner->isEnum || !seen.insert(inner).second) {
        continue;
      }
      for (const Field& other : inner->fields) {
        if (other.name == field.name && fieldTypeInfo(other.type).storage != Storage::None) {
          const std::string text =
              "messages within " + called(cls, field) + " have a field of its name: " + called(*inner);
          if (isGone) {
            tellGone(Id::FieldNameNested, cls, field, text);
          } else {
            tell(Id::FieldNameNested, cls, field, text);
          }
          return;
        }
        left.insert(left.end(), {other.reference, other.keyReference});
      }
    }
  }

  void reportReusedHash(const Class& older, const Class& newer, const Field& field)
  {
    for (const Field& owner : older.fields) {
      if (fields_.newOf(owner) != nullptr) {
        continue;
      }
      if (owner.recordHash() == field.recordHash() && owner.recordHash() != 0) {
        tell(Id::FieldHashReused, newer, field,
             called(newer, field) + " has the hash of " + inQuotes(owner.name) + ", which is gone");
      } else if (field.formerly && hashOf(*field.formerly) == hashOf(owner.name)) {
        tell(Id::FieldHashReused, newer, field,
             called(newer, field) + " is found by the name of " + inQuotes(owner.name) + ", which is gone");
      }
    }
  }

  /// The first field of a class with the hash, null when there is none.
  static const Field* firstWithHash(const Class& cls, std::uint32_t hash)
  {
    for (const Field& field : cls.fields) {
      if (hash != 0 && field.recordHash() == hash) {
        return &field;
      }
    }
    return nullptr;
  }

  void reportClash(const Class& older, const Class& newer, const Field& field)
  {
    const Field* first = firstWithHash(newer, field.recordHash());
    if (first == nullptr || first == &field) {
      return;
    }
    // The readers of the binary form look for a key behind the field that they met last.
    const std::ptrdiff_t count = &field - newer.fields.data() + 1;
    const bool isAsBefore =
        count <= static_cast<std::ptrdiff_t>(older.fields.size()) &&
        std::equal(newer.fields.begin(), newer.fields.begin() + count, older.fields.begin(),
                   [](const Field& a, const Field& b) { return a.name == b.name && a.hidden == b.hidden; });
    if (!isAsBefore) {
      tell(Id::FieldHashClash, newer, field,
           called(newer, field) + " has the hash of " + inQuotes(first->name));
    }
  }

  /// A path of the older catalogue, from a class on, in the names of the newer one.
  std::string pathNow(const XPath& xpath, const Class* cls) const
  {
    std::string path;
    std::size_t at = 0;
    for (const int index : xpath.fieldIndices) {
      const Field& field = cls->fields[static_cast<std::size_t>(index)];
      const Field* const now = fields_.newOf(field);
      const std::size_t name = xpath.path.find(field.name, at);
      path += xpath.path.substr(at, name - at) + (now != nullptr ? now->name : field.name);
      at = name + field.name.size();
      cls = field.reference;
    }
    return path + xpath.path.substr(at);
  }

  void compareXPaths(const System& older, const System& newer)
  {
    const auto id = [](const XPath& xpath) { return xpath.id; };
    const auto path = [](const XPath& xpath) { return std::pair(xpath.message, xpath.path); };
    // A message or a field that is renamed keeps its paths.
    std::map<std::string, const Class*> classes;
    for (const Class& cls : older.classes) {
      classes.emplace(cls.name, &cls);
    }
    const auto oldPath = [&](const XPath& xpath) {
      if (xpath.message.empty()) {
        return std::pair(std::string(), xpath.of != nullptr ? pathNow(xpath, xpath.of) : xpath.path);
      }
      const Class* const cls = classes.at(xpath.message);
      const Class* const now = classes_.newOf(*cls);
      return std::pair(now != nullptr ? now->name : cls->name, pathNow(xpath, cls));
    };
    // The tables of a compiled catalogue do not always tell of which message a path is.
    const auto isUnknown = [](const XPath& xpath) { return xpath.message.empty(); };
    const auto textNow = [&](const XPath& xpath) { return oldPath(xpath).second; };
    const auto samePath = [&](const XPath& before, const XPath& now) {
      return isUnknown(before) || isUnknown(now) ? textNow(before) == now.path : oldPath(before) == path(now);
    };
    Matches<XPath> matches;
    matches.addBy(older.xpaths, newer.xpaths, oldPath, path);
    matches.addBy(
        older.xpaths, newer.xpaths, [&](const XPath& xpath) { return std::pair(xpath.id, textNow(xpath)); },
        [](const XPath& xpath) { return std::pair(xpath.id, xpath.path); });
    if (std::any_of(older.xpaths.begin(), older.xpaths.end(), isUnknown) ||
        std::any_of(newer.xpaths.begin(), newer.xpaths.end(), isUnknown)) {
      matches.addBy(older.xpaths, newer.xpaths, textNow, [](const XPath& xpath) { return xpath.path; });
    }
    matches.addBy(older.xpaths, newer.xpaths, id, id);
    const auto report = [&](Id rule, const System& system, const XPath& xpath, std::string text) {
      differences_.push_back({rule,
                              &system == &older,
                              xpath.at,
                              xpath.message.empty() ? std::string() : system.name + "_" + xpath.message,
                              {},
                              std::move(text)});
    };
    for (const XPath& xpath : newer.xpaths) {
      const XPath* before = matches.oldOf(xpath);
      if (before == nullptr) {
        report(Id::XPathAdded, newer, xpath, "path " + inQuotes(xpath.path) + " is new");
      } else if (!samePath(*before, xpath)) {
        report(
            Id::XPathPathChanged, newer, xpath,
            fromTo("path of ID " + std::to_string(xpath.id), inQuotes(before->path), inQuotes(xpath.path)));
      } else if (before->id != xpath.id) {
        report(Id::XPathIdChanged, newer, xpath,
               fromTo("ID of path " + inQuotes(xpath.path), before->id, xpath.id));
      }
      if (before != nullptr && before->id == xpath.id) {
        continue;
      }
      for (const XPath& owner : older.xpaths) {
        if (owner.id == xpath.id) {
          report(Id::XPathIdReused, newer, xpath,
                 "ID " + std::to_string(xpath.id) + " of path " + inQuotes(xpath.path) + " was that of " +
                     inQuotes(owner.path));
        }
      }
    }
    for (const XPath& xpath : older.xpaths) {
      if (matches.newOf(xpath) == nullptr) {
        report(Id::XPathRemoved, older, xpath, "path " + inQuotes(xpath.path) + " is gone");
      }
    }
  }

  const Catalogue& older_;
  const Catalogue& newer_;
  Matches<System> systems_;
  Matches<Class> classes_;
  Matches<Field> fields_;  ///< and enumerators
  std::vector<Difference> differences_;
};

}  // namespace

const char* kindName(ChangeKind kind)
{
  switch (kind) {
    case ChangeKind::Safe:
      return "safe";
    case ChangeKind::SourceBreaking:
      return "source-breaking";
    case ChangeKind::DataBreaking:
      break;
  }
  return "data-breaking";
}

std::vector<Difference> compare(const Catalogue& older, const Catalogue& newer)
{
  return Comparison(older, newer).run();
}

}  // namespace kwxml::catalogue
