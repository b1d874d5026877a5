// Memory that may hold a password for a while. Not installed.
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

/// Wipes a text when its scope is left, however; the text outlives it.
class WipedText
{
public:
  explicit WipedText(std::string& text) : text_(text) {}
  ~WipedText() { explicit_bzero(text_.data(), text_.size()); }
  WipedText(const WipedText&) = delete;
  WipedText& operator=(const WipedText&) = delete;

private:
  std::string& text_;
};

}  // namespace kwxml
