// The log of event reporting.
#pragma once

#include <kwxml/platform/EvDebug.h>
#include <kwxml/platform/Export.h>

/// The log of event reporting: a log like any other, whose type says what the log is used for.
class KWXML_API EvEvent : public EvDebug
{
public:
  /// The constructors of EvDebug.
  using EvDebug::EvDebug;
};
