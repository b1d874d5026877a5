// The focus of a process.
#pragma once

#include <kwxml/platform/Export.h>

/// The focus of the process: the name of the product component that runs in the process. The focus selects
/// settings (KWPlatformInfo) and names the process's log (EvDebug). A process without a focus has no
/// diagnostics of the library (XMLDebug). Both functions may be called from any thread.
class KWXML_API KWPI_Focus
{
public:
  /// The focus, or null when there is none. Until the first setFocus() the focus is the value of the
  /// environment variable KWXML_FOCUS, which is read once. The text stays valid until the process ends, also
  /// when another focus is set later.
  static const char* getFocus();

  /// Sets the focus; null for none. The text is copied. Each distinct text is kept until the process ends.
  static void setFocus(const char* focus);
};
