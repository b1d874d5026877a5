// The binary form's rules about types, which its writer, its reader and its explainer share. Not installed.
//
//   header   4 bytes version word (version | 0x10000), 4 bytes tag identifier
//   body     per set field: key, value. A collection: marker, number of elements, key, value.
//   key      4 bytes: name hash << 3 | wire code
//
// All fixed numbers are little-endian. docs/formats.md draws the values.
#pragma once

#include <kwxml/model/FieldTypes.h>
#include <kwxml/model/Metadata.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace kwxml::wire {

inline constexpr std::size_t headerSize = 8;
inline constexpr std::size_t keySize = 4;
/// Bit 16 of the version word: the word carries a version.
inline constexpr std::uint32_t versionFlag = 0x10000;
inline constexpr int defaultVersion = 2;
/// Stands where a collection's key would; no name hash has its bits.
inline constexpr std::uint32_t collectionMarker = 0x7F7F7F78;

/// How a value of a type is skipped by a reader that does not know its field.
enum Code : std::uint8_t
{
  codeVarint = 0,
  codeFixed8 = 1,
  codeLength = 2,
  codeFixed4 = 5,
  codeZigzag = 6,
  codeNone = 7,
};

/// The key of a field; the upper three bits of its hash have no place in it.
constexpr std::uint32_t fieldKey(const FieldDef& field) noexcept
{
  return field.hash << 3 | fieldTypeInfo(field.type).wireCode;
}

/// How a number travels.
enum class NumberForm
{
  Zigzag,  ///< zigzag variable-length, low 32 bits
  Varint,  ///< variable-length, low 32 bits
  Fixed8,
  Fixed4,
};

/// The form of a scalar that lies in one slot. Enumerations are zigzag-coded, although their code says
/// otherwise: both take the same number of bytes to skip.
template <class Tag>
inline constexpr NumberForm scalarForm =
    Tag::info.wireCode == codeZigzag || Tag::type == FIELD_ENUM ? NumberForm::Zigzag
    : Tag::info.wireCode == codeVarint                          ? NumberForm::Varint
    : Tag::info.wireCode == codeFixed4                          ? NumberForm::Fixed4
                                                                : NumberForm::Fixed8;

/// The form of a list's numbers goes by their C++ type: list<long> and list<ulong> keep the low 32 bits of
/// each, and a list of enumerations holds unsigned numbers.
template <class Number>
inline constexpr NumberForm elementForm =
    std::is_same_v<Number, float>                                               ? NumberForm::Fixed4
    : std::is_same_v<Number, double>                                            ? NumberForm::Fixed8
    : std::is_same_v<Number, int> || std::is_same_v<Number, long>               ? NumberForm::Zigzag
    : std::is_same_v<Number, unsigned> || std::is_same_v<Number, unsigned long> ? NumberForm::Varint
                                                                                : NumberForm::Fixed8;

/// How the walks handle a type: scalars and strings in place, the others by functions of their own.
enum class Kind : std::uint8_t
{
  Zigzag,
  Varint,
  Fixed8,
  Fixed4,
  String,
  Other
};
struct TypePlan
{
  Kind kind;
  std::uint8_t code;
};

/// One entry for every value of the type byte. Two loads and a comparison decide what most fields are.
inline constexpr std::array<TypePlan, 256> typePlans = [] {
  std::array<TypePlan, 256> plans{};
  for (unsigned type = 0; type < plans.size(); ++type) {
    plans[type] = visitFieldType(static_cast<FieldDataType>(type), []<class Tag>(Tag) -> TypePlan {
      constexpr std::uint8_t code = Tag::info.wireCode;
      if constexpr (isCollectionType(Tag::type)) {
        return {Kind::Other, code};
      } else if constexpr (IntegerSlot<Tag> || FloatingSlot<Tag>) {
        constexpr NumberForm form = scalarForm<Tag>;
        return {form == NumberForm::Zigzag   ? Kind::Zigzag
                : form == NumberForm::Varint ? Kind::Varint
                : form == NumberForm::Fixed8 ? Kind::Fixed8
                                             : Kind::Fixed4,
                code};
      } else {
        return {Tag::type == FIELD_STRING ? Kind::String : Kind::Other, code};
      }
    });
  }
  return plans;
}();

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
