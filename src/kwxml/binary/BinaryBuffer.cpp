#include <kwxml/binary/BinaryBuffer.h>

#include <cstdlib>
#include <cstring>

BinaryBuffer::~BinaryBuffer()
{
  release();
}

void BinaryBuffer::release() noexcept
{
  if (!external_) {
    std::free(data_);
  }
}

void BinaryBuffer::SetWriteBuffer(char* data, unsigned long capacity, bool external) noexcept
{
  release();
  data_ = data;
  capacity_ = capacity;
  length_ = 0;
  external_ = external;
}

void BinaryBuffer::SetReadBuffer(const char* data, unsigned long length, bool external) noexcept
{
  release();
  data_ = const_cast<char*>(data);
  capacity_ = length;
  length_ = length;
  external_ = external;
}

void BinaryBuffer::deepCopyBuffer(const char* data, unsigned long length, bool external) noexcept
{
  // One byte more, so that an empty copy has memory too. Copied before the old bytes go: they may be the
  // source.
  char* copy = length + 1 != 0 ? static_cast<char*>(std::malloc(length + 1)) : nullptr;
  if (copy != nullptr && length != 0) {
    std::memcpy(copy, data, length);
  }
  release();
  data_ = copy;
  capacity_ = length_ = copy != nullptr ? length : 0;
  external_ = external;
}

bool BinaryBuffer::resizeBuffer(unsigned long size) noexcept
{
  if (external_) {
    return false;
  }
  if (capacity_ >= size) {
    length_ = size;
    return true;
  }
  char* grown = static_cast<char*>(std::realloc(data_, size));
  if (grown == nullptr) {
    std::free(data_);
  }
  data_ = grown;
  capacity_ = length_ = grown != nullptr ? size : 0;
  return grown != nullptr;
}
