#include <kwxml/codec/XMLDecoder.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/xml/XMLSerializer.h>

namespace {

XMLDebug& log()
{
  return *XMLDebug::getInstance();
}

}  // namespace

XMLDecoder& XMLDecoder::getXMLDecoderObject()
{
  static XMLDecoder decoder;
  return decoder;
}

// Reading always uses default flags: what a text means does not depend on how its reader writes.

int XMLDecoder::unSerialize(YMMessageBase& message, const std::string& xml, KwXMLContextInfo* context) const
{
  return XMLSerializer(EncodingFlags(), context).unserialize(message, xml);
}

int XMLDecoder::unSerialize(YMMessageBase& message, const wchar_t* xml, KwXMLContextInfo* context) const
{
  return XMLSerializer(EncodingFlags(), context).unserialize(message, xml);
}

YMMessageBase* XMLDecoder::unSerialize(const std::string& xml, KwXMLContextInfo* context) const
{
  return XMLSerializer(EncodingFlags(), context).unserialize(xml);
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
    return false;
  }
  if (!YMMessageBase::getMessageIndexFromName(className.c_str(), system, index)) {
    log().logError(function, "Subsystem : [%s] does not contain message : [%s].", systemName.c_str(),
                   className.c_str());
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
  if (XMLSerializer(EncodingFlags(), &context).unserialize(**out, xml) !=
      0) {  // logs what is wrong with the text
    delete *out;
    *out = nullptr;
    return false;
  }
  return true;
}

std::string XMLDecoder::getEnumString(const _ClassDef& enumeration, int value)
{
  const FieldDef* found = kwxml::findField(enumeration, static_cast<std::uint32_t>(value));
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
