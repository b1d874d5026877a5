// The accessors of nested messages, for callers and for wrappers; see Accessors.cpp.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/model/AccessorRules.h>
#include <kwxml/model/TypedMessage.h>
#include <kwxml/platform/KwException.h>

#include <utility>

using Access = kwxml::AccessorRules;

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

void kwxml::AccessorRules::setObject(YMMessageBase& m, FieldAddress a, TypeSet types, const void* value,
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

YMMessageBase* kwxml::AccessorRules::nestedMessage(YMMessageBase& m, const FieldAddress& a, bool create,
                                                   bool markSet, const PackedReference& cls)
{
  auto*& message = pointer<YMMessageBase>(m, a.slot);
  if (message == nullptr && (create || markSet)) {
    message = new YMMessageBase(registryOf(cls), cls.system, cls.classIndex);
  }
  if (message != nullptr && markSet) {
    m.buffer_.setBit(a.field);
  }
  return message;
}

namespace {

/// On a foreign tag the name's hash alone says which field is meant.
kwxml::FieldAddress wrappersAddress(const YMMessageBase& message, short field, short slot, unsigned long tag,
                                    unsigned int hash)
{
  return {tag == message.getTagID() ? field : short{0}, slot, tag, hash};
}

}  // namespace

const void* kwxml::nestedMessage(const YMMessageBase& message, short field, short slot, unsigned long tag,
                                 unsigned int hash, std::uint32_t wrapperTag, std::uint32_t fingerprint,
                                 const WrapperClass& outer)
{
  FieldAddress a = wrappersAddress(message, field, slot, tag, hash);
  if (!Access::resolve(message, getConstObjectSignature, a, typesHolding<YMMessageBase>)) {
    return nullptr;
  }
  const auto* nested = Access::pointer<YMMessageBase>(message, a.slot);
  if (nested != nullptr) {
    checkWrapper(*nested, wrapperTag, fingerprint, outer.catalogue, nullptr);
  }
  return nested;
}

void kwxml::setNestedMessage(YMMessageBase& message, short field, short slot, unsigned long tag,
                             unsigned int hash, const void* value)
{
  Access::setObject(message, wrappersAddress(message, field, slot, tag, hash), typesHolding<YMMessageBase>,
                    value, false, true);
}

void* kwxml::mutableNestedMessage(YMMessageBase& message, short field, short slot, unsigned long tag,
                                  unsigned int hash, std::uint32_t wrapperTag, std::uint32_t fingerprint,
                                  const WrapperClass& outer)
{
  FieldAddress a = wrappersAddress(message, field, slot, tag, hash);
  if (!Access::resolve(message, getObjectSignature, a, typesHolding<YMMessageBase>)) {
    throwUnknownObject(message, tag, hash);
  }
  // The class that the message's own catalogue has there, which need not stand where the wrapper's has it.
  const FieldDef& def = message.getClass()->fields[a.field];
  const PackedReference reference = Access::reference(message, def);
  auto* nested = Access::nestedMessage(message, a, true, true, reference);
  checkWrapper(*nested, wrapperTag, fingerprint, outer.catalogue, nullptr);
  return nested;
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
  return Access::nestedMessage(*this, a, create, markSet, {system, classIndex, plan_->registry});
}

void YMMessageBase::setObjectAccessor(const void* value, short field, short slot, unsigned long tag,
                                      unsigned int hash)
{
  setObject(field, slot, value, false, tag, hash, true);
}
