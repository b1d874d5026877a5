// A message as one line of text, for logs of one's own, debuggers and tests.
#pragma once

#include <kwxml/model/YMMessageBase.h>

#include <iosfwd>
#include <string>

namespace kwxml {

/// The message on one line: its tag name and its plain summary, `Demo_Status
/// {errorCode:[7],errorMessage:[x]}`;
/// "(no class)" for a message without one. Enumerators go by their names. Passwords, and what nested messages
/// with the annotation Password hold, are left out; so are fields that the catalogue hides from reports.
/// Control characters are shown as the differences of messages show them. Throws std::bad_alloc alone.
[[nodiscard]] std::string toString(const YMMessageBase& message);

}  // namespace kwxml

/// Writes kwxml::toString(). GoogleTest prints messages by it, too.
std::ostream& operator<<(std::ostream& out, const YMMessageBase& message);
