#include <kwxml/xml/RootName.h>

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/xml/XMLSerializationSupport.h>

namespace kwxml {

namespace {

constexpr int monitoringSystem = 119;
constexpr const char* monitoringName = "MonitoringHost";
constexpr const char* monitoringRoot = "SystemMonitoring";

}  // namespace

std::string rootElementName(int system, const _ClassDef& cls)
{
  const bool renamed =
      system == monitoringSystem && XMLSerializationSupport::checkIfSystemMonitoringMessage(cls.classId);
  return renamed ? std::string(monitoringRoot) + "_" + cls.name : tagNameOf(system, cls);
}

bool findRoot(const std::string& name, short& system, int& classIndex)
{
  const auto split = name.find('_');
  std::string systemName = name.substr(0, split);
  if (systemName == monitoringRoot) {
    systemName = monitoringName;
  }
  return split != std::string::npos &&
         YMMessageBase::getMessageSystemIndexFromName(systemName.c_str(), system) &&
         YMMessageBase::getMessageIndexFromName(name.c_str() + split + 1, system, classIndex);
}

}  // namespace kwxml
