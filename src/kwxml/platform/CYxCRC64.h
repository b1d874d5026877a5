// The checksum CRC-64.
#pragma once

#include <kwxml/platform/Export.h>

#include <cstddef>
#include <cstdint>

/// A running CRC-64: ECMA-182 polynomial 0x42F0E1EBA9EA3693, bits reflected, start and final value all ones
/// (the CRC-64 of the xz format). The nine bytes "123456789" give 0x995DC9BBDF1939FA. An accumulator belongs
/// to one thread at a time.
class KWXML_API CYxCRC64
{
public:
  /// Adds `size` bytes at `data`; the sum does not depend on how the bytes are divided into calls. `data` may
  /// be null when `size` is 0.
  void UpdateCRC64(const void* data, size_t size);
  /// The sum of everything added so far; 0 for nothing.
  uint64_t value() const { return ~state_; }
  /// Begins a new sum: forgets all bytes that were added.
  void reset() { state_ = ~uint64_t{0}; }

private:
  uint64_t state_ = ~uint64_t{0};
};
