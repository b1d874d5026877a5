// The names of root elements: the tag names of messages, but for some of one system. Not installed.
#pragma once

#include <kwxml/model/Registry.h>

#include <string>
#include <string_view>

namespace kwxml {

/// The name of the root element of a message of a class: system, "_" and class. Twelve classes of the system
/// "MonitoringHost" go by the system name "SystemMonitoring".
std::string rootElementName(int system, const _ClassDef& cls);

/// The class whose messages have a root element of that name; false when there is none. All classes of
/// "MonitoringHost" are found under both of its names. Thread-safe.
[[nodiscard]] bool findRoot(const Registry& registry, std::string_view name, short& system, int& classIndex);

/// A sentence for people about a name that findRoot() does not find, with the nearest one that it does.
std::string describeUnknownRoot(const Registry& registry, std::string_view name);

}  // namespace kwxml
