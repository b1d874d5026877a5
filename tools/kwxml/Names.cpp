#include "Names.h"

#include "Command.h"
#include "Report.h"

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/xml/RootName.h>

#include <algorithm>
#include <charconv>
#include <numeric>

namespace kwxml::tool {

namespace {

constexpr std::size_t longestName =
    128;  // longer ones are no typing mistake; comparing them would take its time

/// Insertions, deletions, replacements and swaps of neighbours that turn one name into the other.
std::size_t editDistance(std::string_view a, std::string_view b)
{
  const auto same = [](char x, char y) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    return lower(x) == lower(y);
  };
  std::vector<std::size_t> beforeLast(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
  std::iota(last.begin(), last.end(), 0);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same(a[i - 1], b[j - 1]) ? 0 : 1)});
      if (i > 1 && j > 1 && same(a[i - 1], b[j - 2]) && same(a[i - 2], b[j - 1])) {
        row[j] = std::min(row[j], beforeLast[j - 2] + 1);
      }
    }
    std::swap(beforeLast, last);
    std::swap(last, row);
  }
  return last[b.size()];
}

/// Calls visit(system index, class) for every class with a name.
template <class Visit>
void forEachClass(Visit visit)
{
  for (int system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
    const MessageSystemRow& row = XML_KWMessage_MessageSystemChooser::msgSysStruct[system];
    for (int index = 0; row.name != nullptr && index < row.numberOfClasses; ++index) {
      const _ClassDef& cls = row.classes[index];
      if (cls.name != nullptr && *cls.name != '\0') {
        visit(system, cls);
      }
    }
  }
}

[[noreturn]] void unknown(const char* what, const std::string& name,
                          const std::vector<std::string>& candidates)
{
  throw Failure(exitUsage, std::string("unknown ") + what + " '" + oneLine(name, longestName) + "'" +
                               didYouMean(name, candidates));
}

}  // namespace

std::string didYouMean(std::string_view name, const std::vector<std::string>& candidates)
{
  if (name.empty() || name.size() > longestName) {
    return {};
  }
  const std::string* nearest = nullptr;
  std::size_t best = std::max<std::size_t>(1, name.size() / 3) + 1;  // farther off it would be a guess
  for (const std::string& candidate : candidates) {
    const std::size_t longer = std::max(name.size(), candidate.size());
    if (longer - std::min(name.size(), candidate.size()) >= best) {
      continue;
    }
    const std::size_t distance = editDistance(name, candidate);
    if (distance < best) {
      best = distance;
      nearest = &candidate;
    }
  }
  return nearest != nullptr ? "; did you mean '" + *nearest + "'?" : std::string();
}

std::vector<std::string> systemNames()
{
  std::vector<std::string> names;
  for (const MessageSystemRow& row : XML_KWMessage_MessageSystemChooser::msgSysStruct) {
    if (row.name != nullptr) {
      names.emplace_back(row.name);
    }
  }
  return names;
}

std::vector<std::string> tagNames()
{
  std::vector<std::string> names;
  forEachClass([&](int system, const _ClassDef& cls) { names.push_back(tagNameOf(system, cls)); });
  return names;
}

std::vector<std::string> rootNames()
{
  std::vector<std::string> names;
  forEachClass([&](int system, const _ClassDef& cls) {
    if (!cls.isEnum()) {
      names.push_back(tagNameOf(system, cls));
      if (std::string root = rootElementName(system, cls); root != names.back()) {
        names.push_back(std::move(root));
      }
    }
  });
  return names;
}

ClassPlace findTag(const std::string& tag)
{
  ClassPlace place{};
  if (!tag.empty() && tag[0] >= '0' && tag[0] <= '9') {  // no name begins with a digit
    const bool hex = tag.starts_with("0x") || tag.starts_with("0X");
    const char* begin = tag.data() + (hex ? 2 : 0);
    const char* end = tag.data() + tag.size();
    std::uint32_t number = 0;
    const auto result = std::from_chars(begin, end, number, hex ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != end) {
      throw Failure(exitUsage, "'" + oneLine(tag, longestName) +
                                   "' is neither a tag name nor a tag ID (decimal or 0x, 32 bits)");
    }
    if (!YMMessageBase::getIndicesFromTagID(place.system, place.index, number)) {
      throw Failure(exitUsage, "no class has the tag ID " + tag);
    }
    return place;
  }
  const auto split = tag.find('_');
  const std::string system = tag.substr(0, split);
  const std::string name = split == std::string::npos ? std::string() : tag.substr(split + 1);
  if (name.empty() || !YMMessageBase::getMessageSystemIndexFromName(system.c_str(), place.system) ||
      !YMMessageBase::getMessageIndexFromName(name.c_str(), place.system, place.index)) {
    unknown("class", tag, tagNames());
  }
  return place;
}

short findSystem(const std::string& name)
{
  short system = 0;
  if (name.empty() || !YMMessageBase::getMessageSystemIndexFromName(name.c_str(), system)) {
    unknown("system", name, systemNames());
  }
  return system;
}

}  // namespace kwxml::tool
