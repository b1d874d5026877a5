// The typed accessors: each is the shared rule of MessageAccess for its value kind, under its own name in log
// lines.
//
// Log lines about a wrong field number quote the accessor's full signature as log readers know it, whatever
// compiler built the library; lines about an unknown hash quote the short name, taken from the signature.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/model/NumberText.h>
#include <kwxml/model/TypedMessage.h>
#include <kwxml/platform/KwException.h>

#include <charconv>

using Access = kwxml::MessageAccess;

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
    YMMessageBase::getMessageSchemaString(schema, static_cast<short>(m.getSubsysID()), m.getClassIndex(),
                                          true, true);
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

void MessageAccess::logInvalidField(const YMMessageBase& m, const char* signature, int field)
{
  XMLDebug::getInstance()->logError(
      signature,
      "Invalid member access. CHECK IF KwXMLMsgsBase BINARY IS UPDATED PROPERLY.  Given "
      "field id [%d]. Schema of given message is :\n%s",
      field, schemaOf(m).c_str());
}

void MessageAccess::logInvalidSlot(const YMMessageBase& m, const char* signature, int slot)
{
  XMLDebug::getInstance()->logError(
      signature,
      "Invalid member access. CHECK IF KwXMLMsgsBase BINARY IS UPDATED PROPERLY.  Given "
      "index on buffer is [%d]. Schema of given message is \n%s",
      slot, schemaOf(m).c_str());
}

void MessageAccess::logUnknownHash(const YMMessageBase& m, const char* signature, unsigned long tag,
                                   unsigned long hash)
{
  XMLDebug::getInstance()->logError(
      shortName(signature).c_str(),
      "Message [%s] with TagID : [%u] does not contain field : [%u]. Message Received : [%u]",
      m.getTagName().c_str(), static_cast<unsigned>(m.tagId_), static_cast<unsigned>(hash),
      static_cast<unsigned>(tag));
}

bool MessageAccess::resolveSlow(const YMMessageBase& m, const char* signature, FieldAddress& address,
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
  const FieldDef* def = findField(*m.class_, address.hash);
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
  const FieldDef* def = kwxml::findField(*class_, hash);
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

// ---- Strings

std::string& YMMessageBase::getstring(short field, short slot, unsigned long tag, unsigned int hash)
{
  return Access::string<std::string>(
      *this, "std::string& YMMessageBase::getstring(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash}, false);
}

const std::string& YMMessageBase::getstring_const(short field, short slot, unsigned long tag,
                                                  unsigned int hash) const
{
  return Access::string<std::string>(*this,
                                     "const std::string& YMMessageBase::getstring_const(short int, short "
                                     "int, long unsigned int, unsigned int) const",
                                     {field, slot, tag, hash});
}

std::string& YMMessageBase::getstringByRef(short field, short slot, unsigned long tag, unsigned int hash)
{
  return Access::string<std::string>(
      *this,
      "std::string& YMMessageBase::getstringByRef(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash}, true);
}

void YMMessageBase::setstring(short field, short slot, const std::string& value, unsigned long tag,
                              unsigned int hash)
{
  if (auto* text = Access::markedString<std::string>(
          *this,
          "void YMMessageBase::setstring(short int, short int, const std::string&, long "
          "unsigned int, unsigned int)",
          {field, slot, tag, hash})) {
    *text = value;
  }
}

std::wstring& YMMessageBase::getwstring(short field, short slot, unsigned long tag, unsigned int hash)
{
  return Access::string<std::wstring>(
      *this, "std::wstring& YMMessageBase::getwstring(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash}, false);
}

const std::wstring& YMMessageBase::getwstring_const(short field, short slot, unsigned long tag,
                                                    unsigned int hash) const
{
  return Access::string<std::wstring>(*this,
                                      "const std::wstring& YMMessageBase::getwstring_const(short int, short "
                                      "int, long unsigned int, unsigned int) const",
                                      {field, slot, tag, hash});
}

std::wstring& YMMessageBase::getwstringByRef(short field, short slot, unsigned long tag, unsigned int hash)
{
  return Access::string<std::wstring>(
      *this,
      "std::wstring& YMMessageBase::getwstringByRef(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash}, true);
}

void YMMessageBase::setwstring(short field, short slot, const std::wstring& value, unsigned long tag,
                               unsigned int hash)
{
  if (auto* text = Access::markedString<std::wstring>(
          *this,
          "void YMMessageBase::setwstring(short int, short int, const std::wstring&, "
          "long unsigned int, unsigned int)",
          {field, slot, tag, hash})) {
    *text = value;
  }
}

bstring*& YMMessageBase::getbstringobject(short field, short slot, unsigned long tag, unsigned int hash)
{
  return Access::objectRef<bstring>(
      *this,
      "bstring*& YMMessageBase::getbstringobject(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash});
}

const bstring* YMMessageBase::getbstringobject_const(short field, short slot, unsigned long tag,
                                                     unsigned int hash) const
{
  return Access::object<bstring>(*this,
                                 "const bstring* YMMessageBase::getbstringobject_const(short int, short int, "
                                 "long unsigned int, unsigned int) const",
                                 {field, slot, tag, hash});
}

bstring& YMMessageBase::getbstringobjectByRef(short field, short slot, unsigned long tag, unsigned int hash)
{
  bstring* value = Access::markedObject<bstring>(
      *this,
      "bstring& YMMessageBase::getbstringobjectByRef(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash});
  return value != nullptr ? *value : Access::emptyValue<bstring>();
}

void YMMessageBase::setbstringobject(short field, short slot, const bstring& value, unsigned long tag,
                                     unsigned int hash)
{
  bstring* target = Access::markedObject<bstring>(*this,
                                                  "void YMMessageBase::setbstringobject(short int, short "
                                                  "int, const bstring&, long unsigned int, unsigned int)",
                                                  {field, slot, tag, hash});
  if (auto* password = dynamic_cast<pstring*>(target)) {
    *password = value;  // a plain text again
  } else if (target != nullptr) {
    *target = value;
  }
}

pstring*& YMMessageBase::getpstringobject(short field, short slot, unsigned long tag, unsigned int hash)
{
  return Access::objectRef<pstring>(
      *this,
      "pstring*& YMMessageBase::getpstringobject(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash});
}

const pstring* YMMessageBase::getpstringobject_const(short field, short slot, unsigned long tag,
                                                     unsigned int hash) const
{
  return Access::object<pstring>(*this,
                                 "const pstring* YMMessageBase::getpstringobject_const(short int, short int, "
                                 "long unsigned int, unsigned int) const",
                                 {field, slot, tag, hash});
}

pstring& YMMessageBase::getpstringobjectByRef(short field, short slot, unsigned long tag, unsigned int hash)
{
  pstring* value = Access::markedObject<pstring>(
      *this,
      "pstring& YMMessageBase::getpstringobjectByRef(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash});
  return value != nullptr ? *value : Access::emptyValue<pstring>();
}

void YMMessageBase::setpstringobject(short field, short slot, const pstring& value,
                                     Annotation::PasswordEncryptType type, unsigned long tag,
                                     unsigned int hash)
{
  pstring* target = Access::markedObject<pstring>(
      *this,
      "void YMMessageBase::setpstringobject(short int, short int, const pstring&, "
      "Annotation::PasswordEncryptType, long unsigned int, unsigned int)",
      {field, slot, tag, hash});
  if (target != nullptr) {  // a secret that has no place is kept nowhere
    *target = value;
    target->setEncryptionType(type);
  }
}

// ---- Nested messages

namespace {

constexpr const char* getObjectSignature =
    "void*& YMMessageBase::getObject(short int, short int, long unsigned int, unsigned int)";
constexpr const char* getConstObjectSignature =
    "const void* YMMessageBase::getObject_const(short int, short int, long unsigned int, unsigned int) const";
constexpr const char* setObjectSignature =
    "void YMMessageBase::setObject(short int, short int, const void*, bool, long unsigned int, unsigned int, "
    "bool)";

/// What getObject may hand out as a pointer-sized slot: objects, and scalars, whose bytes own nothing.
constexpr kwxml::TypeSet oneSlotTypes = kwxml::objectTypes | kwxml::scalarTypes;

void throwUnknownObject(const YMMessageBase& m, unsigned long tag, unsigned int hash)
{
  throw KwException("YMMessageBase::getObject", "KwXML does not recognize given field :[" +
                                                    std::to_string(hash) + "] in Message [" + m.getTagName() +
                                                    "] :[" + std::to_string(m.getTagID()) +
                                                    "]. Message received : [" + std::to_string(tag) + "]");
}

}  // namespace

void*& YMMessageBase::getObject(short field, short slot, unsigned long tag, unsigned int hash)
{
  kwxml::FieldAddress a{field, slot, tag, hash};
  if (Access::resolve(*this, getObjectSignature, a, oneSlotTypes)) {
    return Access::pointer<void>(*this, a.slot);
  }
  if (static_cast<unsigned short>(field) < getNumberOfFields() && tag != tagId_) {
    throwUnknownObject(*this, tag, hash);
  }
  return Access::nullPointer<void>();
}

const void* YMMessageBase::getObject_const(short field, short slot, unsigned long tag,
                                           unsigned int hash) const
{
  kwxml::FieldAddress a{field, slot, tag, hash};
  return Access::resolve(*this, getConstObjectSignature, a, oneSlotTypes)
             ? Access::pointer<void>(*this, a.slot)
             : nullptr;
}

void YMMessageBase::setObject(short field, short slot, const void* value, bool takeOwnership,
                              unsigned long tag, unsigned int hash, bool markSet)
{
  Access::setObject(*this, {field, slot, tag, hash}, kwxml::objectTypes, value, takeOwnership, markSet);
}

void kwxml::MessageAccess::setObject(YMMessageBase& m, FieldAddress a, TypeSet types, const void* value,
                                     bool takeOwnership, bool markSet)
{
  if (!resolve(m, setObjectSignature, a, types)) {
    return;
  }
  const FieldDef& def = m.class_->fields[a.field];
  if (def.slot != a.slot || !contains(types, def.type)) {
    logInvalidSlot(m, setObjectSignature, a.slot);  // the value's type is the field's, not the slot's
    return;
  }
  visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (ObjectValue<Tag>) {
      using Value = typename Tag::Value;
      auto*& stored = pointer<Value>(m, a.slot);
      const auto* given = static_cast<const Value*>(value);
      if (given == stored && given != nullptr) {
        return;  // the same object again
      }
      auto* next = takeOwnership || given == nullptr ? const_cast<Value*>(given) : new Value(*given);
      delete std::exchange(stored, next);
    }
  });
  m.buffer_.clearBit(a.field);
  if (markSet) {
    m.buffer_.setBit(a.field);
  }
}

YMMessageBase* kwxml::MessageAccess::nestedMessage(YMMessageBase& m, const FieldAddress& a, bool create,
                                                   bool markSet, int system, int classIndex)
{
  auto*& message = pointer<YMMessageBase>(m, a.slot);
  if (message == nullptr && (create || markSet)) {
    message = new YMMessageBase(system, classIndex);
  }
  if (message != nullptr && markSet) {
    m.buffer_.setBit(a.field);
  }
  return message;
}

const void* kwxml::nestedMessage(const YMMessageBase& message, short field, short slot, unsigned long tag,
                                 unsigned int hash)
{
  FieldAddress a{field, slot, tag, hash};
  return Access::resolve(message, getConstObjectSignature, a, typesHolding<YMMessageBase>)
             ? Access::pointer<YMMessageBase>(message, a.slot)
             : nullptr;
}

void kwxml::setNestedMessage(YMMessageBase& message, short field, short slot, unsigned long tag,
                             unsigned int hash, const void* value)
{
  Access::setObject(message, {field, slot, tag, hash}, typesHolding<YMMessageBase>, value, false, true);
}

void* kwxml::mutableNestedMessage(YMMessageBase& message, short field, short slot, unsigned long tag,
                                  unsigned int hash, int system, int classIndex)
{
  FieldAddress a{field, slot, tag, hash};
  if (!Access::resolve(message, getObjectSignature, a, typesHolding<YMMessageBase>)) {
    throwUnknownObject(message, tag, hash);
  }
  return Access::nestedMessage(message, a, true, true, system, classIndex);
}

YMMessageBase* YMMessageBase::getObjectAccessor(bool create, bool markSet, short field, short slot,
                                                unsigned long tag, unsigned int hash, int system,
                                                int classIndex)
{
  kwxml::FieldAddress a{field, slot, tag, hash};
  if (!Access::resolve(*this, getObjectSignature, a, kwxml::typesHolding<YMMessageBase>)) {
    if (static_cast<unsigned short>(field) < getNumberOfFields() && tag != tagId_) {
      throwUnknownObject(*this, tag, hash);
    }
    return nullptr;
  }
  return Access::nestedMessage(*this, a, create, markSet, system, classIndex);
}

void YMMessageBase::setObjectAccessor(const void* value, short field, short slot, unsigned long tag,
                                      unsigned int hash)
{
  setObject(field, slot, value, false, tag, hash, true);
}
