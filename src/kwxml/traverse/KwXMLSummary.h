// Summaries of messages for people: a walk (XmlTraverse) whose visitor hands each field to a render context.
#pragma once

#include <kwxml/traverse/KwXMLRenderContext.h>
#include <kwxml/traverse/XmlTraverse.h>

#include <iosfwd>
#include <string>

/// Renders scalars (no enumerations) that are set and all lists, whatever their annotations, but nothing in a
/// nested message with the annotation Password. (A scalar of a type that XMLDecoder::isListType() counts
/// among the lists is rendered as one.) The context outlives the visitor.
class SummaryTraverse : public XmlTraverseHandler
{
public:
  explicit SummaryTraverse(KwXMLRenderContext* context) : context_(context) {}
  SummaryTraverse(KwXMLRenderContext* context, int localeId, bool order)
      : XmlTraverseHandler(localeId, order), context_(context)
  {
  }

  void beginTraverse(std::string className) override;
  void startSubObject(MsgFieldContext& field) override;
  void visit(MsgFieldContext& field) override;
  void endSubObject(MsgFieldContext& field) override;
  void endTraverse(std::string className) override;

protected:
  KwXMLRenderContext& context() const noexcept { return *context_; }
  bool isSkipping() const noexcept { return skipping_ > 0; }
  /// Renders nothing until the end of the nested message that has just been started.
  void skip() noexcept { ++skipping_; }

private:
  KwXMLRenderContext* context_;
  int skipping_ = 0;  // open messages from the one that is skipped on
};

/// Renders enumerations too, but no field with the annotation HideInReports or Suppress, nested messages and
/// what is in them included, and nothing in a nested message that the walk has made because it was missing.
class DefaultSummaryTraverse : public SummaryTraverse
{
public:
  using SummaryTraverse::SummaryTraverse;

  void startSubObject(MsgFieldContext& field) override;
  void visit(MsgFieldContext& field) override;
};

/// Has no settings.
class KwXMLFormatOptions
{
};

/// All return 0, or 1 when there is nothing to render (an empty text, one that cannot be read, a null message
/// or context); the output is unchanged then, and nothing is logged but what the reader says of the text.
class KwXMLSummary
{
public:
  /// The plain-text summary of the message in an XML text.
  [[nodiscard]] static int getSummaryInfo(std::string xml, std::string& out);
  /// Into a context of the caller, whose options count; its DumpToString() then gives the text.
  [[nodiscard]] static int getSummaryInfo(std::string xml, KwXMLRenderContext* context);
  /// The plain-text summary of a message, appended to the stream.
  [[nodiscard]] static int getKwSummaryInfo(YMMessageBase* message, std::ostringstream& stream,
                                            const KwXMLFormatOptions& options);
  [[nodiscard]] static int getKwSummaryInfo(YMMessageBase* message, KwXMLRenderContext* context,
                                            const KwXMLFormatOptions& options);
};
