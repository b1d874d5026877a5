// Who takes a text that is written in parts.
#pragma once

#include <functional>
#include <string_view>

namespace kwxml {

/// Takes the next part, which is gone after the call; false ends the writing. A part has some kilobytes; a
/// text that was made otherwise may come as one. An exception ends the writing as false does, and is logged.
using TakeText = std::function<bool(std::string_view)>;

}  // namespace kwxml
