// The bytes of encoded messages.
#pragma once

#include <kwxml/platform/CxxStandard.h>
#include <kwxml/platform/Export.h>

#include <cstddef>
#include <span>

/// The bytes of an encoded message: owned by the buffer, or the caller's. A buffer belongs to one thread at a
/// time.
class KWXML_API BinaryBuffer
{
public:
  /// Empty: no bytes, nothing owned.
  BinaryBuffer() noexcept = default;
  /// `capacity` bytes of the caller to write to; the length is 0. The bytes outlive the buffer, which neither
  /// frees nor grows them.
  BinaryBuffer(char* data, unsigned long capacity) noexcept
      : data_(data), capacity_(capacity), external_(true)
  {
  }
  /// Bytes of the caller to read. The bytes outlive the buffer, which neither frees nor changes them.
  explicit BinaryBuffer(std::span<const std::byte> bytes) noexcept
  {
    SetReadBuffer(reinterpret_cast<const char*>(bytes.data()), bytes.size(), true);
  }
  BinaryBuffer(const BinaryBuffer&) = delete;
  BinaryBuffer& operator=(const BinaryBuffer&) = delete;
  /// Frees the bytes that the buffer owns.
  ~BinaryBuffer();

  /// The memory of the buffer, null without any. The valid bytes are data()[0] to data()[length() - 1].
  char* data() noexcept { return data_; }
  const char* data() const noexcept { return data_; }
  /// The valid bytes, as long as the buffer is neither changed nor destroyed.
  std::span<const std::byte> bytes() const noexcept
  {
    return {reinterpret_cast<const std::byte*>(data_), length_};
  }
  /// The size of the memory in bytes.
  unsigned long capacity() const noexcept { return capacity_; }
  /// The number of valid bytes.
  unsigned long length() const noexcept { return length_; }
  /// True when the memory is the caller's.
  bool external() const noexcept { return external_; }

  /// Makes `capacity` bytes at `data` the buffer's memory to write to; the length is 0. Memory that the
  /// buffer owned is freed. With `external` false the buffer owns the new memory, which comes from malloc();
  /// otherwise the memory stays the caller's and outlives the buffer.
  void SetWriteBuffer(char* data, unsigned long capacity, bool external) noexcept;
  /// Makes `length` valid bytes at `data` the buffer's memory, to read. Memory that the buffer owned is
  /// freed. With `external` false the buffer owns the new memory, which comes from malloc(); otherwise the
  /// memory stays the caller's, is not written to, and outlives the buffer.
  void SetReadBuffer(const char* data, unsigned long length, bool external) noexcept;
  /// Makes a copy of `length` bytes at `data` the buffer's memory. Memory that the buffer owned is freed;
  /// `data` may lie in that. With `external` true the caller frees the copy with free(). Without memory for
  /// the copy the buffer is empty.
  void deepCopyBuffer(const char* data, unsigned long length, bool external) noexcept;

  /// Makes the length `size`. Memory that is smaller grows to exactly `size`; memory never shrinks. The bytes
  /// in the memory stay. False when the memory is the caller's: nothing changes. False, too, without memory:
  /// the buffer is empty then.
  [[nodiscard]] bool resizeBuffer(unsigned long size) noexcept;

private:
  void release() noexcept;

  char* data_ = nullptr;
  unsigned long capacity_ = 0;
  unsigned long length_ = 0;
  bool external_ = false;
};
