// A message as one line of text, for logs of one's own, debuggers and tests.
#pragma once

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/Export.h>

#include <iosfwd>
#include <string>

namespace kwxml {

/// The message on one line: its tag name and its plain summary, such as `Demo_Status
/// {errorCode:[7],errorMessage:[x]}`; "(no class)" for a message without a class. Enumerations show the names
/// of their enumerators. Passwords, and all in nested messages with the annotation Password, are left out; so
/// are fields with the annotation HideInReports or Suppress. Control characters are shown as
/// MessageDifference shows them. Throws std::bad_alloc alone.
[[nodiscard]] KWXML_API std::string toString(const YMMessageBase& message);

}  // namespace kwxml

/// Writes kwxml::toString(). GoogleTest prints messages by this operator, too.
KWXML_API std::ostream& operator<<(std::ostream& out, const YMMessageBase& message);
