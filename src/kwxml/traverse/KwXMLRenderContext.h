// What a summary (KwXMLSummary.h) is rendered into.
#pragma once

#include <kwxml/platform/Export.h>

#include <string>

class MsgFieldContext;

/// How a summary is made.
class ContextFormatOpts
{
public:
  ContextFormatOpts() = default;
  /// The given values.
  ContextFormatOpts(int localeId, bool order, bool collapsible)
      : localeId(localeId), order(order), collapsible(collapsible)
  {
  }

  int localeId = 0;          ///< locale of labels; every label is the field's name (XmlUtils)
  bool order = false;        ///< simple fields before all others
  bool collapsible = false;  ///< HTMLRenderContext: the message as a block that opens at a click
};

/// The base of the contexts that summaries are rendered into; programs may derive their own. One context
/// renders one summary: the walk calls the context, then DumpToString() of the derived class gives the text.
/// The message and each nested message stand between a start and an end; each field that is shown goes to
/// writeAttribute(), writeList() or writeEnum(). What an override throws ends the walk.
class KWXML_API KwXMLRenderContext
{
public:
  /// With the default options.
  KwXMLRenderContext() = default;
  /// With a copy of the options.
  explicit KwXMLRenderContext(const ContextFormatOpts& options) : options_(options) {}

  /// The options that the context was made with.
  ContextFormatOpts getFormatOptions() const { return options_; }

  /// Called before the fields of the outermost message, with the name of its class.
  virtual void startHeader(std::string name) = 0;
  /// For programs: the walks of this library do not call it.
  virtual void writeHeader(std::string name) = 0;
  /// Called behind the fields of the outermost message, with the name of its class.
  virtual void endHeader(std::string name) = 0;
  /// Called before the fields of a nested message, with the field that holds the message.
  virtual void startSubHeader(MsgFieldContext& field) = 0;
  /// For programs: the walks of this library do not call it.
  virtual void writeSubHeader(std::string name) = 0;
  /// Called behind the fields of a nested message, with the field that holds the message.
  virtual void endSubHeader(MsgFieldContext& field) = 0;
  /// Called for a scalar: a number, a truth value, a text, bytes or a password.
  virtual void writeAttribute(MsgFieldContext& field) = 0;
  /// Called for a list.
  virtual void writeList(MsgFieldContext& field) = 0;
  /// Called for an enumeration, and by SummaryTraverse for a list of enumerations.
  virtual void writeEnum(MsgFieldContext& field) = 0;

protected:
  ~KwXMLRenderContext() = default;  // nobody owns a context through its base

private:
  ContextFormatOpts options_;
};
