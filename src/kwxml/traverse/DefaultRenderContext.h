// A summary as plain text on one line: a:[1],b:[x],list[1,2]. Texts go out as they are, their line ends too.
#pragma once

#include <kwxml/model/StringTypes.h>
#include <kwxml/traverse/KwXMLRenderContext.h>

#include <sstream>
#include <string>

/// Writes into a stream of the caller, which outlives the context. Numbers have no thousands separators and
/// no precision of the stream's: they are the same in every process. Passwords are never written: neither
/// password fields nor fields with the annotation Password.
class DefaultRenderContext : public KwXMLRenderContext
{
public:
  DefaultRenderContext(std::ostringstream& stream, const ContextFormatOpts& options)
      : KwXMLRenderContext(options), stream_(stream)
  {
  }

  void startHeader(std::string name) override;
  /// These five write nothing.
  void writeHeader(std::string name) override;
  void endHeader(std::string name) override;
  void startSubHeader(MsgFieldContext& field) override;
  void writeSubHeader(std::string name) override;
  void endSubHeader(MsgFieldContext& field) override;

  /// A scalar, set or not; nothing for enumerations and types without a text.
  void writeAttribute(MsgFieldContext& field) override;
  /// The label and the elements in brackets. Lists of enumerations and of messages show no elements.
  void writeList(MsgFieldContext& field) override;
  /// The text of a set enumeration's enumerator (its annotation Text, else its name); those of a list,
  /// separated by commas.
  void writeEnum(MsgFieldContext& field) override;

  void writeAttribute(std::string name, int value);
  void writeAttribute(std::string name, unsigned int value);
  void writeAttribute(std::string name, long value);
  void writeAttribute(std::string name, unsigned long value);
  void writeAttribute(std::string name, long long value);
  void writeAttribute(std::string name, float value);
  void writeAttribute(std::string name, double value);
  void writeAttribute(std::string name, bool value);
  void writeAttribute(std::string name, std::string value);
  void writeAttribute(std::string name, const char* value);
  void writeAttribute(std::string name, bstring value);
  /// Never its text: "****".
  void writeAttribute(std::string name, const pstring& value);

  /// The text of the stream.
  void DumpToString(std::string& out) const { out = stream_.str(); }

private:
  void write(std::string_view name, std::string_view before, std::string_view value);

  std::ostringstream& stream_;
  bool first_ = true;
};
