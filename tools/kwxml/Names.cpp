#include "Names.h"

#include "Command.h"
#include "Report.h"

#include <kwxml/model/Registry.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/text/NearestName.h>

#include <charconv>

namespace kwxml::tool {

namespace {

[[noreturn]] void unknown(const char* what, const std::string& name,
                          const std::vector<CatalogueName>& candidates)
{
  std::vector<std::string> names;
  names.reserve(candidates.size());
  for (const CatalogueName& candidate : candidates) {
    names.push_back(candidate.name);
  }
  throw Failure(exitUsage, std::string("unknown ") + what + " '" + oneLine(name, longestTypedName) + "'" +
                               didYouMean(name, names));
}

}  // namespace

std::string didYouMean(std::string_view name, const std::vector<std::string>& candidates)
{
  NearestName nearest(name);
  for (const std::string& candidate : candidates) {
    nearest.consider(candidate);
  }
  return nearest.question();
}

std::vector<CatalogueName> systemNames()
{
  std::vector<CatalogueName> names;
  for (int system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
    if (const char* name = Registry::current().row(static_cast<unsigned>(system)).name; name != nullptr) {
      names.push_back({name, false, Registry::current().doc(system, -1, -1)});
    }
  }
  return names;
}

std::vector<CatalogueName> tagNames()
{
  std::vector<CatalogueName> names;
  for (int system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
    const MessageSystemRow& row = Registry::current().row(static_cast<unsigned>(system));
    for (int index = 0; row.name != nullptr && index < row.numberOfClasses; ++index) {
      const _ClassDef& cls = row.classes[index];
      if (cls.name != nullptr && *cls.name != '\0') {
        names.push_back({tagNameOf(system, cls), cls.isEnum(), Registry::current().doc(system, index, -1)});
      }
    }
  }
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
      throw Failure(exitUsage, "'" + oneLine(tag, longestTypedName) +
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
