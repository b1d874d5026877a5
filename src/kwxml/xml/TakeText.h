// Who takes a text that is written in parts.
#pragma once

#include <kwxml/model/CxxStandard.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <ostream>
#include <span>
#include <string_view>

namespace kwxml {

/// Takes the next part, which is gone after the call; false ends the writing. A part has some kilobytes; a
/// text that was made otherwise may come as one. An exception ends the writing as false does, and is logged.
using TakeText = std::function<bool(std::string_view)>;

/// Writes to a stream of the caller, until it fails.
inline TakeText intoStream(std::ostream& out)
{
  return [&out](std::string_view part) {
    return out.write(part.data(), static_cast<std::streamsize>(part.size())).good();
  };
}

/// Fills the caller's memory from its begin. `size` counts all bytes, also those that it has no room for.
inline TakeText intoMemory(std::span<char> memory, std::size_t& size)
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
