// The typed accessors: each is the shared rule of MessageAccess for its value kind, under its own name in log
// lines.
//
// Log lines about a wrong field number quote the accessor's full signature as log readers know it, whatever
// compiler built the library; lines about an unknown hash quote the short name, taken from the signature.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/model/NumberText.h>
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

/// True when a value of one of `types` may be reached through `slot`: a field's own first slot, or, for
/// scalars, a slot that no field uses.
bool slotHolds(const _ClassDef& cls, short slot, TypeSet types)
{
  for (const FieldDef& def : cls) {
    const int width = fieldTypeInfo(def.type).slots;
    if (slot >= def.slot && slot < def.slot + width && fieldTypeInfo(def.type).storage != Storage::None) {
      return def.slot == slot && contains(types, def.type);
    }
  }
  return (types & scalarTypes) != 0;
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
      m.getTagName().c_str(), static_cast<unsigned>(m.tagId_), static_cast<unsigned>(hash) & ~anyPlace,
      static_cast<unsigned>(tag));
}

bool MessageAccess::resolveSlow(const YMMessageBase& m, const char* signature, FieldAddress& address,
                                TypeSet types)
{
  if (static_cast<unsigned short>(address.field) >= m.buffer_.bitCount() &&
      !isByNameAlone(m, address.tag, address.hash)) {
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
  const FieldDef* def = findField(*m.class_, address.hash & ~anyPlace);
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
  kwxml::FieldAddress a{field, 0, tag, static_cast<unsigned int>(hash)};
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
  if (static_cast<unsigned short>(slot) >= buffer_.slotCount() && !Access::isByNameAlone(*this, tag, hash)) {
    Access::logInvalidSlot(*this, signature, slot);
    return 0;
  }
  if (tag == tagId_) {
    return buffer_[slot];
  }
  const FieldDef* def = kwxml::findField(*class_, hash & ~kwxml::anyPlace);
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
  const FieldDef* def = &class_->fields[a.field];
  if (a.slot != def->slot) {  // a trusted slot of another field
    for (const FieldDef& other : *class_) {
      def = other.slot == a.slot && kwxml::fieldTypeInfo(other.type).storage != kwxml::Storage::None ? &other
                                                                                                     : def;
    }
  }
  if (a.slot != def->slot || kwxml::contains(kwxml::scalarTypes, def->type)) {
    buffer_[a.slot] = value;
  } else {
    char digits[24];
    const std::string text(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    if (def->type == FIELD_STRING) {
      Access::inPlace<std::string>(*this, a.slot) = text;
    } else if (def->type == FIELD_WSTRING) {
      Access::inPlace<std::wstring>(*this, a.slot).assign(text.begin(), text.end());
    } else if (def->type == FIELD_PSTRING) {
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
  if (Access::resolve(
          *this, "void*& YMMessageBase::getObject(short int, short int, long unsigned int, unsigned int)", a,
          oneSlotTypes)) {
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
  return Access::resolve(*this,
                         "const void* YMMessageBase::getObject_const(short int, short int, long unsigned "
                         "int, unsigned int) const",
                         a, oneSlotTypes)
             ? Access::pointer<void>(*this, a.slot)
             : nullptr;
}

void YMMessageBase::setObject(short field, short slot, const void* value, bool takeOwnership,
                              unsigned long tag, unsigned int hash, bool markSet)
{
  kwxml::FieldAddress a{field, slot, tag, hash};
  if (!Access::resolve(*this,
                       "void YMMessageBase::setObject(short int, short int, const void*, bool, long unsigned "
                       "int, unsigned int, bool)",
                       a, kwxml::objectTypes)) {
    return;
  }
  const FieldDef& def = class_->fields[a.field];
  if (def.slot != a.slot || !kwxml::contains(kwxml::objectTypes, def.type)) {
    Access::logInvalidSlot(*this,
                           "void YMMessageBase::setObject(short int, short int, const void*, bool, long "
                           "unsigned int, unsigned int, bool)",
                           a.slot);  // the value's type is the field's, not the slot's
    return;
  }
  kwxml::visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (kwxml::ObjectValue<Tag>) {
      using Value = typename Tag::Value;
      auto*& stored = Access::pointer<Value>(*this, a.slot);
      const auto* given = static_cast<const Value*>(value);
      if (given == stored && given != nullptr) {
        return;  // the same object again
      }
      auto* next = takeOwnership || given == nullptr ? const_cast<Value*>(given) : new Value(*given);
      delete std::exchange(stored, next);
    }
  });
  buffer_.clearBit(a.field);
  if (markSet) {
    buffer_.setBit(a.field);
  }
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
  auto*& message = Access::pointer<YMMessageBase>(*this, a.slot);
  if (message == nullptr && (create || markSet)) {
    message = new YMMessageBase(system, classIndex);
  }
  if (message != nullptr && markSet) {
    buffer_.setBit(a.field);
  }
  return message;
}

void YMMessageBase::setObjectAccessor(const void* value, short field, short slot, unsigned long tag,
                                      unsigned int hash)
{
  setObject(field, slot, value, false, tag, hash, true);
}
