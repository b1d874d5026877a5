// The accessors of bits and scalars, and the rules of all: each accessor is a shared rule for its value kind,
// under its own name in log lines. Those of strings, nested messages and collections have files of their own.
//
// Log lines about a wrong field number quote the accessor's full signature as log readers know it, whatever
// compiler built the library; lines about an unknown hash quote the short name, taken from the signature.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/AccessorRules.h>

#include <charconv>

using Access = kwxml::AccessorRules;

namespace kwxml {

namespace {

/// "void YMMessageBase::setint64(short int, ...)" gives "YMMessageBase::setint64".
std::string shortName(std::string_view signature)
{
  const auto begin = signature.find("YMMessageBase::");
  return std::string(signature.substr(begin, signature.find('(') - begin));
}

std::string schemaOf(const YMMessageBase& m)
{
  std::string schema;
  if (m.getClass() != nullptr) {
    const UsingCatalogue scope(m);
    (void)YMMessageBase::getMessageSchemaString(schema, static_cast<short>(m.getSubsysID()),
                                                m.getClassIndex(), true, true);
  }
  return schema;
}

/// The field whose value a slot belongs to, be it the value's first slot or a later one; null when it belongs
/// to none.
const FieldDef* ownerOf(const _ClassDef& cls, short slot)
{
  for (const FieldDef& def : cls) {
    const FieldTypeInfo& type = fieldTypeInfo(def.type);
    if (slot >= def.slot && slot < def.slot + type.slots && type.storage != Storage::None) {
      return &def;
    }
  }
  return nullptr;
}

/// True when a value of one of `types` may be reached through `slot`: a field's own first slot, or, for
/// scalars, a slot that no field uses.
bool slotHolds(const _ClassDef& cls, short slot, TypeSet types)
{
  const FieldDef* owner = ownerOf(cls, slot);
  return owner != nullptr ? owner->slot == slot && contains(types, owner->type) : (types & scalarTypes) != 0;
}

}  // namespace

void AccessorRules::logInvalidField(const YMMessageBase& m, const char* signature, int field)
{
  XMLDebug::getInstance()->logError(
      signature,
      "Invalid member access. CHECK IF KwXMLMsgsBase BINARY IS UPDATED PROPERLY.  Given "
      "field id [%d]. Schema of given message is :\n%s",
      field, schemaOf(m).c_str());
}

void AccessorRules::logInvalidSlot(const YMMessageBase& m, const char* signature, int slot)
{
  XMLDebug::getInstance()->logError(
      signature,
      "Invalid member access. CHECK IF KwXMLMsgsBase BINARY IS UPDATED PROPERLY.  Given "
      "index on buffer is [%d]. Schema of given message is \n%s",
      slot, schemaOf(m).c_str());
}

void AccessorRules::logUnknownHash(const YMMessageBase& m, const char* signature, unsigned long tag,
                                   unsigned long hash)
{
  XMLDebug::getInstance()->logError(
      shortName(signature).c_str(),
      "Message [%s] with TagID : [%u] does not contain field : [%u]. Message Received : [%u]",
      m.getTagName().c_str(), static_cast<unsigned>(m.tagId_), static_cast<unsigned>(hash),
      static_cast<unsigned>(tag));
}

bool AccessorRules::resolveSlow(const YMMessageBase& m, const char* signature, FieldAddress& address,
                                TypeSet types)
{
  if (static_cast<unsigned short>(address.field) >= m.buffer_.bitCount()) {
    logInvalidField(m, signature, address.field);
    return false;
  }
  if (address.tag == m.tagId_) {
    if (static_cast<unsigned short>(address.slot) < m.buffer_.slotCount() &&
        slotHolds(*m.class_, address.slot, types)) {
      return true;
    }
    logInvalidSlot(m, signature, address.slot);
    return false;
  }
  const FieldDef* def = findFieldOrFormer(*m.class_, address.hash);
  if (def == nullptr ||
      !contains(types, def->type)) {  // the same name with a value of another kind is another field
    logUnknownHash(m, signature, address.tag, address.hash);
    return false;
  }
  address.field = def->fieldNumber;
  address.slot = def->slot;
  return true;
}

}  // namespace kwxml

// ---- Bits

namespace {

/// Every type has a bit, also one without storage.
constexpr kwxml::TypeSet anyType = ~kwxml::TypeSet{0};

/// Bit operations take no slot: the field's own stands in for the caller's.
bool resolveBit(const YMMessageBase& m, const char* signature, kwxml::FieldAddress& a)
{
  if (static_cast<unsigned short>(a.field) < m.getNumberOfFields()) {
    a.slot = m.getClass()->fields[a.field].slot;
  }
  return Access::resolve(m, signature, a, anyType);
}

}  // namespace

bool YMMessageBase::isSetSlow(const char* signature, short field, unsigned long tag, unsigned long hash) const
{
  kwxml::FieldAddress a{field, 0, tag, hash};
  return resolveBit(*this, signature, a) && buffer_.bit(a.field);
}

bool YMMessageBase::isSet(short field, bool& hasHash, std::string& name) const
{
  if (static_cast<unsigned short>(field) >= buffer_.bitCount()) {
    XMLDebug::getInstance()->logError("bool YMMessageBase::isSet(short int, bool&, std::string&) const",
                                      "Invalid field Id [%d]. Total number of fields = [%d]. Message = [%s]",
                                      static_cast<int>(field), getNumberOfFields(), getTagName().c_str());
    return false;
  }
  const FieldDef& def = class_->fields[field];
  hasHash = def.hash != 0;
  name = def.getName();
  return buffer_.bit(field);
}

void YMMessageBase::setField(short field, unsigned long tag, unsigned int hash)
{
  kwxml::FieldAddress a{field, 0, tag, hash};
  if (resolveBit(*this, "void YMMessageBase::setField(short int, long unsigned int, unsigned int)", a)) {
    buffer_.setBit(a.field);
  }
}

void YMMessageBase::unsetField(short field, unsigned long tag, unsigned int hash)
{
  kwxml::FieldAddress a{field, 0, tag, hash};
  if (resolveBit(*this, "void YMMessageBase::unsetField(short int, long unsigned int, unsigned int)", a)) {
    buffer_.clearBit(a.field);
  }
}

void YMMessageBase::setPrimitiveBitValue(int field, bool on)
{
  constexpr const char* function = "YMMessageBase::setPrimitiveBitValue";
  if (field < 0 || field >= getNumberOfFields()) {
    XMLDebug::getInstance()->logError(function, "Message [%s] does not have member [%d]",
                                      class_ != nullptr && class_->name != nullptr ? class_->name : "",
                                      field);
    return;
  }
  const FieldDef& def = class_->fields[field];
  if (!kwxml::isPrimitiveType(def.type) || kwxml::isListType(def.type)) {
    XMLDebug::getInstance()->logError(
        function, "Received member [%s] is not a primitive type. Given member type is [%d]", def.getName(),
        static_cast<int>(def.type));
    return;
  }
  const auto bit = static_cast<short>(field);
  on ? buffer_.setBit(bit) : buffer_.clearBit(bit);
}

void YMMessageBase::wipeBitset()
{
  buffer_.wipeBits();
}

// ---- Scalars

long long YMMessageBase::getSlotSlow(const char* signature, short slot, unsigned long tag,
                                     unsigned int hash) const
{
  if (static_cast<unsigned short>(slot) >= buffer_.slotCount()) {
    Access::logInvalidSlot(*this, signature, slot);
    return 0;
  }
  if (tag == tagId_) {
    return buffer_[slot];
  }
  const FieldDef* def = kwxml::findFieldOrFormer(*class_, hash);
  if (def == nullptr || !kwxml::contains(kwxml::scalarTypes, def->type)) {
    Access::logUnknownHash(*this, signature, tag, hash);
    return 0;
  }
  return buffer_[def->slot];
}

void YMMessageBase::setSlotSlow(const char* signature, short field, short slot, long long value,
                                bool isInteger, unsigned long tag, unsigned int hash)
{
  constexpr kwxml::TypeSet texts =
      kwxml::typesHolding<std::string> | kwxml::typesHolding<std::wstring> | kwxml::typesHolding<bstring>;
  kwxml::FieldAddress a{field, slot, tag, hash};
  if (!Access::resolve(*this, signature, a, kwxml::scalarTypes | (isInteger ? texts : 0))) {
    return;
  }
  // The slot's owner decides, not the field: with the own tag the caller's slot is trusted, and a field
  // without storage names one that belongs to another field or to none.
  const FieldDef* owner = kwxml::ownerOf(*class_, a.slot);
  if (owner == nullptr || kwxml::contains(kwxml::scalarTypes, owner->type)) {
    buffer_[a.slot] = value;
  } else {
    char digits[24];
    const std::string text(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    if (owner->type == FIELD_STRING) {
      Access::inPlace<std::string>(*this, a.slot) = text;
    } else if (owner->type == FIELD_WSTRING) {
      Access::inPlace<std::wstring>(*this, a.slot).assign(text.begin(), text.end());
    } else if (owner->type == FIELD_PSTRING) {
      auto*& password = Access::pointer<pstring>(*this, a.slot);
      delete std::exchange(password, new pstring(text));
    } else {
      auto*& bytes = Access::pointer<bstring>(*this, a.slot);
      delete std::exchange(bytes, new bstring(text));
    }
  }
  buffer_.setBit(a.field);
}

XML_INT64& YMMessageBase::getint64ByRef(short field, short slot, unsigned long tag, unsigned int hash)
{
  kwxml::FieldAddress a{field, slot, tag, hash};
  if (!Access::resolve(
          *this,
          "XML_INT64& YMMessageBase::getint64ByRef(short int, short int, long unsigned int, unsigned int)", a,
          kwxml::scalarTypes)) {
    return Access::emptyValue<XML_INT64>();
  }
  buffer_.setBit(a.field);
  return buffer_[a.slot];
}
