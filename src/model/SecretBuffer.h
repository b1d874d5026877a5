// What the calls of the password library write into. Not installed.
#pragma once

#include <strings.h>
#include <cstddef>
#include <cstring>
#include <string>

namespace kwxml {

/// A zeroed buffer on the stack that may hold a password; wiped however its scope is left.
template <std::size_t Size>
struct SecretBuffer
{
  char bytes[Size] = {};

  SecretBuffer() = default;
  SecretBuffer(const SecretBuffer&) = delete;
  SecretBuffer& operator=(const SecretBuffer&) = delete;
  ~SecretBuffer() { explicit_bzero(bytes, Size); }

  /// Never reads past the buffer, even where the password library left out the terminating zero.
  std::string text() const { return std::string(bytes, strnlen(bytes, Size)); }
};

}  // namespace kwxml
