// What the render contexts share about a field: its label, its scalar value with its C++ type, and texts of
// enumerations and lists. Not installed.
#pragma once

#include <kwxml/model/MessageInternal.h>
#include <kwxml/traverse/MsgFieldContext.h>

#include <string>
#include <string_view>

namespace kwxml {

/// The localized text of a field, or its name; lives as long as the record.
class FieldLabel
{
public:
  FieldLabel(const FieldDef& field, int localeId);
  FieldLabel(const FieldLabel&) = delete;
  FieldLabel& operator=(const FieldLabel&) = delete;
  operator std::string_view() const { return text_; }

private:
  std::string localized_;
  std::string_view text_;
};

/// The texts of the elements of a list, separated by commas, between two brackets. Elements of lists of
/// enumerations and of messages have none. A scalar that counts as a list is its own element.
std::string listText(const MsgFieldContext& field, char open, char close);

/// What is shown for the enumerator of an enumeration field (its annotation Text, else its name, else
/// nothing), or for those in a list, separated by commas.
std::string enumText(const MsgFieldContext& field);

/// Calls `write(value)` with the value of a scalar field as int, unsigned int, long, unsigned long, long
/// long, bool, double, float, std::string or bstring. Not for enumerations, passwords and all other types.
template <class Write>
void visitScalar(const MsgFieldContext& context, Write write)
{
  const YMMessageBase& message = *context.getMessage();
  const FieldDef& def = context.getField();
  visitFieldType(def.type, [&]<class Tag>(Tag) {
    using Native = NativeValue<Tag::type>;
    if constexpr (Tag::type == FIELD_DOUBLE) {
      write(message.getdouble(def.slot, message.getTagID(), def.hash));
    } else if constexpr (Tag::type == FIELD_FLOAT) {
      write(message.getfloat(def.slot, message.getTagID(), def.hash));
    } else if constexpr (Tag::type == FIELD_ULONGLONG) {
      write(static_cast<unsigned long>(message.getint64(def.slot, message.getTagID(), def.hash)));
    } else if constexpr (IntegerSlot<Tag> && Tag::type != FIELD_ENUM) {
      write(static_cast<Native>(message.getint64(def.slot, message.getTagID(), def.hash)));
    } else if constexpr (Tag::type == FIELD_STRING) {
      write(message.getstring_const(def.fieldNumber, def.slot, message.getTagID(), def.hash));
    } else if constexpr (ByteString<Tag>) {
      const bstring* bytes =
          message.getbstringobject_const(def.fieldNumber, def.slot, message.getTagID(), def.hash);
      write(bytes != nullptr ? *bytes : bstring());
    }
  });
}

}  // namespace kwxml
