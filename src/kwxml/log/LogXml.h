// The XML of a message for a line of a log, made by the caller's thread.
#pragma once

#include <string>

class YMMessageBase;

/// The XML of `message`, or, when that is null, of the message in the text `xml`, written anew with default
/// settings. Empty when there is neither. On failure (logged) a text that says so: "Error unserializing given
/// object.", "Error reserializing given object/string" when `xml` was given, or "Error serializing
/// YMMessageBase object and given empty input string".
std::string logXML(const std::string& xml, const YMMessageBase* message);
