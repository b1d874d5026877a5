// The focus of the process: the name of the product component that runs in it. It selects settings
// (KWPlatformInfo.h), names the process's log (EvDebug.h), and a process without one has no library
// diagnostics (XMLDebug.h). Both functions may be called from any thread.
#pragma once

class KWPI_Focus
{
public:
  /// The focus, or null when there is none. Until the first setFocus that is the value of the environment
  /// variable KWXML_FOCUS, read once. The text stays valid until the process ends, whatever is set later.
  static const char* getFocus();

  /// Sets the focus; null for none. The text is copied (once per distinct text, and kept).
  static void setFocus(const char* focus);
};
