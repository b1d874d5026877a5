// The walk that writes a message: which fields, in which order, under which names, as which text. It speaks
// to a sink (see XmlSink.h) and knows no XML library. Not installed.
#pragma once

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/text/NumberText.h>
#include <kwxml/xml/InvalidChars.h>
#include <kwxml/xml/TextOutput.h>
#include <kwxml/xml/WritePlan.h>
#include <kwxml/xml/XmlSink.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class KwXMLContextInfo;
class XMLSerializationSupport;

namespace kwxml {

/// Under which the log knows the walk.
inline constexpr const char* writerFunction = "XMLSerializer::serializeXMLRecur";

template <class Sink>
class MessageWriter
{
public:
  /// All must outlive the writer; the context may be null.
  MessageWriter(Sink& sink, const EncodingFlags& flags, const XMLSerializationSupport& listeners,
                KwXMLContextInfo* context);

  /// Writes the set fields of the message into the sink's current element. A field that cannot be written is
  /// logged and left out. False when messages nest deeper than a reader accepts; nothing may be made of the
  /// sink's content then.
  [[nodiscard]] bool writeFields(YMMessageBase& message, int passwordMode);
  /// How many values could not be written, or only as what their bytes would be in Latin-1.
  int lost() const { return lost_; }
  /// While nothing of that text has been handed out, what would be logged ends the walk, without a word; the
  /// walk also ends when its taker refuses a part.
  void giveUpOnLoss(TextOutput& out) { output_ = &out; }

private:
  /// A field on its way out, with what its annotations say.
  struct Field
  {
    const FieldDef& def;
    const WritePlan::Field& plan;
    AnnotationRecord annotations;
    const char* name() const { return plan.name.text; }
  };

  bool ends() const { return tooDeep_ || gaveUp_ || (output_ != nullptr && output_->isRefused()); }
  bool mayGiveUp() const { return output_ != nullptr && !output_->isUnderWay(); }
  /// Ends the walk where it may; what it writes until it ends goes nowhere.
  bool giveUp()
  {
    if (mayGiveUp()) {
      gaveUp_ = true;
      output_->abandon();
    }
    return gaveUp_;
  }
  /// A value cannot be written: `tell` logs that.
  template <class Tell>
  [[gnu::cold]] void lose(Tell tell)
  {
    if (giveUp()) {
      return;
    }
    ++lost_;
    tell();
  }

  void tellOfNull();
  void writeAll(YMMessageBase& message, const WritePlan& plan, int passwordMode);
  void writeAttributes(YMMessageBase& message, const WritePlan& plan, int passwordMode);
  void writeChildren(YMMessageBase& message, const WritePlan& plan, int passwordMode);
  void writeField(YMMessageBase& message, const WritePlan& plan, std::size_t position, int passwordMode);
  bool skippedByListener(YMMessageBase& message, const FieldDef& def) const;

  template <class Tag>
  void writeValue(Tag, YMMessageBase& message, const Field& field, int passwordMode);
  template <class Tag>
  void writeList(const Field& field, const typename Tag::Value& list, int passwordMode);
  template <class Tag>
  void writeMap(const Field& field, typename Tag::Value& map, int passwordMode);
  template <class T>
  void writeMapPart(T& part, int passwordMode);
  void writeNested(YMMessageBase& message, int passwordMode);

  bool integerText(const Field& field, long long value);
  bool enumText(const Field& field, long long value);
  bool passwordText(const Field& field, const pstring& value, int passwordMode);

  /// Each makes value_ that of the value, valid until the next one.
  void number(long long value) { ascii(formatInteger(value, digits_)); }
  void number(unsigned long long value) { ascii(formatUnsigned(value, digits_)); }
  template <class Real>
  void real(Real value)
  {
    ascii(flags_.exactNumbers != 0 ? formatExact(value, digits_)
                                   : formatDouble(static_cast<double>(value), digits_));
  }
  void ascii(std::string_view text) { value_ = {text, true}; }
  void utf8(std::string_view text);
  void convert(const std::string& text);
  void section(const std::string& text);
  void base64(const std::string& bytes);

  /// Puts value_ where a scalar, or an item of a list, belongs.
  void putScalar(const Field& field);
  ItemForm itemForm(bool cdata) const
  {
    return cdata ? ItemForm::Section : flags_.valuesAsElements ? ItemForm::Text : ItemForm::Attribute;
  }

  Sink& sink_;
  const EncodingFlags& flags_;
  const XMLSerializationSupport& listeners_;
  KwXMLContextInfo* context_;
  bool trace_;
  bool tooDeep_ = false;
  TextOutput* output_ = nullptr;
  bool gaveUp_ = false;
  int lost_ = 0;
  int depth_ = 0;
  XmlValue value_{};
  NumberBuffer digits_;
  std::string buffer_;
  std::string section_;
  std::vector<std::uint64_t> ranks_;  ///< of the attributes that are about to be written, a bit each
  XmlInvalidCharHandler escaper_;
};

}  // namespace kwxml
