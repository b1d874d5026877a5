// How the binary form codes the field types: what a class's plan holds of each field for the walks that write
// and read it. Not installed.
#pragma once

#include <kwxml/model/Metadata.h>

#include <cstdint>

namespace kwxml::wire {

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

/// How the walks handle a type: scalars (they come first) and strings in place, the others by functions of
/// their own.
enum class Kind : std::uint8_t
{
  Zigzag,
  Varint,
  Fixed8,
  Fixed4,
  String,
  Other
};

constexpr Kind kindOf(FieldDataType type)
{
  return visitFieldType(type, []<class Tag>(Tag) {
    if constexpr (Tag::type == FIELD_STRING) {
      return Kind::String;
    } else if constexpr ((IntegerSlot<Tag> || FloatingSlot<Tag>)&&!isCollectionType(Tag::type)) {
      constexpr NumberForm form = scalarForm<Tag>;
      return form == NumberForm::Zigzag   ? Kind::Zigzag
             : form == NumberForm::Varint ? Kind::Varint
             : form == NumberForm::Fixed8 ? Kind::Fixed8
                                          : Kind::Fixed4;
    } else {
      return Kind::Other;
    }
  });
}

}  // namespace kwxml::wire
