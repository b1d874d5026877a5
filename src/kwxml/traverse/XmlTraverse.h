// Walks over the fields of messages.
#pragma once

#include <kwxml/platform/Export.h>
#include <kwxml/traverse/MsgFieldContext.h>

#include <string>
#include <vector>

class KwXMLContextInfo;

/// The base of visitors: a walk (XmlTraverse) shows a visitor each field of a message. Programs derive their
/// own. What an override throws ends the walk.
class KWXML_API XmlTraverseHandler
{
public:
  /// With locale 0 and no order.
  XmlTraverseHandler() = default;
  /// An `order` of true asks for an ordered walk: simple fields of a message before all others.
  XmlTraverseHandler(int localeId, bool order) : localeId(localeId), order(order) {}

  /// The locale of labels that the constructor was given.
  int getLocaleId() const noexcept { return localeId; }
  /// Whether the visitor asks for an ordered walk.
  bool getOrder() const noexcept { return order; }

  /// Called before the fields of the outermost message, with the name of its class. The base does nothing.
  virtual void beginTraverse(std::string className);
  /// Called before the fields of each nested message, with the field that holds the message. The base does
  /// nothing.
  virtual void startSubObject(MsgFieldContext& field);
  /// Called for every field but hidden ones, set or not, before the messages in the field.
  virtual void visit(MsgFieldContext& field) = 0;
  /// Called behind the fields of each nested message, with the field that holds the message. The base does
  /// nothing.
  virtual void endSubObject(MsgFieldContext& field);
  /// Called behind the fields of the outermost message, with the name of its class. The base does nothing.
  virtual void endTraverse(std::string className);

protected:
  ~XmlTraverseHandler() = default;  // nobody owns a visitor through its base

  int localeId = 0;    ///< what getLocaleId() gives
  bool order = false;  ///< what getOrder() gives
};

/// Walks over the fields of a message, driven by the records of its class, and shows each to a visitor. The
/// walk can make nested messages that are missing, so that the visitor may fill them, and keeps those in
/// which the visitor changed something.
///
/// An object has one walk at a time, on the caller's thread. Visitors may change the messages that they are
/// shown, but not remove or move a message that is being walked: the message that holds the field, the
/// messages around it, and a list of which one of these is an element. A class or a message that cannot be
/// found or made is logged and passed over.
///
/// Two bounds hold: messages below the deepest nesting that encodings accept (kwxml::maxMessageNesting) are
/// not walked, and one walk makes a limited number of messages (kwxml::maxCreatedMessages), since classes
/// that refer to each other would otherwise unfold without end. Each bound that a walk meets is logged once.
class KWXML_API XmlTraverse : public XmlTraverseHandler
{
public:
  /// The constructors of XmlTraverseHandler.
  using XmlTraverseHandler::XmlTraverseHandler;

  /// Walks a message, in order when the handler asks for that. With `createMissing` nested messages that are
  /// missing are made and walked; of an empty list of messages one element is made. With `keepCreated`
  /// messages that were made stay in the message where replaceValue() was called for a field in them; others
  /// are deleted. For a message without a class nothing of the handler is called.
  void traverse(YMMessageBase& message, XmlTraverseHandler& handler, bool createMissing, bool keepCreated);
  /// Reads the message in the XML text, walks the message as above, but never in order, and replaces the text
  /// by the message with default settings. The context, which may be null, goes to the decoder, and its
  /// password type becomes PASS_THROUGH: passwords pass as they were received, by the algorithm for that
  /// type. A text that cannot be read, which the decoder logs, becomes empty; when the context has an error
  /// the text stays as it is. A message that cannot be written is logged.
  void traverse(std::string& xml, XmlTraverseHandler& handler, bool createMissing, bool keepCreated,
                KwXMLContextInfo* context);

  /// Walks a message with the handler of the latest traverse(), in the order of the class. `cls` is the class
  /// of the message, `parent` the field that holds the message, or null. True when a visit modified a field
  /// of the message itself, or a message that was made for one of its fields was kept. Without a handler, and
  /// with another class, nothing happens: false.
  bool traverseHelper(YMMessageBase& message, const _ClassDef* cls, bool createMissing, bool keepCreated,
                      const FieldDefTraverseInfo* parent);
  /// The same as traverseHelper() as an ordered walk: simple fields of a message before all others.
  bool traverseByOrderHelper(YMMessageBase& message, const _ClassDef* cls, bool createMissing,
                             bool keepCreated, const FieldDefTraverseInfo* parent);

  /// Whether a message of a class of that name is being walked; false in an ordered walk.
  bool existsInProcessingStack(const std::string& className) const;

  /// Copies every set field of `from` into `into`: numbers, truth values, texts, bytes and passwords replace
  /// those of `into`, elements of lists are appended, nested messages merge. Lists of uint, enumerations and
  /// bools stay as they are, and so do maps. False, with nothing changed, when the messages have different
  /// classes or none. Each pair of messages gives a line at level 10. Nested messages below
  /// kwxml::maxMessageNesting are not merged, which is logged. Neither message may be a part of the other.
  ///
  /// Beware of old-way classes (those of systems for which kwxml::isEager() is true): in a freshly made
  /// message of such a class every number, truth value, text, byte string and password counts as set, and so
  /// does every nested message. Merging such a message overwrites all those values of `into`: texts become
  /// empty, numbers 0 or their defaults. To merge a few fields only, call YMMessageBase::wipeBitset() before
  /// setting them, and do the same for each nested message that is used.
  [[nodiscard]] bool merge(YMMessageBase& from, YMMessageBase& into);

  /// Does nothing: a walk as such is no visitor.
  void visit(MsgFieldContext&) override;

private:
  struct Walk;

  bool walk(YMMessageBase& message, const _ClassDef* cls, bool createMissing, bool keepCreated, bool ordered,
            const FieldDefTraverseInfo* parent);
  void walkOutermost(YMMessageBase& message, bool createMissing, bool keepCreated, bool ordered);

  XmlTraverseHandler* handler_ = nullptr;
  std::vector<const char*> processingStack_;  // class names of the messages being walked, innermost last
  int depth_ = 0;
  int created_ = 0;
  bool depthLogged_ = false;
  bool createdLogged_ = false;
};

/// A visitor that gives every unset enumeration, and list of enumerations, its default value where the
/// field's annotation CommandParam has useDefault true.
class KWXML_API EntityTypeHandler : public XmlTraverseHandler
{
public:
  /// Gives the field its default value where that is due.
  void visit(MsgFieldContext& field) override;
};
