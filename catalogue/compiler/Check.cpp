// The rules of a catalogue: unique names, ranges, marks that fit their fields, classes that can be
// constructed.
#include "AnnotationRecord.h"
#include "CppText.h"
#include "SchemaTypes.h"
#include "Stages.h"

#include <kwxml/model/Limits.h>

#include <algorithm>
#include <limits>
#include <map>
#include <set>
#include <unordered_map>

namespace kwxml::catalogue {
namespace {

// What the records can hold.
constexpr long long minSystem = 1;  // row 0 is always empty
constexpr long long maxSystem = XML_KWMessage_MessageSystemChooser::numberOfSystems - 1;
constexpr long long minClassId = 1;  // records without a name have ID 0
constexpr long long maxClassId = 0xFFFFFF;

// How many messages making one may build within it. Messages made of messages grow by powers; real ones hold
// dozens.
constexpr std::size_t maxConstructedObjects = 10000;

/// An element that may have a former name.
struct Named
{
  Named(const Class& cls) : at(&cls.at), name(&cls.name), formerly(&cls.formerly) {}
  Named(const Field& field)
      : at(&field.at),
        name(&field.name),
        formerly(&field.formerly),
        hash(field.isEnumerator() ? 0 : field.recordHash())
  {
  }

  const Location* at;
  const std::string* name;
  const std::optional<std::string>* formerly;
  std::uint32_t hash = 0;  // 0: not found by a hash
};

class Checker
{
public:
  Checker(const Catalogue& catalogue, Diagnostics& diagnostics)
      : catalogue_(catalogue), diagnostics_(diagnostics)
  {
  }

  void run()
  {
    std::set<long long> indices;
    std::set<std::string> names;
    for (const System& system : catalogue_.systems) {
      checkSystem(system);
      if (!indices.insert(system.index).second) {
        diagnostics_.error(system.at, "system index " + std::to_string(system.index) + " is repeated");
      }
      if (!names.insert(system.name).second) {
        diagnostics_.error(system.at, "system " + inQuotes(system.name) + " is repeated");
      }
    }
    checkConstruction();
  }

private:
  void checkRange(const Location& at, const std::string& what, long long value, long long low, long long high)
  {
    if (value < low || value > high) {
      diagnostics_.error(at, what + " " + std::to_string(value) + " is out of range " + std::to_string(low) +
                                 " to " + std::to_string(high));
    }
  }

  void checkSystem(const System& system)
  {
    checkRange(system.at, "system index", system.index, minSystem, maxSystem);
    if (!isUsableNamespace(system.name)) {
      diagnostics_.error(system.at, "system name " + inQuotes(system.name) + " cannot name a C++ namespace");
    }
    if (system.classes.empty()) {
      diagnostics_.error(system.at, "system " + inQuotes(system.name) + " has no classes");
    }
    std::map<std::string, const Class*> names;
    std::map<long long, const Class*> ids;
    for (const Class& cls : system.classes) {
      checkClass(cls);
      if (isDeclaredByLibrary(system.name, cppName(cls.name), cls.isEnum)) {
        diagnostics_.error(cls.at, "class " + inQuotes(tagName(cls)) +
                                       " has the name of something that the library's headers declare");
      }
      const auto [same, isNew] = names.emplace(cppName(cls.name), &cls);
      if (!isNew && same->second->name == cls.name) {
        diagnostics_.error(cls.at,
                           "class " + inQuotes(cls.name) + " is repeated in system " + inQuotes(system.name));
      } else if (!isNew) {
        diagnostics_.error(cls.at, "class " + inQuotes(cls.name) + " has the same C++ name as class " +
                                       inQuotes(same->second->name) + ", " + same->first);
      }
      const auto [first, unique] = ids.emplace(cls.id, &cls);
      if (!unique) {
        diagnostics_.warning(cls.at, Rule::RepeatedId,
                             "class ID " + hexadecimal(static_cast<unsigned long>(cls.id)) + " of " +
                                 inQuotes(cls.name) + " is that of " + inQuotes(first->second->name) +
                                 ": a lookup by ID finds either");
      }
    }
    checkFormerNames("class", system.classes);
    checkXPaths(system);
  }

  /// A former name leads to its element alone: no other has it, and no other has the hash by which fields are
  /// found. `what` the elements are: "class", "field" or "enumerator".
  template <class Elements>
  void checkFormerNames(const std::string& what, const Elements& elements)
  {
    const bool hashed = what == "field";
    const auto key = [&](const std::string& name) { return what == "enumerator" ? lowerCase(name) : name; };
    struct Taken
    {
      std::size_t element;
      const char* as;
    };
    std::unordered_map<std::string, Taken> names;
    std::unordered_map<std::uint32_t, Taken> hashes;
    std::size_t position = 0;
    for (const Named element : elements) {
      names.emplace(key(*element.name), Taken{position, "name"});
      if (element.hash != 0) {
        hashes.emplace(element.hash, Taken{position, "name"});
      }
      ++position;
    }
    position = 0;
    for (const Named element : elements) {
      const std::size_t own = position++;
      if (!*element.formerly) {
        continue;
      }
      const std::string& formerly = **element.formerly;
      const auto refuse = [&](const std::string& why) {
        diagnostics_.error(*element.at, "former name " + inQuotes(formerly) + " of " + what + " " +
                                            inQuotes(*element.name) + why);
      };
      const auto refuseTaken = [&](const auto& entry, const char* property) {
        const auto& [by, isNew] = entry;
        const bool taken = !isNew && by->second.element != own;
        if (taken) {
          const Named other = elements[by->second.element];
          refuse(std::string(" ") + property + " the " + by->second.as + " of " + what + " " +
                 inQuotes(*other.name));
        }
        return taken;
      };
      if (formerly == *element.name) {
        refuse(" is its name still");
        continue;
      }
      const Taken former{own, "former name"};
      if (refuseTaken(names.emplace(key(formerly), former), "is") || !hashed) {
        continue;
      }
      const std::uint32_t hash = nameHash(formerly.data(), formerly.size());
      if (hash == 0) {
        refuse(" has the hash 0, which leads to no field");
      } else {
        refuseTaken(hashes.emplace(hash, former), "has the hash of");
      }
    }
  }

  void checkClass(const Class& cls)
  {
    checkRange(cls.at, "class ID", cls.id, minClassId, maxClassId);
    if (cls.isEnum && cls.fields.empty()) {
      diagnostics_.error(cls.at, "enumeration " + inQuotes(cls.name) + " has no enumerators");
    }
    std::set<std::string> names;
    std::unordered_map<std::uint32_t, const Field*> hashes;
    for (const Field& field : cls.fields) {
      if (field.isEnumerator() != cls.isEnum) {
        diagnostics_.error(field.at, cls.isEnum
                                         ? "field " + inQuotes(field.name) + " in enumeration " +
                                               inQuotes(cls.name) + ": only a message has fields"
                                         : "enumerator " + inQuotes(field.name) + " in message " +
                                               inQuotes(cls.name) + ": only an enumeration has enumerators");
        continue;
      }
      if (!names.insert(field.name).second) {
        diagnostics_.error(field.at, (cls.isEnum ? "enumerator " : "field ") + inQuotes(field.name) +
                                         " is repeated in " + inQuotes(cls.name));
        continue;
      }
      checkAnnotations(field);
      if (cls.isEnum) {
        checkRange(field.at, "value of enumerator " + inQuotes(field.name), field.value,
                   std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::uint32_t>::max());
        continue;
      }
      checkMarks(field);
      const std::uint32_t hash = field.recordHash();
      if (hash == 0) {
        if (!field.hidden) {
          diagnostics_.warning(field.at, Rule::HashOfZero,
                               "the hash of field " + inQuotes(field.name) + " is 0: it is as hidden");
        }
        continue;
      }
      const auto [first, unique] = hashes.emplace(hash, &field);
      if (!unique) {
        diagnostics_.warning(field.at, Rule::SameHash,
                             "field " + inQuotes(field.name) + " has the hash of field " +
                                 inQuotes(first->second->name) + ": a lookup by name finds the latter");
      }
    }
    checkFormerNames(cls.isEnum ? "enumerator" : "field", cls.fields);
  }

  void checkMarks(const Field& field)
  {
    if (field.type == FIELD_INVALID) {
      return;
    }
    if (field.formerly && (field.hidden || fieldTypeInfo(field.type).storage == Storage::None)) {
      diagnostics_.error(field.at,
                         "field " + inQuotes(field.name) + " has no former name: " +
                             (field.hidden ? "no name leads to a hidden field" : "it has no value"));
    }
    const auto refuse = [&](const char* mark, const char* where) {
      diagnostics_.error(field.at, std::string("attribute ") + inQuotes(mark) + " of field " +
                                       inQuotes(field.name) + " belongs on " + where);
    };
    const bool integer = (field.type >= FIELD_INT && field.type <= FIELD_ULONGLONG) ||
                         field.type == FIELD_TIME32 || field.type == FIELD_TIME64;
    if (field.dateForm && !integer) {
      refuse("date", "an integer or time");
    }
    if (field.timeOfDay && !integer) {
      refuse("timeOfDay", "an integer or time");
    }
    if (field.dateForm && field.timeOfDay) {
      diagnostics_.error(field.at, "field " + inQuotes(field.name) + " is both a date and a time of day");
    }
    if (field.passwordName && field.type != FIELD_PSTRING) {
      refuse("password", "a pstring");
    }
    const FieldTypeInfo& info = fieldTypeInfo(field.type);
    const FieldTypeInfo& value = info.element != FIELD_UNSET ? fieldTypeInfo(info.element) : info;
    if (field.cdata &&
        (value.storage == Storage::None || value.type == FIELD_OBJECT || value.mapKey != FIELD_UNSET)) {
      refuse("cdata", "a scalar or a list of scalars");
    }
  }

  void checkAnnotations(const Field& field)
  {
    std::set<std::string> names;
    for (const Annotation& annotation : field.annotations) {
      if (const AnnotationKind* kind = findAnnotationKind(annotation.name)) {
        checkMembers(annotation, *kind);
      } else {
        diagnostics_.error(annotation.at, "unknown annotation " + inQuotes(annotation.name) +
                                              "; known: " + annotationNames());
      }
      if (!names.insert(annotation.name).second) {
        diagnostics_.error(annotation.at, "annotation " + inQuotes(annotation.name) + " is repeated");
      }
      for (const auto& [name, value] : annotation.members) {
        if (name.size() > maxAnnotationMemberName) {
          diagnostics_.error(annotation.at, "the name of an annotation member is longer than " +
                                                std::to_string(maxAnnotationMemberName) + " bytes");
        }
      }
    }
    if (field.annotations.size() > maxAttachedAnnotations ||
        annotationRecordSize(field) > maxAnnotationRecord) {
      diagnostics_.error(field.at, "the annotations of " + inQuotes(field.name) + " take more than " +
                                       std::to_string(maxAnnotationRecord) + " bytes");
    }
  }

  /// The tables hold any member, but the library looks for those of the kind alone.
  void checkMembers(const Annotation& annotation, const AnnotationKind& kind)
  {
    for (const auto& [name, value] : annotation.members) {
      if (kind.members == AnnotationMembers::Any) {
        continue;
      }
      if (kind.member == nullptr || name != kind.member) {
        diagnostics_.warning(
            annotation.at, Rule::AnnotationMember,
            "annotation " + inQuotes(annotation.name) + " has no member " + inQuotes(name) +
                (kind.member != nullptr ? "; known: " + std::string(kind.member) : std::string()));
      } else if (kind.members == AnnotationMembers::Bool && !parseAnnotationBool(value)) {
        diagnostics_.error(annotation.at, "member " + inQuotes(name) + " of annotation " +
                                              inQuotes(annotation.name) + " is " + inQuotes(value) +
                                              "; known: true, false");
      }
    }
  }

  void checkXPaths(const System& system)
  {
    std::set<long long> ids;
    std::set<std::string> paths;
    for (const XPath& xpath : system.xpaths) {
      checkRange(xpath.at, "xpath id", xpath.id, 0, std::numeric_limits<std::int32_t>::max());
      if (!ids.insert(xpath.id).second) {
        diagnostics_.error(xpath.at, "xpath id " + std::to_string(xpath.id) + " is repeated in system " +
                                         inQuotes(system.name));
      }
      if (!system.hasXPathTables()) {
        diagnostics_.warning(xpath.at, Rule::UnreadXPath,
                             "only systems 12, 18, 22 and 100 have XPath tables: this xpath is left out");
      } else if (!paths.insert(xpath.path).second) {
        diagnostics_.warning(xpath.at, Rule::RepeatedXPath,
                             "xpath " + inQuotes(xpath.path) + " is repeated: a lookup by text finds either");
      }
    }
  }

  /// The class that constructing a message for this field would construct too; null when there is none. Only
  /// eager messages build their objects, they leave out hidden fields, and lists and maps start empty.
  static const Class* constructedWith(const Class& cls, const Field& field)
  {
    if (!cls.system->isEager() || field.type != FIELD_OBJECT || field.reference == nullptr ||
        field.recordHash() == 0 || tagId(*field.reference) == processingInstructionTag) {
      return nullptr;
    }
    return field.reference;
  }

  /// What making a message of a class builds.
  struct Construction
  {
    bool finished = false;    // false: the class is on the path
    bool refused = false;     // it or a class within it has been reported
    int depth = 1;            // of nested messages, the outermost counting as 1
    std::size_t objects = 0;  // within the outermost one; at most one above the limit
  };

  static void addInner(Construction& outer, const Construction& inner)
  {
    outer.refused = outer.refused || inner.refused;
    outer.depth = std::max(outer.depth, inner.depth + 1);
    outer.objects = std::min(outer.objects + 1 + inner.objects, maxConstructedObjects + 1);
  }

  /// Of classes within each other only the innermost that exceeds a limit is reported.
  void finishConstruction(const Class& cls, Construction& construction)
  {
    construction.finished = true;
    if (construction.refused) {
      return;
    }
    std::string excess;
    if (construction.depth > maxMessageNesting) {
      excess = "nest " + std::to_string(construction.depth) + " messages deep; the limit is " +
               std::to_string(maxMessageNesting);
    } else if (construction.objects > maxConstructedObjects) {
      excess = "build more than " + std::to_string(maxConstructedObjects) + " messages within it";
    }
    if (!excess.empty()) {
      construction.refused = true;
      diagnostics_.error(cls.at, "a new message of class " + inQuotes(tagName(cls)) + " would " + excess);
    }
  }

  /// Refuses classes whose construction would never end or exhaust the stack or the memory of every program
  /// that makes the message. Depth first with a stack of its own: a catalogue may nest deeper than the
  /// program's stack.
  void checkConstruction()
  {
    std::unordered_map<const Class*, Construction> visited;
    std::vector<std::pair<const Class*, std::size_t>> path;  // class and its next field
    for (const System& system : catalogue_.systems) {
      for (const Class& start : system.classes) {
        if (!visited.try_emplace(&start).second) {
          continue;
        }
        path.assign(1, {&start, 0});
        while (!path.empty()) {
          auto& [cls, next] = path.back();
          Construction& construction = visited[cls];
          if (next == cls->fields.size()) {
            finishConstruction(*cls, construction);
            path.pop_back();
            if (!path.empty()) {
              addInner(visited[path.back().first], construction);
            }
            continue;
          }
          const Class* inner = constructedWith(*cls, cls->fields[next++]);
          if (inner == nullptr) {
            continue;
          }
          const auto [known, isNew] = visited.try_emplace(inner);
          if (isNew) {
            path.emplace_back(inner, 0);
          } else if (known->second.finished) {
            addInner(construction, known->second);
          } else {
            construction.refused = true;
            reportCycle(path, inner);
          }
        }
      }
    }
  }

  void reportCycle(const std::vector<std::pair<const Class*, std::size_t>>& path, const Class* first)
  {
    std::string names;
    bool inCycle = false;
    for (const auto& [cls, next] : path) {
      inCycle = inCycle || cls == first;
      if (inCycle) {
        names += tagName(*cls) + "." + cls->fields[next - 1].name + " -> ";
      }
    }
    const auto& [last, next] = path.back();
    diagnostics_.error(
        last->fields[next - 1].at,
        "a new message of this class would contain itself without end: " + names + tagName(*first));
  }

  const Catalogue& catalogue_;
  Diagnostics& diagnostics_;
};

}  // namespace

void check(const Catalogue& catalogue, Diagnostics& diagnostics)
{
  Checker(catalogue, diagnostics).run();
}

}  // namespace kwxml::catalogue
