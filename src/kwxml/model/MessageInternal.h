// What the library's own rooms see of a message beside its public members: its set fields, raw slots and
// bits, without resolution by hash. Callers hold a field record of the message's own class. Not installed.
#pragma once

#include <kwxml/model/ClassPlan.h>
#include <kwxml/model/YMMessageBase.h>

#include <bit>
#include <cstring>

namespace kwxml {

/// A set of field types, one bit per number.
using TypeSet = std::uint64_t;

/// The types whose values are held as a `T`.
template <class T>
inline constexpr TypeSet typesHolding = [] {
  TypeSet set = 0;
#define KWXML_TYPE(...) __VA_ARGS__
#define KWXML_FIELD_TYPE(number, enumerator, text, storage, slots, Value, ...) \
  set |= static_cast<TypeSet>(std::is_same_v<T, Value>) << number;
#include <kwxml/model/FieldTypes.def>
#undef KWXML_FIELD_TYPE
#undef KWXML_TYPE
  return set;
}();
/// A password is a byte string too.
template <>
inline constexpr TypeSet typesHolding<bstring> = TypeSet{1} << FIELD_BSTRING | TypeSet{1} << FIELD_PSTRING;

/// The types whose value is one pointer, and those of one slot of any kind.
template <Storage S>
inline constexpr TypeSet typesStored = [] {
  TypeSet set = 0;
  for (const FieldTypeInfo& info : fieldTypeTable) {
    set |= static_cast<TypeSet>(info.storage == S && info.slots == 1) << info.type;
  }
  return set;
}();
inline constexpr TypeSet scalarTypes = typesStored<Storage::InPlace>;
inline constexpr TypeSet objectTypes = typesStored<Storage::Object>;
/// The types whose value is a string object in the slots, and those whose value exists in every message, set
/// or not.
inline constexpr TypeSet stringSlots = TypeSet{1} << FIELD_STRING | TypeSet{1} << FIELD_WSTRING;
inline constexpr TypeSet alwaysConstructed = stringSlots | typesHolding<bstring>;

constexpr bool contains(TypeSet set, FieldDataType type)
{
  return type < fieldTypeCount && (set >> type & 1) != 0;
}

/// The slots of one message, held apart from it: a walk that writes bytes elsewhere would read the layout
/// anew after each of them.
template <class Word, class Buffer>
class SlotsOf
{
public:
  explicit SlotsOf(Buffer& buffer)
      : areas_{buffer.isExternal() ? buffer.heapBase() : &buffer.at(0), buffer.heapBase()}
  {
  }
  /// The first slot of a field, given as a FieldPlan or an OwningField.
  template <class Field>
  Word& operator[](const Field& field) const
  {
    return areas_[field.onHeap ? 1 : 0][field.slot];
  }
  template <class T, class Field>
  T& object(const Field& field) const
  {
    return *std::launder(reinterpret_cast<T*>(&(*this)[field]));
  }

private:
  Word* areas_[2];  ///< where slot 0 lies, or would lie
};
using Slots = SlotsOf<long long, YMMessageBuffer>;
using ConstSlots = SlotsOf<const long long, const YMMessageBuffer>;

/// The bits of at most 64 fields from `first` on, a multiple of 64. A message's own bitset lies in whole
/// slots; one in the caller's memory ends with its last byte.
inline std::uint64_t bitsFrom(const YMMessageBuffer& buffer, int first)
{
  std::uint64_t word = 0;
  const int left = buffer.bitCount() - first;
  const unsigned char* const bits = buffer.bits() + first / 8;
  if (left >= 64 || !buffer.isExternal()) [[likely]] {
    std::memcpy(&word, bits, sizeof word);
  } else {
    std::memcpy(&word, bits, static_cast<std::size_t>(left) / 8 + 1);
  }
  if constexpr (std::endian::native == std::endian::big) {
    word = __builtin_bswap64(word);
  }
  return left >= 64 ? word : word & ((std::uint64_t{1} << left) - 1);
}

/// Calls `visit(std::size_t)` with the position of each set field of a class's message, in the order of the
/// records. Records of type 0 have no bit of their own, theirs is that of field 0: set, they come in their
/// places.
template <class Visit>
[[gnu::always_inline]] inline void forEachSetPosition(const YMMessageBuffer& buffer, const ClassPlan& plan,
                                                      Visit visit)
{
  const int count = buffer.bitCount();
  for (int first = 0; first < count; first += 64) {
    std::uint64_t word = bitsFrom(buffer, first);
    if (!plan.untyped.empty()) [[unlikely]] {
      word |= buffer.bit(0) ? plan.untyped[static_cast<std::size_t>(first) / 64] : 0;
    }
    for (; word != 0; word &= word - 1) {
      visit(static_cast<std::size_t>(first) + static_cast<std::size_t>(__builtin_ctzll(word)));
    }
  }
}

/// Calls `visit(const FieldDef&)` for each field that is not set, records of type 0 among them.
template <class Visit>
[[gnu::always_inline]] inline void forEachUnsetField(const YMMessageBuffer& buffer, const FieldDef* fields,
                                                     Visit visit)
{
  const int count = buffer.bitCount();
  for (int first = 0; first < count; first += 64) {
    const int left = count - first;
    const std::uint64_t all = left >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << left) - 1;
    for (std::uint64_t clear = ~bitsFrom(buffer, first) & all; clear != 0; clear &= clear - 1) {
      visit(fields[first + std::countr_zero(clear)]);
    }
  }
}

// Without memory these throw std::bad_alloc.

/// New message of a class that a field refers to; null when there is no such class.
YMMessageBase* createIfThere(const PackedReference& reference);
/// The same with one log line when there is none.
YMMessageBase* createReferenced(const PackedReference& reference);
/// The same, but null for the processing-instruction class.
YMMessageBase* createUnlessProcessingInstruction(const PackedReference& reference);

struct MessageAccess
{
  /// Of a message that has a class.
  static const ClassPlan& planOf(const YMMessageBase& m) { return *m.plan_; }
  /// packedReference() of a field of a message, without a search for its catalogue.
  static PackedReference reference(const YMMessageBase& m, const FieldDef& def, int which = 0)
  {
    PackedReference reference = PackedReference::read(def.name + which * 4);
    reference.registry = m.plan_->registry;
    return reference;
  }
  static Slots slots(YMMessageBase& m) { return Slots(m.buffer_); }
  static ConstSlots slots(const YMMessageBase& m) { return ConstSlots(m.buffer_); }
  /// Calls `visit(const FieldDef&)` for each set field.
  template <class Visit>
  [[gnu::always_inline]] static void forEachSet(const YMMessageBase& m, Visit visit)
  {
    const FieldDef* const fields = m.class_->fields;
    forEachSetPosition(
        m.buffer_, planOf(m), [&](std::size_t i) __attribute__((always_inline)) { visit(fields[i]); });
  }
  /// The same with the field's plan and its position.
  template <class Visit>
  [[gnu::always_inline]] static void forEachSetPlan(const YMMessageBase& m, Visit visit)
  {
    const ClassPlan& plan = planOf(m);
    const FieldPlan* const plans = plan.fields.data();
    forEachSetPosition(
        m.buffer_, plan, [&](std::size_t i) __attribute__((always_inline)) { visit(plans[i], i); });
  }
  static YMMessageBuffer& buffer(YMMessageBase& m) { return m.buffer_; }
  static const YMMessageBuffer& buffer(const YMMessageBase& m) { return m.buffer_; }
  static bool isSet(const YMMessageBase& m, const FieldDef& def) { return m.buffer_.bit(def.fieldNumber); }
  /// The is-set bits, as YMMessageBuffer::bits() shows them.
  static unsigned char* bits(YMMessageBase& m) { return const_cast<unsigned char*>(m.buffer_.bits()); }
  static void mark(YMMessageBase& m, const FieldDef& def) { m.buffer_.setBit(def.fieldNumber); }

  static long long& raw(YMMessageBase& m, short slot) { return m.buffer_[slot]; }
  static long long raw(const YMMessageBase& m, short slot) { return m.buffer_[slot]; }

  /// The object in place at a slot (strings).
  template <class T>
  static T& inPlace(YMMessageBase& m, short slot)
  {
    return *std::launder(reinterpret_cast<T*>(&m.buffer_[slot]));
  }
  template <class T>
  static const T& inPlace(const YMMessageBase& m, short slot)
  {
    return *std::launder(reinterpret_cast<const T*>(&m.buffer_[slot]));
  }
  /// The owned pointer in a slot.
  template <class T>
  static T*& pointer(YMMessageBase& m, short slot)
  {
    return *reinterpret_cast<T**>(&m.buffer_[slot]);
  }
  template <class T>
  static const T* pointer(const YMMessageBase& m, short slot)
  {
    return *reinterpret_cast<T* const*>(&m.buffer_[slot]);
  }

  /// Appends a pointer to each element of a list field; a scalar that is set is its own only element.
  static void listElements(YMMessageBase& m, const FieldDef& def, std::vector<void*>& out);
  /// Appends a copy of the element at `value` to a list field, making the list when it is missing, and marks
  /// it. False for a field that is no list.
  static bool appendElement(YMMessageBase& m, const FieldDef& def, const void* value);
};

}  // namespace kwxml
