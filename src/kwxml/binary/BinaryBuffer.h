// The bytes of an encoded message, owned or of the caller. Not thread-safe; a buffer belongs to one thread at
// a time.
#pragma once

#include <kwxml/platform/CxxStandard.h>

#include <cstddef>
#include <span>

class BinaryBuffer
{
public:
  /// Empty: no bytes, nothing owned.
  BinaryBuffer() noexcept = default;
  /// `capacity` bytes of the caller to write to. They must outlive the buffer, which neither frees nor grows
  /// them. The length is 0.
  BinaryBuffer(char* data, unsigned long capacity) noexcept
      : data_(data), capacity_(capacity), external_(true)
  {
  }
  /// Bytes of the caller to read, which must outlive the buffer.
  explicit BinaryBuffer(std::span<const std::byte> bytes) noexcept
  {
    SetReadBuffer(reinterpret_cast<const char*>(bytes.data()), bytes.size(), true);
  }
  BinaryBuffer(const BinaryBuffer&) = delete;
  BinaryBuffer& operator=(const BinaryBuffer&) = delete;
  ~BinaryBuffer();

  /// The valid bytes are data()[0] to data()[length() - 1].
  char* data() noexcept { return data_; }
  const char* data() const noexcept { return data_; }
  /// The valid bytes, as long as the buffer is neither changed nor destroyed.
  std::span<const std::byte> bytes() const noexcept
  {
    return {reinterpret_cast<const std::byte*>(data_), length_};
  }
  unsigned long capacity() const noexcept { return capacity_; }
  unsigned long length() const noexcept { return length_; }
  /// True when the bytes are the caller's.
  bool external() const noexcept { return external_; }

  // The setters free what the buffer owned. What is given with `external` false becomes the buffer's and must
  // come from malloc.

  /// Bytes to write to; the length is 0.
  void SetWriteBuffer(char* data, unsigned long capacity, bool external) noexcept;
  /// Valid bytes to read; they are not written to while they are the caller's.
  void SetReadBuffer(const char* data, unsigned long length, bool external) noexcept;
  /// A copy of the bytes. With `external` true the caller takes over freeing it. Without memory for it the
  /// buffer is empty.
  void deepCopyBuffer(const char* data, unsigned long length, bool external) noexcept;

  /// Makes the length `size`, the capacity at least that: memory grows to exactly `size` and never shrinks,
  /// what was in it stays. False when the bytes are the caller's (nothing changes) and without memory (the
  /// buffer is empty then).
  [[nodiscard]] bool resizeBuffer(unsigned long size) noexcept;

private:
  void release() noexcept;

  char* data_ = nullptr;
  unsigned long capacity_ = 0;
  unsigned long length_ = 0;
  bool external_ = false;
};
