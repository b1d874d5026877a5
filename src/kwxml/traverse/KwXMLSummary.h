// Summaries of messages for people: a walk (XmlTraverse) whose visitor hands each field to a render context.
#pragma once

#include <kwxml/platform/Export.h>
#include <kwxml/traverse/KwXMLRenderContext.h>
#include <kwxml/traverse/XmlTraverse.h>

#include <iosfwd>
#include <string>

/// The visitor of a summary: renders scalars that are set, except enumerations, and all lists, whatever their
/// annotations, but nothing in a nested message with the annotation Password. A scalar of a type that
/// XMLDecoder::isListType() counts among the lists is rendered as a list. Hands fields to a context.
class KWXML_API SummaryTraverse : public XmlTraverseHandler
{
public:
  /// Renders into `context`, which is not null, stays the caller's and outlives the visitor.
  explicit SummaryTraverse(KwXMLRenderContext* context) : context_(context) {}
  /// The same, with what XmlTraverseHandler takes.
  SummaryTraverse(KwXMLRenderContext* context, int localeId, bool order)
      : XmlTraverseHandler(localeId, order), context_(context)
  {
  }

  /// Begins the header of the context.
  void beginTraverse(std::string className) override;
  /// Begins a sub-header of the context, or skips the nested message where its field is secret.
  void startSubObject(MsgFieldContext& field) override;
  /// Hands the field to the context where it is to be shown.
  void visit(MsgFieldContext& field) override;
  /// Ends the sub-header, or the skipping.
  void endSubObject(MsgFieldContext& field) override;
  /// Ends the header of the context.
  void endTraverse(std::string className) override;

protected:
  /// The context that the visitor renders into.
  KwXMLRenderContext& context() const noexcept { return *context_; }
  /// Whether the walk is inside a nested message that is skipped.
  bool isSkipping() const noexcept { return skipping_ > 0; }
  /// Renders nothing until the end of the nested message that has just been started.
  void skip() noexcept { ++skipping_; }

private:
  KwXMLRenderContext* context_;
  int skipping_ = 0;  // open messages from the one that is skipped on
};

/// The visitor of a summary for a context of the caller: renders enumerations too, and scalars that are not
/// set. Renders no field with the annotation HideInReports or Suppress, nothing in a nested message in such a
/// field, and nothing in a nested message that the walk has made because it was missing.
class KWXML_API DefaultSummaryTraverse : public SummaryTraverse
{
public:
  /// The constructors of SummaryTraverse.
  using SummaryTraverse::SummaryTraverse;

  /// Skips nested messages that are hidden, secret or not set.
  void startSubObject(MsgFieldContext& field) override;
  /// Hands the field to the context unless the field is hidden; the context decides what an unset field
  /// shows.
  void visit(MsgFieldContext& field) override;
};

/// The options of KwXMLSummary; there are none.
class KwXMLFormatOptions
{
};

/// Makes summaries. All functions return 0, or 1 when there is nothing to render: an empty text, a text that
/// cannot be read, a null message or context. Then the output is unchanged, and nothing is logged but what
/// the reader logs of the text.
class KWXML_API KwXMLSummary
{
public:
  /// Replaces `out` by the plain-text summary of the message in an XML text.
  [[nodiscard]] static int getSummaryInfo(std::string xml, std::string& out);
  /// Renders the message in an XML text into a context of the caller, by DefaultSummaryTraverse and the
  /// context's options; DumpToString() of the context then gives the text.
  [[nodiscard]] static int getSummaryInfo(std::string xml, KwXMLRenderContext* context);
  /// Appends the plain-text summary of a message to the stream. The message stays the caller's and unchanged.
  [[nodiscard]] static int getKwSummaryInfo(YMMessageBase* message, std::ostringstream& stream,
                                            const KwXMLFormatOptions& options);
  /// Renders a message, which stays the caller's and unchanged, into a context of the caller, as
  /// getSummaryInfo() does.
  [[nodiscard]] static int getKwSummaryInfo(YMMessageBase* message, KwXMLRenderContext* context,
                                            const KwXMLFormatOptions& options);
};
