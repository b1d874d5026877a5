// Reading messages from XML text.
#include <kwxml/xml/XMLSerializer.h>

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/platform/KwException.h>
#include <kwxml/xml/GuardedReader.h>
#include <kwxml/xml/MySAX2Handler.h>
#include <kwxml/xml/XmlSources.h>
#include <kwxml/xml/XmlText.h>

#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/XMLException.hpp>

#include <memory>

using kwxml::log;

bool skipValidation = false;

namespace {

constexpr int notWellFormed = 4;
constexpr int parseFailed = 5;

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
    const auto source = kwxml::narrowSource(xml);
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
    if (!kwxml::toUtf16(xml, text)) {
      log().logError(function, "XMLException : [%s]", "The text holds a value that is no Unicode code point");
      return parseFailed;
    }
    const auto source = kwxml::wideSource(text);
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
