// Where the writer puts a message. Not installed.
//
// The writer decides what is written; a sink only knows how: as nodes of a DOM document (DomSink), as text
// (TextSink), or in another form. Sinks have the same members; the writer is a template of its sink, so that
// none is a virtual call.
#pragma once

#include <kwxml/xml/WritePlan.h>

#include <string_view>

namespace kwxml {

/// A value: UTF-8 that holds only characters XML allows.
struct XmlValue
{
  std::string_view text{""};  ///< never null, also when it is empty
  bool plain = true;          ///< ASCII without a character that is written otherwise anywhere
  bool bare = false;          ///< in a form that puts quotes around texts: stands without
};

/// In which order a sink wants the fields of a message.
enum class FieldOrder
{
  OfRecordsTold,    ///< that of their records, with traces and listeners; a DOM sorts attributes itself
  AttributesFirst,  ///< the attributes sorted by name, then the children
  OfRecords,
};

/// How the value of a list's item, or of a map's key or value, stands on its element.
enum class ItemForm
{
  Attribute,  ///< "val"
  Text,
  Section,
};

class XmlValueTexts;

/// What the sinks of XML have in common: lists and maps are elements of one name behind one another.
struct XmlSinkBase
{
  using Texts = XmlValueTexts;
  static constexpr bool hasWideTexts = false;
  static XmlName nameOf(const WritePlan::Field& field) { return field.name; }

  void beginList(XmlName) {}
  void endList() {}
  void beginMap(XmlName, [[maybe_unused]] bool isKeyed) {}
  void endMap() {}
  /// Around the fields of a message that is the key or the value of a map's entry.
  void beginPart() {}
  void endPart() {}
};

}  // namespace kwxml
