// The binary form's rules about types, which its writer, its reader and its explainer share. Not installed.
//
//   header   4 bytes version word (version | 0x10000), 4 bytes tag identifier
//   body     per set field: key, value. A collection: marker, number of elements, key, value.
//   key      4 bytes: name hash << 3 | wire code
//
// All fixed numbers are little-endian. docs/formats.md draws the values.
#pragma once

#include <kwxml/model/WireTypes.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace kwxml::wire {

inline constexpr std::size_t headerSize = 8;
inline constexpr std::size_t keySize = 4;
/// Bit 16 of the version word: the word carries a version.
inline constexpr std::uint32_t versionFlag = 0x10000;
/// Whether bytes begin with such a word, as writers write them: its upper half says so.
constexpr bool isVersionWord(std::string_view bytes) noexcept
{
  return bytes.size() >= 4 && bytes[2] == 1 && bytes[3] == 0;
}
inline constexpr int defaultVersion = 2;
/// Stands where a collection's key would; no name hash has its bits.
inline constexpr std::uint32_t collectionMarker = 0x7F7F7F78;

/// The form of a list's numbers goes by their C++ type: list<long> and list<ulong> keep the low 32 bits of
/// each, and a list of enumerations holds unsigned numbers.
template <class Number>
inline constexpr NumberForm elementForm =
    std::is_same_v<Number, float>                                               ? NumberForm::Fixed4
    : std::is_same_v<Number, double>                                            ? NumberForm::Fixed8
    : std::is_same_v<Number, int> || std::is_same_v<Number, long>               ? NumberForm::Zigzag
    : std::is_same_v<Number, unsigned> || std::is_same_v<Number, unsigned long> ? NumberForm::Varint
                                                                                : NumberForm::Fixed8;

/// Fewest bytes of a number.
constexpr std::size_t smallest(NumberForm form) noexcept
{
  return form == NumberForm::Fixed8 ? 8 : form == NumberForm::Fixed4 ? 4 : 1;
}

/// The code of a map's keys or values.
constexpr Code mapCode(FieldDataType part) noexcept
{
  return part == FIELD_INT64 ? codeFixed8 : codeLength;
}

}  // namespace kwxml::wire
