#include "BareXml.h"

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufFormatTarget.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XMLUni.hpp>

#include <charconv>
#include <memory>
#include <string_view>

namespace kwxml::bench {

namespace {

/// A value as the DOM wants it. The texts of the documents are ASCII, so widening is all the transcoding they
/// need.
class Text
{
public:
  const char16_t* operator()(std::string_view text)
  {
    buffer_.resize(text.size());
    char16_t* out = buffer_.data();
    for (const char c : text) {
      *out++ = static_cast<unsigned char>(c);
    }
    return buffer_.c_str();
  }
  const char16_t* operator()(const std::string& text) { return (*this)(std::string_view(text)); }
  const char16_t* operator()(bool value) { return value ? u"true" : u"false"; }
  const char16_t* operator()(int value) { return number(value); }
  const char16_t* operator()(long long value) { return number(value); }
  const char16_t* operator()(double value) { return number(value, std::chars_format::general, 6); }

private:
  template <class... Arguments>
  const char16_t* number(Arguments... arguments)
  {
    char digits[32];
    return (*this)(std::string_view(digits, std::to_chars(digits, std::end(digits), arguments...).ptr));
  }
  std::u16string buffer_;
};

class Element
{
public:
  Element(xercesc::DOMDocument* document, xercesc::DOMElement* element, Text& text)
      : document_(document), element_(element), text_(text)
  {
  }
  Element child(const char16_t* name) const
  {
    xercesc::DOMElement* made = document_->createElement(name);
    element_->appendChild(made);
    return {document_, made, text_};
  }
  template <class Value>
  void set(const char16_t* name, const Value& value) const
  {
    element_->setAttribute(name, text_(value));
  }

private:
  xercesc::DOMDocument* document_;
  xercesc::DOMElement* element_;
  Text& text_;
};

void fill(const Element& root, const FlatValues& values)
{
  constexpr const char16_t* ints[] = {u"id", u"version", u"priority", u"retries", u"line", u"channel"};
  constexpr const char16_t* longs[] = {u"created", u"modified", u"bytesSent", u"bytesReceived"};
  constexpr const char16_t* bools[] = {u"active", u"urgent", u"archived"};
  for (std::size_t i = 0; i < std::size(ints); ++i) {
    root.set(ints[i], values.ints[i]);
  }
  for (std::size_t i = 0; i < std::size(longs); ++i) {
    root.set(longs[i], values.longs[i]);
  }
  for (std::size_t i = 0; i < std::size(bools); ++i) {
    root.set(bools[i], values.bools[i]);
  }
  root.set(u"ratio", values.doubles[0]);
  root.set(u"amount", values.doubles[1]);
  root.set(u"state", values.states[0]);
  root.set(u"origin", values.states[1]);
  root.set(u"code", values.strings[0]);
  root.set(u"title", values.strings[1]);
  root.set(u"remark", values.strings[2]);
}

void fill(const Element& root, const OrderValues& values)
{
  root.set(u"number", values.number);
  root.set(u"state", values.state);
  root.set(u"customer", values.customer);
  root.set(u"total", values.total);
  root.set(u"paid", values.paid);
  const Element address = root.child(u"address");
  address.set(u"street", values.street);
  address.set(u"city", values.city);
  address.set(u"postcode", values.postcode);
  address.set(u"verified", values.verified);
  for (const ItemValues& value : values.items) {
    const Element item = root.child(u"items");
    item.set(u"name", value.name);
    item.set(u"price", value.price);
    item.set(u"state", value.state);
    for (const std::string& label : value.labels) {
      item.child(u"labels").set(u"val", label);
    }
    item.set(u"stock", value.stock);
  }
}

void fill(const Element& root, const BulkValues& values)
{
  for (const int value : values.counts) {
    root.child(u"counts").set(u"val", value);
  }
  for (const double value : values.samples) {
    root.child(u"samples").set(u"val", value);
  }
  for (const std::string& value : values.names) {
    root.child(u"names").set(u"val", value);
  }
  for (const auto& [key, value] : values.entries) {
    const Element entry = root.child(u"entries");
    entry.child(u"__mapKey__").set(u"val", key);
    entry.child(u"__mapValue__").set(u"val", value);
  }
}

template <class Values>
void write(const char16_t* root, const Values& values, std::string& out)
{
  xercesc::DOMImplementation* implementation =
      xercesc::DOMImplementationRegistry::getDOMImplementation(u"LS");
  xercesc::DOMDocument* document = implementation->createDocument(nullptr, root, nullptr);
  Text text;
  fill(Element(document, document->getDocumentElement(), text), values);
  xercesc::DOMLSSerializer* writer = implementation->createLSSerializer();
  writer->setNewLine(u"\n");
  xercesc::DOMLSOutput* output = implementation->createLSOutput();
  xercesc::MemBufFormatTarget target(1023);
  output->setByteStream(&target);
  output->setEncoding(u"UTF-8");
  writer->write(document, output);
  out.assign(reinterpret_cast<const char*>(target.getRawBuffer()), target.getLen());
  output->release();
  writer->release();
  document->release();
}

}  // namespace

void writeBare(const FlatValues& values, std::string& out)
{
  write(u"Bench_Flat", values, out);
}
void writeBare(const OrderValues& values, std::string& out)
{
  write(u"Bench_Order", values, out);
}
void writeBare(const BulkValues& values, std::string& out)
{
  write(u"Bench_Bulk", values, out);
}

struct BareParser::Parts
{
  Parts() : reader(xercesc::XMLReaderFactory::createXMLReader())
  {
    security.setEntityExpansionLimit(0);
    reader->setContentHandler(&handler);
    reader->setErrorHandler(&handler);
    reader->setFeature(xercesc::XMLUni::fgSAX2CoreValidation, false);
    reader->setFeature(xercesc::XMLUni::fgXercesLoadExternalDTD, false);
    reader->setProperty(xercesc::XMLUni::fgXercesSecurityManager, &security);
  }
  xercesc::DefaultHandler handler;
  xercesc::SecurityManager security;
  std::unique_ptr<xercesc::SAX2XMLReader> reader;
};

BareParser::BareParser() : parts_(std::make_unique<Parts>()) {}
BareParser::~BareParser() = default;

void BareParser::parse(const std::string& xml)
{
  xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(), u"unknown");
  source.setCopyBufToStream(false);
  parts_->reader->parse(source);
}

void parseBare(const std::string& xml)
{
  BareParser().parse(xml);
}

}  // namespace kwxml::bench
