#include <kwxml/xml/XMLSerializer.h>

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/platform/CYxFile.h>
#include <kwxml/platform/KwException.h>
#include <kwxml/xml/DomSink.h>
#include <kwxml/xml/GuardedReader.h>
#include <kwxml/xml/MessageWriter.h>
#include <kwxml/xml/MySAX2Handler.h>
#include <kwxml/xml/XercesRuntime.h>
#include <kwxml/xml/XmlText.h>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufFormatTarget.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLPScanToken.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/XMLUni.hpp>

#include <memory>

bool skipValidation = false;

namespace {

constexpr int notWellFormed = 4;
constexpr int parseFailed = 5;

template <class T>
struct Release
{
  void operator()(T* object) const { object->release(); }
};
template <class T>
using Released = std::unique_ptr<T, Release<T>>;

XMLDebug& log()
{
  return *XMLDebug::getInstance();
}

xercesc::DOMImplementation* domImplementation()
{
  return xercesc::DOMImplementationRegistry::getDOMImplementation(u"LS");
}

}  // namespace

bool XMLSerializer::initialize()
{
  return kwxml::initializeXerces();
}

// ---- Writing

int XMLSerializer::serialize(YMMessageBase& message, std::string& out, bool elementOnly)
{
  constexpr const char* function = "XMLSerializer::serialize";
  if (!initialize()) {
    log().logError(function, "[%s]", "Error initializing xerces library");
    out.clear();
    return 1;
  }
  xercesc::DOMDocument* document = nullptr;
  try {
    const std::u16string root = kwxml::toUtf16(kwxml::rootElementName(message).c_str());
    document = domImplementation()->createDocument(nullptr, root.c_str(), nullptr);
  } catch (...) {  // a name that is none, or no memory
    document = nullptr;
  }
  if (document == nullptr) {
    log().logError(function, "[%s]", "Error creating XML root node.");
    out.clear();
    return 1;
  }
  constexpr int topLevelPasswordMode = 2;
  bool written = false;
  std::string text;  // `out` may be a string of the message itself
  try {
    written = serializeXMLRecur(message, document, document->getDocumentElement(), topLevelPasswordMode) &&
              dumpDocument(text, document, elementOnly);
  } catch (...) {  // no memory, in one library's words or the other's, or a listener's exception
    log().logError(function, "[%s]", "Error Writing Xml to String");
  }
  try {
    document->release();
  } catch (...) {
    log().debug(function, 15, "Exception releasing DOMDocument.");
  }
  if (!written) {
    out.clear();
    return 1;
  }
  out = std::move(text);
  if (log().getDebugLevel() >= 25) {
    log().debug(function, 25, "Serialized xml is : [%s]", out.c_str());
  }
  return 0;
}

bool XMLSerializer::serializeXMLRecur(YMMessageBase& message, xercesc::DOMDocument* document,
                                      xercesc::DOMElement* parent, int passwordMode)
{
  if (document == nullptr || parent == nullptr) {
    log().logError("XMLSerializer::serializeXMLRecur", "[%s]", "Received NULL document");
    return true;  // nothing was to be written
  }
  kwxml::DomSink sink(document, parent);
  return kwxml::MessageWriter(sink, flags_, listeners_, context_).writeFields(message, passwordMode);
}

namespace {

/// The public DOM operations are those of the sink, standing on one element. The sink is made for values that
/// XML allows; the DOM would take any, and its writer does not end on some of them.
template <class Operation>
void onElement(const char* function, xercesc::DOMDocument* document, xercesc::DOMElement* element,
               const char* name, const char16_t* value, Operation operation)
{
  if (document == nullptr || element == nullptr) {
    log().logError(function, "[%s]", "Received NULL document");
    return;
  }
  if (value == nullptr || !kwxml::isXmlText(value)) {
    log().logError(function, kwxml::DomSink::tagFailure, name != nullptr ? name : "");
    return;
  }
  kwxml::DomSink sink(document, element);
  operation(sink);
}

}  // namespace

void XMLSerializer::writeNodeToXML(xercesc::DOMDocument* document, xercesc::DOMElement* element,
                                   const char* name, const char16_t* value)
{
  onElement("XMLSerializer::writeNodeToXML", document, element, name, value, [&](kwxml::DomSink& sink) {
    flags_.valuesAsElements ? sink.textElement(name, value) : sink.attribute(name, value);
  });
}

void XMLSerializer::writeListNodeToXML(xercesc::DOMDocument* document, xercesc::DOMElement* item,
                                       const char* name, const char16_t* value)
{
  onElement("XMLSerializer::writeListNodeToXML", document, item, name, value, [&](kwxml::DomSink& sink) {
    flags_.valuesAsElements ? sink.text(name, value) : sink.itemAttribute(name, value);
  });
}

void XMLSerializer::writeAsCDATA(xercesc::DOMDocument* document, xercesc::DOMElement* element,
                                 const char* name, const char16_t* value)
{
  onElement("XMLSerializer::writeAsCDATA", document, element, name, value,
            [&](kwxml::DomSink& sink) { sink.cdataElement(name, value); });
}

void XMLSerializer::writeListNodeAsCDATA(xercesc::DOMDocument* document, xercesc::DOMElement* item,
                                         const char* name, const char16_t* value)
{
  onElement("XMLSerializer::writeListNodeAsCDATA", document, item, name, value,
            [&](kwxml::DomSink& sink) { sink.cdata(name, value); });
}

char XMLSerializer::constructMapElements(xercesc::DOMDocument* document, xercesc::DOMElement* parent,
                                         xercesc::DOMElement*& entry, xercesc::DOMElement*& key,
                                         xercesc::DOMElement*& value, const char* name)
{
  if (document == nullptr || parent == nullptr) {
    log().logError("XMLSerializer::constructMapElements", "[%s]", "Received NULL document");
    entry = key = value = nullptr;
    return 0;
  }
  return kwxml::DomSink::constructMapElements(document, parent, entry, key, value, name) ? 1 : 0;
}

xercesc::DOMLSSerializer* XMLSerializer::DOMCreateAWriterUTF8()
{
  if (!initialize()) {
    log().logError("XMLSerializer::DOMCreateAWriterUTF8", "[%s]", "Error initializing xerces library");
    return nullptr;
  }
  xercesc::DOMLSSerializer* writer = domImplementation()->createLSSerializer();
  writer->setNewLine(u"\n");
  if (flags_.readableForm) {
    writer->getDomConfig()->setParameter(xercesc::XMLUni::fgDOMWRTFormatPrettyPrint, true);
  }
  return writer;
}

xercesc::DOMLSSerializer* XMLSerializer::DOMCreateAWriterUTF16()
{
  // The two differ in the encoding of the output that they are given.
  return DOMCreateAWriterUTF8();
}

namespace {

/// Whether XML allows all texts and attribute values of a document.
bool holdsXmlText(const xercesc::DOMDocument& document)
{
  const auto allowed = [](const xercesc::DOMNode& node) {
    const XMLCh* value = node.getNodeValue();
    return value == nullptr || kwxml::isXmlText(value);
  };
  for (const xercesc::DOMNode* node = &document; node != nullptr;) {
    if (!allowed(*node)) {
      return false;
    }
    const xercesc::DOMNamedNodeMap* attributes = node->getAttributes();
    for (XMLSize_t i = 0; attributes != nullptr && i < attributes->getLength(); ++i) {
      if (!allowed(*attributes->item(i))) {
        return false;
      }
    }
    const xercesc::DOMNode* next = node->getFirstChild();
    for (; next == nullptr && node != nullptr; node = node->getParentNode()) {
      next = node->getNextSibling();
    }
    node = next;
  }
  return true;
}

}  // namespace

bool XMLSerializer::DumpDOMDocumentToStringUTF8(std::string& out, xercesc::DOMDocument* document,
                                                bool elementOnly)
{
  constexpr const char* function = "XMLSerializer::DumpDOMDocumentToStringUTF8";
  out.clear();
  if (document == nullptr) {
    log().logError(function, "[%s]", "Received NULL document");
    return false;
  }
  if (!holdsXmlText(*document)) {  // the DOM's writer would write it, or never end
    log().logError(function, "[%s]", "Error Writing Xml to String");
    return false;
  }
  return dumpDocument(out, document, elementOnly);
}

bool XMLSerializer::dumpDocument(std::string& out, xercesc::DOMDocument* document, bool elementOnly)
{
  constexpr const char* function = "XMLSerializer::DumpDOMDocumentToStringUTF8";
  const Released<xercesc::DOMLSSerializer> writer(DOMCreateAWriterUTF8());
  const Released<xercesc::DOMLSOutput> output(domImplementation()->createLSOutput());
  xercesc::MemBufFormatTarget target(1023);
  output->setByteStream(&target);
  output->setEncoding(u"UTF-8");
  bool written = false;
  try {
    const xercesc::DOMNode* node = document;
    if (elementOnly) {
      node = document->getDocumentElement();
    }
    written = writer != nullptr && node != nullptr && writer->write(node, output.get());
  } catch (const xercesc::DOMException&) {
    written = false;
  } catch (const xercesc::XMLException&) {
    written = false;
  }
  if (!written) {
    log().logError(function, "[%s]", "Error Writing Xml to String");
    return false;
  }
  out.assign(reinterpret_cast<const char*>(target.getRawBuffer()), target.getLen());
  return true;
}

int XMLSerializer::dumpXmlToFile(YMMessageBase* message, CYxFile* file)
{
  constexpr const char* function = "XMLSerializer::dumpXmlToFile";
  constexpr int cannotSerialize = 9;
  if (message == nullptr) {
    log().logError(function, "Received null object");
    return 1;
  }
  if (file == nullptr || !file->IsValid()) {
    log().logError(function, "Invalid input file");
    return 1;
  }
  std::string xml;
  const int result = XMLSerializer().serialize(*message, xml);
  if (result != 0) {
    log().logError(function, "serialize xml failed with ret code :[%d]", result);
    return cannotSerialize;
  }
  CYxError error;
  if (file->Write(xml.data(), xml.size(), &error) < 0) {
    log().logError(function, "Failed to Dump Xml String Into File, error=%s", error.AsString());
    return 1;
  }
  return 0;
}

// ---- Reading

namespace {

constexpr const char16_t* sourceName = u"unknown";

/// The wide text as UTF-16; false when it holds something that is no code point.
bool toUtf16(const wchar_t* text, std::u16string& out)
{
  for (; *text != 0; ++text) {
    const auto c = static_cast<std::uint32_t>(*text);
    if (c < 0x10000) {
      out += static_cast<char16_t>(c);
    } else if (c < 0x110000) {
      out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
      out += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      return false;
    }
  }
  return true;
}

/// An input source over UTF-16 units, whatever encoding the text itself declares.
std::unique_ptr<xercesc::MemBufInputSource> wideSource(const std::u16string& text)
{
  auto source = std::make_unique<xercesc::MemBufInputSource>(reinterpret_cast<const XMLByte*>(text.data()),
                                                             text.size() * sizeof(char16_t), sourceName);
  source->setEncoding(xercesc::XMLUni::fgUTF16LEncodingString);
  source->setCopyBufToStream(false);
  return source;
}

std::unique_ptr<xercesc::MemBufInputSource> narrowSource(const std::string& text)
{
  auto source = std::make_unique<xercesc::MemBufInputSource>(reinterpret_cast<const XMLByte*>(text.data()),
                                                             text.size(), sourceName);
  source->setCopyBufToStream(false);
  return source;
}

}  // namespace

int XMLSerializer::parserHelper(MySAX2Handler* handler, const std::string& xml)
{
  constexpr const char* function = "XMLSerializer::parserHelper";
  if (!initialize()) {
    log().logError(function, "[%s]", "Error initializing xerces library");
    return parseFailed;
  }
  if (log().getDebugLevel() > 24) {
    log().debug(function, 25, "Received xml for unserialization : [%s]", xml.c_str());
  }
  if (handler == nullptr) {
    log().logError(function, "[%s]", "Received NULL handler");
    return parseFailed;
  }
  handler->setContextInfo(context_);
  handler->setEncodingFlags(flags_);
  kwxml::ParserMemory memory;
  try {
    const auto source = narrowSource(xml);
    kwxml::GuardedReader reader(memory, *handler);
    reader.readNarrow(skipValidation);
    reader->parse(*source);
  } catch (const xercesc::XMLException& e) {
    log().logError(function, "XMLException: %s\nXML: [%s]", kwxml::toUtf8(e.getMessage()).c_str(),
                   xml.c_str());
    return parseFailed;
  } catch (const xercesc::SAXParseException& e) {
    log().logError(function, "SAXParseException: %s\nXML: [%s]", kwxml::toUtf8(e.getMessage()).c_str(),
                   xml.c_str());
    return notWellFormed;
  } catch (...) {
    log().logError(function, "Unknown Exception!\nXML : [%s]", xml.c_str());
    return parseFailed;
  }
  return 0;
}

int XMLSerializer::parserHelperWideChar(MySAX2Handler* handler, const wchar_t* xml, bool validate)
{
  constexpr const char* function = "XMLSerializer::parserHelperWideChar";
  if (!initialize()) {
    log().logError(function, "[%s]", "Error initializing xerces library");
    return parseFailed;
  }
  if (handler == nullptr || xml == nullptr) {
    log().logError(function, "[%s]", handler == nullptr ? "Received NULL handler" : "Received NULL string");
    return parseFailed;
  }
  handler->setContextInfo(context_);
  handler->setEncodingFlags(flags_);
  kwxml::ParserMemory memory;
  try {
    std::u16string text;
    if (!toUtf16(xml, text)) {
      log().logError(function, "XMLException : [%s]", "The text holds a value that is no Unicode code point");
      return parseFailed;
    }
    const auto source = wideSource(text);
    kwxml::GuardedReader reader(memory, *handler);
    reader.readWide(validate);
    reader->parse(*source);
  } catch (const xercesc::XMLException& e) {
    log().logError(function, "XMLException : [%s]", kwxml::toUtf8(e.getMessage()).c_str());
    return parseFailed;
  } catch (const xercesc::SAXParseException& e) {
    log().logError(function, "SAXParseException: %s", kwxml::toUtf8(e.getMessage()).c_str());
    return notWellFormed;  // as for narrow text
  } catch (...) {
    log().logError(function, "[%s]", "Unknown Exception!");
    return parseFailed;
  }
  return 0;
}

YMMessageBase* XMLSerializer::getSAXHandlerMessageObject(MySAX2Handler& handler)
{
  return handler.takeMessage();
}

template <class Parse>
int XMLSerializer::unserializeWith(YMMessageBase& message, bool merge, Parse parse)
{
  MySAX2Handler handler;
  YMMessageBase merged;
  if (merge) {
    merged = message;
    handler.setTargetMessage(&merged);
  }
  const int result = parse(handler);
  if (result != 0) {
    return result;
  }
  if (merge) {
    message = std::move(merged);
    return 0;
  }
  const std::unique_ptr<YMMessageBase> read(handler.takeMessage());
  if (read == nullptr) {
    return parseFailed;
  }
  try {
    if (message.getClass() == read->getClass() && !kwxml::MessageAccess::buffer(message).isExternal()) {
      message = std::move(*read);
    } else {
      message = *read;  // keeps the caller's storage, and refuses another class
    }
  } catch (const KwException&) {
    return parseFailed;
  }
  return 0;
}

int XMLSerializer::unserialize(YMMessageBase& message, const std::string& xml, bool merge)
{
  return unserializeWith(message, merge, [&](MySAX2Handler& handler) { return parserHelper(&handler, xml); });
}

int XMLSerializer::unserialize(YMMessageBase& message, const wchar_t* xml, bool merge)
{
  return unserializeWith(message, merge,
                         [&](MySAX2Handler& handler) { return parserHelperWideChar(&handler, xml, false); });
}

YMMessageBase* XMLSerializer::unserialize(const std::string& xml)
{
  MySAX2Handler handler;
  return parserHelper(&handler, xml) == 0 ? handler.takeMessage() : nullptr;
}

// ---- Peeking

bool XMLSerializer::_GetTagAndTagIDFromXML(xercesc::MemBufInputSource* source, std::string& tagName,
                                           unsigned int& tag)
{
  constexpr const char* function = "XMLSerializer::_GetTagAndTagIDFromXML";
  tagName.clear();
  tag = 0;
  MySAX2Handler handler;
  bool started = false;
  kwxml::ParserMemory memory;
  try {
    kwxml::GuardedReader reader(memory, handler);
    reader.readNarrow(skipValidation);
    xercesc::XMLPScanToken token;
    started = source != nullptr && reader->parseFirst(*source, token);
    if (started) {
      while (handler.getMessage() == nullptr && reader->parseNext(token)) {
      }
      reader->parseReset(token);
    }
  } catch (...) {  // what went wrong shows in what was read
  }
  const YMMessageBase* message = handler.getMessage();
  if (message == nullptr) {
    log().logError(
        function, "[%s]",
        started ? "Unable to retrieve tag for given xml" : "Unable to retrieve token for given xml");
    return false;
  }
  tagName = message->getTagName();
  tag = static_cast<unsigned int>(message->getTagID());
  return true;
}

namespace {

template <class Text, class MakeSource>
bool peek(const Text& xml, const std::string& shown, std::string& tagName, unsigned int& tag,
          const char* function, MakeSource makeSource)
{
  std::string found;  // `tagName` may be the text itself
  unsigned int foundTag = 0;
  if (xml.empty()) {
    log().debug(function, 10, "[%s]", "Received empty xml");
  } else if (!XMLSerializer::initialize()) {
    log().logError(function, "[%s]", "Error initializing xerces library");
  } else {
    const auto source = makeSource();
    if (source == nullptr || !XMLSerializer::_GetTagAndTagIDFromXML(source.get(), found, foundTag)) {
      log().logError(function, "Error retrieving tag for given xml : [%s]", shown.c_str());
    }
  }
  tagName = std::move(found);
  tag = foundTag;
  return tag != 0;
}

}  // namespace

bool XMLSerializer::GetTagAndTagIDFromXML(const std::string& xml, std::string& tagName, unsigned int& tag)
{
  return peek(xml, xml, tagName, tag, "XMLSerializer::GetTagAndTagIDFromXML(string)",
              [&] { return narrowSource(xml); });
}

bool XMLSerializer::GetTagAndTagIDFromXML(const std::wstring& xml, std::string& tagName, unsigned int& tag)
{
  std::u16string text;
  const bool valid = toUtf16(xml.c_str(), text);
  return peek(xml, kwxml::toUtf8(text), tagName, tag, "XMLSerializer::GetTagAndTagIDFromXML(wstring)",
              [&] { return valid ? wideSource(text) : nullptr; });
}

// ---- Members of the message that need XML

void YMMessageBase::Initialize()
{
  XMLSerializer::initialize();
}

int YMMessageBase::ConstructObject(unsigned long tag, const char* xml, YMMessageBase*& out, bool parseNow,
                                   std::string& errorText)
{
  out = createObject(tag);
  if (out == nullptr) {
    errorText = "Unable to construct object with tagID : [" + std::to_string(tag) + "]";
    return 1;
  }
  if (!parseNow) {
    if (xml != nullptr) {
      out->setSerializedXMLString(xml, false);
    }
    return 0;
  }
  if (xml == nullptr) {
    errorText = "Received NULL string for unserialization";
  } else {
    KwXMLContextInfo context;
    if (XMLSerializer(EncodingFlags(), &context).unserialize(*out, xml) == 0) {
      return 0;
    }
    errorText = "Unserialization failed for given xml : [" + std::string(xml) + "]";
  }
  delete out;
  out = nullptr;
  return 1;
}
