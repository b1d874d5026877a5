// A cursor over bytes that writes and reads the values of the binary form: variable-length integers of 32
// bits (base 128, least significant group first), fixed integers and floating-point numbers (little-endian),
// and raw bytes.
//
// A write that does not fit writes nothing and moves the position all the same, so that the same writes over
// a stream of size 0 measure a size. A read past the end yields zero and moves the position too. Nothing
// outside the bytes is ever touched; a position above the size tells that something did not fit. Every
// operation returns the number of bytes that it wrote, read or would have.
#pragma once

#include <kwxml/platform/CxxStandard.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace kwxml {

/// The fixed-width forms are little-endian whatever the host.
template <class T>
constexpr T littleEndian(T value) noexcept
{
  static_assert(std::is_unsigned_v<T>);
  if constexpr (std::endian::native == std::endian::little) {
    return value;
  } else if constexpr (sizeof(T) == 4) {
    return __builtin_bswap32(value);
  } else {
    return __builtin_bswap64(value);
  }
}

constexpr std::uint32_t zigzag(std::int32_t value) noexcept
{
  return (static_cast<std::uint32_t>(value) << 1) ^ static_cast<std::uint32_t>(value >> 31);
}
constexpr std::int32_t unzigzag(std::uint32_t value) noexcept
{
  return static_cast<std::int32_t>((value >> 1) ^ (0 - (value & 1)));
}

/// Bytes of a variable-length integer: one per started group of 7 bits.
constexpr std::size_t varintSize(std::uint32_t value) noexcept
{
  // Most are small.
  return value < 0x80 ? 1 : (static_cast<std::size_t>(31 ^ __builtin_clz(value)) * 9 + 73) / 64;
}

/// Writes a variable-length integer, which has room; gives the byte behind it.
inline char* putVarint(char* to, std::uint32_t value) noexcept
{
  while (value >= 0x80) {
    *to++ = static_cast<char>(value | 0x80);
    value >>= 7;
  }
  *to++ = static_cast<char>(value);
  return to;
}

}  // namespace kwxml

class BinaryStream
{
public:
  /// The bytes stay the caller's. `size`: the capacity to write to, or the valid bytes to read. `data` may be
  /// null for a size of 0.
  BinaryStream(char* data, unsigned long size) noexcept : data_(data), size_(size) {}

  char* data() const noexcept { return data_; }
  unsigned long size() const noexcept { return size_; }
  unsigned long position() const noexcept { return position_; }
  void setPosition(unsigned long position) noexcept { position_ = position; }
  /// Bytes between position and size.
  unsigned long remaining() const noexcept { return position_ < size_ ? size_ - position_ : 0; }
  /// True when something did not fit.
  bool overrun() const noexcept { return position_ > size_; }

  unsigned long WriteVarInt(unsigned int value) noexcept
  {
    const unsigned long n = kwxml::varintSize(value);
    if (char* to = room(n)) {
      kwxml::putVarint(to, value);
    }
    return n;
  }
  unsigned long WriteSVarInt(int value) noexcept { return WriteVarInt(kwxml::zigzag(value)); }
  unsigned long WriteInt32(int value) noexcept { return writeFixed(static_cast<std::uint32_t>(value)); }
  unsigned long WriteUInt32(unsigned int value) noexcept { return writeFixed(value); }
  unsigned long WriteInt64(long long value) noexcept { return writeFixed(static_cast<std::uint64_t>(value)); }
  /// The bits of the IEEE 754 numbers.
  unsigned long WriteFloat(float value) noexcept { return writeFixed(std::bit_cast<std::uint32_t>(value)); }
  unsigned long WriteDouble(double value) noexcept { return writeFixed(std::bit_cast<std::uint64_t>(value)); }
  /// `bytes` may be null when `n` is 0.
  unsigned long WriteRawBytes(const char* bytes, unsigned long n) noexcept
  {
    if (char* to = room(n); to != nullptr && n != 0) {
      std::memcpy(to, bytes, n);
    }
    return n;
  }

  /// At most five bytes; the upper bits of the fifth are dropped, and its bit 7 does not go on.
  unsigned long ReadVarInt(unsigned int& value) noexcept
  {
    if (position_ < size_ && static_cast<signed char>(data_[position_]) >= 0) {
      value = static_cast<unsigned char>(data_[position_]);
      ++position_;
      return 1;
    }
    return readLongVarInt(value);
  }
  unsigned long ReadSVarInt(int& value) noexcept
  {
    unsigned int bits = 0;
    const unsigned long n = ReadVarInt(bits);
    value = kwxml::unzigzag(bits);
    return n;
  }
  unsigned long ReadInt32(int& value) noexcept
  {
    value = static_cast<int>(readFixed<std::uint32_t>());
    return 4;
  }
  unsigned long ReadUInt32(unsigned int& value) noexcept
  {
    value = readFixed<std::uint32_t>();
    return 4;
  }
  unsigned long ReadInt64(long long& value) noexcept
  {
    value = static_cast<long long>(readFixed<std::uint64_t>());
    return 8;
  }
  unsigned long ReadFloat(float& value) noexcept
  {
    value = std::bit_cast<float>(readFixed<std::uint32_t>());
    return 4;
  }
  unsigned long ReadDouble(double& value) noexcept
  {
    value = std::bit_cast<double>(readFixed<std::uint64_t>());
    return 8;
  }
  /// Copies to `bytes`, which has room for `n`; all zero when they are not all there.
  unsigned long ReadRawBytes(char*& bytes, unsigned long n) noexcept
  {
    if (n != 0) {
      const char* from = room(n);
      from != nullptr ? std::memcpy(bytes, from, n) : std::memset(bytes, 0, n);
    }
    return n;
  }

  static unsigned long SizeNeededForVarint32(unsigned int value) noexcept { return kwxml::varintSize(value); }
  static unsigned long SizeNeededForSVarint32(int value) noexcept
  {
    return kwxml::varintSize(kwxml::zigzag(value));
  }

private:
  /// The next `n` bytes, null when they are not all there; moves on either way. (A position near the top of
  /// its range stays there.)
  char* room(unsigned long n) noexcept
  {
    if (position_ <= size_ && n <= size_ - position_) [[likely]] {
      char* at = data_ + position_;
      position_ += n;
      return at;
    }
    position_ = position_ + n < position_ ? ~0UL : position_ + n;
    return nullptr;
  }
  template <class T>
  unsigned long writeFixed(T value) noexcept
  {
    if (char* to = room(sizeof value)) {
      value = kwxml::littleEndian(value);
      std::memcpy(to, &value, sizeof value);
    }
    return sizeof value;
  }
  template <class T>
  T readFixed() noexcept
  {
    T value = 0;
    if (const char* from = room(sizeof value)) {
      std::memcpy(&value, from, sizeof value);
    }
    return kwxml::littleEndian(value);
  }
  unsigned long readLongVarInt(unsigned int& value) noexcept;

  char* data_;
  unsigned long size_;
  unsigned long position_ = 0;
};
