// The decoder that callers use, and the look-ups of types, classes and enumeration names that encodings
// share. A cheap value: every call builds its own serializer.
#pragma once

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/model/YMMessageBase.h>

#include <string>
#include <vector>

class KwXMLContextInfo;

class XMLDecoder
{
public:
  /// Default flags and no context. The context stays the caller's and must outlive the decoder.
  XMLDecoder() = default;
  explicit XMLDecoder(const EncodingFlags& flags) : flags_(flags) {}
  XMLDecoder(const EncodingFlags& flags, KwXMLContextInfo* context) : context_(context), flags_(flags) {}
  explicit XMLDecoder(KwXMLContextInfo* context) : context_(context) {}

  /// The process's default decoder, made on first use.
  static XMLDecoder& getXMLDecoderObject();

  /// Makes `message` what the text says. 0 on success; otherwise the message is as before (4: not
  /// well-formed; 5: any other reason, a message of another class among them), and the reason is logged.
  int unSerialize(YMMessageBase& message, const std::string& xml, KwXMLContextInfo* context = nullptr) const;
  int unSerialize(YMMessageBase& message, const wchar_t* xml, KwXMLContextInfo* context = nullptr) const;
  /// The message in the text, which the caller owns; null on failure.
  YMMessageBase* unSerialize(const std::string& xml, KwXMLContextInfo* context = nullptr) const;

  /// Makes a message from a tag name ("Demo_Status") in `*out`, which the caller owns. With `xml`, the text
  /// is parsed into it at once (`parseNow`) or kept as its serialized text. False, with `*out` null, on
  /// failure (logged).
  static bool CreateObjByName(const std::string& tagName, YMMessageBase** out, const char* xml,
                              bool parseNow);

  /// False for nested messages, lists and maps of them, and types without a value. Irregular sets that
  /// encodings rely on; see kwxml::isPrimitiveType and kwxml::isListType.
  static bool isPrimitive(FieldDataType type) { return kwxml::isPrimitiveType(type); }
  static bool isListType(FieldDataType type) { return kwxml::isListType(type); }

  static const _ClassDef* GetClassDef(const YMMessageBase* message)
  {
    return YMMessageBase::GetClassDef(message);
  }
  static const _ClassDef* GetClassDef(short system, int index)
  {
    return YMMessageBase::GetClassDef(system, index);
  }
  static const _ClassDef* GetClassDef(unsigned long tag) { return YMMessageBase::GetClassDef(tag); }

  /// Name of the first enumerator with that value; an empty text when there is none.
  static std::string getEnumString(const _ClassDef& enumeration, int value);
  /// The same for the enumeration with that tag; each failure is logged.
  static std::string GetEnumString(unsigned long tag, int value);
  /// The same for the enumeration that the field refers to.
  static std::string GetEnumString(const FieldDef& field, int value);
  /// The same for a field of the message's class, found by name.
  static std::string GetEnumString(const YMMessageBase* message, const char* fieldName, int value);

  /// The tags of the annotations attached to a field, in the order of its schema; false when there are none.
  static bool FillAnnotationIds(const FieldDef& field, std::vector<unsigned long>& ids);

private:
  KwXMLContextInfo* context_ = nullptr;
  EncodingFlags flags_;
};
