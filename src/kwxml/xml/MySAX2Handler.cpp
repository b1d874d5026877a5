#include <kwxml/xml/MySAX2Handler.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/xml/MessageReader.h>
#include <kwxml/xml/XmlText.h>

#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/Attributes.hpp>

#include <vector>

struct MySAX2Handler::Reader : kwxml::MessageReader
{
  /// The parser's attributes in the rules' terms, valid until the next call.
  kwxml::XmlAttributes collect(const xercesc::Attributes& attributes)
  {
    const XMLSize_t count = attributes.getLength();
    collected_.clear();
    for (XMLSize_t i = 0; i < count; ++i) {
      collected_.push_back({attributes.getQName(i), attributes.getValue(i)});
    }
    return collected_;
  }

private:
  std::vector<kwxml::XmlAttribute> collected_;
};

MySAX2Handler::MySAX2Handler() : reader_(std::make_unique<Reader>()) {}

MySAX2Handler::~MySAX2Handler() = default;

void MySAX2Handler::setContextInfo(KwXMLContextInfo* context)
{
  reader_->setContext(context);
}

void MySAX2Handler::setEncodingFlags(const EncodingFlags& flags)
{
  reader_->setFlags(flags);
}

void MySAX2Handler::setDefaultsWhileUnserialization()
{
  reader_->keepDefaults();
}

void MySAX2Handler::setTargetMessage(YMMessageBase* message)
{
  reader_->readInto(message);
}

YMMessageBase* MySAX2Handler::getMessage() const
{
  return reader_->root();
}

YMMessageBase* MySAX2Handler::takeMessage()
{
  return reader_->take();
}

bool MySAX2Handler::processAttributes(const xercesc::Attributes& attributes)
{
  return reader_->processAttributes(reader_->collect(attributes));
}

void MySAX2Handler::processMapEnd(const FieldDef& field)
{
  reader_->processMapEnd(field);
}

void MySAX2Handler::startDocument()
{
  if (reader_->started()) {
    XMLDebug::getInstance()->logError("MySAX2Handler::startDocument", "[%s]", "A handler reads one document");
    throw xercesc::SAXException(u"A handler reads one document");
  }
}

void MySAX2Handler::startElement(const XMLCh*, const XMLCh*, const XMLCh* qname,
                                 const xercesc::Attributes& attributes)
{
  if (!reader_->startElement(qname, reader_->collect(attributes))) {
    throw xercesc::SAXException(u"The document holds no readable message");  // the reader has logged why
  }
}

void MySAX2Handler::characters(const XMLCh* chars, XMLSize_t length)
{
  reader_->characters(chars, length);
}

void MySAX2Handler::endElement(const XMLCh*, const XMLCh*, const XMLCh* qname)
{
  reader_->endElement(qname);
}

void MySAX2Handler::setDocumentLocator(const xercesc::Locator* locator)
{
  locator_ = locator;
}

void MySAX2Handler::refuse(const char* what, const XMLCh* name) const
{
  const std::u16string text = kwxml::toUtf16(what) + name + u"' is refused";
  if (locator_ != nullptr) {
    throw xercesc::SAXParseException(text.c_str(), *locator_);
  }
  throw xercesc::SAXParseException(text.c_str(), u"", u"", 0, 0);
}

void MySAX2Handler::attributeDecl(const XMLCh*, const XMLCh* attribute, const XMLCh*, const XMLCh*,
                                  const XMLCh* value)
{
  if (value != nullptr && *value != 0) {
    refuse("the declaration of a default value for attribute '", attribute);
  }
}

void MySAX2Handler::elementDecl(const XMLCh* name, const XMLCh*)
{
  if (refusesElements_) {
    refuse("the declaration of element '", name);
  }
}

void MySAX2Handler::internalEntityDecl(const XMLCh* name, const XMLCh*)
{
  refuse("the declaration of entity '", name);
}

void MySAX2Handler::externalEntityDecl(const XMLCh* name, const XMLCh*, const XMLCh*)
{
  refuse("the declaration of entity '", name);
}

void MySAX2Handler::unparsedEntityDecl(const XMLCh* name, const XMLCh*, const XMLCh*, const XMLCh*)
{
  refuse("the declaration of entity '", name);
}
