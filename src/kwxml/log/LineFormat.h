// The text of a logged line from its format and arguments. Not installed.
#pragma once

#include <cstdarg>

struct messageContainer;

namespace kwxml {

/// Sets the record's text, of at most 4095 bytes, and where in it the XML of a message stands: where the
/// format has the first "%bxml_kw" (or "%%bxml_kw"), or nowhere. A format whose arguments the C library
/// cannot format stands in the line as it is, behind "(arguments not formatted) ".
void formatLine(messageContainer& record, const char* format, va_list args);

}  // namespace kwxml
