// The rules that all typed accessors share: how the address that a caller gives becomes the message's own,
// and what each kind of accessor does there. Not installed.
#pragma once

#include <kwxml/model/MessageInternal.h>

namespace kwxml {

/// The address of a field as callers of an accessor give it; resolve() makes it the message's own.
struct FieldAddress
{
  short field;
  short slot;
  unsigned long tag;
  unsigned long hash;  ///< compared as it is: stored hashes have 32 bits, so a wider one names no field
};

struct AccessorRules : MessageAccess
{
  /// Makes the address that of the message's own field, whose type must be in `types`. On the own tag the
  /// caller's slot is kept, as long as it lies in the message and holds a value of such a type: a foreign
  /// slot of another kind would break the value's owner. False, with one log line, when there is no such
  /// field.
  static bool resolve(const YMMessageBase& m, const char* signature, FieldAddress& address, TypeSet types)
  {
    if (address.tag == m.tagId_ && static_cast<unsigned short>(address.field) < m.buffer_.bitCount())
        [[likely]] {
      const FieldDef& def = m.class_->fields[address.field];
      if (def.slot == address.slot && contains(types, def.type)) [[likely]] {
        return true;
      }
    }
    return resolveSlow(m, signature, address, types);
  }
  static bool resolveSlow(const YMMessageBase& m, const char* signature, FieldAddress& address,
                          TypeSet types);

  /// What setObject() does, for a field of one of `types`.
  static void setObject(YMMessageBase& m, FieldAddress a, TypeSet types, const void* value,
                        bool takeOwnership, bool markSet);
  /// What getObjectAccessor() does, at a resolved address.
  static YMMessageBase* nestedMessage(YMMessageBase& m, const FieldAddress& a, bool create, bool markSet,
                                      const PackedReference& cls);

  static void logInvalidField(const YMMessageBase& m, const char* signature, int field);
  static void logInvalidSlot(const YMMessageBase& m, const char* signature, int slot);
  static void logUnknownHash(const YMMessageBase& m, const char* signature, unsigned long tag,
                             unsigned long hash);

  // ---- What the accessor families share

  template <class T>
  static T*& nullPointer()
  {
    thread_local T* pointer;
    return pointer = nullptr;
  }
  template <class T>
  static T& emptyValue()
  {
    thread_local T value;
    return value = T();
  }

  template <class T>
  static T*& collection(YMMessageBase& m, const char* signature, FieldAddress a, bool markSet)
  {
    if (!resolve(m, signature, a, typesHolding<T>)) {
      return nullPointer<T>();
    }
    T*& value = pointer<T>(m, a.slot);
    if (value == nullptr) {
      value = new T;
    }
    if (markSet) {
      m.buffer_.setBit(a.field);
    }
    return value;
  }
  template <class T>
  static const T* object(const YMMessageBase& m, const char* signature, FieldAddress a)
  {
    return resolve(m, signature, a, typesHolding<T>) ? pointer<T>(m, a.slot) : nullptr;
  }
  template <class T>
  static T*& objectRef(YMMessageBase& m, const char* signature, FieldAddress a)
  {
    return resolve(m, signature, a, typesHolding<T>) ? pointer<T>(m, a.slot) : nullPointer<T>();
  }
  template <class T>
  static void replaceCollection(YMMessageBase& m, const char* signature, FieldAddress a, const T* values)
  {
    if (!resolve(m, signature, a, typesHolding<T>)) {
      return;
    }
    T*& slot = pointer<T>(m, a.slot);
    if (values == nullptr || values != slot) {
      T* copy = values != nullptr ? new T(*values) : new T;
      delete slot;
      slot = copy;
    }
    m.buffer_.setBit(a.field);
  }
  /// The string object of a field; `mark` sets the bit.
  template <class T>
  static T& string(YMMessageBase& m, const char* signature, FieldAddress a, bool mark)
  {
    if (!resolve(m, signature, a, typesHolding<T>)) {
      return emptyValue<T>();
    }
    if (mark) {
      m.buffer_.setBit(a.field);
    }
    return inPlace<T>(m, a.slot);
  }
  template <class T>
  static const T& string(const YMMessageBase& m, const char* signature, FieldAddress a)
  {
    return resolve(m, signature, a, typesHolding<T>) ? inPlace<T>(m, a.slot) : emptyValue<T>();
  }
  /// The string object of a field, marked set; null when there is no such field.
  template <class T>
  static T* markedString(YMMessageBase& m, const char* signature, FieldAddress a)
  {
    if (!resolve(m, signature, a, typesHolding<T>)) {
      return nullptr;
    }
    m.buffer_.setBit(a.field);
    return &inPlace<T>(m, a.slot);
  }
  /// The byte or password string of a field, made when absent, and marked set; null when there is no such
  /// field.
  template <class T>
  static T* markedObject(YMMessageBase& m, const char* signature, FieldAddress a)
  {
    if (!resolve(m, signature, a, typesHolding<T>)) {
      return nullptr;
    }
    m.buffer_.setBit(a.field);
    T*& slot = pointer<T>(m, a.slot);
    if (slot == nullptr) {
      slot = new T;
    }
    return slot;
  }
};

}  // namespace kwxml
