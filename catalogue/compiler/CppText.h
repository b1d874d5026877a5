// Names and literals of generated C++.
#pragma once

#include <string>
#include <string_view>

namespace kwxml::catalogue {

/// A string literal with its quotes. Bytes outside printable ASCII are octal escapes of three digits, which a
/// digit behind them cannot lengthen; question marks are escaped, so that no trigraph arises.
std::string literal(std::string_view bytes);

/// A C++ name for a class, field or enumerator: a character that no identifier has becomes "_", a digit at
/// the front gets a "_" before it, and a name that C++, a standard header or the generated code itself has
/// taken one at its end.
std::string cppName(const std::string& name);

/// True for the name of a member of every message.
bool isMessageMember(const std::string& name);

/// False for a system name that cannot be a namespace: a keyword, or a name that is something else already.
bool isUsableNamespace(const std::string& name);

/// True for a class of a system whose namespace the library's headers share, when they already declare
/// something else by that name. They declare the processing-instruction class and those of events, so
/// messages by their names fit.
bool isDeclaredByLibrary(const std::string& system, const std::string& name, bool isEnum);

/// "0x" and at least `digits` upper-case hexadecimal digits.
std::string hexadecimal(unsigned long value, int digits = 1);

}  // namespace kwxml::catalogue
