#include <kwxml/xml/XmlText.h>

#include <kwxml/model/Metadata.h>
#include <kwxml/text/Utf8.h>
#include <kwxml/xml/Transcoding.h>

namespace kwxml {

namespace {

/// Calls `put(char)` for each UTF-8 byte of the text.
template <class Put>
void forEachUtf8Byte(std::u16string_view text, Put put)
{
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (c < 0x80) {
      put(static_cast<char>(c));
    } else if (isLeadSurrogate(c) && i + 1 < text.size() && isTrailSurrogate(text[i + 1])) {
      putUtf8(joinSurrogates(c, text[++i]), put);
    } else {
      putUtf8(isCharacter(c) ? c : U'?', put);
    }
  }
}

}  // namespace

std::string toUtf8(std::u16string_view text)
{
  std::string out;
  out.reserve(text.size());
  forEachUtf8Byte(text, [&](char byte) { out += byte; });
  return out;
}

std::u16string toUtf16(const char* text)
{
  XMLChstring wide;
  if (!XMLEncXStr::convertUTF8ToUTF16(text, wide)) {
    XMLEncXStr::convertUnformattedToUTF16(text, wide);
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

std::uint32_t nameHash(std::u16string_view name)
{
  std::uint32_t h = 0;
  forEachUtf8Byte(
      name, [&](char byte) { h = h * 31 + static_cast<std::uint32_t>(static_cast<signed char>(byte)); });
  return h & 0xFFFFFF;
}

}  // namespace kwxml
