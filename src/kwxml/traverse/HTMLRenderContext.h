// Summaries as HTML: nested messages as indented lines below their label, each message a block that a page
// may open and close (HTMLRenderContext), or a compact list for a graphical client
// (HTMLGuiSummaryRenderContext).
//
// Both hide the same fields: scalars and enumerations that are not set, lists without an element, and every
// field with one of the annotations Suppress, HideInReports and Password. Password fields are never shown and
// byte strings are "****". A field whose record marks it as a date is shown as a local date and time, or as a
// duration when it is before 1991.
//
// Names and values go out as they are. With setEscaping(true) nothing in them is markup: use it wherever the
// text of a message comes from outside.
#pragma once

#include <kwxml/model/StringTypes.h>
#include <kwxml/traverse/ValueTextContext.h>

#include <string>
#include <string_view>
#include <vector>

/// The unit of indentation: eight non-breaking spaces.
inline constexpr std::string_view spaceDelimiter = "&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;";

namespace kwxml {

/// What both contexts share: which fields are shown, and their values as text.
class HTMLFieldContext : public ValueTextContext
{
public:
  /// Escapes &, <, >, both quotes and what would be obeyed (line ends, control characters, direction marks:
  /// shown as \n, \xNN) in names and values from now on; off at first.
  void setEscaping(bool on) noexcept { escaping_ = on; }

  void writeHeader(std::string name) override;     ///< nothing
  void writeSubHeader(std::string name) override;  ///< nothing
  void writeAttribute(MsgFieldContext& field) override;
  /// The elements between parentheses, separated by commas; the enumerators' texts for a list of
  /// enumerations. Nothing for an empty list.
  void writeList(MsgFieldContext& field) override;
  /// The enumerator's annotation Text, else its name.
  void writeEnum(MsgFieldContext& field) override;

  using ValueTextContext::writeAttribute;
  /// The value is never shown: "****" stands for it.
  void writeAttribute(std::string name, bstring value);

protected:
  using ValueTextContext::ValueTextContext;
  ~HTMLFieldContext() = default;

  const char* truthText(bool value) const final { return value ? "True" : "False"; }
  /// A name or a value as it goes out.
  std::string shown(std::string_view text) const;
  void appendShown(std::string& out, std::string_view text) const;
  /// A text that stands in an identifier of the page.
  std::string identifier(std::string_view text) const;

private:
  bool escaping_ = false;
};

}  // namespace kwxml

class HTMLRenderContext : public kwxml::HTMLFieldContext
{
public:
  HTMLRenderContext() = default;
  explicit HTMLRenderContext(const ContextFormatOpts& options) : HTMLFieldContext(options) {}

  /// The number of the next block. Counts through the life of the process, so that blocks of one class
  /// have different identifiers. (The number follows the name, so that A and A1 can meet.)
  static int CountOptions;

  /// A link that calls the page's function showdiv() with the identifier of the block, and the block, hidden
  /// at first; just the caption when the options do not ask for blocks that open.
  void startHeader(std::string name) override;
  void endHeader(std::string name) override;
  void startSubHeader(MsgFieldContext& field) override;
  /// A nested message that has shown nothing takes its label back.
  void endSubHeader(MsgFieldContext& field) override;

  void DumpToString(std::string& out) const { out = output_; }

protected:
  void addToOutPut(std::string_view name, std::string_view value) override;

private:
  struct Level
  {
    std::size_t begin;  // of its label in the output
    int shown;          // what it has shown
  };
  void startLine();

  std::string output_;
  std::vector<Level> levels_;  // nested messages that are open, innermost last
  bool inline_ = false;        // attributes follow one another on one line
};

class HTMLGuiSummaryRenderContext : public kwxml::HTMLFieldContext
{
public:
  HTMLGuiSummaryRenderContext() = default;
  explicit HTMLGuiSummaryRenderContext(const ContextFormatOpts& options) : HTMLFieldContext(options) {}

  /// Counts nothing; kept for users of the interface.
  static int CountOptions;

  void startHeader(std::string name) override;
  void endHeader(std::string name) override;
  void startSubHeader(MsgFieldContext& field) override;
  void endSubHeader(MsgFieldContext& field) override;

  void DumpToString(std::string& out) const { out = output_; }

protected:
  void addToOutPut(std::string_view name, std::string_view value) override;

private:
  std::string output_;
  bool first_ = true;
};
