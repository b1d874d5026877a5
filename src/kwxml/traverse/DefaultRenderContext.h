// A summary as plain text on one line: a:[1],b:[x],list[1,2]. Texts go out as they are, their line ends too.
#pragma once

#include <kwxml/model/StringTypes.h>
#include <kwxml/traverse/ValueTextContext.h>

#include <iosfwd>
#include <string>

/// Writes into a stream of the caller, which outlives the context. Passwords are never written: neither
/// password fields nor fields with the annotation Password.
class DefaultRenderContext : public kwxml::ValueTextContext
{
public:
  DefaultRenderContext(std::ostringstream& stream, const ContextFormatOpts& options)
      : ValueTextContext(options), stream_(stream)
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

  using ValueTextContext::writeAttribute;
  void writeAttribute(std::string name, bstring value);
  /// Never its text: "****".
  void writeAttribute(std::string name, const pstring& value);

  /// The text of the stream.
  void DumpToString(std::string& out) const;

private:
  void addToOutPut(std::string_view name, std::string_view value) override;
  void write(std::string_view name, std::string_view before, std::string_view value, std::string_view behind);

  std::ostringstream& stream_;
  bool first_ = true;
};
