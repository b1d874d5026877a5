// Where the writer puts the XML form of a message. Not installed.
//
// The writer decides what is written; a sink only knows how: as nodes of a DOM document (DomSink), or as text
// (TextSink). Sinks have the same members; the writer is a template of its sink, so that none is a virtual
// call. Where `attributesFirst` is set the writer gives all attributes of an element, sorted by name, before
// its children; a DOM sorts them itself.
#pragma once

#include <string_view>

namespace kwxml {

/// A value: UTF-8 that holds only characters XML allows.
struct XmlValue
{
  std::string_view text{""};  ///< never null, also when it is empty
  bool plain = true;          ///< ASCII without a character that is written otherwise anywhere
};

/// How the value of a list's item, or of a map's key or value, stands on its element.
enum class ItemForm
{
  Attribute,  ///< "val"
  Text,
  Section,
};

}  // namespace kwxml
