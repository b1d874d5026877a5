// Which elements of two versions of a catalogue are the same.
#pragma once

#include "Schema.h"

#include <map>
#include <optional>
#include <string>
#include <unordered_map>

namespace kwxml::catalogue {

/// Elements of two catalogues that are the same one: by name, those left over by former name, and some of
/// those left over then by number.
template <class Element>
struct Matches
{
  std::unordered_map<const Element*, const Element*> toOld;
  std::unordered_map<const Element*, const Element*> toNew;

  const Element* oldOf(const Element& element) const { return find(toOld, element); }
  const Element* newOf(const Element& element) const { return find(toNew, element); }

  void add(const Element& older, const Element& newer)
  {
    toOld.emplace(&newer, &older);
    toNew.emplace(&older, &newer);
  }

  /// Matches what has no partner yet and the same key; of several with one key the first with the first.
  template <class Elements, class OldKey, class NewKey>
  void addBy(const Elements& older, const Elements& newer, OldKey oldKey, NewKey newKey)
  {
    std::multimap<decltype(oldKey(older.front())), const Element*> free;
    for (const Element& element : older) {
      if (newOf(element) == nullptr) {
        free.emplace(oldKey(element), &element);
      }
    }
    for (const Element& element : newer) {
      if (oldOf(element) != nullptr) {
        continue;
      }
      const auto key = newKey(element);
      const auto found = free.lower_bound(key);
      if (found != free.end() && found->first == key) {
        add(*found->second, element);
        free.erase(found);
      }
    }
  }

private:
  static const Element* find(const std::unordered_map<const Element*, const Element*>& map,
                             const Element& element)
  {
    const auto found = map.find(&element);
    return found != map.end() ? found->second : nullptr;
  }
};

template <class Element>
std::string nameOf(const Element& element)
{
  return element.name;
}

/// The names by which readers find an element of the newer catalogue in old data: enumerators in any case.
inline std::string readName(const Field& field)
{
  return field.isEnumerator() ? lowerCase(field.name) : field.name;
}
inline std::string readName(const Class& cls)
{
  return cls.name;
}
inline std::optional<std::string> formerName(const Field& field)
{
  return field.formerly && field.isEnumerator() ? lowerCase(*field.formerly) : field.formerly;
}
inline std::optional<std::string> formerName(const Class& cls)
{
  return cls.formerly;
}

template <class Element>
bool isRenamed(const Element& older, const Element& newer)
{
  return older.name != newer.name;
}
/// Readers of the newer catalogue find what was written under the old name.
template <class Element>
bool knowsOldName(const Element& older, const Element& newer)
{
  return formerName(newer) == readName(older);
}

/// By name, then by former name.
template <class Element, class Elements>
void matchByNames(Matches<Element>& matches, const Elements& older, const Elements& newer)
{
  matches.addBy(older, newer, nameOf<Element>, nameOf<Element>);
  const auto before = [](const Element& element) { return std::optional(readName(element)); };
  matches.addBy(older, newer, before, [](const Element& element) { return formerName(element); });
}

}  // namespace kwxml::catalogue
