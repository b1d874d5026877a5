// The XML of a message for a line of a log, made by the caller's thread.
#pragma once

#include <kwxml/platform/Export.h>

#include <string>

class YMMessageBase;

/// The XML of `message` with default settings. Where `message` is null, the XML text `xml` is read and its
/// message written anew. Empty when there is neither. `message` stays the caller's. Failures are logged, and
/// the result is a text that says so: "Error unserializing given object." when `xml` cannot be read, "Error
/// reserializing given object/string" when `xml` was given, or "Error serializing YMMessageBase object and
/// given empty input string".
KWXML_API std::string logXML(const std::string& xml, const YMMessageBase* message);
