#include <kwxml/binary/BinaryStream.h>

unsigned long BinaryStream::readLongVarInt(unsigned int& value) noexcept
{
  std::uint32_t bits = 0;
  for (unsigned i = 0; i < 5; ++i) {
    if (position_ + i >= size_) {
      value = 0;
      position_ = position_ > size_ ? position_ : size_;
      position_ += position_ != ~0UL ? 1 : 0;
      return i + 1;
    }
    const auto byte = static_cast<unsigned char>(data_[position_ + i]);
    bits |= static_cast<std::uint32_t>(byte & 0x7F) << (7 * i);
    if (byte < 0x80 || i == 4) {
      value = bits;
      position_ += i + 1;
      return i + 1;
    }
  }
  return 0;  // not reached
}
