// Summaries as plain text.
#pragma once

#include <kwxml/model/StringTypes.h>
#include <kwxml/platform/Export.h>
#include <kwxml/traverse/ValueTextContext.h>

#include <iosfwd>
#include <string>

/// A summary as plain text on one line: `a:[1],b:[x],list[1,2]`. Texts are written as they are, also their
/// line ends. Passwords are never written: neither password fields nor fields with the annotation Password.
class KWXML_API DefaultRenderContext : public kwxml::ValueTextContext
{
public:
  /// Writes to the end of `stream`, which stays the caller's and outlives the context.
  DefaultRenderContext(std::ostringstream& stream, const ContextFormatOpts& options)
      : ValueTextContext(options), stream_(stream)
  {
  }

  /// Writes nothing; the next value begins the line.
  void startHeader(std::string name) override;
  /// Writes nothing.
  void writeHeader(std::string name) override;
  /// Writes nothing.
  void endHeader(std::string name) override;
  /// Writes nothing.
  void startSubHeader(MsgFieldContext& field) override;
  /// Writes nothing.
  void writeSubHeader(std::string name) override;
  /// Writes nothing.
  void endSubHeader(MsgFieldContext& field) override;

  /// Writes a scalar, set or not; nothing for enumerations and types without a text.
  void writeAttribute(MsgFieldContext& field) override;
  /// Writes the label, and the elements in brackets. Lists of enumerations and of messages show no elements.
  void writeList(MsgFieldContext& field) override;
  /// Writes the text of a set enumeration's enumerator (the enumerator's annotation Text, else its name); of
  /// a list the texts of all elements, separated by commas.
  void writeEnum(MsgFieldContext& field) override;

  using ValueTextContext::writeAttribute;
  /// Writes the bytes under a name, as they are.
  void writeAttribute(std::string name, bstring value);
  /// Writes "****" under a name, never the password.
  void writeAttribute(std::string name, const pstring& value);

  /// Replaces `out` by the whole text of the stream.
  void DumpToString(std::string& out) const;

private:
  void addToOutPut(std::string_view name, std::string_view value) override;
  void write(std::string_view name, std::string_view before, std::string_view value, std::string_view behind);

  std::ostringstream& stream_;
  bool first_ = true;
};
