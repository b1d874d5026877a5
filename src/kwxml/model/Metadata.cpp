#include <kwxml/model/Metadata.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/model/Registry.h>
#include <kwxml/model/TypedMessage.h>
#include <kwxml/text/NumberText.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr int systemCount = XML_KWMessage_MessageSystemChooser::numberOfSystems;

const MessageSystemRow& row(unsigned system)
{
  return kwxml::Registry::current().row(system);
}

}  // namespace

namespace kwxml {

const _ClassDef* findClass(int system, int classIndex)
{
  return Registry::current().findClass(system, classIndex);
}

PackedReference packedReference(const FieldDef& field, int which)
{
  PackedReference reference = PackedReference::read(field.name + which * 4);
  reference.registry = &Registry::of(field);
  return reference;
}

const _ClassDef* findClass(const PackedReference& reference)
{
  return registryOf(reference).findClass(reference.system, reference.classIndex);
}

std::string tagNameOf(int system, const _ClassDef& cls)
{
  const char* name = Registry::of(cls).row(static_cast<unsigned>(system)).name;
  return std::string(name != nullptr ? name : "") + "_" + (cls.name != nullptr ? cls.name : "");
}

const FieldDef* findField(const _ClassDef& cls, std::uint64_t hash)
{
  for (const FieldDef& def : cls) {
    if (def.hash == hash) {
      return &def;
    }
  }
  return nullptr;
}

const FieldDef* findFieldOrFormer(const _ClassDef& cls, std::uint64_t hash)
{
  const FieldDef* const found = findField(cls, hash);
  const Registry& registry = Registry::of(cls);
  if (found != nullptr || registry.tables().numberOfFormerNames == 0) {
    return found;
  }
  const FormerName* const end = registry.tables().formerNames + registry.tables().numberOfFormerNames;
  const FormerName* const former =
      std::find_if(registry.tables().formerNames, end, [&](const FormerName& name) {
        return name.field >= 0 && name.hash == hash &&
               registry.findClass(name.system, name.classIndex) == &cls;
      });
  return former != end ? &cls.fields[former->field] : nullptr;
}

const FieldDef* findEnumeratorNamed(const PackedReference& enumeration, std::string_view name)
{
  const _ClassDef* const cls = findClass(enumeration);
  if (cls == nullptr) {
    return nullptr;
  }
  const auto isIt = [name](const char* other) { return asciiEqualsIgnoreCase(other, name); };
  const FieldDef* const found =
      std::find_if(cls->begin(), cls->end(), [&](const FieldDef& def) { return isIt(def.getName()); });
  if (found != cls->end()) {
    return found;
  }
  std::size_t count = 0;
  const FormerName* const names =
      registryOf(enumeration).formerNames(enumeration.system, enumeration.classIndex, count);
  const FormerName* const former = std::find_if(
      names, names + count, [&](const FormerName& entry) { return entry.field >= 0 && isIt(entry.name); });
  return former != names + count ? &cls->fields[former->field] : nullptr;
}

namespace {

/// The line of a class that is not there.
void logNoClass(int system, int classIndex)
{
  XMLDebug::getInstance()->logError(
      "YMMessageBase::GetClassDef",
      "Unable to retrieve metadata for message with msgSysIndex : [%d], msgIndex : [%d]", system, classIndex);
}

}  // namespace

bool isPrimitiveType(unsigned type)
{
  switch (type) {
    case FIELD_UNSET:
    case FIELD_LIST_OBJECT:
    case FIELD_OBJECT:
    case FIELD_RESERVED:
    case FIELD_MAP_INT64_OBJECT:
    case FIELD_MAP_STRING_OBJECT:
    case FIELD_MAP_OBJECT_OBJECT:
      return false;
    default:
      return true;  // numbers above the last type included
  }
}

}  // namespace kwxml

// ---- FieldDef

bool FieldDef::isMapType(FieldDataType t)
{
  return kwxml::fieldTypeInfo(t).mapKey != FIELD_UNSET;
}

FieldDataType FieldDef::getMapKeyType(FieldDataType t)
{
  return kwxml::fieldTypeInfo(t).mapKey;
}

FieldDataType FieldDef::getMapValueType(FieldDataType t)
{
  return kwxml::fieldTypeInfo(t).mapValue;
}

const char* FieldDef::getFieldTypeName(FieldDataType t)
{
  const char* text = kwxml::fieldTypeInfo(t).text;
  return text != nullptr ? text : "Unknown Type ";
}

std::string FieldDef::convertFieldToTypeString(FieldDataType t)
{
  return getFieldTypeName(t);
}

bool FieldDef::isValidEnumValue(const FieldDef& field, int value)
{
  if (field.type != FIELD_ENUM && field.type != FIELD_LIST_ENUM) {
    return false;
  }
  const auto reference = kwxml::packedReference(field);
  const _ClassDef* cls = kwxml::findClass(reference);
  if (cls == nullptr) {
    kwxml::logNoClass(reference.system, reference.classIndex);
    XMLDebug::getInstance()->logError("static bool FieldDef::isValidEnumValue(const FieldDef&, int)",
                                      "Error identifying [%s]:[%d] as an enum ", field.getName(), value);
    return false;
  }
  return kwxml::findEnumerator(cls, value) != nullptr;
}

const void* FieldDef::getFieldAddrResolved(const YMMessageBase& message) const
{
  switch (kwxml::fieldTypeInfo(type).storage) {
    case kwxml::Storage::InPlace:
      return &kwxml::MessageAccess::buffer(message)[slot];
    case kwxml::Storage::Object:
      return kwxml::MessageAccess::pointer<void>(message, slot);
    case kwxml::Storage::None:
      break;
  }
  return nullptr;
}

// ---- Look-ups

bool YMMessageBase::getMessageSystemIndexFromName(const char* name, short& system)
{
  return name != nullptr && kwxml::Registry::current().findSystem(name, system);
}

bool YMMessageBase::getMessageIndexFromName(const char* name, short& system, int& index)
{
  const auto number = static_cast<unsigned short>(system);
  if (number >= systemCount || name == nullptr) {
    return false;
  }
  const char* systemName = row(number).name;
  return systemName != nullptr && kwxml::Registry::current().findClass(systemName, name, system, index);
}

bool YMMessageBase::getIndicesFromTagID(short& system, int& index, unsigned long tag)
{
  return kwxml::Registry::current().findTag(tag, system, index);
}

bool YMMessageBase::getTagIDFromIndices(short system, short index, unsigned long& tag)
{
  const auto number = static_cast<unsigned short>(system);
  const _ClassDef* cls = kwxml::findClass(number, index);
  if (cls == nullptr) {
    return false;
  }
  tag = kwxml::tagOf(number, *cls);
  return true;
}

const _ClassDef* YMMessageBase::GetClassDef(short system, int index)
{
  const _ClassDef* cls = system >= 1 && index >= 0 ? kwxml::findClass(system, index) : nullptr;
  if (cls == nullptr) {
    kwxml::logNoClass(system, index);
  }
  return cls;
}

const _ClassDef* YMMessageBase::GetClassDef(unsigned long tag)
{
  short system = 0;
  int index = 0;
  return getIndicesFromTagID(system, index, tag) ? GetClassDef(system, index) : nullptr;
}

const _ClassDef* YMMessageBase::GetClassDef(const YMMessageBase* message)
{
  return message != nullptr ? message->class_ : nullptr;
}

namespace {

/// The two public forms differ in one capital of their log text.
const _ClassDef* classOfReference(const kwxml::PackedReference& reference, const char* subsystems)
{
  if (reference.system < systemCount) {
    return kwxml::findClass(reference);
  }
  XMLDebug::getInstance()->logError(
      "YMMessageBase::GetClassDefFromPtrToClassID",
      "Error retrieving metadata with msgSysIndex : [%d], msgIndex : [%d]. Total_%s : [%d]", reference.system,
      reference.classIndex, subsystems, systemCount);
  return nullptr;
}

}  // namespace

const _ClassDef* YMMessageBase::GetClassDefFromClassID(const FieldDef& field)
{
  if (field.name == nullptr || FieldDef::packedReferences(field.type) == 0) {
    return nullptr;  // the name of such a field is no reference
  }
  return classOfReference(kwxml::packedReference(field), "subsystems");
}

const _ClassDef* YMMessageBase::GetClassDefFromClassID(const unsigned long* packed)
{
  if (packed == nullptr) {
    return nullptr;
  }
  return classOfReference(kwxml::PackedReference::read(packed), "Subsystems");
}

std::string YMMessageBase::getTagName() const
{
  if (class_ == nullptr) {
    return {};
  }
  return kwxml::tagNameOf(getSubsysID(), *class_);
}

std::string YMMessageBase::getSubsystemName() const
{
  const char* name = kwxml::Registry::of(*this).row(static_cast<unsigned>(getSubsysID())).name;
  return name != nullptr ? name : "";
}

std::string YMMessageBase::getTagNameFromTagID(unsigned long tag)
{
  short system = 0;
  int index = 0;
  if (!getIndicesFromTagID(system, index, tag)) {
    return {};
  }
  const _ClassDef* cls = kwxml::findClass(system, index);
  if (cls == nullptr || row(static_cast<unsigned>(system)).name == nullptr) {
    return {};
  }
  return kwxml::tagNameOf(system, *cls);
}

bool YMMessageBase::getNumberOfFields(unsigned long tag, int& count)
{
  const _ClassDef* cls = GetClassDef(tag);
  if (cls == nullptr) {
    return false;
  }
  count = cls->numberOfFields;
  return true;
}

int YMMessageBase::getFieldNumberFromName(const _ClassDef* cls, const std::string& name)
{
  if (cls == nullptr || cls->numberOfFields <= 0) {
    return -1;
  }
  const FieldDef* found = nullptr;
  if (cls->isEnum()) {
    found = std::find_if(cls->begin(), cls->end(), [&](const FieldDef& def) { return name == def.name; });
    found = found == cls->end() ? nullptr : found;
  } else {
    found = kwxml::findFieldOrFormer(*cls, kwxml::nameHash(name.data(), name.size()));
  }
  return found == nullptr ? -1 : static_cast<int>(found - cls->fields);
}

const char* YMMessageBase::getEnumString(short system, const char* enumName, int value)
{
  constexpr const char* function = "YMMessageBase::getEnumString";
  const auto number = static_cast<unsigned short>(system);
  if (number >= systemCount) {
    XMLDebug::getInstance()->logError(function, "Subsystem : [%d] does not exist", static_cast<int>(system));
    return "";
  }
  const MessageSystemRow& r = row(number);
  for (int i = 0; enumName != nullptr && i < r.numberOfClasses; ++i) {
    const _ClassDef& cls = r.classes[i];
    if (cls.name == nullptr || std::strcmp(cls.name, enumName) != 0) {
      continue;
    }
    if (const FieldDef* def = kwxml::findEnumerator(&cls, value)) {
      return def->name;
    }
  }
  XMLDebug::getInstance()->logError(
      function, "Subsystem : [%d] :: Enum : [%s] does not have a member with value : [%d]",
      static_cast<int>(system), enumName != nullptr ? enumName : "", value);
  return "";
}

const XPathDataRow* YMMessageBase::getXPathData(short system)
{
  return kwxml::Registry::current().xpathData(system);
}

bool YMMessageBase::isOldWay(unsigned long tag)
{
  const auto system = static_cast<std::uint16_t>(tag >> 24 & 0xFF);
  const auto& list = XML_KWMessage_MessageSystemChooser::oldXFilesSubsystemIDS;
  return std::find(std::begin(list), std::end(list), system) != std::end(list);
}
