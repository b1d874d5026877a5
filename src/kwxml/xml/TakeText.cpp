#include <kwxml/xml/TakeText.h>

#include <algorithm>
#include <ostream>

namespace kwxml {

TakeText intoStream(std::ostream& out)
{
  return [&out](std::string_view part) {
    return out.write(part.data(), static_cast<std::streamsize>(part.size())).good();
  };
}

TakeText intoMemory(std::span<char> memory, std::size_t& size)
{
  size = 0;
  return [memory, &size](std::string_view part) {
    if (size < memory.size()) {
      std::copy_n(part.begin(), std::min(part.size(), memory.size() - size), memory.data() + size);
    }
    size += part.size();
    return true;
  };
}

}  // namespace kwxml
