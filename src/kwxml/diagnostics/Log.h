// The library's log by a short name, for its own sources. Not installed.
#pragma once

#include <kwxml/diagnostics/XMLDebug.h>

namespace kwxml {

inline XMLDebug& log()
{
  return *XMLDebug::getInstance();
}

}  // namespace kwxml
