// Summaries as HTML, in two forms: HTMLRenderContext and HTMLGuiSummaryRenderContext.
//
// Both hide the same fields: scalars and enumerations that are not set, lists without an element, and every
// field with one of the annotations Suppress, HideInReports and Password. Password fields are never shown and
// byte strings are "****". A field whose record marks it as a date is shown as a local date and time, or as a
// duration when it is before 1991.
//
// Names and values are written as they are. After setEscaping(true) nothing in names and values is markup:
// call it wherever the text of a message comes from outside.
#pragma once

#include <kwxml/model/StringTypes.h>
#include <kwxml/platform/Export.h>
#include <kwxml/traverse/ValueTextContext.h>

#include <string>
#include <string_view>
#include <vector>

/// The unit of indentation: eight non-breaking spaces.
inline constexpr std::string_view spaceDelimiter = "&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;";

namespace kwxml {

/// What both contexts share: which fields are shown, and their values as text.
class KWXML_API HTMLFieldContext : public ValueTextContext
{
public:
  /// Switches escaping on or off, for names and values from now on; off at first. Escaped are &, <, >, both
  /// quotes, and what would be obeyed (line ends, control characters, direction marks: shown as \n, \xNN).
  void setEscaping(bool on) noexcept { escaping_ = on; }

  /// Writes nothing.
  void writeHeader(std::string name) override;
  /// Writes nothing.
  void writeSubHeader(std::string name) override;
  /// Writes the label and the value of a set scalar that is not hidden.
  void writeAttribute(MsgFieldContext& field) override;
  /// Writes the label, and the elements between parentheses, separated by commas; for a list of enumerations
  /// the enumerators' texts. Nothing for an empty list.
  void writeList(MsgFieldContext& field) override;
  /// Writes the label and the text of a set enumeration's enumerator: the enumerator's annotation Text, else
  /// its name.
  void writeEnum(MsgFieldContext& field) override;

  /// Writes a value under a name.
  using ValueTextContext::writeAttribute;
  /// Writes "****" under a name, never the bytes.
  void writeAttribute(std::string name, bstring value);

protected:
  using ValueTextContext::ValueTextContext;
  ~HTMLFieldContext() = default;

  /// "True" or "False".
  const char* truthText(bool value) const final { return value ? "True" : "False"; }
  /// A name or a value as it is written: escaped or not, as setEscaping() says.
  std::string shown(std::string_view text) const;
  /// Appends the result of shown() to `out`.
  void appendShown(std::string& out, std::string_view text) const;
  /// The text as a part of an identifier of the page: where escaping is on, all but ASCII letters, digits and
  /// "_" becomes "_".
  std::string identifier(std::string_view text) const;

private:
  bool escaping_ = false;
};

}  // namespace kwxml

/// A summary with nested messages as indented lines below their label, and the message as a block that a page
/// may open and close. Values that are empty are left out.
class KWXML_API HTMLRenderContext : public kwxml::HTMLFieldContext
{
public:
  /// With the default options.
  HTMLRenderContext() = default;
  /// With a copy of the options.
  explicit HTMLRenderContext(const ContextFormatOpts& options) : HTMLFieldContext(options) {}

  /// The number of the next block. Counts through the life of the process, so that blocks of one class have
  /// different identifiers. The number follows the class's name; blocks of a class whose name ends with
  /// digits may have the identifier of another class's block.
  static int CountOptions;

  /// Writes a link that calls the page's function showdiv() with the identifier of the block, and begins the
  /// block, hidden at first. Writes the caption alone when the options do not ask for blocks that open.
  void startHeader(std::string name) override;
  /// Writes the end of a block, "</div>", also where the options ask for none.
  void endHeader(std::string name) override;
  /// Writes the label of the field on a line of its own.
  void startSubHeader(MsgFieldContext& field) override;
  /// Removes the label of a nested message that has shown nothing.
  void endSubHeader(MsgFieldContext& field) override;

  /// Replaces `out` by all that has been written.
  void DumpToString(std::string& out) const { out = output_; }

protected:
  /// Writes name and value on a line of its own; messages of system 18 have all values on one line. Nothing
  /// for an empty value.
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

/// A summary as a compact list for a graphical client.
class KWXML_API HTMLGuiSummaryRenderContext : public kwxml::HTMLFieldContext
{
public:
  /// With the default options.
  HTMLGuiSummaryRenderContext() = default;
  /// With a copy of the options.
  explicit HTMLGuiSummaryRenderContext(const ContextFormatOpts& options) : HTMLFieldContext(options) {}

  /// Counts nothing; kept for users of the interface.
  static int CountOptions;

  /// Begins a paragraph with the word "Summary"; the name is not shown.
  void startHeader(std::string name) override;
  /// Writes the ends of the paragraph and of a block that the context has not begun: "</p></div>".
  void endHeader(std::string name) override;
  /// Writes the label of the field and begins a paragraph.
  void startSubHeader(MsgFieldContext& field) override;
  /// Writes nothing; the next value begins a line.
  void endSubHeader(MsgFieldContext& field) override;

  /// Replaces `out` by all that has been written.
  void DumpToString(std::string& out) const { out = output_; }

protected:
  /// Writes name and value on a line, also an empty value.
  void addToOutPut(std::string_view name, std::string_view value) override;

private:
  std::string output_;
  bool first_ = true;
};
