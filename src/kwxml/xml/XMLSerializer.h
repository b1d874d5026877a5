// Turns one message into an XML document and its text, and such a text into a message.
//
// One serializer serves one call or a few in a row; it is not safe for concurrent use. Failures are reported
// by results and one log line; nothing throws but std::bad_alloc. Element and attribute values given to the
// DOM operations are NUL-terminated UTF-16.
#pragma once

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/Export.h>
#include <kwxml/xml/TakeText.h>
#include <kwxml/xml/TextToRead.h>
#include <kwxml/xml/XMLSerializationSupport.h>
#include <kwxml/xml/XercesForward.h>

#include <cstddef>
#include <iosfwd>
#include <span>
#include <string>

class CYxFile;
class KwXMLContextInfo;
class MySAX2Handler;

namespace kwxml {
class ReadObserver;
}

/// When set, readers also switch off namespaces and schema processing. False by default; set before threads
/// read.
extern KWXML_API bool skipValidation;

/// Makes the "]]>" in a text that goes out as a CDATA section harmless: the XML library ends the section
/// inside what is put in its place, and a reader joins the original text.
KWXML_API void parseStringForCDATAEndAndReplace(std::string& text);

/// Writes and reads XML. XMLEncoder and XMLDecoder are made of it for callers who need no more.
class KWXML_API XMLSerializer
{
public:
  /// Default flags and no context.
  XMLSerializer() = default;
  /// The context (null: none) stays the caller's and must outlive the serializer.
  explicit XMLSerializer(const EncodingFlags& flags, KwXMLContextInfo* context = nullptr)
      : context_(context), flags_(flags)
  {
  }

  /// Initialises the XML library for the process, once; safe from any thread. False when it cannot be.
  [[nodiscard]] static bool initialize();

  /// The registry of this serializer's listeners.
  XMLSerializationSupport& getXMLSerializationSupportObject() { return listeners_; }

  // ---- Writing

  /// The message as UTF-8 XML in `out`: the root element alone when `elementOnly`, else with the XML
  /// declaration. 0 on success; 1, with `out` empty, on failure. A field that cannot be written is logged and
  /// left out.
  [[nodiscard]] int serialize(const YMMessageBase& message, std::string& out, bool elementOnly);
  [[nodiscard]] int serialize(const YMMessageBase& message, std::string& out, int elementOnly)
  {
    return serialize(message, out, elementOnly != 0);
  }
  [[nodiscard]] int serialize(const YMMessageBase& message, std::string& out)
  {
    return serialize(message, out, false);
  }
  /// The same in parts, so that the text never stands in memory as a whole; only an unusual message (see
  /// docs/architecture.md) is written as one. 1 also when a part was not taken. On any other failure nothing
  /// has been handed out, but where memory ran out. What cannot be written is logged by attributes and then
  /// children once a part has been handed out, not in the order of the records.
  [[nodiscard]] int serialize(const YMMessageBase& message, const kwxml::TakeText& take,
                              bool elementOnly = false);
  [[nodiscard]] int serialize(const YMMessageBase& message, std::ostream& out, bool elementOnly = false);
  /// Into memory of the caller. `size` becomes the size of the text; where that is more than there is room,
  /// the result is 1 and the memory holds the beginning.
  [[nodiscard]] int serialize(const YMMessageBase& message, std::span<char> memory, std::size_t& size,
                              bool elementOnly = false);
  /// How many values of the message that was written last could not be written, or were no UTF-8 and were
  /// taken as Latin-1; each is logged.
  int lost() const { return lost_; }
  /// Adds the fields of one message below `parent`. False when messages nest too deep (logged).
  [[nodiscard]] bool serializeXMLRecur(const YMMessageBase& message, xercesc_3_2::DOMDocument* document,
                                       xercesc_3_2::DOMElement* parent, int passwordMode);

  /// A scalar as an attribute of `element`, or as a child with text when values go out as elements.
  void writeNodeToXML(xercesc_3_2::DOMDocument* document, xercesc_3_2::DOMElement* element, const char* name,
                      const char16_t* value);
  /// The value of a list item, on the item's own element.
  void writeListNodeToXML(xercesc_3_2::DOMDocument* document, xercesc_3_2::DOMElement* item, const char* name,
                          const char16_t* value);
  /// The same as a CDATA section in a child.
  void writeAsCDATA(xercesc_3_2::DOMDocument* document, xercesc_3_2::DOMElement* element, const char* name,
                    const char16_t* value);
  /// The value of a list item as a CDATA section in the item's own element.
  void writeListNodeAsCDATA(xercesc_3_2::DOMDocument* document, xercesc_3_2::DOMElement* item,
                            const char* name, const char16_t* value);
  /// The element of a map entry with its "__mapKey__" and "__mapValue__" children, appended to `parent`. 1,
  /// or 0 with nothing made.
  [[nodiscard]] char constructMapElements(xercesc_3_2::DOMDocument* document, xercesc_3_2::DOMElement* parent,
                                          xercesc_3_2::DOMElement*& entry, xercesc_3_2::DOMElement*& key,
                                          xercesc_3_2::DOMElement*& value, const char* name);

  /// A DOM writer for this serializer's form; the caller releases it. Null when the XML library cannot be
  /// initialised.
  [[nodiscard]] xercesc_3_2::DOMLSSerializer* DOMCreateAWriterUTF8();
  /// The same, for a text in UTF-16.
  [[nodiscard]] xercesc_3_2::DOMLSSerializer* DOMCreateAWriterUTF16();
  /// The document's text. False, with `out` empty and a log line, when the document cannot be written.
  [[nodiscard]] bool DumpDOMDocumentToStringUTF8(std::string& out, xercesc_3_2::DOMDocument* document,
                                                 bool elementOnly);

  /// Writes the message's XML with default flags into a file. 0 on success, 9 when it cannot be serialized, 1
  /// otherwise.
  [[nodiscard]] static int dumpXmlToFile(const YMMessageBase* message, CYxFile* file);

  // ---- Reading

  /// `observer` is told of what reading bends or drops, and of why it ended; null, as at first: nobody is.
  /// The observer stays the caller's and must outlive the readings.
  void setObserver(kwxml::ReadObserver* observer) { observer_ = observer; }

  /// Reads a text into a message of the caller. Without `merge` the message becomes what the text says; with
  /// it, fields that the text does not set stay, and items of lists are appended. 0 on success; on failure
  /// the message is as before, and the result is parserHelper()'s, or 5 when the text holds a message of
  /// another class. Where no memory is left it may hold a part of what was read.
  [[nodiscard]] int unserialize(YMMessageBase& message, kwxml::TextToRead xml, bool merge = false);
  [[nodiscard]] int unserialize(YMMessageBase& message, const wchar_t* xml, bool merge = false);
  /// The message in a text, which the caller owns; null on failure.
  [[nodiscard]] YMMessageBase* unserialize(kwxml::TextToRead xml);
  [[nodiscard]] std::unique_ptr<YMMessageBase> unserialize(kwxml::TextToRead xml, kwxml::Owned)
  {
    return std::unique_ptr<YMMessageBase>(unserialize(xml));
  }

  /// Parses UTF-8 or otherwise declared text. 0 on success, 4 for text that is not well-formed, 5 for any
  /// other failure. Nothing that the document names is opened, and no entity is expanded.
  [[nodiscard]] int parserHelper(MySAX2Handler* handler, kwxml::TextToRead text);
  /// The same for wide text, which must consist of Unicode code points; `validate` switches validation
  /// against grammars that the process has made known (none is ever fetched).
  [[nodiscard]] int parserHelperWideChar(MySAX2Handler* handler, const wchar_t* xml, bool validate);
  /// The message that a handler has built, whole or not, handed to the caller, who owns it; null when there
  /// is none. A message that nobody asks for ends with its handler.
  [[nodiscard]] static YMMessageBase* getSAXHandlerMessageObject(MySAX2Handler& handler);
  [[nodiscard]] static std::unique_ptr<YMMessageBase> getSAXHandlerMessageObject(MySAX2Handler& handler,
                                                                                 kwxml::Owned)
  {
    return std::unique_ptr<YMMessageBase>(getSAXHandlerMessageObject(handler));
  }

  /// Tag name and tag of the message in a text, of which only the beginning is parsed. False, with both
  /// empty, when there is none.
  [[nodiscard]] static bool GetTagAndTagIDFromXML(const std::string& xml, std::string& tagName,
                                                  unsigned int& tag);
  [[nodiscard]] static bool GetTagAndTagIDFromXML(const std::wstring& xml, std::string& tagName,
                                                  unsigned int& tag);
  /// The same of a source of the XML library, which stays the caller's.
  [[nodiscard]] static bool _GetTagAndTagIDFromXML(xercesc_3_2::MemBufInputSource* source,
                                                   std::string& tagName, unsigned int& tag);

private:
  int serializeByDom(const YMMessageBase& message, std::string& out, bool elementOnly);
  static int finish(const std::string& out);
  xercesc_3_2::DOMLSSerializer* createWriter(xercesc_3_2::MemoryManager* memory) const;
  bool dumpDocument(std::string& out, xercesc_3_2::DOMDocument* document, bool elementOnly);
  enum class Failure
  {
    Parser,  ///< an exception of the XML library
    Text,    ///< the text is not well-formed
    Other,
  };
  template <class Parse, class Log>
  int guarded(MySAX2Handler& handler, std::size_t size, Parse parse, Log log);
  std::uint64_t memoryLimit() const;
  template <class Parse>
  int unserializeWith(YMMessageBase& message, bool merge, Parse parse);

  XMLSerializationSupport listeners_;
  kwxml::ReadObserver* observer_ = nullptr;
  YMMessageBase* reused_ = nullptr;  ///< the message that is read into, where its memory can be kept
  KwXMLContextInfo* context_ = nullptr;
  EncodingFlags flags_;
  int lost_ = 0;
};
