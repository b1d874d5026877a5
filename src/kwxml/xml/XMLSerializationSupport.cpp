#include <kwxml/xml/XMLSerializationSupport.h>

#include <kwxml/diagnostics/XMLDebug.h>

#include <algorithm>
#include <string_view>

void XMLSerializationSupport::addListener(unsigned long tag, Callback callback)
{
  if (callback != nullptr) {
    listeners_[tag].push_back(callback);
  }
}

void XMLSerializationSupport::removeListener(unsigned long tag, Callback callback)
{
  const auto found = listeners_.find(tag);
  if (found != listeners_.end()) {
    std::erase(found->second, callback);
    if (found->second.empty()) {
      listeners_.erase(found);
    }
  }
}

void XMLSerializationSupport::ProcessCallBack(unsigned long tag, ListenerCbData& data) const
{
  const auto found = listeners_.find(tag);
  if (found == listeners_.end()) {
    return;
  }
  for (const Callback callback :
       std::vector<Callback>(found->second)) {  // a listener may change the registry
    callback(data);
  }
}

bool XMLSerializationSupport::checkIfSystemMonitoringMessage(unsigned long classId)
{
  constexpr unsigned long ids[] = {0x0831B8, 0x1E9926, 0x2D8780, 0x3D2DE6, 0x4C4BC8, 0x863962,
                                   0xA13661, 0xAD45B7, 0xB2C843, 0xB55B23, 0xCE06A4, 0xE35D60};
  return std::binary_search(std::begin(ids), std::end(ids), classId);
}

int XMLSerializationSupport::getSizeOfField(const FieldDef& field)
{
  const kwxml::FieldTypeInfo& info = kwxml::fieldTypeInfo(field.type);
  if (info.storage == kwxml::Storage::None) {
    XMLDebug::getInstance()->logError("XMLSerializationSupport::getSizeOfField",
                                      "Unknown Type for Computing size. Type:[%d] Field:[%s].",
                                      static_cast<int>(field.type), field.getName());
    return 0;
  }
  return info.slots * 8;
}

bool XMLSerializationSupport::hideFields(ListenerCbData& data)
{
  const std::string_view name = data.field.getName();
  if (name != "id" && name != "name" && !name.ends_with("Id")) {
    data.result = XMLCB_SKIP_PROCESSING;
  }
  return true;
}
