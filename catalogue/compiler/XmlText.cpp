#include "XmlText.h"

#include <xercesc/util/TransService.hpp>

namespace kwxml::catalogue {

std::string toUtf8(const XMLCh* text)
{
  std::string ascii;
  for (const XMLCh* c = text; c != nullptr && *c != 0; ++c) {
    if (*c >= 0x80) {
      const xercesc::TranscodeToStr utf8(text, "UTF-8");
      return {reinterpret_cast<const char*>(utf8.str()), static_cast<std::size_t>(utf8.length())};
    }
    ascii.push_back(static_cast<char>(*c));
  }
  return ascii;
}

}  // namespace kwxml::catalogue
