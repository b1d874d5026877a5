// Reading messages from XML text.
#include <kwxml/xml/XMLSerializer.h>

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/MemoryBudget.h>
#include <kwxml/model/MessageReuse.h>
#include <kwxml/model/Registry.h>
#include <kwxml/xml/GuardedReader.h>
#include <kwxml/xml/MessageReader.h>
#include <kwxml/xml/MySAX2Handler.h>
#include <kwxml/xml/XmlScanner.h>
#include <kwxml/xml/XmlSources.h>
#include <kwxml/xml/XmlText.h>

#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/XMLException.hpp>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

using kwxml::log;

bool skipValidation = false;

namespace {

constexpr int notWellFormed = 4;
constexpr int parseFailed = 5;

/// What the rules have told of themselves ends a parse by an exception of this type, and no other.
using ReadingEnded = xercesc::SAXException;

/// What one reading goes by.
struct Call
{
  kwxml::ReadObserver* observer;
  YMMessageBase* reused;      ///< the message that is read into, where its memory can be kept
  std::uint64_t memoryLimit;  ///< as KwXMLContextInfo has it
};

/// Bytes that no message of a catalogue exceeds, but for those that build others.
std::uint64_t largestMessage(const kwxml::Registry& registry)
{
  struct Known
  {
    const kwxml::Registry* registry = nullptr;
    const kwxml::CatalogueTables* tables = nullptr;
    std::uint64_t bytes = 0;
  };
  static thread_local constinit Known known;
  if (known.registry != &registry || known.tables != &registry.tables()) {
    int slots = 0;
    for (unsigned system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
      for (int i = 0; i < registry.row(system).numberOfClasses; ++i) {
        slots = std::max<int>(slots, registry.row(system).classes[i].numberOfSlots);
      }
    }
    // A byte string takes a slot and the string.
    constexpr std::uint64_t ofSlot = sizeof(long long) + sizeof(pstring);
    known = {&registry, &registry.tables(),
             sizeof(YMMessageBase) + ofSlot * static_cast<std::uint64_t>(slots)};
  }
  return known.bytes;
}

/// Reads the document by the scanner when that accepts it; false when the parser has to.
bool readByScanner(MySAX2Handler& handler, const Call& call, const kwxml::TextToRead& text)
{
  kwxml::MessageReader* reader = handler.rulesForAnotherFeed();
  if (reader == nullptr) {
    return false;
  }
  // The text may be a part of the message. And the scanner needs a zero byte behind it.
  const bool copies = call.reused != nullptr || !text.hasEnd();
  const std::string apart(copies ? text.view() : std::string_view());
  const std::string_view xml = copies ? std::string_view(apart) : text.view();
  kwxml::XmlScanner scanner(xml);
  if (!scanner.accepts()) {
    return false;
  }
  // A message that is read in its place cannot be as before: nothing may end the reading.
  if (call.reused != nullptr && scanner.deepest() <= kwxml::maxMessageNesting && call.memoryLimit == 0 &&
      scanner.elements() <=
          kwxml::usualDecodeMemory(xml.size()) / largestMessage(kwxml::Registry::of(*call.reused))) {
    reader->reuse(call.reused);
    reader->setBudget(kwxml::MemoryBudget(0, ~std::uint64_t{0}));
  } else {
    reader->setBudget(kwxml::MemoryBudget(xml.size(), call.memoryLimit));
  }
  reader->setObserver(call.observer, &scanner);
  const bool whole = scanner.tell(*reader);
  reader->setObserver(nullptr, nullptr);
  if (!whole) {
    throw ReadingEnded(u"The document holds no readable message");
  }
  return true;
}

/// For "%.*s", which ends at a zero byte all the same.
int shownLength(std::string_view text)
{
  return static_cast<int>(std::min<std::size_t>(text.size(), std::numeric_limits<int>::max()));
}

/// Signs of XML, which the parser misses or has too often.
bool isMark(const std::string& text)
{
  return text.size() <= 3 && text.find_first_not_of("<>&=;/?![]-\"'") == std::string::npos;
}

/// The parser's words. What it quotes may be a part of a password that stands in the wrong place: only names
/// that the messages being read have are shown.
std::string wordsOf(const XMLCh* message, const MySAX2Handler& handler)
{
  const std::string text = kwxml::toUtf8(message);
  std::string out;
  std::size_t at = 0;
  for (;;) {
    const std::size_t open = text.find('\'', at);
    const std::size_t close = open == std::string::npos ? open : text.find('\'', open + 1);
    if (close == std::string::npos) {
      return out + text.substr(at, open == std::string::npos ? open : open - at);
    }
    const std::string name = text.substr(open + 1, close - open - 1);
    out += text.substr(at, open + 1 - at) + (isMark(name) || handler.knowsName(name) ? name : "...") + "'";
    at = close + 1;
  }
}

}  // namespace

/// Runs a parse of a text of `size` bytes; what it throws becomes a result, after `log` has been told the
/// kind of failure and its words.
template <class Parse, class Log>
int XMLSerializer::guarded(MySAX2Handler& handler, std::size_t size, Parse parse, Log log)
{
  handler.setContextInfo(context_);
  handler.setEncodingFlags(flags_);
  handler.setObserver(observer_);
  handler.setBudget(kwxml::MemoryBudget(size, memoryLimit()));
  const auto tell = [&](std::string_view words, kwxml::ReadPlace place = {},
                        kwxml::ProblemKind kind = kwxml::ProblemKind::NotWellFormed) {
    if (observer_ != nullptr) {
      observer_->met({.kind = kind, .place = place, .remark = words});
    }
  };
  kwxml::ParserMemory memory;
  try {
    parse(memory);
    return 0;
  } catch (const xercesc::XMLException& e) {
    log(Failure::Parser, kwxml::toUtf8(e.getMessage()));
    tell(wordsOf(e.getMessage(), handler));
  } catch (const xercesc::SAXParseException& e) {
    log(Failure::Text, kwxml::toUtf8(e.getMessage()));
    tell(wordsOf(e.getMessage(), handler), {.line = e.getLineNumber(), .column = e.getColumnNumber()});
    return notWellFormed;
  } catch (const ReadingEnded&) {
    log(Failure::Other, {});
  } catch (const std::bad_alloc&) {
    log(Failure::Other, {});
    tell("there is no memory for the message", {}, kwxml::ProblemKind::NoMemory);
  } catch (const xercesc::OutOfMemoryException&) {
    log(Failure::Other, {});
    tell("there is no memory for the message", {}, kwxml::ProblemKind::NoMemory);
  } catch (...) {
    log(Failure::Other, {});
    tell("reading failed: the observer failed");
  }
  return parseFailed;
}

std::uint64_t XMLSerializer::memoryLimit() const
{
  return context_ != nullptr ? context_->getMemoryLimit() : 0;
}

int XMLSerializer::parserHelper(MySAX2Handler* handler, kwxml::TextToRead text)
{
  const std::string_view xml = text.view();
  constexpr const char* function = "XMLSerializer::parserHelper";
  if (!initialize()) {
    log().logError(function, "[%s]", "Error initializing xerces library");
    return parseFailed;
  }
  if (log().getDebugLevel() > 24) {
    log().debug(function, 25, "Received xml for unserialization : [%.*s]", shownLength(xml), xml.data());
  }
  if (handler == nullptr) {
    log().logError(function, "[%s]", "Received NULL handler");
    return parseFailed;
  }
  const auto parse = [&](kwxml::ParserMemory& memory) {
    if (!readByScanner(*handler, {observer_, reused_, memoryLimit()}, text)) {
      const auto source = kwxml::narrowSource(xml, memory);
      kwxml::GuardedReader reader(memory, *handler);
      reader.readNarrow(skipValidation);
      reader->parse(*source);
    }
  };
  return guarded(*handler, xml.size(), parse, [&](Failure failure, const std::string& words) {
    switch (failure) {
      case Failure::Parser:
        return log().logError(function, "XMLException: %s\nXML: [%.*s]", words.c_str(), shownLength(xml),
                              xml.data());
      case Failure::Text:
        return log().logError(function, "SAXParseException: %s\nXML: [%.*s]", words.c_str(), shownLength(xml),
                              xml.data());
      case Failure::Other:
        return log().logError(function, "Unknown Exception!\nXML : [%.*s]", shownLength(xml), xml.data());
    }
  });
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
  std::u16string text;
  if (!kwxml::toUtf16(xml, text)) {
    constexpr const char* words = "The text holds a value that is no Unicode code point";
    log().logError(function, "XMLException : [%s]", words);
    if (observer_ != nullptr) {
      observer_->met({.kind = kwxml::ProblemKind::NotWellFormed, .remark = words});
    }
    return parseFailed;
  }
  const auto parse = [&](kwxml::ParserMemory& memory) {
    std::string narrow;
    if (validate || kwxml::appendLooseUtf8(narrow, text) ||
        !readByScanner(*handler, {observer_, reused_, memoryLimit()}, narrow)) {
      const auto source = kwxml::wideSource(text, memory);
      kwxml::GuardedReader reader(memory, *handler);
      reader.readWide(validate);
      reader->parse(*source);
    }
  };
  return guarded(*handler, text.size() * sizeof text[0], parse,
                 [&](Failure failure, const std::string& words) {
                   switch (failure) {
                     case Failure::Parser:
                       return log().logError(function, "XMLException : [%s]", words.c_str());
                     case Failure::Text:
                       return log().logError(function, "SAXParseException: %s", words.c_str());
                     case Failure::Other:
                       return log().logError(function, "[%s]", "Unknown Exception!");
                   }
                 });
}

YMMessageBase* XMLSerializer::getSAXHandlerMessageObject(MySAX2Handler& handler)
{
  return handler.takeMessage();
}

template <class Parse>
int XMLSerializer::unserializeWith(YMMessageBase& message, bool merge, Parse parse)
{
  const kwxml::UsingCatalogue catalogue(message);
  MySAX2Handler handler;
  YMMessageBase merged;
  if (merge) {
    merged = message;
    handler.setTargetMessage(&merged);
  }
  const bool reuses =
      !merge && observer_ == nullptr && kwxml::MessageReuse::canBegin(message, message.getClass());
  reused_ = reuses ? &message : nullptr;
  const int result = parse(handler);
  reused_ = nullptr;
  if (result != 0) {
    return result;
  }
  if (handler.getMessage() == &message) {
    return 0;  // read in its place
  }
  if (merge) {
    message = std::move(merged);
    return 0;
  }
  const std::unique_ptr<YMMessageBase> read(handler.takeMessage());
  if (read == nullptr) {
    return parseFailed;
  }
  return kwxml::MessageReader::moveInto(message, std::move(*read), observer_) ? 0 : parseFailed;
}

int XMLSerializer::unserialize(YMMessageBase& message, kwxml::TextToRead xml, bool merge)
{
  return unserializeWith(message, merge, [&](MySAX2Handler& handler) { return parserHelper(&handler, xml); });
}

int XMLSerializer::unserialize(YMMessageBase& message, const wchar_t* xml, bool merge)
{
  return unserializeWith(message, merge,
                         [&](MySAX2Handler& handler) { return parserHelperWideChar(&handler, xml, false); });
}

YMMessageBase* XMLSerializer::unserialize(kwxml::TextToRead xml)
{
  MySAX2Handler handler;
  return parserHelper(&handler, xml) == 0 ? handler.takeMessage() : nullptr;
}

// ---- Members of the message that need XML

void YMMessageBase::Initialize()
{
  (void)XMLSerializer::initialize();  // whoever needs it asks again
}

int YMMessageBase::ConstructObject(unsigned long tag, const char* xml, YMMessageBase*& out, bool parseNow,
                                   std::string& errorText)
{
  out = nullptr;
  std::unique_ptr<YMMessageBase> made(createObject(tag));
  if (made == nullptr) {
    errorText = "Unable to construct object with tagID : [" + std::to_string(tag) + "]";
    return 1;
  }
  if (!parseNow) {
    if (xml != nullptr) {
      made->setSerializedXMLString(xml, false);
    }
    out = made.release();
    return 0;
  }
  if (xml == nullptr) {
    errorText = "Received NULL string for unserialization";
  } else {
    KwXMLContextInfo context;
    if (XMLSerializer(EncodingFlags(), &context).unserialize(*made, xml) == 0) {
      out = made.release();
      return 0;
    }
    errorText = "Unserialization failed for given xml : [" + std::string(xml) + "]";
  }
  return 1;
}
