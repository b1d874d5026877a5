#include <kwxml/traverse/FieldText.h>

#include <kwxml/model/FieldTypes.h>
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

std::string getStringFromFld(int type, const void* value)
{
  if (value == nullptr || type < 0 || static_cast<unsigned>(type) >= kwxml::fieldTypeCount) {
    return {};
  }
  return kwxml::visitFieldType(
      elementOf(static_cast<FieldDataType>(type)), [&]<class Tag>(Tag) -> std::string {
        using Native = kwxml::NativeValue<Tag::type>;
        [[maybe_unused]] kwxml::NumberBuffer buffer;
        if constexpr (std::is_same_v<Native, bool>) {
          // Its first byte: a bool, an element of a list of them or a slot may be there.
          return read<unsigned char>(value) != 0 ? "1" : "0";
        } else if constexpr (std::is_floating_point_v<Native>) {
          return std::string(kwxml::formatDouble(static_cast<double>(read<Native>(value)), buffer));
        } else if constexpr (std::is_unsigned_v<Native>) {
          return std::string(kwxml::formatUnsigned(read<Native>(value), buffer));
        } else if constexpr (std::is_integral_v<Native>) {
          return std::string(kwxml::formatInteger(read<Native>(value), buffer));
        } else if constexpr (Tag::type == FIELD_STRING) {
          return *static_cast<const std::string*>(value);
        } else if constexpr (kwxml::ByteString<Tag> || kwxml::PasswordString<Tag>) {
          std::string encoded;
          base64Encode(static_cast<const bstring*>(value)->text(), encoded);
          return encoded;
        } else {
          return {};
        }
      });
}
