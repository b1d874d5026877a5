// Fuzzes catalogues made at run time: of any text there is either a catalogue or a problem, and each of its
// messages can be made, filled, written and read.
#include "FileOfBytes.h"

#include <kwxml/model/Registry.h>

#include "support/Messages.h"

#include <algorithm>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

using namespace kwxml;
using namespace kwxml::fuzz;

namespace {

/// Whether a message of the class comes back from the binary form as it was: everything within it has a type
/// whose values can be passed, and is found.
bool comesBack(const Registry& registry, int system, int index)
{
  std::set<const _ClassDef*> seen;
  std::vector<PackedReference> left = {{system, index, &registry}};
  while (!left.empty()) {
    const PackedReference place = left.back();
    left.pop_back();
    const _ClassDef* const cls = findClass(place);
    if (cls == nullptr) {
      wrong("a field refers to no class");
    }
    if (cls->isEnum() || !seen.insert(cls).second) {
      continue;
    }
    short found = 0;
    int foundIndex = 0;
    if (!registry.findTag(tagOf(place.system, *cls), found, foundIndex)) {
      wrong("a class has an ID that leads nowhere");
    }
    if (foundIndex != place.classIndex) {
      return false;  // another class has the ID
    }
    for (const FieldDef& def : *cls) {
      const bool isPassable = def.type != FIELD_ULONGLONG && def.type != FIELD_LIST_ULONGLONG &&
                              def.type != FIELD_WSTRING && def.type != FIELD_LIST_WSTRING &&
                              def.type != FIELD_PSTRING;
      if (!isPassable || findField(*cls, def.hash) != &def) {
        return false;
      }
      for (int i = 0; i < FieldDef::packedReferences(def.type); ++i) {
        left.push_back(packedReference(def, i));
      }
    }
  }
  return true;
}

std::unique_ptr<YMMessageBase> writtenAndRead(YMMessageBase& message)
{
  BinaryBuffer buffer;
  BinarySerializer::serialize(message, buffer);
  return std::unique_ptr<YMMessageBase>(BinarySerializer::unserialize(buffer, nullptr, false));
}

void tryClass(const Registry& registry, int system, int index)
{
  YMMessageBase message(system, index);
  test::fillAll(message, 1, 0);
  const std::unique_ptr<YMMessageBase> first = writtenAndRead(message);
  if (!comesBack(registry, system, index)) {
    return;
  }
  if (first == nullptr) {
    wrong("a message of the catalogue cannot be read");
  }
  const std::unique_ptr<YMMessageBase> second = writtenAndRead(*first);
  if (second == nullptr || !areSame(*first, *second)) {
    wrong("a message that was read comes back as another");
  }
}

/// The pieces of a text from one character to the next of another, both within.
std::vector<std::string_view> pieces(std::string_view text, char from, char to)
{
  std::vector<std::string_view> found;
  std::size_t end = 0;
  for (std::size_t begin = text.find(from); begin != std::string_view::npos; begin = text.find(from, end)) {
    end = text.find(to, begin + 1);
    if (end == std::string_view::npos) {
      break;
    }
    found.push_back(text.substr(begin, ++end - begin));
  }
  return found;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

/// Bytes that change at random hardly ever stay a schema. Mostly a value becomes another one of the schema or
/// is changed itself, or a tag comes once more or goes.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most,
                                               unsigned seed)
{
  std::minstd_rand random(seed);
  const std::string text(reinterpret_cast<const char*>(data), size);
  const bool takesTag = random() % 3 == 0;
  const std::vector<std::string_view> found = takesTag ? pieces(text, '<', '>') : pieces(text, '"', '"');
  if (found.empty() || random() % 8 == 0) {
    return LLVMFuzzerMutate(data, size, most);
  }
  const std::string_view place = found[random() % found.size()];
  std::string next(found[random() % found.size()]);
  if (takesTag) {
    next = random() % 3 != 0 ? std::string(place) + next : std::string();
  } else if (random() % 2 == 0) {
    constexpr std::size_t longest = 32;
    next = place.substr(1, std::min(place.size() - 2, longest));
    const std::size_t length = next.size();
    next.resize(longest);
    next.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(next.data()), length, longest));
    next = '"' + next + '"';
  }
  std::string changed = text;
  changed.replace(static_cast<std::size_t>(place.data() - text.data()), place.size(), next);
  if (changed.size() > most) {
    return LLVMFuzzerMutate(data, size, most);
  }
  std::memcpy(data, changed.data(), changed.size());
  return changed.size();
}

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
  logToNowhere();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  static FileOfBytes bytes;
  std::string problems;
  const Registry::Owner registry = Registry::fromSchemas({bytes.hold(data, size)}, problems);
  if (registry == nullptr) {
    if (problems.empty()) {
      wrong("neither a catalogue nor a problem");
    }
    return 0;
  }
  const UsingCatalogue scope(*registry);
  for (int system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
    const MessageSystemRow& row = registry->row(static_cast<unsigned>(system));
    for (int index = 0; index < row.numberOfClasses; ++index) {
      if (row.classes[index].name != nullptr && !row.classes[index].isEnum()) {
        tryClass(*registry, system, index);
      }
    }
  }
  return 0;
}
