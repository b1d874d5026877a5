// Where the writer puts the XML form of a message. Not installed.
//
// The writer decides what is written; a sink only knows how:
// as nodes of a DOM document, or as text. Names are NUL-terminated UTF-8 from the catalogue; values are
// NUL-terminated UTF-16 that holds only characters XML allows.
#pragma once

namespace kwxml {

class XmlSink
{
public:
  virtual ~XmlSink() = default;

  /// Opens a child element of the current one and makes it current. False, with nothing opened, when it
  /// cannot be made.
  [[nodiscard]] virtual bool open(const char* name) = 0;
  /// Ends the current element.
  virtual void close() = 0;

  /// Opens the element of a map entry with its two children; the key's is current. False as for open().
  [[nodiscard]] virtual bool openMapEntry(const char* name) = 0;
  /// Ends the key's element and makes the value's current.
  virtual void mapValue() = 0;
  /// Ends the value's element and the entry.
  virtual void closeMapEntry() = 0;

  /// An attribute of the current element. An element's attributes come out sorted by name.
  virtual void attribute(const char* name, const char16_t* value) = 0;
  /// A child element whose only content is a text or a CDATA section.
  virtual void textElement(const char* name, const char16_t* value) = 0;
  virtual void cdataElement(const char* name, const char16_t* value) = 0;
  /// The value of a list item or of a map's key or value, on the current element itself: as its attribute
  /// `name`, or as its content (`name` then stands in log lines alone).
  virtual void itemAttribute(const char* name, const char16_t* value) = 0;
  virtual void text(const char* name, const char16_t* value) = 0;
  virtual void cdata(const char* name, const char16_t* value) = 0;
};

}  // namespace kwxml
