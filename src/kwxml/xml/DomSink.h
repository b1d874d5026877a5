// The writer's sink over a xerces-c DOM document. Not installed.
#pragma once

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
class DomSink final : public XmlSink
{
public:
  /// The line about a tag that cannot be written; its argument is the tag's name.
  static constexpr const char tagFailure[] = "Exception occurred while constructing tag : [%s]";

  DomSink(xercesc::DOMDocument* document, xercesc::DOMElement* parent) : document_(document), current_(parent)
  {
  }

  bool open(const char* name) override;
  void close() override;
  bool openMapEntry(const char* name) override;
  void mapValue() override;
  void closeMapEntry() override;
  void attribute(const char* name, const char16_t* value) override;
  void textElement(const char* name, const char16_t* value) override;
  void cdataElement(const char* name, const char16_t* value) override;
  void itemAttribute(const char* name, const char16_t* value) override;
  void text(const char* name, const char16_t* value) override;
  void cdata(const char* name, const char16_t* value) override;

  /// The three elements of a map entry, the entry appended to `parent`; false (logged) when they cannot be
  /// made.
  static bool constructMapElements(xercesc::DOMDocument* document, xercesc::DOMElement* parent,
                                   xercesc::DOMElement*& entry, xercesc::DOMElement*& key,
                                   xercesc::DOMElement*& value, const char* name);

private:
  xercesc::DOMDocument* document_;
  xercesc::DOMElement* current_;
  /// Where close() and mapValue() go back to. A node can tell too, but the casts that it needs cost more than
  /// the rest.
  std::vector<xercesc::DOMElement*> enclosing_;
};

}  // namespace kwxml
