#include <kwxml/xml/MySAX2Handler.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/xml/MessageReader.h>
#include <kwxml/xml/XmlText.h>

#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/Attributes.hpp>

#include <string>
#include <typeinfo>
#include <vector>

/// Gives the rules UTF-8 in place of the parser's UTF-16.
struct MySAX2Handler::Reader final : kwxml::MessageReader, kwxml::XmlPlaces
{
  kwxml::XmlAttributes collect(const xercesc::Attributes& attributes)
  {
    const XMLSize_t count = attributes.getLength();
    texts_.clear();
    ends_.clear();
    for (XMLSize_t i = 0; i < count; ++i) {
      texts_ += kwxml::toUtf8(attributes.getQName(i));
      ends_.push_back(texts_.size());
      add(attributes.getValue(i), texts_);
      ends_.push_back(texts_.size());
    }
    collected_.clear();
    std::size_t begin = 0;
    const auto next = [&](std::size_t i) {
      const std::string_view text = std::string_view(texts_).substr(begin, ends_[i] - begin);
      begin = ends_[i];
      return text;
    };
    for (std::size_t i = 0; i < ends_.size(); i += 2) {
      const std::string_view name = next(i);
      collected_.push_back({name, next(i + 1), kwxml::nameHash(name.data(), name.size())});
    }
    return collected_;
  }

  /// The parser may part a text between the halves of a character.
  void collectText(const XMLCh* chars, XMLSize_t length)
  {
    if (usesText()) {
      text_.append(chars, length);
    }
  }
  void tellText()
  {
    if (!text_.empty()) {
      std::string text;
      add(text_, text);
      text_.clear();
      characters(text);
    }
  }

  kwxml::ReadPlace ofAttribute(const kwxml::XmlAttribute&) const override { return here(); }
  kwxml::ReadPlace ofTag() const override { return here(); }
  kwxml::ReadPlace ofText() const override { return here(); }

  const xercesc::Locator* locator = nullptr;

private:
  void add(std::u16string_view text, std::string& out)
  {
    if (kwxml::appendLooseUtf8(out, text)) {
      expectSurrogates();
    }
  }
  kwxml::ReadPlace here() const
  {
    return locator != nullptr
               ? kwxml::ReadPlace{.line = locator->getLineNumber(), .column = locator->getColumnNumber()}
               : kwxml::ReadPlace();
  }

  std::string texts_;
  std::vector<std::size_t> ends_;
  std::vector<kwxml::XmlAttribute> collected_;
  std::u16string text_;
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

void MySAX2Handler::setBudget(const kwxml::MemoryBudget& budget)
{
  reader_->setBudget(budget);
}

void MySAX2Handler::setObserver(kwxml::ReadObserver* observer)
{
  reader_->setObserver(observer, reader_.get());
}

kwxml::MessageReader* MySAX2Handler::rulesForAnotherFeed()
{
  return typeid(*this) == typeid(MySAX2Handler) && !reader_->started() ? reader_.get() : nullptr;
}

bool MySAX2Handler::knowsName(const std::string& name) const
{
  return reader_->knowsName(name);
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
  reader_->tellText();
  const std::string name = kwxml::toUtf8(qname);
  if (!reader_->startElement(name, kwxml::nameHash(name.data(), name.size()), reader_->collect(attributes))) {
    throw xercesc::SAXException(u"The document holds no readable message");  // the reader has logged why
  }
}

void MySAX2Handler::characters(const XMLCh* chars, XMLSize_t length)
{
  reader_->collectText(chars, length);
}

void MySAX2Handler::endElement(const XMLCh*, const XMLCh*, const XMLCh* qname)
{
  reader_->tellText();
  reader_->endElement(kwxml::toUtf8(qname));
}

void MySAX2Handler::setDocumentLocator(const xercesc::Locator* locator)
{
  reader_->locator = locator;
}

void MySAX2Handler::refuse(const char* what, const XMLCh* name) const
{
  const std::u16string text = kwxml::toUtf16(what) + name + u"' is refused";
  if (reader_->locator != nullptr) {
    throw xercesc::SAXParseException(text.c_str(), *reader_->locator);
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
