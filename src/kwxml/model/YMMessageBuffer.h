// The slot storage of one message: 8-byte slots and one is-set bit per field.
//
// Leading slots lie in an inline area, the others in one heap array whose tail holds the bitset; a message
// whose slots all fit keeps its bitset inline too and allocates nothing. In external mode all slots and the
// bitset lie in memory of the caller, which the buffer neither frees nor grows. The buffer knows no types:
// whoever constructs a string object in its slots (see YMMessageBase) also destroys it.
#pragma once

#include <kwxml/platform/Export.h>

#include <cstddef>
#include <cstdint>

/// The slots and is-set bits of one message. Each message has one; no other user needs it.
class KWXML_API YMMessageBuffer
{
public:
  /// Slots that the inline area has room for; a bitset kept inline shares the room.
  static constexpr short inlineSlots = 25;

  /// No slots and no bits.
  YMMessageBuffer() noexcept : inline_{} {}
  /// A zeroed layout of the same shape: no value is copied. A copy of an external buffer shares its storage.
  YMMessageBuffer(const YMMessageBuffer& other);
  /// The same; what the buffer had before is freed.
  YMMessageBuffer& operator=(const YMMessageBuffer& other);
  /// Frees the slots. The caller has destroyed what lived in them.
  ~YMMessageBuffer();

  /// Lays out `slotCount` slots, the first `inlineCount` of them inline, and `bitCount` bits, all zero.
  void init(short inlineCount, short slotCount, short bitCount);
  /// Lays out as many slots and bits as `other` has, the first `inlineCount` slots inline, and copies their
  /// bytes. What objects lay in slots is the caller's to mend.
  void copyBytes(const YMMessageBuffer& other, short inlineCount);
  /// External mode: zeroes the caller's `sizeInBytes` bytes and keeps slots and bitset in them. The caller
  /// has checked the size.
  void init(long long* buffer, int sizeInBytes, short slotCount, short bitCount);
  /// Zeroes slots and bits. The caller has destroyed what lived in the slots.
  void reset(short bitCount);

  /// The bytes of a slot, which there must be.
  long long& operator[](short slot) noexcept { return const_cast<long long&>(at_ref_const(slot)); }
  const long long& operator[](short slot) const noexcept { return at_ref_const(slot); }
  /// The same.
  const long long& at_ref_const(short slot) const noexcept
  {
    return slot < inlineCount_ ? inline_[slot] : heap_[slot - inlineCount_];
  }

  /// Whether the bit of a field is set. The field must be one of bitCount().
  bool bit(short field) const noexcept { return (bits_[field >> 3] >> (field & 7)) & 1; }
  /// Sets the bit of a field of bitCount().
  void setBit(short field) noexcept
  {
    bits_[field >> 3] = static_cast<unsigned char>(bits_[field >> 3] | 1 << (field & 7));
  }
  /// Clears the bit of a field of bitCount().
  void clearBit(short field) noexcept
  {
    bits_[field >> 3] = static_cast<unsigned char>(bits_[field >> 3] & ~(1 << (field & 7)));
  }
  /// Clears all bits.
  void wipeBits() noexcept;
  /// The bitset, bitCount() / 8 + 1 bytes, field 0 in bit 0 of the first.
  const unsigned char* bits() const noexcept { return bits_; }

  /// Slots that lie inline.
  short inlineCount() const noexcept { return inlineCount_; }
  /// Slots of the layout.
  short slotCount() const noexcept { return slotCount_; }
  /// Bits of the layout: one for each field.
  short bitCount() const noexcept { return bitCount_; }
  /// Whether slots and bits lie in storage of the caller.
  bool isExternal() const noexcept { return external_; }

  /// The inline bytes of a slot, whatever the layout says: where objects lay before takeOver() moved them
  /// away.
  long long& at(short inlineSlot) noexcept { return inline_[inlineSlot]; }
  const long long& at(short inlineSlot) const noexcept { return inline_[inlineSlot]; }
  /// Where slot 0 would lie if the slots that are not inline went on to the front.
  long long* heapBase() const noexcept
  {
    // As a number: a pointer may not point before its array.
    return reinterpret_cast<long long*>(reinterpret_cast<std::uintptr_t>(heap_) -  // NOLINT(*-no-int-to-ptr)
                                        static_cast<std::uintptr_t>(inlineCount_) * sizeof(long long));
  }
  /// Takes over the other's storage and bytes and leaves it empty. Objects in inline slots are moved as
  /// bytes: the caller mends those that are not trivially relocatable.
  void takeOver(YMMessageBuffer& other) noexcept;

private:
  friend class YMMessageBase;
  /// For a message, which reads no slot before init().
  struct NotZeroed
  {
  };
  explicit YMMessageBuffer(NotZeroed) noexcept {}

  std::size_t bitBytes() const noexcept { return static_cast<std::size_t>(bitCount_) / 8 + 1; }
  void layOut(short inlineCount, short slotCount, short bitCount);
  void release() noexcept;

  long long inline_[inlineSlots];  ///< only what the layout uses has a meaning
  long long* heap_ = nullptr;
  short inlineCount_ = 0;
  short slotCount_ = 0;
  short bitCount_ = 0;
  bool external_ = false;
  unsigned char* bits_ = reinterpret_cast<unsigned char*>(inline_);
};
