// The texts that are parsed as the parser wants them. Not installed.
#pragma once

#include <kwxml/text/Utf8.h>
#include <kwxml/xml/GuardedReader.h>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/util/XMLUni.hpp>

#include <memory>
#include <string>

namespace kwxml {

inline constexpr const char16_t* sourceName = u"unknown";

/// The wide text as UTF-16; false when it holds something that is no code point.
inline bool toUtf16(const wchar_t* text, std::u16string& out)
{
  for (; *text != 0; ++text) {
    const auto c = static_cast<char32_t>(*text);
    if (c >= 0x110000) {
      return false;
    }
    putUtf16(c, [&out](char16_t unit) { out += unit; });
  }
  return true;
}

// Sources of the parser that has that memory, which must outlive them.

/// An input source over UTF-16 units, whatever encoding the text itself declares.
inline std::unique_ptr<xercesc::MemBufInputSource> wideSource(const std::u16string& text,
                                                              ParserMemory& memory)
{
  auto source = std::make_unique<xercesc::MemBufInputSource>(reinterpret_cast<const XMLByte*>(text.data()),
                                                             text.size() * sizeof(char16_t), sourceName,
                                                             false, &memory);
  source->setEncoding(xercesc::XMLUni::fgUTF16LEncodingString);
  source->setCopyBufToStream(false);
  return source;
}

inline std::unique_ptr<xercesc::MemBufInputSource> narrowSource(std::string_view text, ParserMemory& memory)
{
  auto source = std::make_unique<xercesc::MemBufInputSource>(reinterpret_cast<const XMLByte*>(text.data()),
                                                             text.size(), sourceName, false, &memory);
  source->setCopyBufToStream(false);
  return source;
}

}  // namespace kwxml
