#include "Schema.h"

#include <algorithm>
#include <iterator>

namespace kwxml::catalogue {

bool System::isEager() const
{
  const auto& list = XML_KWMessage_MessageSystemChooser::oldXFilesSubsystemIDS;
  return std::find(std::begin(list), std::end(list), index) != std::end(list);
}

std::string tagName(const Class& cls)
{
  return cls.system->name + "_" + cls.name;
}

std::string lowerCase(std::string text)
{
  for (char& c : text) {
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return text;
}

std::uint32_t tagId(const Class& cls)
{
  return static_cast<std::uint32_t>(cls.system->index << 24 | cls.id);
}

}  // namespace kwxml::catalogue
