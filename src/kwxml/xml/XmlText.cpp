#include <kwxml/xml/XmlText.h>

#include <kwxml/model/Metadata.h>
#include <kwxml/text/Utf8.h>
#include <kwxml/xml/Transcoding.h>
#include <kwxml/xml/XmlCh.h>

#include <xercesc/util/XMLChar.hpp>

#include <algorithm>

namespace kwxml {

namespace {

/// Calls `put(character)` for each character and each lone surrogate of the text.
template <class Put>
void forEachCharacter(std::u16string_view text, Put put)
{
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (isLeadSurrogate(c) && i + 1 < text.size() && isTrailSurrogate(text[i + 1])) {
      put(joinSurrogates(c, text[++i]));
    } else {
      put(std::uint32_t{c});
    }
  }
}

}  // namespace

std::string toUtf8(std::u16string_view text)
{
  std::string out;
  out.reserve(text.size());
  forEachCharacter(
      text, [&](std::uint32_t c) { putUtf8(isCharacter(c) ? c : U'?', [&](char byte) { out += byte; }); });
  return out;
}

bool appendLooseUtf8(std::string& out, std::u16string_view text)
{
  bool hasSurrogate = false;
  forEachCharacter(text, [&](std::uint32_t c) {
    hasSurrogate = hasSurrogate || !isCharacter(c);
    putUtf8(c, [&](char byte) { out += byte; });
  });
  return hasSurrogate;
}

bool hasLoneSurrogate(std::u16string_view text)
{
  bool has = false;
  forEachCharacter(text, [&](std::uint32_t c) { has = has || !isCharacter(c); });
  return has;
}

std::u16string looseUtf16(std::string_view text)
{
  std::u16string out;
  out.reserve(text.size());
  while (!text.empty()) {
    std::uint32_t c = 0;
    std::size_t length = utf8Character(text, c);
    if (length == 0) {  // a surrogate: nothing else that is no UTF-8 comes here
      const auto bits = [&](std::size_t i) { return static_cast<std::uint32_t>(text[i]) & 0x3F; };
      length = std::min<std::size_t>(text.size(), 3);
      c = length == 3 ? 0xD000 | bits(1) << 6 | bits(2) : U'?';
      out += static_cast<char16_t>(c);
    } else {
      putUtf16(c, [&out](char16_t unit) { out += unit; });
    }
    text.remove_prefix(length);
  }
  return out;
}

std::u16string toUtf16(const char* text)
{
  XMLChstring wide;
  if (!XMLEncXStr::convertUTF8ToUTF16(text, wide)) {
    (void)XMLEncXStr::convertUnformattedToUTF16(text, wide);
  }
  return wide.length() == 0 ? std::u16string() : std::u16string(wide.c_str(), wide.c_str() + wide.length());
}

bool isXmlText(std::u16string_view text)
{
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (isLeadSurrogate(c) && i + 1 < text.size() && isTrailSurrogate(text[i + 1])) {
      ++i;
    } else if ((c < 0x20 && c != u'\t' && c != u'\n' && c != u'\r') || !isCharacter(c) || c > 0xFFFD) {
      return false;
    }
  }
  return true;
}

bool isXmlName(const char* name)
{
  const std::u16string text = toUtf16(name);
  return xercesc::XMLChar1_0::isValidNCName(text.data(), text.size());
}

}  // namespace kwxml
