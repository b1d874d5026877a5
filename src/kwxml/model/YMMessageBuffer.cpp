#include <kwxml/model/YMMessageBuffer.h>

#include <cstring>

YMMessageBuffer::YMMessageBuffer(const YMMessageBuffer& other)
{
  *this = other;
}

YMMessageBuffer& YMMessageBuffer::operator=(const YMMessageBuffer& other)
{
  if (this == &other) {
    return *this;
  }
  if (other.external_) {
    release();
    heap_ = other.heap_;
    inlineCount_ = other.inlineCount_;
    slotCount_ = other.slotCount_;
    bitCount_ = other.bitCount_;
    bits_ = other.bits_;
    external_ = true;
  } else {
    init(other.inlineCount_, other.slotCount_, other.bitCount_);
  }
  return *this;
}

YMMessageBuffer::~YMMessageBuffer()
{
  release();
}

void YMMessageBuffer::release() noexcept
{
  if (!external_) {
    delete[] heap_;
  }
  heap_ = nullptr;
  external_ = false;
}

/// Gives the slots and bits their places; their bytes hold nothing yet.
void YMMessageBuffer::layOut(short inlineCount, short slotCount, short bitCount)
{
  const std::size_t inlineBytes = static_cast<std::size_t>(inlineCount) * 8;
  const std::size_t bitsetBytes = static_cast<std::size_t>(bitCount) / 8 + 1;
  const auto heapSlots = static_cast<std::size_t>(slotCount - inlineCount);
  // The catalogue compiler refuses a class whose bitset does not fit beside its inline slots; hand-made
  // tables may still hold one, and their bits then go to the heap too.
  const bool bitsInline = heapSlots == 0 && inlineBytes + bitsetBytes <= sizeof inline_;
  long long* heap = bitsInline ? nullptr : new long long[heapSlots + (bitsetBytes + 7) / 8];
  release();
  heap_ = heap;
  inlineCount_ = inlineCount;
  slotCount_ = slotCount;
  bitCount_ = bitCount;
  bits_ = bitsInline ? reinterpret_cast<unsigned char*>(inline_) + inlineBytes
                     : reinterpret_cast<unsigned char*>(heap_ + heapSlots);
}

void YMMessageBuffer::init(short inlineCount, short slotCount, short bitCount)
{
  layOut(inlineCount, slotCount, bitCount);
  const std::size_t inlineBytes = static_cast<std::size_t>(inlineCount) * 8;
  if (heap_ == nullptr) {
    std::memset(inline_, 0, inlineBytes + bitBytes());
  } else {
    std::memset(inline_, 0, inlineBytes);
    std::memset(heap_, 0, static_cast<std::size_t>(slotCount - inlineCount) * 8 + bitBytes());
  }
}

void YMMessageBuffer::copyBytes(const YMMessageBuffer& other, short inlineCount)
{
  layOut(inlineCount, other.slotCount_, other.bitCount_);
  // The bits follow the slots; the other's slots lie in one piece from where they change from inline to heap
  // in this one, for it has the same layout or all of them in the caller's memory.
  const auto inlineBytes = static_cast<std::size_t>(inlineCount) * 8;
  if (heap_ == nullptr) {
    std::memcpy(inline_, other.bits_ - inlineBytes, inlineBytes + bitBytes());
    return;
  }
  if (inlineBytes != 0) {
    std::memcpy(inline_, &other[0], inlineBytes);
  }
  const auto heapBytes = static_cast<std::size_t>(slotCount_ - inlineCount) * 8;
  std::memcpy(heap_, other.bits_ - heapBytes, heapBytes + bitBytes());
}

void YMMessageBuffer::init(long long* buffer, int sizeInBytes, short slotCount, short bitCount)
{
  release();
  std::memset(buffer, 0, static_cast<std::size_t>(sizeInBytes));
  heap_ = buffer;
  external_ = true;
  inlineCount_ = 0;
  slotCount_ = slotCount;
  bitCount_ = bitCount;
  bits_ = reinterpret_cast<unsigned char*>(buffer + slotCount);
}

void YMMessageBuffer::reset(short bitCount)
{
  std::memset(inline_, 0, sizeof inline_);
  if (heap_ != nullptr) {
    const auto heapSlots = static_cast<std::size_t>(slotCount_ - inlineCount_);
    std::memset(
        heap_, 0,
        heapSlots * 8 + static_cast<std::size_t>(bitCount < bitCount_ ? bitCount : bitCount_) / 8 + 1);
  }
}

void YMMessageBuffer::wipeBits() noexcept
{
  std::memset(bits_, 0, bitBytes());
}

void YMMessageBuffer::takeOver(YMMessageBuffer& other) noexcept
{
  release();
  const auto* otherInline = reinterpret_cast<const unsigned char*>(other.inline_);
  const auto offset = other.bits_ - otherInline;
  const bool bitsInline = other.heap_ == nullptr;
  std::memcpy(inline_, other.inline_,
              bitsInline ? sizeof inline_ : static_cast<std::size_t>(other.inlineCount_) * 8);
  heap_ = other.heap_;
  inlineCount_ = other.inlineCount_;
  slotCount_ = other.slotCount_;
  bitCount_ = other.bitCount_;
  external_ = other.external_;
  bits_ = bitsInline ? reinterpret_cast<unsigned char*>(inline_) + offset : other.bits_;
  other.heap_ = nullptr;
  other.external_ = false;
  other.inlineCount_ = other.slotCount_ = other.bitCount_ = 0;
  other.bits_ = reinterpret_cast<unsigned char*>(other.inline_);
}
