// The walk that writes a message: which fields, in which order, under which names, as which text. It speaks
// to a sink (see XmlSink.h) and knows neither an XML library nor a form. Not installed.
//
// The members are defined in MessageWriterFields.h, for whoever has a sink.
#pragma once

#include <kwxml/model/MessageInternal.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/xml/ValueTexts.h>

#include <cstdint>
#include <vector>

class XMLSerializationSupport;

namespace kwxml {

template <class Sink>
class MessageWriter : public Sink::Texts
{
public:
  /// All must outlive the writer; the context may be null.
  MessageWriter(Sink& sink, const EncodingFlags& flags, const XMLSerializationSupport& listeners,
                KwXMLContextInfo* context);

  /// Writes the set fields of the message into the sink's current element. A field that cannot be written is
  /// logged and left out. False when messages nest deeper than a reader accepts; nothing may be made of the
  /// sink's content then.
  [[nodiscard]] bool writeFields(const YMMessageBase& message, int passwordMode);

private:
  using Texts = typename Sink::Texts;
  using Field = WrittenField;
  using Texts::ends;
  using Texts::flags_;
  using Texts::lose;
  using Texts::value_;

  void tellOfNull();
  void writeAll(const YMMessageBase& message, const WritePlan& plan, int passwordMode);
  void writeSet(const YMMessageBase& message, const WritePlan& plan, int passwordMode);
  void writeAttributes(const YMMessageBase& message, const WritePlan& plan, int passwordMode);
  void writeChildren(const YMMessageBase& message, const WritePlan& plan, int passwordMode);
  void writeField(const YMMessageBase& message, const WritePlan& plan, std::size_t position,
                  int passwordMode);
  bool skippedByListener(const YMMessageBase& message, const FieldDef& def) const;

  template <class Tag>
  void writeValue(Tag, const YMMessageBase& message, const Field& field, int passwordMode);
  template <class Tag>
  void writeList(const Field& field, const typename Tag::Value& list, int passwordMode);
  template <class Tag>
  bool writeItem(const Field& field, const typename Tag::Value::value_type& item, int passwordMode);
  template <class Tag>
  void writeMap(const Field& field, const typename Tag::Value& map, int passwordMode);
  template <class T>
  void writeMapPart(const T& part, int passwordMode);
  void writeNested(const YMMessageBase& message, int passwordMode);
  bool passwordText(const Field& field, const pstring& value, int passwordMode);

  /// Puts value_ where a scalar belongs.
  void putScalar(const Field& field);
  ItemForm itemForm(bool cdata) const
  {
    return cdata ? ItemForm::Section : flags_.valuesAsElements ? ItemForm::Text : ItemForm::Attribute;
  }

  Sink& sink_;
  const XMLSerializationSupport& listeners_;
  bool trace_;
  int depth_ = 0;
  std::vector<std::uint64_t> ranks_;  ///< of the attributes that are about to be written, a bit each
};

}  // namespace kwxml
