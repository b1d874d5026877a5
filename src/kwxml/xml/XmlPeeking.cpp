// Which message a text holds, told from its beginning.
#include <kwxml/xml/XMLSerializer.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/xml/GuardedReader.h>
#include <kwxml/xml/MySAX2Handler.h>
#include <kwxml/xml/XmlSources.h>
#include <kwxml/xml/XmlText.h>

#include <xercesc/framework/XMLPScanToken.hpp>

#include <memory>

using kwxml::log;

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
              [&] { return kwxml::narrowSource(xml); });
}

bool XMLSerializer::GetTagAndTagIDFromXML(const std::wstring& xml, std::string& tagName, unsigned int& tag)
{
  std::u16string text;
  const bool valid = kwxml::toUtf16(xml.c_str(), text);
  return peek(xml, kwxml::toUtf8(text), tagName, tag, "XMLSerializer::GetTagAndTagIDFromXML(wstring)",
              [&] { return valid ? kwxml::wideSource(text) : nullptr; });
}
