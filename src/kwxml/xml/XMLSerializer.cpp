#include <kwxml/xml/XMLSerializer.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/platform/CYxFile.h>
#include <kwxml/xml/DomSink.h>
#include <kwxml/xml/GuardedReader.h>
#include <kwxml/xml/MessageWriter.h>
#include <kwxml/xml/RootName.h>
#include <kwxml/xml/TextWriting.h>
#include <kwxml/xml/XercesRuntime.h>
#include <kwxml/xml/XmlText.h>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufFormatTarget.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>

#include <memory>
#include <ostream>

using kwxml::log;

namespace {

template <class T>
struct Release
{
  void operator()(T* object) const { object->release(); }
};
template <class T>
using Released = std::unique_ptr<T, Release<T>>;

xercesc::DOMImplementation* domImplementation()
{
  return xercesc::DOMImplementation::getImplementation();
}

}  // namespace

bool XMLSerializer::initialize()
{
  return kwxml::initializeXerces();
}

// ---- Writing

namespace {

/// Empty, which is no name, for a message without a class.
std::u16string rootOf(const YMMessageBase& message)
{
  const _ClassDef* cls = message.getClass();
  return cls != nullptr ? kwxml::toUtf16(kwxml::rootElementName(message.getSubsysID(), *cls).c_str())
                        : std::u16string();
}

}  // namespace

int XMLSerializer::serialize(const YMMessageBase& message, std::string& out, bool elementOnly)
{
  constexpr const char* function = "XMLSerializer::serialize";
  if (!initialize()) {
    log().logError(function, "[%s]", "Error initializing xerces library");
    out.clear();
    return 1;
  }
  lost_ = 0;
  try {
    kwxml::TextOutput text;
    const kwxml::TextWritten written =
        kwxml::writeText(message, text, flags_, listeners_, context_, elementOnly);
    if (written.done) {
      lost_ = written.lost;
      text.moveTo(out);  // which may be a string of the message itself
      return finish(out);
    }
  } catch (...) {  // no memory
    log().logError(function, "[%s]", "Error Writing Xml to String");
    out.clear();
    return 1;
  }
  return serializeByDom(message, out, elementOnly);
}

int XMLSerializer::serialize(const YMMessageBase& message, const kwxml::TakeText& take, bool elementOnly)
{
  constexpr const char* function = "XMLSerializer::serialize";
  if (!initialize()) {
    log().logError(function, "[%s]", "Error initializing xerces library");
    return 1;
  }
  lost_ = 0;
  try {
    kwxml::TextOutput text(take);
    const kwxml::TextWritten written =
        kwxml::writeText(message, text, flags_, listeners_, context_, elementOnly);
    if (written.done) {
      lost_ = written.lost;
      return text.finish() ? 0 : 1;
    }
    std::string whole;
    return serializeByDom(message, whole, elementOnly) == 0 && take(whole) ? 0 : 1;
  } catch (...) {  // no memory, or the taker's exception
    log().logError(function, "[%s]", "Error Writing Xml to String");
    return 1;
  }
}

int XMLSerializer::serialize(const YMMessageBase& message, std::ostream& out, bool elementOnly)
{
  return serialize(message, kwxml::intoStream(out), elementOnly);
}

int XMLSerializer::serialize(const YMMessageBase& message, std::span<char> memory, std::size_t& size,
                             bool elementOnly)
{
  const int result = serialize(message, kwxml::intoMemory(memory, size), elementOnly);
  return result == 0 && size > memory.size() ? 1 : result;
}

/// The last word on a text that was written.
int XMLSerializer::finish(const std::string& out)
{
  if (log().getDebugLevel() >= 25) {
    log().debug("XMLSerializer::serialize", 25, "Serialized xml is : [%s]", out.c_str());
  }
  return 0;
}

int XMLSerializer::serializeByDom(const YMMessageBase& message, std::string& out, bool elementOnly)
{
  constexpr const char* function = "XMLSerializer::serialize";
  xercesc::DOMDocument* document = nullptr;
  kwxml::ParserMemory memory;  // what the document cannot give back when memory ends
  try {
    const std::u16string root = rootOf(message);
    document = domImplementation()->createDocument(nullptr, root.c_str(), nullptr, &memory);
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
  return finish(out);
}

bool XMLSerializer::serializeXMLRecur(const YMMessageBase& message, xercesc::DOMDocument* document,
                                      xercesc::DOMElement* parent, int passwordMode)
{
  if (document == nullptr || parent == nullptr) {
    log().logError("XMLSerializer::serializeXMLRecur", "[%s]", "Received NULL document");
    return true;  // nothing was to be written
  }
  kwxml::DomSink sink(document, parent);
  kwxml::MessageWriter<kwxml::DomSink> writer(sink, flags_, listeners_, context_);
  const bool written = writer.writeFields(message, passwordMode);
  lost_ += writer.lost();
  return written;
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
  return createWriter(xercesc::XMLPlatformUtils::fgMemoryManager);
}

xercesc::DOMLSSerializer* XMLSerializer::createWriter(xercesc::MemoryManager* memory) const
{
  xercesc::DOMLSSerializer* writer = domImplementation()->createLSSerializer(memory);
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

/// Whether XML allows all texts of a document: values, names of namespaces, what a document type says.
bool holdsXmlText(const xercesc::DOMDocument& document)
{
  const auto isText = [](const XMLCh* text) { return text == nullptr || kwxml::isXmlText(text); };
  const auto allowed = [&isText](const xercesc::DOMNode& node) {
    return isText(node.getNodeValue()) && isText(node.getNamespaceURI());
  };
  const xercesc::DOMDocumentType* type = document.getDoctype();
  if (type != nullptr &&
      !(isText(type->getPublicId()) && isText(type->getSystemId()) && isText(type->getInternalSubset()))) {
    return false;
  }
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
  kwxml::ParserMemory memory;
  try {
    const Released<xercesc::DOMLSSerializer> writer(createWriter(&memory));
    const Released<xercesc::DOMLSOutput> output(domImplementation()->createLSOutput(&memory));
    xercesc::MemBufFormatTarget target(1023, &memory);
    output->setByteStream(&target);
    output->setEncoding(u"UTF-8");
    const xercesc::DOMNode* node = document;
    if (elementOnly) {
      node = document->getDocumentElement();
    }
    if (node != nullptr && writer->write(node, output.get())) {
      out.assign(reinterpret_cast<const char*>(target.getRawBuffer()), target.getLen());
      return true;
    }
  } catch (const xercesc::DOMException&) {
    // as where the writer says that it could not write
  } catch (const xercesc::XMLException&) {
  } catch (const xercesc::OutOfMemoryException&) {
  }
  log().logError(function, "[%s]", "Error Writing Xml to String");
  return false;
}

int XMLSerializer::dumpXmlToFile(const YMMessageBase* message, CYxFile* file)
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
