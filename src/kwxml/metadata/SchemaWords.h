// What schema documents of all kinds say about fields. Not installed.
#pragma once

#include <kwxml/model/Metadata.h>

#include <string>

namespace kwxml {

/// A field's type in the words of schema text, and its marks: "int, a date".
std::string describeField(const FieldDef& def);

/// The class of messages that a reference names; null when the catalogue has none there.
const _ClassDef* referencedMessage(const PackedReference& reference);

}  // namespace kwxml
