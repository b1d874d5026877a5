// Who takes a text that is written in parts.
#pragma once

#include <functional>
#include <string_view>

namespace kwxml {

/// Takes the next part, of some kilobytes, which is gone after the call; false ends the writing.
using TakeText = std::function<bool(std::string_view)>;

}  // namespace kwxml
