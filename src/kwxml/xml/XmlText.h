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
/// The hash of a name as field records hold it (over its UTF-8 bytes), without making the bytes.
std::uint32_t nameHash(std::u16string_view name);

}  // namespace kwxml
