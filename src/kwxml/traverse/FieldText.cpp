#include <kwxml/traverse/FieldText.h>

#include <kwxml/model/MessageInternal.h>
#include <kwxml/model/StringTypes.h>
#include <kwxml/text/Base64.h>
#include <kwxml/text/NumberText.h>

#include <cstring>

namespace {

/// What a value takes as a scalar does; what is no list stands for itself.
constexpr FieldDataType elementOf(FieldDataType type)
{
  const FieldDataType element = kwxml::fieldTypeInfo(type).element;
  return element != FIELD_UNSET ? element : type;
}

template <class T>
T read(const void* value)
{
  T result;
  std::memcpy(&result, value, sizeof result);
  return result;
}

}  // namespace

namespace {

template <class Tag>
void appendText(std::string& out, const void* value)
{
  using Native = kwxml::NativeValue<Tag::type>;
  [[maybe_unused]] kwxml::NumberBuffer buffer;
  if constexpr (std::is_same_v<Native, bool>) {
    // Its first byte: a bool, an element of a list of them or a slot may be there.
    out += read<unsigned char>(value) != 0 ? '1' : '0';
  } else if constexpr (std::is_floating_point_v<Native>) {
    out += kwxml::formatDouble(static_cast<double>(read<Native>(value)), buffer);
  } else if constexpr (std::is_unsigned_v<Native>) {
    out += kwxml::formatUnsigned(read<Native>(value), buffer);
  } else if constexpr (std::is_integral_v<Native>) {
    out += kwxml::formatInteger(read<Native>(value), buffer);
  } else if constexpr (Tag::type == FIELD_STRING) {
    out += *static_cast<const std::string*>(value);
  } else if constexpr (kwxml::ByteString<Tag> || kwxml::PasswordString<Tag>) {
    std::string encoded;
    base64Encode(static_cast<const bstring*>(value)->text(), encoded);
    out += encoded;
  }
}

}  // namespace

void kwxml::appendFieldText(std::string& out, int type, const void* value)
{
  if (value != nullptr && type >= 0 && static_cast<unsigned>(type) < fieldTypeCount) {
    visitFieldType(elementOf(static_cast<FieldDataType>(type)),
                   [&]<class Tag>(Tag) { appendText<Tag>(out, value); });
  }
}

void kwxml::appendElementTexts(std::string& out, const YMMessageBase& message, const FieldDef& list)
{
  visitFieldType(list.type, [&]<class Tag>(Tag) {
    if constexpr (ListValue<Tag> && Tag::type != FIELD_LIST_OBJECT) {
      const auto* const items = MessageAccess::pointer<typename Tag::Value>(message, list.slot);
      if (items == nullptr || items->empty()) {
        return;
      }
      out.reserve(out.size() + 4 * items->size());  // most are longer, but by how much nobody knows
      for (const auto& item : *items) {
        appendText<FieldTypeTag<Tag::info.element>>(out, &item);
        out += ',';
      }
      out.pop_back();
    }
  });
}

std::string getStringFromFld(int type, const void* value)
{
  std::string text;
  kwxml::appendFieldText(text, type, value);
  return text;
}
