// The decoder that callers use, the look-ups of types, classes, enumeration names and annotations that
// encodings share, and what they do with passwords. A cheap value: every call builds its own serializer.
#pragma once

#include <kwxml/annotation/Annotations.h>
#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/annotation/PasswordAlgorithms.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/Export.h>
#include <kwxml/platform/StandardParts.h>
#include <kwxml/xml/TextToRead.h>

#include <string>
#include <vector>

class BinaryBuffer;
class KwXMLContextInfo;

namespace kwxml {
class ReadObserver;
}

/// Reads messages from XML or from the binary form, each call by itself, and answers questions about classes.
class KWXML_API XMLDecoder
{
public:
  /// Default flags and no context.
  XMLDecoder() = default;
  /// The flags (default ones where none are given) hold for every call. The context (null: none) stays the
  /// caller's and must outlive the decoder.
  explicit XMLDecoder(const EncodingFlags& flags) : flags_(flags) {}
  XMLDecoder(const EncodingFlags& flags, KwXMLContextInfo* context) : context_(context), flags_(flags) {}
  explicit XMLDecoder(KwXMLContextInfo* context) : context_(context) {}

  /// The process's default decoder, made on first use.
  static XMLDecoder& getXMLDecoderObject();

  /// Makes `message` what the text says. 0 on success; otherwise the message is as before (4: not
  /// well-formed; 5: any other reason, a message of another class among them), and the reason is logged.
  /// Where no memory is left the message may hold a part of what was read, and std::bad_alloc may be thrown.
  /// `observer` is told of what reading drops or bends, and of why it failed; null: nobody is. Lines and
  /// columns are those of the text that was given, also of wide text.
  [[nodiscard]] int unSerialize(YMMessageBase& message, kwxml::TextToRead xml,
                                KwXMLContextInfo* context = nullptr,
                                kwxml::ReadObserver* observer = nullptr) const;
  [[nodiscard]] int unSerialize(YMMessageBase& message, const wchar_t* xml,
                                KwXMLContextInfo* context = nullptr,
                                kwxml::ReadObserver* observer = nullptr) const;
  /// The message in the text, which the caller owns; null on failure.
  [[nodiscard]] YMMessageBase* unSerialize(kwxml::TextToRead xml, KwXMLContextInfo* context = nullptr,
                                           kwxml::ReadObserver* observer = nullptr) const;
  [[nodiscard]] std::unique_ptr<YMMessageBase> unSerialize(kwxml::TextToRead xml, kwxml::Owned,
                                                           KwXMLContextInfo* context = nullptr,
                                                           kwxml::ReadObserver* observer = nullptr) const
  {
    return std::unique_ptr<YMMessageBase>(unSerialize(xml, context, observer));
  }

  /// Reads a message's binary form into `message`, whose class the header must name; see
  /// BinarySerializer::unserialize. 0 on success, -1 on failure. Passwords are read with the facade's
  /// context, or with the one given.
  [[nodiscard]] int UnserializeBinary(YMMessageBase& message, BinaryBuffer& buffer) const;
  [[nodiscard]] int UnserializeBinary(YMMessageBase& message, BinaryBuffer& buffer, KwXMLContextInfo* context,
                                      kwxml::ReadObserver* observer = nullptr) const;
  /// The message in the buffer, which the caller owns; null on failure.
  [[nodiscard]] YMMessageBase* UnserializeBinary(BinaryBuffer& buffer) const;
  [[nodiscard]] YMMessageBase* UnserializeBinary(BinaryBuffer& buffer, KwXMLContextInfo* context,
                                                 kwxml::ReadObserver* observer = nullptr) const;
  [[nodiscard]] std::unique_ptr<YMMessageBase> UnserializeBinary(
      BinaryBuffer& buffer, kwxml::Owned, KwXMLContextInfo* context = nullptr,
      kwxml::ReadObserver* observer = nullptr) const
  {
    return std::unique_ptr<YMMessageBase>(
        UnserializeBinary(buffer, context != nullptr ? context : context_, observer));
  }

  /// Makes a message from a tag name ("Demo_Status") in `*out`, which the caller owns. With `xml`, the text
  /// is parsed into it at once (`parseNow`) or kept as its serialized text. False, with `*out` null, on
  /// failure (logged).
  [[nodiscard]] static bool CreateObjByName(const std::string& tagName, YMMessageBase** out, const char* xml,
                                            bool parseNow);
  [[nodiscard]] static bool CreateObjByName(const std::string& tagName, std::unique_ptr<YMMessageBase>& out,
                                            const char* xml = nullptr, bool parseNow = false);

  /// False for nested messages, lists and maps of them, and types without a value. Irregular sets that
  /// encodings rely on; see kwxml::isPrimitiveType and kwxml::isListType.
  static bool isPrimitive(FieldDataType type) { return kwxml::isPrimitiveType(type); }
  /// True for most types of lists, and for one scalar; see kwxml::isListType.
  static bool isListType(FieldDataType type) { return kwxml::isListType(type); }

  /// As YMMessageBase::GetClassDef().
  static const _ClassDef* GetClassDef(const YMMessageBase* message)
  {
    return YMMessageBase::GetClassDef(message);
  }
  /// As YMMessageBase::GetClassDef().
  static const _ClassDef* GetClassDef(short system, int index)
  {
    return YMMessageBase::GetClassDef(system, index);
  }
  /// As YMMessageBase::GetClassDef().
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
  [[nodiscard]] static bool FillAnnotationIds(const FieldDef& field, std::vector<unsigned long>& ids);

  /// Fills an annotation from the one of its kind that the class attaches to the field or enumerator of that
  /// name (a class has no annotations of its own). False, with `annotation` unchanged and an error line, when
  /// there is no such class, field or annotation, or its record is damaged.
  [[nodiscard]] static bool FillAnnotation(const _ClassDef* cls, AnnotationBase& annotation,
                                           const std::string& name);
  [[nodiscard]] static bool FillAnnotation(const YMMessageBase* message, AnnotationBase& annotation,
                                           const std::string& name);
  /// The annotation of one kind of a field or an enumerator. False, with `annotation` unchanged, when it has
  /// none (nothing is logged) or its record is damaged (an error line).
  [[nodiscard]] static bool getCommandParamAnnotation(const FieldDef& field,
                                                      Annotation::CommandParam& annotation);
  /// The same of another kind.
  [[nodiscard]] static bool getTextAnnotation(const FieldDef& field, Annotation::Text& annotation);
  /// The same of another kind.
  [[nodiscard]] static bool getSearchCriteriaDefAnnotation(const FieldDef& field,
                                                           Annotation::SearchCriteriaDef& annotation);
  /// The same of another kind.
  [[nodiscard]] static bool getStoredProcedure(const FieldDef& field,
                                               Annotation::StoredProcedure& annotation);

  /// Appends to `out`, a std::vector<void*>, a pointer to each element of the list field of that name, in
  /// order. The elements stay the message's and where they are until the list is changed; they are of the
  /// C++ type that the field's list holds (unsigned int for enumerations and bools). A scalar of a type that
  /// isListType() counts among the lists (ulonglong) is its own only element where it is set. False, with a
  /// log line and `out` unchanged, when an argument is null or there is no such list field.
  [[nodiscard]] static bool ReadFromList(YMMessageBase* message, const std::string& fieldName, void* out);
  /// Appends a copy of the element at `value`, which has the type that ReadFromList() gives, to the list
  /// field of that name, making the list when it is missing, and marks the field set. False, with a log line,
  /// as above.
  [[nodiscard]] static bool InsertIntoList(YMMessageBase* message, const std::string& fieldName,
                                           const void* value);

  // ---- Passwords
  // The algorithms are the process's, registered at start-up before threads encode or decode;
  // PasswordAlgorithms.h says what they get and give.

  /// Registers the algorithm that encrypts passwords of a type (null: none). False for a type above
  /// KWPASSWORD_ENCRYPTION_VER5, the newest scheme among them. Either way a line at level 10.
  [[nodiscard]] static bool registerPasswordEncAlgo(Annotation::PasswordEncryptType type,
                                                    PasswordAlgorithm algorithm);
  /// Registers the algorithm that decrypts passwords of a type; in all else the same.
  [[nodiscard]] static bool registerPasswordDecAlgo(Annotation::PasswordEncryptType type,
                                                    PasswordAlgorithm algorithm);
  /// The algorithm that encrypts passwords of a type; null for a type without one.
  static PasswordAlgorithm GetRegisteredPasswordEncAlgo(Annotation::PasswordEncryptType type);
  /// The algorithm that decrypts passwords of a type; null for a type without one.
  static PasswordAlgorithm GetRegisteredPasswordDecAlgo(Annotation::PasswordEncryptType type);

  /// Makes `out` the wire text of a password for a field of encryption type `type`; the flags'
  /// targetPasswordType counts instead where it is set. 0 on success; 6, with `out` empty, when nothing can
  /// protect the value. `value` is not changed.
  [[nodiscard]] int encryptPassword(int type, pstring& value, std::string& out) const;
  /// The value of a password field from its received zero-terminated text, escapes undone. False, with `out`
  /// null, when nothing can decrypt it. The caller owns `out`.
  [[nodiscard]] bool decryptPassword(const FieldDef& field, const unsigned short* text, pstring*& out) const;
  [[nodiscard]] bool decryptPassword(const FieldDef& field, const unsigned short* text,
                                     std::unique_ptr<pstring>& out) const;
  /// Decrypts a received password in place; its type is the context's password type, or the flags'
  /// targetPasswordType where that is 0. The algorithm finds `reEncrypt` in the context. 0 on success;
  /// otherwise `value` is unchanged (1: empty, no valid type, no session, cannot be decrypted; 6: no
  /// algorithm), with an error line.
  [[nodiscard]] int ProcessPasswordAnnotation(bstring& value, bool reEncrypt) const;

private:
  KwXMLContextInfo* context_ = nullptr;
  EncodingFlags flags_;
};
