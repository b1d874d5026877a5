// The writer's sink over a xerces-c DOM document. Not installed.
#pragma once

#include <kwxml/xml/WritePlan.h>
#include <kwxml/xml/XmlSink.h>

#include <xercesc/util/XercesDefs.hpp>

#include <string>
#include <vector>

XERCES_CPP_NAMESPACE_BEGIN
class DOMDocument;
class DOMElement;
class DOMNode;
XERCES_CPP_NAMESPACE_END

namespace kwxml {

/// Adds nodes below an element that the caller owns. A DOM exception ends at the operation that met it: it is
/// logged and leaves nothing half made.
class DomSink : public XmlSinkBase
{
public:
  /// The line about a tag that cannot be written; its argument is the tag's name.
  static constexpr const char tagFailure[] = "Exception occurred while constructing tag : [%s]";

  DomSink(xercesc::DOMDocument* document, xercesc::DOMElement* parent) : document_(document), current_(parent)
  {
  }

  static constexpr FieldOrder order = FieldOrder::OfRecordsTold;

  /// Opens a child element of the current one and makes it current. False, with nothing opened, when it
  /// cannot be made.
  [[nodiscard]] bool open(XmlName name);
  [[nodiscard]] bool openItem(XmlName name) { return open(name); }
  /// Ends the current element.
  void close();
  /// Opens the element of a map entry with its two children; the key's is current. False as for open().
  [[nodiscard]] bool openMapEntry(XmlName name);
  /// Ends the key's element and makes the value's current.
  void mapValue() { close(); }
  /// Ends the value's element and the entry.
  void closeMapEntry() { close(); }

  /// An attribute of the current element; a child element whose only content is a text or a section; the
  /// value of an item, or of a map's key or value, on the current element.
  void attribute(XmlName name, const XmlValue& value) { attribute(name.text, wide(value)); }
  void textElement(XmlName name, const XmlValue& value) { textElement(name.text, wide(value)); }
  void sectionElement(XmlName name, const XmlValue& value) { cdataElement(name.text, wide(value)); }
  void itemValue(ItemForm form, const XmlValue& value);
  /// A child element with the value of an item. False as for open().
  [[nodiscard]] bool item(XmlName name, ItemForm form, const XmlValue& value);

  // The same with zero-terminated UTF-16.
  void attribute(const char* name, const char16_t* value);
  void textElement(const char* name, const char16_t* value);
  void cdataElement(const char* name, const char16_t* value);
  void itemAttribute(const char* name, const char16_t* value);
  void text(const char* name, const char16_t* value);
  void cdata(const char* name, const char16_t* value);

  /// The three elements of a map entry, the entry appended to `parent`; false (logged) when they cannot be
  /// made.
  static bool constructMapElements(xercesc::DOMDocument* document, xercesc::DOMElement* parent,
                                   xercesc::DOMElement*& entry, xercesc::DOMElement*& key,
                                   xercesc::DOMElement*& value, const char* name);

private:
  const char16_t* wide(const XmlValue& value);

  xercesc::DOMDocument* document_;
  xercesc::DOMElement* current_;
  /// Where close() and mapValue() go back to. A node can tell too, but the casts that it needs cost more than
  /// the rest.
  std::vector<xercesc::DOMElement*> enclosing_;
  std::u16string wide_;
};

}  // namespace kwxml
