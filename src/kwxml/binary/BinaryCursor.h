// Where the walk that reads a body takes its bytes from: pointers that stay in registers. Not installed.
#pragma once

#include <kwxml/binary/BinaryStream.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kwxml {

/// The stream's bytes between its position and its size, as a pair of pointers. After a read past the end it
/// stands at the end and has failed.
class Cursor
{
public:
  explicit Cursor(const BinaryStream& in)
      : begin_(in.data()), at_(in.data() + std::min(in.position(), in.size())), end_(in.data() + in.size())
  {
  }

  std::size_t left() const { return static_cast<std::size_t>(end_ - at_); }
  std::uint64_t position() const { return static_cast<std::uint64_t>(at_ - begin_); }
  std::uint64_t size() const { return static_cast<std::uint64_t>(end_ - begin_); }
  bool failed() const { return failed_; }

  const char* at() const { return at_; }
  /// Where a position lies, which is not behind the end.
  const char* from(std::uint64_t position) const { return begin_ + position; }
  /// Goes on by bytes that are there.
  void skip(std::size_t n) { at_ += n; }
  /// Goes on by `n` bytes, or fails.
  void pass(std::size_t n) { n <= left() ? skip(n) : fail(); }

  template <class T>
  T fixed()
  {
    T value = 0;
    if (left() >= sizeof value) [[likely]] {
      std::memcpy(&value, at_, sizeof value);
      at_ += sizeof value;
    } else {
      fail();
    }
    return littleEndian(value);
  }

  /// The same where it is there.
  template <class T>
  T fixedInside()
  {
    T value = 0;
    std::memcpy(&value, at_, sizeof value);
    at_ += sizeof value;
    return littleEndian(value);
  }

  std::uint32_t varint()
  {
    if (at_ != end_ && static_cast<signed char>(*at_) >= 0) [[likely]] {
      return static_cast<unsigned char>(*at_++);
    }
    return left() >= 5 ? longVarint() : lastVarint();
  }
  /// The same where five bytes are left.
  std::uint32_t varintInside()
  {
    return static_cast<signed char>(*at_) >= 0 ? static_cast<unsigned char>(*at_++) : longVarint();
  }

private:
  std::uint32_t byte(int i) const { return static_cast<unsigned char>(at_[i]); }
  std::uint32_t longVarint()
  {
    std::uint32_t value = (byte(0) & 0x7F) | (byte(1) & 0x7F) << 7;
    if (byte(1) < 0x80) {
      at_ += 2;
      return value;
    }
    value |= (byte(2) & 0x7F) << 14;
    if (byte(2) < 0x80) {
      at_ += 3;
      return value;
    }
    value |= (byte(3) & 0x7F) << 21;
    if (byte(3) < 0x80) {
      at_ += 4;
      return value;
    }
    value |= byte(4) << 28;  // what else the fifth byte says has no place, nor does a sixth
    at_ += 5;
    return value;
  }
  std::uint32_t lastVarint()
  {
    std::uint32_t value = 0;
    for (int shift = 0; at_ != end_; shift += 7) {
      const std::uint32_t next = static_cast<unsigned char>(*at_++);
      value |= (next & 0x7F) << shift;
      if (next < 0x80) {
        return value;
      }
    }
    fail();
    return 0;
  }
  void fail()
  {
    at_ = end_;
    failed_ = true;
  }

  const char* begin_;
  const char* at_;
  const char* end_;
  bool failed_ = false;
};

}  // namespace kwxml
