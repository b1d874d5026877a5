// What takes a text that is written in parts.
#pragma once

#include <kwxml/platform/Export.h>
#include <kwxml/platform/StandardParts.h>

#include <kwxml/platform/CxxStandard.h>

#include <cstddef>
#include <iosfwd>
#include <span>
#include <string_view>

namespace kwxml {

/// Takes the next part, which is gone after the call; false ends the writing. A part has some kilobytes; a
/// text that was made otherwise may come as one. An exception ends the writing as false does, and is logged.
using TakeText = std::function<bool(std::string_view)>;

/// Writes to a stream of the caller, until the stream fails. The stream must outlive the result.
KWXML_API TakeText intoStream(std::ostream& out);
/// Fills the caller's memory from its begin. `size` counts all bytes, also those that the memory has no room
/// for. Both must outlive the result.
KWXML_API TakeText intoMemory(std::span<char> memory, std::size_t& size);

}  // namespace kwxml
