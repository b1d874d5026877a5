// One value of a field, or one element of a list, as text: the same in plain summaries and in XPath records.
#pragma once

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/Export.h>

#include <string>

/// The text of the value at `value`, which is of the field type `type` (a FieldDataType) in its stored form:
///
///     1, 10, 13, 19, 41    int             decimal; an enumerator's number, not its name
///     2, 14                unsigned int    decimal
///     3, 15                long            decimal
///     4, 16                unsigned long   decimal
///     5, 17, 42            64-bit integer  decimal
///     6, 18                the same, unsigned
///     7, 26                truth value     "1" or "0"
///     8, 20                std::string     as it is
///     11, 28               double          six significant digits, as a default stream writes it
///     12, 27               float           the same
///     25, 30; 31           bstring; pstring  base64 in lines (Base64.h) of the bytes as stored
///
/// For a list type `value` refers to one element. A scalar's slot is its stored form, and so is a variable of
/// the type in the table. The text is empty for every other type, and for null. Nothing depends on the
/// process's locale; nothing is logged. Threads may call the function at the same time.
KWXML_API std::string getStringFromFld(int type, const void* value);

namespace kwxml {

/// Appends the result of getStringFromFld() to `out`.
KWXML_API void appendFieldText(std::string& out, int type, const void* value);
/// Appends the texts of a list's elements to `out`, with commas between them; nothing for fields that are no
/// list and for lists of messages. `list` is a record of the message's class.
KWXML_API void appendElementTexts(std::string& out, const YMMessageBase& message, const FieldDef& list);

}  // namespace kwxml
