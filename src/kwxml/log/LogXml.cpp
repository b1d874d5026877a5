#include <kwxml/log/LogXml.h>

#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>

#include <memory>

std::string logXML(const std::string& xml, const YMMessageBase* message)
{
  if (message == nullptr && xml.empty()) {
    return {};
  }
  std::unique_ptr<YMMessageBase> decoded;
  if (message == nullptr) {
    decoded.reset(XMLDecoder().unSerialize(xml));
    if (decoded == nullptr) {
      return "Error unserializing given object.";
    }
    message = decoded.get();
  }
  std::string text;
  if (XMLEncoder().serialize(*message, text) != 0) {
    return !xml.empty() ? "Error reserializing given object/string"
                        : "Error serializing YMMessageBase object and given empty input string";
  }
  return text;
}
