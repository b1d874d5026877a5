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

void YMMessageBuffer::init(short inlineCount, short slotCount, short bitCount)
{
  const std::size_t inlineBytes = static_cast<std::size_t>(inlineCount) * 8;
  const std::size_t bitsetBytes = static_cast<std::size_t>(bitCount) / 8 + 1;
  const auto heapSlots = static_cast<std::size_t>(slotCount - inlineCount);
  // The catalogue compiler refuses a class whose bitset does not fit beside its inline slots; hand-made
  // tables may still hold one, and their bits then go to the heap too.
  const bool bitsInline = heapSlots == 0 && inlineBytes + bitsetBytes <= sizeof inline_;
  long long* heap = bitsInline ? nullptr : new long long[heapSlots + (bitsetBytes + 7) / 8]();
  release();
  heap_ = heap;
  inlineCount_ = inlineCount;
  slotCount_ = slotCount;
  bitCount_ = bitCount;
  bits_ = bitsInline ? reinterpret_cast<unsigned char*>(inline_) + inlineBytes
                     : reinterpret_cast<unsigned char*>(heap_ + heapSlots);
  std::memset(inline_, 0, usedInlineBytes());
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

std::size_t YMMessageBuffer::usedInlineBytes() const noexcept
{
  return static_cast<std::size_t>(inlineCount_) * 8 + (heap_ == nullptr ? bitBytes() : 0);
}

void YMMessageBuffer::wipeBits() noexcept
{
  std::memset(bits_, 0, bitBytes());
}

void YMMessageBuffer::copyBits(const YMMessageBuffer& other) noexcept
{
  std::memcpy(bits_, other.bits_, bitBytes());
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
