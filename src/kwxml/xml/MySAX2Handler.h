// The SAX2 handler that builds a message from its XML form: it feeds the parser's events to the rules of
// MessageReader and guards the parser against what a hostile document may declare.
//
// A handler reads one document. It refuses every declaration of an entity or of an attribute with a default
// value, before either can be used: no message needs one, and with them a short text stands for a huge one or
// for a local file.
#pragma once

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/reading/ReadObserver.h>

#include <xercesc/sax2/DefaultHandler.hpp>

#include <cstdint>
#include <memory>
#include <string>

class KwXMLContextInfo;

namespace kwxml {
class MemoryBudget;
class MessageReader;
}  // namespace kwxml

class MySAX2Handler : public xercesc::DefaultHandler
{
public:
  MySAX2Handler();
  MySAX2Handler(const MySAX2Handler&) = delete;
  MySAX2Handler& operator=(const MySAX2Handler&) = delete;
  ~MySAX2Handler() override;

  /// The name hash of field records; see kwxml::nameHash.
  static std::uint32_t getHash(const char* text, std::size_t length) { return kwxml::nameHash(text, length); }

  // Called before parsing.
  /// The context stays the caller's and must outlive the parse; it and the flags concern passwords.
  void setContextInfo(KwXMLContextInfo* context);
  void setEncodingFlags(const EncodingFlags& flags);
  /// Fields keep their default values, marked set, unless the document sets them.
  void setDefaultsWhileUnserialization();
  /// The document is read into this message of the caller, whose other fields stay as they are.
  void setTargetMessage(YMMessageBase* message);

  /// The memory that the messages of the document may take. XMLSerializer sets it for its text; without it,
  /// under a parser of one's own, it is that of a small one.
  void setBudget(const kwxml::MemoryBudget& budget);

  /// Told of what reading bends or drops; null: nobody is. It stays the caller's and must outlive the parse.
  void setObserver(kwxml::ReadObserver* observer);

  /// The rules behind the handler, for another feed than the parser's events. Null when a document has been
  /// begun, or when a derived class may want to see the events.
  kwxml::MessageReader* rulesForAnotherFeed();

  /// Whether it is the name of a class, or of a field of a message that is being read.
  bool knowsName(const std::string& name) const;

  /// Refuses declarations of elements as well; see GuardedReader.
  void refuseElementDeclarations(bool refuse) { refusesElements_ = refuse; }

  /// The root message to look at; null before its start tag. The handler's until takeMessage().
  YMMessageBase* getMessage() const;
  /// The same, handed to the caller, who owns it from then on, also while it is still being read. Later calls
  /// give the same pointer.
  YMMessageBase* takeMessage();

  bool processAttributes(const xercesc::Attributes& attributes);
  void processMapEnd(const FieldDef& field);

  // SAX2
  void startDocument() override;
  void startElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname,
                    const xercesc::Attributes& attributes) override;
  void characters(const XMLCh* chars, XMLSize_t length) override;
  void endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) override;
  void setDocumentLocator(const xercesc::Locator* locator) override;
  void attributeDecl(const XMLCh* element, const XMLCh* attribute, const XMLCh* type, const XMLCh* mode,
                     const XMLCh* value) override;
  void elementDecl(const XMLCh* name, const XMLCh* model) override;
  void internalEntityDecl(const XMLCh* name, const XMLCh* value) override;
  void externalEntityDecl(const XMLCh* name, const XMLCh* publicId, const XMLCh* systemId) override;
  void unparsedEntityDecl(const XMLCh* name, const XMLCh* publicId, const XMLCh* systemId,
                          const XMLCh* notation) override;

private:
  struct Reader;
  [[noreturn]] void refuse(const char* what, const XMLCh* name) const;

  std::unique_ptr<Reader> reader_;
  bool refusesElements_ = false;
};
