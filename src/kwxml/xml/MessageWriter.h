// The walk that writes a message: which fields, in which order, under which names, as which text. It speaks
// to a sink and knows no XML library. Not installed.
#pragma once

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/xml/InvalidChars.h>
#include <kwxml/xml/XmlSink.h>

#include <string>
#include <string_view>

class KwXMLContextInfo;
class XMLSerializationSupport;

namespace kwxml {

class MessageWriter
{
public:
  /// All must outlive the writer; the context may be null.
  MessageWriter(XmlSink& sink, const EncodingFlags& flags, const XMLSerializationSupport& listeners,
                KwXMLContextInfo* context);

  /// Writes the set fields of the message into the sink's current element. A field that cannot be written is
  /// logged and left out. False when messages nest deeper than a reader accepts; nothing may be made of the
  /// sink's content then.
  [[nodiscard]] bool writeFields(YMMessageBase& message, int passwordMode);

private:
  /// A field on its way out, with what its annotations say.
  struct Field
  {
    const FieldDef& def;
    AnnotationRecord annotations;
    bool cdata;
    const char* name() const { return def.getName(); }
  };

  void writeField(YMMessageBase& message, const Field& field, int passwordMode);
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

  /// Each makes text_ the value's text. The references that they give stay valid until the next one.
  void number(long long value);
  void number(unsigned long long value);
  void number(double value);
  void ascii(std::string_view text);
  void utf8(const std::string& value);
  void base64(const std::string& bytes);

  /// Puts text_ where a scalar, or an item of a list, belongs.
  void putScalar(const Field& field);
  void putItem(bool cdata);

  XmlSink& sink_;
  const EncodingFlags& flags_;
  const XMLSerializationSupport& listeners_;
  KwXMLContextInfo* context_;
  bool trace_;
  bool tooDeep_ = false;
  int depth_ = 0;
  std::u16string buffer_;
  XmlInvalidCharHandler escaper_;
  const char16_t* text_ = u"";
};

}  // namespace kwxml
