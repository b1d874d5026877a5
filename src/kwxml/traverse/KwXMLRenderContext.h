// What a summary (KwXMLSummary.h) is rendered into: the base of the plain-text and the HTML contexts.
// Programs may derive their own.
#pragma once

#include <string>

class MsgFieldContext;

/// How a summary is made.
class ContextFormatOpts
{
public:
  ContextFormatOpts() = default;
  ContextFormatOpts(int localeId, bool order, bool collapsible)
      : localeId(localeId), order(order), collapsible(collapsible)
  {
  }

  int localeId = 0;          ///< locale of labels
  bool order = false;        ///< simple fields before all others
  bool collapsible = false;  ///< HTMLRenderContext: each message as a block that opens at a click
};

/// One context renders one summary: the walk calls it, then its DumpToString() gives the text. Each message
/// and nested message stands between a start and an end; each field goes to one of the three write
/// operations.
class KwXMLRenderContext
{
public:
  KwXMLRenderContext() = default;
  explicit KwXMLRenderContext(const ContextFormatOpts& options) : options_(options) {}

  ContextFormatOpts getFormatOptions() const { return options_; }

  virtual void startHeader(std::string name) = 0;
  virtual void writeHeader(std::string name) = 0;
  virtual void endHeader(std::string name) = 0;
  virtual void startSubHeader(MsgFieldContext& field) = 0;
  virtual void writeSubHeader(std::string name) = 0;
  virtual void endSubHeader(MsgFieldContext& field) = 0;
  virtual void writeAttribute(MsgFieldContext& field) = 0;
  virtual void writeList(MsgFieldContext& field) = 0;
  virtual void writeEnum(MsgFieldContext& field) = 0;

protected:
  ~KwXMLRenderContext() = default;  // nobody owns a context through its base

private:
  ContextFormatOpts options_;
};
