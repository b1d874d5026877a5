// Messages of the sample catalogue for tests: made by tag name, addressed by field name, and filled in every
// field.
#pragma once

#include <kwxml/model/MessageInternal.h>
#include <kwxml/model/YMMessageBase.h>

#include <string>

namespace kwxml::test {

/// A new message of a class of the sample catalogue ("Types_AllTypes"). Throws when there is none.
YMMessageBase make(const std::string& tagName);

/// Without its defaults.
YMMessageBase bare(const std::string& tagName);

/// The record of a field, found by its name. Throws when there is none.
const FieldDef& field(const YMMessageBase& message, const std::string& name);

void setInt(YMMessageBase& message, const std::string& name, long long value);
void setText(YMMessageBase& message, const std::string& name, const std::string& value);
long long getInt(const YMMessageBase& message, const std::string& name);
std::string getText(const YMMessageBase& message, const std::string& name);
bool isSet(const YMMessageBase& message, const std::string& name);
/// With the type that the value says it has.
void setPassword(YMMessageBase& message, const std::string& name, const pstring& value);

/// The value of a field that holds an object (a text of bytes, message, list or map), made when there is
/// none.
template <class Value>
Value& object(YMMessageBase& message, const std::string& name)
{
  const FieldDef& def = field(message, name);
  Value*& value = MessageAccess::pointer<Value>(message, def.slot);
  if constexpr (std::is_same_v<Value, YMMessageBase>) {
    const auto reference = packedReference(def);
    value = value != nullptr
                ? value
                : new Value(static_cast<int>(reference.system), static_cast<int>(reference.classIndex));
  } else {
    value = value != nullptr ? value : new Value;
  }
  MessageAccess::mark(message, def);
  return *value;
}

/// Sets one field of any type to a value that depends on `variant` (1, 2, ...) and is never its default.
/// Nested messages are filled to `depth` levels. False for a type without storage.
bool fill(YMMessageBase& message, const FieldDef& def, int variant, int depth = 2);
/// Sets every field.
void fillAll(YMMessageBase& message, int variant, int depth = 2);

/// A Types_Node with a chain of `levels` messages below each other (1: the node alone).
YMMessageBase nodeChain(int levels);

}  // namespace kwxml::test
