// Walks over the fields of a message, driven by the records of its class, and shows each to a visitor.
//
// A visitor derives from XmlTraverseHandler. The walk can make nested messages that are missing, so that the
// visitor may fill them, and keeps those in which it changed something. Renderings, summaries, dummy values
// and XPath records are visitors.
#pragma once

#include <kwxml/traverse/MsgFieldContext.h>

#include <string>
#include <vector>

class KwXMLContextInfo;

class XmlTraverseHandler
{
public:
  XmlTraverseHandler() = default;
  /// An `order` of true asks for an ordered walk: simple fields of a message before all others.
  XmlTraverseHandler(int localeId, bool order) : localeId(localeId), order(order) {}

  int getLocaleId() const noexcept { return localeId; }
  bool getOrder() const noexcept { return order; }

  /// Called with the class name before and after the walk of the outermost message.
  virtual void beginTraverse(std::string className);
  /// Called before and after each nested message, with the field that holds it.
  virtual void startSubObject(MsgFieldContext& field);
  /// Called for every field but hidden ones, set or not, before the messages in it.
  virtual void visit(MsgFieldContext& field) = 0;
  virtual void endSubObject(MsgFieldContext& field);
  virtual void endTraverse(std::string className);

protected:
  ~XmlTraverseHandler() = default;  // nobody owns a visitor through its base

  int localeId = 0;
  bool order = false;
};

/// One walk at a time; visitors are called on the caller's thread, and what they throw ends the walk. They
/// may change the messages that they are shown, but not remove or move one that is being walked: the one that
/// holds the field, those around it, and a list that one of these is an element of. A class or a message that
/// cannot be found or made is logged and passed over.
///
/// Two bounds hold: messages below the deepest nesting that encodings accept (Limits.h) are not walked, and
/// one walk makes a limited number of messages, since classes that refer to each other would otherwise unfold
/// without end. Each is logged once.
class XmlTraverse : public XmlTraverseHandler
{
public:
  using XmlTraverseHandler::XmlTraverseHandler;

  /// Walks a message, in order when the handler asks for it. With `createMissing`, nested messages that are
  /// not there are made and walked (for an empty list of messages: one); with `keepCreated` those in which a
  /// replaceValue() was called stay in the message. A message without a class is no walk: nothing is called.
  void traverse(YMMessageBase& message, XmlTraverseHandler& handler, bool createMissing, bool keepCreated);
  /// Reads the text, walks the message, never in order, and writes it back with default settings. The context
  /// (which may be null) goes to the decoder, its password type becomes PASS_THROUGH: passwords pass as they
  /// were received, by the algorithm for that type. A text that cannot be read becomes empty, or stays when
  /// the context reports an error.
  void traverse(std::string& xml, XmlTraverseHandler& handler, bool createMissing, bool keepCreated,
                KwXMLContextInfo* context);

  /// The walks of one message by the handler of the latest traverse(); true when a visit modified a field or
  /// a message was kept. Without a handler nothing happens.
  bool traverseHelper(YMMessageBase& message, const _ClassDef* cls, bool createMissing, bool keepCreated,
                      const FieldDefTraverseInfo* parent);
  bool traverseByOrderHelper(YMMessageBase& message, const _ClassDef* cls, bool createMissing,
                             bool keepCreated, const FieldDefTraverseInfo* parent);

  /// Whether a message of that class name is being walked, in an unordered walk.
  bool existsInProcessingStack(const std::string& className) const;

  /// Copies every set field of `from` into `into`, a message of the same class (else false, and nothing
  /// happens): scalars and strings replace, elements of lists are appended, nested messages merge. Lists of
  /// uint, enumerations and bools stay as they are, and so do maps. A line at level 10 for each pair of
  /// messages. Messages nested too deep (logged) are not merged. Neither message may be a part of the other.
  [[nodiscard]] bool merge(YMMessageBase& from, YMMessageBase& into);

  /// Does nothing.
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

/// Gives every unset entity field its default value where its annotation CommandParam has useDefault true: a
/// visitor.
class EntityTypeHandler : public XmlTraverseHandler
{
public:
  void visit(MsgFieldContext& field) override;
};
