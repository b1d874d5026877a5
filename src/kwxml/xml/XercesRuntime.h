// The XML library's process-wide state. Not installed.
#pragma once

namespace kwxml {

/// Initialises the XML library once per process, before its first use here; every later call is cheap. It is
/// never terminated by us: initialisation is counted, so a program that uses the library too and terminates
/// its own share does not pull it from under us. Leaves the process's locale alone. Thread-safe towards
/// itself. False (with one error line) when the library cannot start; the next call tries again.
[[nodiscard]] bool initializeXerces() noexcept;

}  // namespace kwxml
