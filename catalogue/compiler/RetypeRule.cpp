// What becomes of data when a field gets another type.
#include "Evolution.h"

#include <kwxml/model/WireTypes.h>

#include <tuple>

namespace kwxml::catalogue {
namespace {

using Id = EvolutionRuleId;

// Two types in the binary form. A reader finds a field by its name alone and then reads what its own type
// has.

enum class BinaryShape : std::uint8_t
{
  Nothing,     ///< it has no values
  Incomplete,  ///< no reader, not even of the same type, knows where the value ends
  Number,
  Numbers,
  Text,
  Texts,
  Other,  ///< messages, lists of them and maps: alike for the same type alone
};

struct BinaryForm
{
  BinaryShape shape = BinaryShape::Nothing;
  wire::NumberForm number = wire::NumberForm::Varint;  ///< of numbers
  bool floating = false;                               ///< of numbers
};

/// How a list codes a number, as its scalar type does but for two: enumerations are plain in a list, and a
/// list of ulonglong is no collection.
template <class Tag>
constexpr wire::NumberForm listForm =
    Tag::info.element == FIELD_ENUM ? wire::NumberForm::Varint
                                    : wire::scalarForm<FieldTypeTag<Tag::info.element>>;

constexpr BinaryForm binaryForm(FieldDataType type)
{
  return visitFieldType(type, []<class Tag>(Tag) -> BinaryForm {
    constexpr bool collection = ListValue<Tag> || MapValue<Tag>;
    constexpr FieldTypeInfo scalar = fieldTypeInfo(ListValue<Tag> ? Tag::info.element : Tag::type);
    if constexpr (NoStorage<Tag>) {
      return {};
    } else if constexpr (scalar.json == JsonForm::WideText || isCollectionType(Tag::type) != collection) {
      return {BinaryShape::Incomplete};
    } else if constexpr (IntegerSlot<Tag> || FloatingSlot<Tag>) {
      return {BinaryShape::Number, wire::scalarForm<Tag>, FloatingSlot<Tag>};
    } else if constexpr (StringSlot<Tag> || ByteString<Tag> || PasswordString<Tag>) {
      return {BinaryShape::Text};
    } else if constexpr (ListValue<Tag>) {
      using Element = FieldTypeTag<Tag::info.element>;
      if constexpr (IntegerSlot<Element> || FloatingSlot<Element>) {
        return {BinaryShape::Numbers, listForm<Tag>, FloatingSlot<Element>};
      } else if constexpr (StringSlot<Element> || ByteString<Element>) {
        return {BinaryShape::Texts};
      }
    }
    return {BinaryShape::Other};
  });
}

enum class BinaryEffect
{
  Kept,
  Value,  ///< another value, from the same bytes
  Rest,   ///< other bytes: what follows is misread
};

/// What a text of the type is: integers of all widths have the same texts.
std::tuple<JsonForm, JsonForm, JsonForm> textForm(FieldDataType type)
{
  const auto single = [](FieldDataType one) {
    const JsonForm form = fieldTypeInfo(one).json;
    return form == JsonForm::WideNumber || form == JsonForm::UnsignedNumber ? JsonForm::Number : form;
  };
  const FieldTypeInfo& info = fieldTypeInfo(type);
  return {single(type), single(info.element != FIELD_UNSET ? info.element : info.mapValue),
          single(info.mapKey)};
}

BinaryEffect binaryEffect(FieldDataType older, FieldDataType newer)
{
  const BinaryForm a = binaryForm(older);
  const BinaryForm b = binaryForm(newer);
  if (a.shape != b.shape || a.shape == BinaryShape::Incomplete || a.shape == BinaryShape::Other) {
    return BinaryEffect::Rest;
  }
  if (a.shape == BinaryShape::Text || a.shape == BinaryShape::Texts) {
    return BinaryEffect::Value;
  }
  if (a.number == b.number) {
    return a.floating == b.floating ? BinaryEffect::Kept : BinaryEffect::Value;
  }
  const auto variable = [](wire::NumberForm form) {
    return form == wire::NumberForm::Zigzag || form == wire::NumberForm::Varint;
  };
  return variable(a.number) && variable(b.number) ? BinaryEffect::Value : BinaryEffect::Rest;
}

bool isWide(FieldDataType type)
{
  const FieldTypeInfo& info = fieldTypeInfo(type);
  const JsonForm form = info.element != FIELD_UNSET ? fieldTypeInfo(info.element).json : info.json;
  return form == JsonForm::WideNumber || form == JsonForm::UnsignedNumber;
}

}  // namespace

bool isUncoded(FieldDataType type)
{
  return binaryForm(type).shape == BinaryShape::Incomplete;
}

EvolutionRuleId retypeRule(FieldDataType older, FieldDataType newer)
{
  const bool sameText = textForm(older) == textForm(newer);
  switch (binaryEffect(older, newer)) {
    case BinaryEffect::Kept:
      if (!sameText) {
        return Id::FieldTypeText;
      }
      return isWide(older) && !isWide(newer) ? Id::FieldTypeNarrowed : Id::FieldTypeAlike;
    case BinaryEffect::Value:
      return sameText ? Id::FieldTypeSign : Id::FieldTypeValue;
    case BinaryEffect::Rest:
      break;
  }
  return sameText ? Id::FieldTypeCode : Id::FieldTypeChanged;
}

}  // namespace kwxml::catalogue
