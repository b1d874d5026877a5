// The log object of event reporting. To its users it is a log like any other; the type says what it is used
// for.
#pragma once

#include <kwxml/platform/EvDebug.h>

class EvEvent : public EvDebug
{
public:
  using EvDebug::EvDebug;
};
