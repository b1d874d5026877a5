#include <kwxml/xml/RootName.h>

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/text/NearestName.h>
#include <kwxml/text/ShownText.h>
#include <kwxml/text/Utf8.h>
#include <kwxml/xml/XMLSerializationSupport.h>

#include <array>
#include <atomic>
#include <cstdint>

namespace kwxml {

namespace {

constexpr int monitoringSystem = 119;
constexpr const char* monitoringName = "MonitoringHost";
constexpr const char* monitoringRoot = "SystemMonitoring";

/// The classes that were found last, each in the place of its name's hash: system and class index; 0 is none.
/// Programs read messages of far fewer classes than there are, and a place that is taken is only taken over.
constinit std::array<std::atomic<std::uint64_t>, 4096> foundBefore{};

bool isNamed(int system, int classIndex, std::string_view systemName, std::string_view className)
{
  const _ClassDef* cls = findClass(system, classIndex);
  const char* name = XML_KWMessage_MessageSystemChooser::msgSysStruct[system].name;
  return cls != nullptr && cls->name != nullptr && className == cls->name && name != nullptr &&
         systemName == name;
}

}  // namespace

std::string rootElementName(int system, const _ClassDef& cls)
{
  const bool renamed =
      system == monitoringSystem && XMLSerializationSupport::checkIfSystemMonitoringMessage(cls.classId);
  return renamed ? std::string(monitoringRoot) + "_" + cls.name : tagNameOf(system, cls);
}

std::string describeUnknownRoot(std::string_view name)
{
  NearestName nearest(name);
  for (int system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
    const MessageSystemRow& row = XML_KWMessage_MessageSystemChooser::msgSysStruct[system];
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

bool findRoot(std::string_view name, short& system, int& classIndex)
{
  const auto split = name.find('_');
  // Names of the catalogue end with a zero byte.
  if (split == std::string_view::npos || name.find('\0') != std::string_view::npos) {
    return false;
  }
  std::string_view systemName = name.substr(0, split);
  const std::string_view className = name.substr(split + 1);
  if (systemName == monitoringRoot) {
    systemName = monitoringName;
  }
  std::atomic<std::uint64_t>& place = foundBefore[nameHash(name.data(), name.size()) % foundBefore.size()];
  const std::uint64_t before = place.load(std::memory_order_relaxed);
  if (before != 0 &&
      isNamed(static_cast<int>(before >> 32), static_cast<int>(before & 0xFFFFFFFF), systemName, className)) {
    system = static_cast<short>(before >> 32);
    classIndex = static_cast<int>(before & 0xFFFFFFFF);
    return true;
  }
  if (!YMMessageBase::getMessageSystemIndexFromName(std::string(systemName).c_str(), system) ||
      !YMMessageBase::getMessageIndexFromName(std::string(className).c_str(), system, classIndex)) {
    return false;
  }
  place.store(static_cast<std::uint64_t>(system) << 32 | static_cast<std::uint32_t>(classIndex),
              std::memory_order_relaxed);
  return true;
}

}  // namespace kwxml
