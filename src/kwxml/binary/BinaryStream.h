// Writes and reads the values of the binary form: variable-length integers of 32 bits (base 128, least
// significant group first), fixed integers and floating-point numbers (little-endian), and raw bytes.
#pragma once

#include <kwxml/platform/CxxStandard.h>
#include <kwxml/platform/Export.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace kwxml {

/// The number whose bytes in memory are those of `value` in little-endian order, and back. For unsigned types
/// of 4 and 8 bytes; of other sizes on little-endian hosts alone.
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

/// Maps numbers close to 0 to small ones, so that they take few bytes: 0, -1, 1, -2 become 0, 1, 2, 3.
constexpr std::uint32_t zigzag(std::int32_t value) noexcept
{
  return (static_cast<std::uint32_t>(value) << 1) ^ static_cast<std::uint32_t>(value >> 31);
}
/// The number that zigzag() maps to `value`.
constexpr std::int32_t unzigzag(std::uint32_t value) noexcept
{
  return static_cast<std::int32_t>((value >> 1) ^ (0 - (value & 1)));
}

/// How many bytes a variable-length integer takes: one per started group of 7 bits.
constexpr std::size_t varintSize(std::uint32_t value) noexcept
{
  // Most are small.
  return value < 0x80 ? 1 : (static_cast<std::size_t>(31 ^ __builtin_clz(value)) * 9 + 73) / 64;
}

/// Writes a variable-length integer to `to`, which has room for varintSize() bytes. Returns the place behind
/// the integer.
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

/// A cursor over bytes of the caller, which outlive the stream.
///
/// A write that does not fit writes nothing and moves the position all the same, so that the same writes over
/// a stream of size 0 measure a size. A read past the end gives zero and moves the position too. Nothing
/// outside the bytes is ever touched; overrun() tells that something did not fit. Every operation returns how
/// many bytes it wrote or read, or would have.
class KWXML_API BinaryStream
{
public:
  /// Stands at the first byte. `size` is the room to write to, or the number of valid bytes to read. `data`
  /// may be null for a size of 0.
  BinaryStream(char* data, unsigned long size) noexcept : data_(data), size_(size) {}

  /// The first of the bytes.
  char* data() const noexcept { return data_; }
  /// How many bytes there are.
  unsigned long size() const noexcept { return size_; }
  /// The offset of the next value; may be above the size.
  unsigned long position() const noexcept { return position_; }
  /// Moves to an offset, which may be above the size.
  void setPosition(unsigned long position) noexcept { position_ = position; }
  /// How many bytes are left between position and size.
  unsigned long remaining() const noexcept { return position_ < size_ ? size_ - position_ : 0; }
  /// Whether the position is above the size, as when something did not fit.
  bool overrun() const noexcept { return position_ > size_; }

  /// Writes a variable-length integer: 1 to 5 bytes.
  unsigned long WriteVarInt(unsigned int value) noexcept
  {
    const unsigned long n = kwxml::varintSize(value);
    if (char* to = room(n)) {
      kwxml::putVarint(to, value);
    }
    return n;
  }
  /// Writes a signed number as the variable-length integer that kwxml::zigzag() makes of it.
  unsigned long WriteSVarInt(int value) noexcept { return WriteVarInt(kwxml::zigzag(value)); }
  /// Writes four bytes.
  unsigned long WriteInt32(int value) noexcept { return writeFixed(static_cast<std::uint32_t>(value)); }
  /// Writes four bytes.
  unsigned long WriteUInt32(unsigned int value) noexcept { return writeFixed(value); }
  /// Writes eight bytes.
  unsigned long WriteInt64(long long value) noexcept { return writeFixed(static_cast<std::uint64_t>(value)); }
  /// Writes the four bytes of the IEEE 754 number.
  unsigned long WriteFloat(float value) noexcept { return writeFixed(std::bit_cast<std::uint32_t>(value)); }
  /// Writes the eight bytes of the IEEE 754 number.
  unsigned long WriteDouble(double value) noexcept { return writeFixed(std::bit_cast<std::uint64_t>(value)); }
  /// Writes `n` bytes as they are. `bytes` may be null when `n` is 0.
  unsigned long WriteRawBytes(const char* bytes, unsigned long n) noexcept
  {
    if (char* to = room(n); to != nullptr && n != 0) {
      std::memcpy(to, bytes, n);
    }
    return n;
  }

  /// Reads a variable-length integer. Five bytes at most are read; of the fifth the bits beyond the 32 of the
  /// number are dropped.
  unsigned long ReadVarInt(unsigned int& value) noexcept
  {
    if (position_ < size_ && static_cast<signed char>(data_[position_]) >= 0) {
      value = static_cast<unsigned char>(data_[position_]);
      ++position_;
      return 1;
    }
    return readLongVarInt(value);
  }
  /// Reads a number that WriteSVarInt() wrote.
  unsigned long ReadSVarInt(int& value) noexcept
  {
    unsigned int bits = 0;
    const unsigned long n = ReadVarInt(bits);
    value = kwxml::unzigzag(bits);
    return n;
  }
  /// Reads four bytes.
  unsigned long ReadInt32(int& value) noexcept
  {
    value = static_cast<int>(readFixed<std::uint32_t>());
    return 4;
  }
  /// Reads four bytes.
  unsigned long ReadUInt32(unsigned int& value) noexcept
  {
    value = readFixed<std::uint32_t>();
    return 4;
  }
  /// Reads eight bytes.
  unsigned long ReadInt64(long long& value) noexcept
  {
    value = static_cast<long long>(readFixed<std::uint64_t>());
    return 8;
  }
  /// Reads the four bytes of an IEEE 754 number.
  unsigned long ReadFloat(float& value) noexcept
  {
    value = std::bit_cast<float>(readFixed<std::uint32_t>());
    return 4;
  }
  /// Reads the eight bytes of an IEEE 754 number.
  unsigned long ReadDouble(double& value) noexcept
  {
    value = std::bit_cast<double>(readFixed<std::uint64_t>());
    return 8;
  }
  /// Copies the next `n` bytes to `bytes`, which has room for them; copies zeros when fewer than `n` are
  /// left. The pointer itself does not change.
  unsigned long ReadRawBytes(char*& bytes, unsigned long n) noexcept
  {
    if (n != 0) {
      const char* from = room(n);
      from != nullptr ? std::memcpy(bytes, from, n) : std::memset(bytes, 0, n);
    }
    return n;
  }

  /// How many bytes WriteVarInt() writes.
  static unsigned long SizeNeededForVarint32(unsigned int value) noexcept { return kwxml::varintSize(value); }
  /// How many bytes WriteSVarInt() writes.
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
