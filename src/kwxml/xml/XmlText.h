// Small conversions between the UTF-16 of the XML library and the narrow texts of the log, of names and of
// numbers. Not installed.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kwxml {

/// UTF-8 of a text for a log line or a name; a lone surrogate becomes "?". Values go through XMLEncXStr
/// instead.
std::string toUtf8(std::u16string_view text);
/// UTF-16 of a catalogue name; bytes that are no UTF-8 are taken as Latin-1.
std::u16string toUtf16(const char* text);
/// Whether XML allows each of the text's characters; a lone surrogate is none.
bool isXmlText(std::u16string_view text);
/// Whether a catalogue name is an XML name without a colon: one that documents and their schemas can have.
bool isXmlName(const char* name);
/// UTF-8, but that a lone surrogate is kept as three bytes, which no UTF-8 has; true when there is one.
bool appendLooseUtf8(std::string& out, std::u16string_view text);
bool hasLoneSurrogate(std::u16string_view text);
/// The inverse of appendLooseUtf8().
std::u16string looseUtf16(std::string_view text);

}  // namespace kwxml
