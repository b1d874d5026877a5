// The SAX2 handler that builds a message from its XML form: it feeds the parser's events to the rules of
// MessageReader and guards the parser against what a hostile document may declare.
//
// A handler reads one document. It refuses every declaration of an entity or of an attribute with a default
// value, before either can be used: no message needs one, and with them a short text stands for a huge one or
// for a local file.
#pragma once

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/Export.h>
#include <kwxml/platform/StandardParts.h>
#include <kwxml/reading/ReadObserver.h>

#include <xercesc/sax2/DefaultHandler.hpp>

#include <cstdint>
#include <string>

class KwXMLContextInfo;

namespace kwxml {
class MemoryBudget;
class MessageReader;
}  // namespace kwxml

/// Builds the message of one document from the events of a SAX2 parser. Not safe for concurrent use.
class KWXML_API MySAX2Handler : public xercesc::DefaultHandler
{
public:
  /// A handler for one document, with default flags, no context and no target.
  MySAX2Handler();
  MySAX2Handler(const MySAX2Handler&) = delete;
  MySAX2Handler& operator=(const MySAX2Handler&) = delete;
  /// Ends a message that takeMessage() has not handed over.
  ~MySAX2Handler() override;

  /// The name hash of field records; see kwxml::nameHash.
  static std::uint32_t getHash(const char* text, std::size_t length) { return kwxml::nameHash(text, length); }

  // ---- Before parsing

  /// The context stays the caller's and must outlive the parse; it and the flags concern passwords.
  void setContextInfo(KwXMLContextInfo* context);
  /// Flags in place of the default ones.
  void setEncodingFlags(const EncodingFlags& flags);
  /// Fields keep their default values, marked set, unless the document sets them.
  void setDefaultsWhileUnserialization();
  /// The document is read into this message of the caller, whose other fields stay as they are. It must
  /// outlive the parse.
  void setTargetMessage(YMMessageBase* message);

  /// The memory that the messages of the document may take. XMLSerializer sets the budget for its text;
  /// without one, under a parser of one's own, the budget of a small text counts.
  void setBudget(const kwxml::MemoryBudget& budget);

  /// `observer` is told of what reading bends or drops; null: nobody is. The observer stays the caller's and
  /// must outlive the parse.
  void setObserver(kwxml::ReadObserver* observer);

  /// The rules behind the handler, for another feed than the parser's events. Null when a document has been
  /// begun, or when a derived class may want to see the events.
  kwxml::MessageReader* rulesForAnotherFeed();

  // ---- While parsing, and behind it

  /// Whether `name` is the name of a class, or of a field of a message that is being read.
  bool knowsName(const std::string& name) const;

  /// Refuses declarations of elements as well; see GuardedReader.
  void refuseElementDeclarations(bool refuse) { refusesElements_ = refuse; }

  /// The root message, to look at; null before its start tag. The message is the handler's until
  /// takeMessage().
  YMMessageBase* getMessage() const;
  /// The root message, handed to the caller, who owns it from then on, also while it is still being read.
  /// Later calls give the same pointer.
  [[nodiscard]] YMMessageBase* takeMessage();
  /// The root message with an owner, who alone has it then: only one of all calls may be this one.
  [[nodiscard]] std::unique_ptr<YMMessageBase> takeMessage(kwxml::Owned)
  {
    return std::unique_ptr<YMMessageBase>(takeMessage());
  }

  /// Stores the attributes in the message that is being read; false when one could not be processed, or there
  /// is no message.
  bool processAttributes(const xercesc::Attributes& attributes);
  /// Puts the finished entry into the map field of the message that is being read; a key that is there keeps
  /// its first value.
  void processMapEnd(const FieldDef& field);

  // ---- SAX2
  // What the parser calls. The declarations throw an exception of the XML library, which ends the parse.

  /// The document begins. Throws (and logs) at the second one.
  void startDocument() override;
  /// A message, a field, an item of a list or an entry of a map begins.
  void startElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname,
                    const xercesc::Attributes& attributes) override;
  /// Text of the element that is open; it may come in parts.
  void characters(const XMLCh* chars, XMLSize_t length) override;
  /// The element that is open ends; its value is stored.
  void endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) override;
  /// Where the parser is, for the places of problems. The locator stays the parser's.
  void setDocumentLocator(const xercesc::Locator* locator) override;
  /// Refuses an attribute with a default value.
  void attributeDecl(const XMLCh* element, const XMLCh* attribute, const XMLCh* type, const XMLCh* mode,
                     const XMLCh* value) override;
  /// Refuses the declaration of an element where refuseElementDeclarations() says so.
  void elementDecl(const XMLCh* name, const XMLCh* model) override;
  /// Refuses an entity with a text.
  void internalEntityDecl(const XMLCh* name, const XMLCh* value) override;
  /// Refuses an entity that names a file or an address.
  void externalEntityDecl(const XMLCh* name, const XMLCh* publicId, const XMLCh* systemId) override;
  /// Refuses an entity that names a file of another kind.
  void unparsedEntityDecl(const XMLCh* name, const XMLCh* publicId, const XMLCh* systemId,
                          const XMLCh* notation) override;

private:
  struct Reader;
  [[noreturn]] void refuse(const char* what, const XMLCh* name) const;

  std::unique_ptr<Reader> reader_;
  bool refusesElements_ = false;
};
