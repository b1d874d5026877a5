// Which message a text holds, told from its beginning.
#include <kwxml/xml/XMLSerializer.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/xml/GuardedReader.h>
#include <kwxml/xml/MessageReader.h>
#include <kwxml/xml/MySAX2Handler.h>
#include <kwxml/xml/XmlScanner.h>
#include <kwxml/xml/XmlSources.h>
#include <kwxml/xml/XmlText.h>

#include <xercesc/framework/XMLPScanToken.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>

#include <memory>

using kwxml::log;

namespace {

/// Name and tag of the root that has been read; false, with a line, when there is none.
bool tell(const YMMessageBase* root, bool started, std::string& tagName, unsigned int& tag)
{
  if (root == nullptr) {
    log().logError(
        "XMLSerializer::_GetTagAndTagIDFromXML", "[%s]",
        started ? "Unable to retrieve tag for given xml" : "Unable to retrieve token for given xml");
    return false;
  }
  tagName = root->getTagName();
  tag = static_cast<unsigned int>(root->getTagID());
  return true;
}

}  // namespace

namespace {

bool readRoot(xercesc::MemBufInputSource* source, kwxml::ParserMemory& memory, std::string& tagName,
              unsigned int& tag)
{
  tagName.clear();
  tag = 0;
  MySAX2Handler handler;
  bool started = false;
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
  return tell(handler.getMessage(), started, tagName, tag);
}

}  // namespace

bool XMLSerializer::_GetTagAndTagIDFromXML(xercesc::MemBufInputSource* source, std::string& tagName,
                                           unsigned int& tag)
{
  kwxml::ParserMemory memory;
  return readRoot(source, memory, tagName, tag);
}

namespace {

/// `utf8` is the text as log lines show it, and as the scanner reads it unless something was lost on the way.
template <class MakeSource>
bool peek(bool isEmpty, const std::string& utf8, bool isWhole, std::string& tagName, unsigned int& tag,
          const char* function, MakeSource makeSource)
{
  std::string found;  // `tagName` may be the text itself
  unsigned int foundTag = 0;
  const auto read = [&] {
    kwxml::XmlScanner scanner(utf8);
    if (isWhole && scanner.acceptsBeginning()) {
      kwxml::MessageReader reader;
      const bool isRead = scanner.tellRoot(reader);
      return tell(isRead ? reader.root() : nullptr, true, found, foundTag);
    }
    kwxml::ParserMemory memory;
    try {
      const auto source = makeSource(memory);
      return source != nullptr && readRoot(source.get(), memory, found, foundTag);
    } catch (const xercesc::OutOfMemoryException&) {
      return false;
    }
  };
  if (isEmpty) {
    log().debug(function, 10, "[%s]", "Received empty xml");
  } else if (!XMLSerializer::initialize()) {
    log().logError(function, "[%s]", "Error initializing xerces library");
  } else if (!read()) {
    log().logError(function, "Error retrieving tag for given xml : [%s]", utf8.c_str());
  }
  tagName = std::move(found);
  tag = foundTag;
  return tag != 0;
}

}  // namespace

bool XMLSerializer::GetTagAndTagIDFromXML(const std::string& xml, std::string& tagName, unsigned int& tag)
{
  return peek(xml.empty(), xml, true, tagName, tag, "XMLSerializer::GetTagAndTagIDFromXML(string)",
              [&](auto& memory) { return kwxml::narrowSource(xml, memory); });
}

bool XMLSerializer::GetTagAndTagIDFromXML(const std::wstring& xml, std::string& tagName, unsigned int& tag)
{
  std::u16string text;
  const bool isValid = kwxml::toUtf16(xml.c_str(), text);
  return peek(xml.empty(), kwxml::toUtf8(text), isValid && !kwxml::hasLoneSurrogate(text), tagName, tag,
              "XMLSerializer::GetTagAndTagIDFromXML(wstring)",
              [&](auto& memory) { return isValid ? kwxml::wideSource(text, memory) : nullptr; });
}
