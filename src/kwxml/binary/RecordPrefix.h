// What stands before the messages of a file: their lengths, and the version of a batch. Not installed.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace kwxml {

inline constexpr std::uint64_t recordPrefixSize = 4;
inline constexpr unsigned long batchVersion = 1;
inline constexpr std::string_view batchVersionBytes{"1\0\0\0", recordPrefixSize};

/// The length before a single record: four bytes, big-endian.
constexpr std::uint32_t singlePrefix(std::string_view bytes)
{
  std::uint32_t length = 0;
  for (std::size_t i = 0; i < recordPrefixSize; ++i) {
    length = length << 8 | static_cast<unsigned char>(bytes[i]);
  }
  return length;
}

/// The same, to be written.
constexpr std::array<char, recordPrefixSize> singlePrefix(std::uint32_t length)
{
  std::array<char, recordPrefixSize> bytes{};
  for (std::size_t i = 0; i < recordPrefixSize; ++i) {
    bytes[i] = static_cast<char>(length >> (8 * (recordPrefixSize - 1 - i)));
  }
  return bytes;
}

/// The number before a record of a batch, or its version, as readers take it: what follows the digits does
/// not matter. 0 for none.
inline unsigned long batchPrefix(std::string_view bytes)
{
  char text[recordPrefixSize + 1] = {};
  bytes.copy(text, recordPrefixSize);
  return std::strtoul(text, nullptr, 10);
}

/// The same of a number as writers write it, digits and then zero bytes; 0 for anything else.
constexpr std::uint32_t writtenBatchPrefix(std::string_view bytes)
{
  std::uint32_t length = 0;
  std::size_t i = 0;
  for (; i < recordPrefixSize && bytes[i] >= '0' && bytes[i] <= '9'; ++i) {
    length = 10 * length + static_cast<std::uint32_t>(bytes[i] - '0');
  }
  for (; i < recordPrefixSize; ++i) {
    if (bytes[i] != '\0') {
      return 0;
    }
  }
  return length;
}

}  // namespace kwxml
