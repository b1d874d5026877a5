// Messages of the sample catalogue for tests: made by tag name, addressed by field name, and filled in every
// field.
#pragma once

#include <kwxml/model/YMMessageBase.h>

#include <string>
#include <vector>

namespace kwxml::test {

/// A new message of a class of the sample catalogue ("Types_AllTypes"). Throws when there is none.
YMMessageBase make(const std::string& tagName);

/// The record of a field, found by its name. Throws when there is none.
const FieldDef& field(const YMMessageBase& message, const std::string& name);

void setInt(YMMessageBase& message, const std::string& name, long long value);
void setText(YMMessageBase& message, const std::string& name, const std::string& value);
long long getInt(const YMMessageBase& message, const std::string& name);
std::string getText(const YMMessageBase& message, const std::string& name);
bool isSet(const YMMessageBase& message, const std::string& name);

/// Sets one field of any type to a value that depends on `variant` (1, 2, ...) and is never its default.
/// Nested messages are filled to `depth` levels. False for a type without storage.
bool fill(YMMessageBase& message, const FieldDef& def, int variant, int depth = 2);
/// Sets every field.
void fillAll(YMMessageBase& message, int variant, int depth = 2);

/// A Types_Node with a chain of `levels` messages below each other (1: the node alone).
YMMessageBase nodeChain(int levels);

}  // namespace kwxml::test
