// Messages for people and as plain Python values.
#pragma once

#include "Message.h"

namespace kwxml::python {

/// "Pets.Cat(name='Tom', lives=9)"; passwords and fields with that annotation as ****. Throws PythonError.
Ref shown(MessageObject& message);
/// The same of the value of one field. Throws PythonError.
Ref shownField(MessageObject& message, const FieldInfo& field);
/// The fields that are set, as a dict; nested messages, too. Throws PythonError.
Ref toDict(MessageObject& message);
/// A list of kwxml.Difference. Throws PythonError.
Ref differences(const YMMessageBase& left, const YMMessageBase& right);

}  // namespace kwxml::python
