// Whether a program's wrappers and the tables that it runs with belong together.
#include <kwxml/model/TypedMessage.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/MessageLife.h>
#include <kwxml/platform/KwException.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <stdexcept>

namespace kwxml {

namespace {

constexpr const char* function = "kwxml::checkWrapper";

std::string described(std::uint32_t hash, bool withHash, long number, long slot, FieldDataType type)
{
  const char* text = fieldTypeInfo(type).text;
  char name[32] = "";
  if (withHash) {
    std::snprintf(name, sizeof name, " of name hash 0x%06X", hash);
  }
  return std::string(text != nullptr ? text : "no type") + name + " at position " + std::to_string(number) +
         ", slot " + std::to_string(slot);
}

/// A record of WrapperClass::fields.
struct WrapperField
{
  std::uint32_t hash;
  long number;
  long slot;
  FieldDataType type;
};

/// The record at the beginning of a text, which goes on behind it.
WrapperField takeField(const char*& text)
{
  long parts[4] = {};
  for (long& part : parts) {
    char* end = nullptr;
    part = std::strtol(text, &end, 10);
    text = *end != '\0' ? end + 1 : end;
  }
  return {static_cast<std::uint32_t>(parts[0]), parts[1], parts[2], static_cast<FieldDataType>(parts[3])};
}

/// The first record in which the two differ.
std::string difference(const WrapperClass& wrapper, const _ClassDef& cls)
{
  const int common = std::min<int>(wrapper.numberOfFields, cls.numberOfFields);
  const char* fields = wrapper.fields;
  for (int i = 0; i < common; ++i) {
    const WrapperField field = takeField(fields);
    const FieldDef& def = cls.fields[i];
    if (field.hash != def.hash || field.number != def.fieldNumber || field.slot != def.slot ||
        field.type != def.type) {
      return "record " + std::to_string(i) + " (" + def.getName() + ") is " +
             described(def.hash, field.hash != def.hash, def.fieldNumber, def.slot, def.type) +
             " in the tables and " +
             described(field.hash, field.hash != def.hash, field.number, field.slot, field.type) +
             " in the program";
    }
  }
  return "the tables have " + std::to_string(cls.numberOfFields) + " records and the program " +
         std::to_string(wrapper.numberOfFields);
}

[[noreturn]] void refuse(const std::string& text)
{
  XMLDebug::getInstance()->logError(function, "[%s]", text.c_str());
  throw KwException(function, text);
}

[[noreturn]] void refuseRecords(const std::string& tagName, const Registry& registry, const char* catalogue,
                                const std::string& what)
{
  refuse("The tables of class " + tagName + " in catalogue '" + registry.name() +
         "' are not those that the program was compiled with, of catalogue '" + catalogue + "': " + what +
         ". Compile the program anew, or load the catalogue that it was compiled with");
}

/// A registry of a wrapper, whose tables are such as this library reads.
const Registry& usableRegistry(const Registry* const* wrappers)
{
  const Registry& registry = **wrappers;
  if (registry.tables().version != CatalogueTables::currentVersion) [[unlikely]] {
    refuse("Catalogue '" + std::string(registry.name()) + "' has tables of version " +
           std::to_string(registry.tables().version) + ", this library reads version " +
           std::to_string(CatalogueTables::currentVersion) + ". Compile the catalogue anew");
  }
  return registry;
}

/// The enumeration of a catalogue, which may stand elsewhere now.
const _ClassDef& findEnumeration(const WrapperEnum& wanted)
{
  const Registry& registry = usableRegistry(wanted.registry);
  short system = static_cast<short>(wanted.systemIndex);
  int index = wanted.classIndex;
  const _ClassDef* cls = registry.findClass(system, index);
  if (cls == nullptr || cls->name == nullptr || std::strcmp(cls->name, wanted.name) != 0) {
    cls = registry.findClass(wanted.system, wanted.name, system, index) ? registry.findClass(system, index)
                                                                        : nullptr;
  }
  const auto tagName = [&wanted] { return std::string(wanted.system) + "_" + wanted.name; };
  if (cls == nullptr || !cls->isEnum()) {
    refuse("Catalogue '" + std::string(registry.name()) + "' has no enumeration " + tagName() +
           ", which the program was compiled with");
  }
  const int count = wanted.numberOfEnumerators;
  if (count > cls->numberOfFields ||
      (count == cls->numberOfFields
           ? registry.plan(static_cast<unsigned>(system), static_cast<unsigned>(index)).fingerprint
           : fingerprintOf(*cls, count)) != wanted.fingerprint) {
    refuseRecords(tagName(), registry, wanted.catalogue,
                  "its " + std::to_string(cls->numberOfFields) +
                      " enumerators do not begin with the program's " + std::to_string(count));
  }
  return *cls;
}

}  // namespace

void checkWrapper(const YMMessageBase& message, std::uint32_t tag, std::uint32_t fingerprint,
                  const char* catalogue, const WrapperClass* wrapper)
{
  if (message.getTagID() == tag && MessageAccess::planOf(message).fingerprint != fingerprint) [[unlikely]] {
    refuseRecords(
        message.getTagName(), Registry::of(message), catalogue,
        wrapper != nullptr ? difference(*wrapper, *message.getClass()) : "the records of its fields differ");
  }
}

void refuseTime(long long seconds)
{
  throw std::out_of_range("the time " + std::to_string(seconds) + " s is out of the range of its field");
}

std::ostream& writeEnumerator(std::ostream& out, const char* name, int number)
{
  return *name != '\0' ? out << name : out << number;
}

const char* enumeratorName(const WrapperEnum& enumeration, int value)
{
  const FieldDef* const found = findEnumerator(&findEnumeration(enumeration), value);
  return found != nullptr ? found->getName() : "";
}

bool enumeratorValue(const WrapperEnum& enumeration, std::string_view name, int& value)
{
  for (const FieldDef& enumerator : findEnumeration(enumeration)) {
    if (name == enumerator.getName()) {
      value = static_cast<int>(enumerator.hash);
      return true;
    }
  }
  return false;
}

}  // namespace kwxml

YMMessageBase::YMMessageBase(const kwxml::WrapperClass& wrapper) : YMMessageBase()
{
  const kwxml::Registry& registry = kwxml::usableRegistry(wrapper.registry);
  const int system = static_cast<int>(wrapper.tag >> 24);
  int index = wrapper.classIndex;
  const _ClassDef* cls = registry.findClass(system, index);
  if (cls == nullptr || cls->classId != (wrapper.tag & 0xFFFFFF)) [[unlikely]] {
    // The class stands elsewhere in these tables; a class of another ID goes by its name.
    short found = static_cast<short>(system);
    if (!registry.findTag(wrapper.tag, found, index) &&
        !registry.findClass(wrapper.system, wrapper.name, found, index)) {
      kwxml::refuse("Catalogue '" + std::string(registry.name()) + "' has no class " + wrapper.system + "_" +
                    wrapper.name + ", which the program was compiled with");
    }
    kwxml::MessageLife::construct(*this, registry, found, index);
  } else {
    kwxml::MessageLife::construct(*this, registry, system, index);
  }
  kwxml::checkWrapper(*this, wrapper.tag, wrapper.fingerprint, wrapper.catalogue, &wrapper);
}
