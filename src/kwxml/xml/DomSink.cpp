#include <kwxml/xml/DomSink.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/xml/XmlText.h>

#include <xercesc/dom/DOM.hpp>

#include <cstring>

namespace kwxml {

namespace {

/// A catalogue name as the DOM wants it. Names are short; longer ones go to the heap.
class DomName
{
public:
  explicit DomName(const char* name)
  {
    name = name != nullptr ? name : "";  // no name, which the DOM refuses
    const std::size_t length = std::strlen(name);
    if (length < std::size(short_)) {
      std::size_t i = 0;
      for (; i < length && static_cast<unsigned char>(name[i]) < 0x80; ++i) {
        short_[i] = static_cast<char16_t>(name[i]);
      }
      short_[i] = 0;
      if (i == length) {
        return;
      }
    }
    long_ = toUtf16(name);
  }
  operator const char16_t*() const { return long_.empty() ? short_ : long_.c_str(); }

private:
  char16_t short_[64];
  std::u16string long_;
};

/// Runs one operation on the document; a DOM exception is logged under the operation's public name, as a
/// failure of the tag.
template <class Operation>
void guarded(const char* function, const char* name, Operation operation)
{
  try {
    operation();
  } catch (const xercesc::DOMException&) {
    log().logError(function, DomSink::tagFailure, name != nullptr ? name : "");
  }
}

xercesc::DOMElement* child(xercesc::DOMDocument* document, xercesc::DOMElement* parent, const char* name)
{
  xercesc::DOMElement* element = document->createElement(DomName(name));
  parent->appendChild(element);
  return element;
}

}  // namespace

/// Widened; valid until the next one.
const char16_t* DomSink::wide(const XmlValue& value)
{
  wide_.resize(value.text.size());
  bool ascii = true;
  for (std::size_t i = 0; i < value.text.size(); ++i) {
    const auto c = static_cast<unsigned char>(value.text[i]);
    ascii &= c < 0x80;
    wide_[i] = c;
  }
  if (!ascii) {
    wide_ = looseUtf16(value.text);
  }
  return wide_.c_str();
}

bool DomSink::open(XmlName name)
{
  try {
    xercesc::DOMElement* opened = child(document_, current_, name.text);
    enclosing_.push_back(current_);
    current_ = opened;
    return true;
  } catch (const xercesc::DOMException&) {
    return false;  // the writer names what could not be made
  }
}

void DomSink::close()
{
  current_ = enclosing_.back();
  enclosing_.pop_back();
}

bool DomSink::openMapEntry(XmlName name)
{
  xercesc::DOMElement* entry = nullptr;
  xercesc::DOMElement* key = nullptr;
  xercesc::DOMElement* value = nullptr;
  if (!constructMapElements(document_, current_, entry, key, value, name.text)) {
    return false;
  }
  enclosing_.push_back(current_);
  enclosing_.push_back(value);
  current_ = key;
  return true;
}

void DomSink::itemValue(ItemForm form, const XmlValue& value)
{
  switch (form) {
    case ItemForm::Attribute:
      return itemAttribute("val", wide(value));
    case ItemForm::Text:
      return text("val", wide(value));
    case ItemForm::Section:
      return cdata("val", wide(value));
  }
}

bool DomSink::item(XmlName name, ItemForm form, const XmlValue& value)
{
  if (!open(name)) {
    return false;
  }
  itemValue(form, value);
  close();
  return true;
}

bool DomSink::constructMapElements(xercesc::DOMDocument* document, xercesc::DOMElement* parent,
                                   xercesc::DOMElement*& entry, xercesc::DOMElement*& key,
                                   xercesc::DOMElement*& value, const char* name)
{
  entry = key = value = nullptr;
  xercesc::DOMElement* made = nullptr;
  try {
    made = document->createElement(DomName(name));
    key = child(document, made, "__mapKey__");
    value = child(document, made, "__mapValue__");
    parent->appendChild(made);
    entry = made;
    return true;
  } catch (const xercesc::DOMException&) {
    key = value = nullptr;
    if (made != nullptr) {
      made->release();
    }
    log().logError("XMLSerializer::constructMapElements", "Error constructing map object [%s].",
                   name != nullptr ? name : "");
    return false;
  }
}

void DomSink::attribute(const char* name, const char16_t* value)
{
  guarded("XMLSerializer::writeNodeToXML", name, [&] { current_->setAttribute(DomName(name), value); });
}

void DomSink::textElement(const char* name, const char16_t* value)
{
  guarded("XMLSerializer::writeNodeToXML", name, [&] {
    xercesc::DOMElement* element = child(document_, current_, name);
    element->appendChild(document_->createTextNode(value));
  });
}

void DomSink::cdataElement(const char* name, const char16_t* value)
{
  guarded("XMLSerializer::writeAsCDATA", name, [&] {
    xercesc::DOMElement* element = child(document_, current_, name);
    element->appendChild(document_->createCDATASection(value));
  });
}

void DomSink::itemAttribute(const char* name, const char16_t* value)
{
  guarded("XMLSerializer::writeListNodeToXML", name, [&] { current_->setAttribute(DomName(name), value); });
}

void DomSink::text(const char* name, const char16_t* value)
{
  guarded("XMLSerializer::writeListNodeToXML", name,
          [&] { current_->appendChild(document_->createTextNode(value)); });
}

void DomSink::cdata(const char* name, const char16_t* value)
{
  guarded("XMLSerializer::writeListNodeAsCDATA", name,
          [&] { current_->appendChild(document_->createCDATASection(value)); });
}

}  // namespace kwxml
