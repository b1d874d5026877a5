#include <kwxml/codec/XMLDecoder.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/xml/Transcoding.h>
#include <kwxml/xml/XMLSerializer.h>

#include <span>

using kwxml::log;

XMLDecoder& XMLDecoder::getXMLDecoderObject()
{
  static XMLDecoder decoder;
  return decoder;
}

// Reading always uses default flags: what a text means does not depend on how its reader writes.

namespace {

XMLSerializer reader(KwXMLContextInfo* context, kwxml::ReadObserver* observer)
{
  XMLSerializer serializer(EncodingFlags(), context);
  serializer.setObserver(observer);
  return serializer;
}

}  // namespace

int XMLDecoder::unSerialize(YMMessageBase& message, kwxml::TextToRead xml, KwXMLContextInfo* context,
                            kwxml::ReadObserver* observer) const
{
  return reader(context, observer).unserialize(message, xml);
}

int XMLDecoder::unSerialize(YMMessageBase& message, const wchar_t* xml, KwXMLContextInfo* context,
                            kwxml::ReadObserver* observer) const
{
  return reader(context, observer).unserialize(message, xml);
}

YMMessageBase* XMLDecoder::unSerialize(kwxml::TextToRead xml, KwXMLContextInfo* context,
                                       kwxml::ReadObserver* observer) const
{
  return reader(context, observer).unserialize(xml);
}

int XMLDecoder::UnserializeBinary(YMMessageBase& message, BinaryBuffer& buffer) const
{
  return BinarySerializer::unserialize(message, buffer, context_, false);
}

int XMLDecoder::UnserializeBinary(YMMessageBase& message, BinaryBuffer& buffer, KwXMLContextInfo* context,
                                  kwxml::ReadObserver* observer) const
{
  return BinarySerializer::unserialize(message, buffer, context, false, observer);
}

YMMessageBase* XMLDecoder::UnserializeBinary(BinaryBuffer& buffer) const
{
  return BinarySerializer::unserialize(buffer, context_, false);
}

YMMessageBase* XMLDecoder::UnserializeBinary(BinaryBuffer& buffer, KwXMLContextInfo* context,
                                             kwxml::ReadObserver* observer) const
{
  return BinarySerializer::unserialize(buffer, context, false, observer);
}

bool XMLDecoder::CreateObjByName(const std::string& tagName, YMMessageBase** out, const char* xml,
                                 bool parseNow)
{
  constexpr const char* function = "XMLDecoder::CreateObjByName";
  if (out != nullptr) {
    *out = nullptr;
  }
  log().debug(function, 25, "Request to Create Object.Tag:[%s]", tagName.c_str());
  if (tagName.empty()) {
    log().logError(function, "Failed to Create Object.XML Tag is empty");
    return false;
  }
  const auto split = tagName.find('_');
  const std::string systemName = tagName.substr(0, split);
  const std::string className = split == std::string::npos ? std::string() : tagName.substr(split + 1);
  log().debug(function, 25, "Request to Create Object.Class Name:[%s]", className.c_str());
  short system = 0;
  int index = 0;
  if (!YMMessageBase::getMessageSystemIndexFromName(systemName.c_str(), system)) {
    log().logError(function, "Subsystem : [%s] does not exist.", systemName.c_str());
    kwxml::Registry::tellLoadedOnce();
    return false;
  }
  if (!YMMessageBase::getMessageIndexFromName(className.c_str(), system, index)) {
    log().logError(function, "Subsystem : [%s] does not contain message : [%s].", systemName.c_str(),
                   className.c_str());
    kwxml::Registry::tellLoadedOnce();
    return false;
  }
  if (out == nullptr) {
    log().logError(function, "Received Null Message Pointer.");
    return false;
  }
  *out = YMMessageBase::createObjectFromIndices(system, index);
  if (*out == nullptr) {
    log().logError(function, "Error instantiating object with subsystem id : [%d]", static_cast<int>(system));
    return false;
  }
  if (xml == nullptr) {
    return true;
  }
  if (!parseNow) {
    (*out)->setSerializedXMLString(xml, false);
    return true;
  }
  KwXMLContextInfo context;
  if (XMLSerializer(EncodingFlags(), &context).unserialize(**out, xml) != 0) {
    // What is wrong with the text, which may hold secrets, stands in the reader's own lines.
    log().logError(function, "Unable to read the given xml into an object of type : [%s]", tagName.c_str());
    delete *out;
    *out = nullptr;
    return false;
  }
  return true;
}

bool XMLDecoder::CreateObjByName(const std::string& tagName, std::unique_ptr<YMMessageBase>& out,
                                 const char* xml, bool parseNow)
{
  return kwxml::intoOwner(
      out, [&](YMMessageBase*& given) { return CreateObjByName(tagName, &given, xml, parseNow); });
}

std::string XMLDecoder::getEnumString(const _ClassDef& enumeration, int value)
{
  const FieldDef* found = kwxml::findEnumerator(&enumeration, value);
  return found != nullptr ? found->getName() : "";
}

std::string XMLDecoder::GetEnumString(unsigned long tag, int value)
{
  constexpr const char* function = "XMLDecoder::GetEnumString";
  const _ClassDef* cls = GetClassDef(tag);
  if (cls == nullptr) {
    log().logError(function, "Error retrieving metadata for given tag id : [%ul]",
                   static_cast<unsigned>(tag));
    return {};
  }
  std::string name = getEnumString(*cls, value);
  if (name.empty()) {
    log().logError(function, "Enum with tag id : [%ul] does not contain member with value : [%d]",
                   static_cast<unsigned>(tag), value);
  }
  return name;
}

std::string XMLDecoder::GetEnumString(const FieldDef& field, int value)
{
  const _ClassDef* cls = YMMessageBase::GetClassDefFromClassID(field);
  return cls != nullptr && cls->isEnum() ? getEnumString(*cls, value) : std::string();
}

std::string XMLDecoder::GetEnumString(const YMMessageBase* message, const char* fieldName, int value)
{
  const _ClassDef* cls = GetClassDef(message);
  const int number = fieldName != nullptr ? YMMessageBase::getFieldNumberFromName(cls, fieldName) : -1;
  return number >= 0 ? GetEnumString(cls->fields[number], value) : std::string();
}

bool XMLDecoder::FillAnnotationIds(const FieldDef& field, std::vector<unsigned long>& ids)
{
  const std::size_t before = ids.size();
  kwxml::AnnotationRecord(field.annotations).forEachAttached([&](unsigned long tag, std::string_view) {
    ids.push_back(tag);
  });
  return ids.size() > before;
}

namespace {

/// Runs a part of the layer that lets no exception out: without memory it fails as with bad input.
template <class Result, class Operation>
Result contained(const char* function, Result failure, Operation operation)
{
  try {
    return operation();
  } catch (const std::exception& error) {
    log().logError(function, "[%s]", error.what());
    return failure;
  }
}

/// Fills an annotation from a field's record; `found` tells whether there is one of its kind. False, logged,
/// when the record is damaged.
bool fillFromRecord(const char* function, const FieldDef& field, AnnotationBase& annotation, bool& found)
{
  std::optional<std::string_view> members;
  const bool whole = kwxml::AnnotationRecord(field.annotations).find(annotation.getTagID(), members);
  found = members.has_value();
  if (!whole || (found && !annotation.fill(*members))) {
    log().logError(function, "Failed to parse the annotation [%s] to fill the field [%s]",
                   annotation.getName(), field.getName());
    return false;
  }
  return true;
}

bool getAnnotation(const char* function, const FieldDef& field, AnnotationBase& annotation)
{
  return contained(function, false, [&] {
    bool found = false;
    return fillFromRecord(function, field, annotation, found) && found;
  });
}

}  // namespace

bool XMLDecoder::FillAnnotation(const _ClassDef* cls, AnnotationBase& annotation, const std::string& name)
{
  constexpr const char* function = "XMLDecoder::FillAnnotation";
  if (cls == nullptr) {
    log().logError(function, "Received NULL ClassDef");
    return false;
  }
  return contained(function, false, [&] {
    bool found = false;
    for (const FieldDef& field : *cls) {
      if (name == field.getName()) {
        if (!fillFromRecord(function, field, annotation, found)) {
          return false;
        }
        break;
      }
    }
    if (!found) {
      log().logError(function, "No class level annotation found for [%s]", name.c_str());
    }
    return found;
  });
}

bool XMLDecoder::FillAnnotation(const YMMessageBase* message, AnnotationBase& annotation,
                                const std::string& name)
{
  return FillAnnotation(message != nullptr ? GetClassDef(message) : nullptr, annotation, name);
}

bool XMLDecoder::getCommandParamAnnotation(const FieldDef& field, Annotation::CommandParam& annotation)
{
  return getAnnotation("XMLDecoder::getCommandParamAnnotation", field, annotation);
}

bool XMLDecoder::getTextAnnotation(const FieldDef& field, Annotation::Text& annotation)
{
  return getAnnotation("XMLDecoder::getTextAnnotation", field, annotation);
}

bool XMLDecoder::getSearchCriteriaDefAnnotation(const FieldDef& field,
                                                Annotation::SearchCriteriaDef& annotation)
{
  return getAnnotation("XMLDecoder::getSearchCriteriaDefAnnotation", field, annotation);
}

bool XMLDecoder::getStoredProcedure(const FieldDef& field, Annotation::StoredProcedure& annotation)
{
  return getAnnotation("XMLDecoder::getStoredProcedure", field, annotation);
}

namespace {

/// The list field of that name; null, logged, when there is none or an argument is missing.
const FieldDef* listField(const char* function, const YMMessageBase* message, const std::string& fieldName,
                          const void* argument)
{
  if (message == nullptr || argument == nullptr) {
    log().logError(function, "Received NULL argument for list field [%s]", fieldName.c_str());
    return nullptr;
  }
  const _ClassDef* cls = message->getClass();
  const FieldDef* field = nullptr;
  for (const FieldDef& def :
       cls != nullptr ? std::span(cls->begin(), cls->end()) : std::span<const FieldDef>()) {
    // Not by its hash: another field may have the same, and elements of another type.
    if (fieldName == def.getName()) {
      field = &def;
      break;
    }
  }
  if (field == nullptr ||
      (kwxml::fieldTypeInfo(field->type).element == FIELD_UNSET && !XMLDecoder::isListType(field->type))) {
    log().logError(function, "Message [%s] has no list field [%s]", message->getTagName().c_str(),
                   fieldName.c_str());
    return nullptr;
  }
  return field;
}

}  // namespace

bool XMLDecoder::ReadFromList(YMMessageBase* message, const std::string& fieldName, void* out)
{
  const FieldDef* field = listField("XMLDecoder::ReadFromList", message, fieldName, out);
  if (field == nullptr) {
    return false;
  }
  kwxml::MessageAccess::listElements(*message, *field, *static_cast<std::vector<void*>*>(out));
  return true;
}

bool XMLDecoder::InsertIntoList(YMMessageBase* message, const std::string& fieldName, const void* value)
{
  constexpr const char* function = "XMLDecoder::InsertIntoList";
  const FieldDef* field = listField(function, message, fieldName, value);
  if (field != nullptr && !kwxml::MessageAccess::appendElement(*message, *field, value)) {
    log().logError(function, "Message [%s] has no list field [%s]", message->getTagName().c_str(),
                   fieldName.c_str());
    field = nullptr;
  }
  return field != nullptr;
}

bool XMLDecoder::registerPasswordEncAlgo(Annotation::PasswordEncryptType type, PasswordAlgorithm algorithm)
{
  return kwxml::registerPasswordAlgorithm(kwxml::PasswordDirection::Encrypt, type, algorithm);
}

bool XMLDecoder::registerPasswordDecAlgo(Annotation::PasswordEncryptType type, PasswordAlgorithm algorithm)
{
  return kwxml::registerPasswordAlgorithm(kwxml::PasswordDirection::Decrypt, type, algorithm);
}

PasswordAlgorithm XMLDecoder::GetRegisteredPasswordEncAlgo(Annotation::PasswordEncryptType type)
{
  return kwxml::passwordAlgorithm(kwxml::PasswordDirection::Encrypt, type);
}

PasswordAlgorithm XMLDecoder::GetRegisteredPasswordDecAlgo(Annotation::PasswordEncryptType type)
{
  return kwxml::passwordAlgorithm(kwxml::PasswordDirection::Decrypt, type);
}

int XMLDecoder::encryptPassword(int type, pstring& value, std::string& out) const
{
  return contained("XMLDecoder::encryptPassword", kwxml::passwordHandlerMissing, [&] {
    return kwxml::encryptPassword({flags_, context_}, type, value, out);
  });
}

bool XMLDecoder::decryptPassword(const FieldDef& field, const unsigned short* text, pstring*& out) const
{
  out = nullptr;
  if (text == nullptr) {
    log().logError("XMLDecoder::decryptPassword", "Received NULL string");
    return false;
  }
  return contained("XMLDecoder::decryptPassword", false, [&] {
    std::string received;
    if (!XMLEncXStr::convertUTF16ToUTF8(text, std::char_traits<unsigned short>::length(text), received)) {
      return false;  // logged
    }
    const auto value = kwxml::decryptPassword({flags_, context_}, field, received);
    if (value) {
      out = new pstring(*value);
    }
    return out != nullptr;
  });
}

bool XMLDecoder::decryptPassword(const FieldDef& field, const unsigned short* text,
                                 std::unique_ptr<pstring>& out) const
{
  return kwxml::intoOwner(out, [&](pstring*& given) { return decryptPassword(field, text, given); });
}

int XMLDecoder::ProcessPasswordAnnotation(bstring& value, bool reEncrypt) const
{
  return contained("XMLDecoder::ProcessPasswordAnnotation", 1, [&] {
    return kwxml::processPassword({flags_, context_}, value, reEncrypt);
  });
}
