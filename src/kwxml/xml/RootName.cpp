#include <kwxml/xml/RootName.h>

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/text/NearestName.h>
#include <kwxml/text/ShownText.h>
#include <kwxml/text/Utf8.h>
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

std::string describeUnknownRoot(const Registry& registry, std::string_view name)
{
  NearestName nearest(name);
  for (int system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
    const MessageSystemRow& row = registry.row(static_cast<unsigned>(system));
    for (int index = 0; row.name != nullptr && index < row.numberOfClasses; ++index) {
      const _ClassDef& cls = row.classes[index];
      if (cls.name != nullptr && !cls.isEnum()) {
        nearest.consider(tagNameOf(system, cls));
        nearest.consider(rootElementName(system, cls));
      }
    }
  }
  return "unknown class '" + shown(name.substr(0, utf8Cut(name, longestTypedName))) +
         (name.size() > longestTypedName ? "..." : "") + "'" + nearest.question();
}

bool findRoot(const Registry& registry, std::string_view name, short& system, int& classIndex)
{
  const auto split = name.find('_');
  // Names of the catalogue end with a zero byte.
  if (split == std::string_view::npos || name.find('\0') != std::string_view::npos) {
    return false;
  }
  const std::string_view systemName = name.substr(0, split);
  return registry.findClass(systemName == monitoringRoot ? monitoringName : systemName,
                            name.substr(split + 1), system, classIndex);
}

}  // namespace kwxml
