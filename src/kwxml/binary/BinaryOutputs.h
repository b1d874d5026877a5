// Where the walk that writes a body puts its bytes. Not installed.
//
// An output is a pointer or two, which the functions of the walk take and give back by value: it stays in
// registers.
#pragma once

#include <kwxml/binary/BinaryStream.h>
#include <kwxml/binary/BinaryWriter.h>
#include <kwxml/text/Base64.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

namespace kwxml {

/// Writes where there is room for everything.
struct DirectOut
{
  static constexpr bool direct = true;
  char* at;

  std::uint64_t position(const EncodeCall& call) const { return static_cast<std::uint64_t>(at - call.begin); }
  void varint(std::uint32_t value) { at = putVarint(at, value); }
  template <class T>
  void fixed(T value)
  {
    value = littleEndian(value);
    std::memcpy(at, &value, sizeof value);
    at += sizeof value;
  }
  void raw(const char* bytes, std::size_t n)
  {
    if (n != 0) {
      std::memcpy(at, bytes, n);
      at += n;
    }
  }
  void base64(const std::string& bytes) { at = base64EncodeTo(at, bytes.data(), bytes.size()); }
};

/// Writes while there is room for the longest that a value could take. Where there is not, it has failed for
/// good and writes nothing more: what is behind its end is never touched.
struct BoundedOut
{
  static constexpr bool direct = true;
  char* at;  ///< null when failed
  char* end;

  bool failed() const { return at == nullptr; }
  /// Whether `n` bytes fit; it fails when they do not.
  bool room(std::uint64_t n)
  {
    if (n <= static_cast<std::uint64_t>(end - at)) [[likely]] {
      return true;
    }
    *this = failure();
    return false;
  }
  static BoundedOut failure() { return {nullptr, nullptr}; }
  void varint(std::uint32_t value)
  {
    if (room(5)) {
      at = putVarint(at, value);
    }
  }
  template <class T>
  void fixed(T value)
  {
    if (room(sizeof value)) {
      value = littleEndian(value);
      std::memcpy(at, &value, sizeof value);
      at += sizeof value;
    }
  }
  void raw(const char* bytes, std::size_t n)
  {
    if (n != 0 && room(n)) {
      std::memcpy(at, bytes, n);
      at += n;
    }
  }
  void base64(const std::string& bytes)
  {
    if (room(base64EncodedLength(bytes.size()))) {
      at = base64EncodeTo(at, bytes.data(), bytes.size());
    }
  }
};
template <class Out>
inline constexpr bool isBounded = std::is_same_v<Out, BoundedOut>;

template <class Out>
bool hasFailed(const Out& out)
{
  if constexpr (isBounded<Out>) {
    return out.failed();
  }
  return false;
}

/// Writes into a stream that may end too early.
struct StreamOut
{
  static constexpr bool direct = false;
  BinaryStream* stream;

  std::uint64_t position(const EncodeCall&) const { return stream->position(); }
  void varint(std::uint32_t value) { stream->WriteVarInt(value); }
  void fixed(std::uint32_t value) { stream->WriteUInt32(value); }
  void fixed(std::uint64_t value) { stream->WriteInt64(static_cast<long long>(value)); }
  void raw(const char* bytes, std::size_t n) { stream->WriteRawBytes(bytes, n); }
  void base64(const std::string& bytes)
  {
    std::string text(base64EncodedLength(bytes.size()), '\0');
    base64EncodeTo(text.data(), bytes.data(), bytes.size());
    raw(text.data(), text.size());
  }
};

}  // namespace kwxml
