// Events of the product as messages of the catalogue, and back: an EvMessageContainer becomes a
// Common::EventMessage, each of its arguments a Common::EventArgument with its value as text and a type
// beside it.
//
//     kind of argument          type in the message  text     back
//     5  int                    INT                  %d       int, kind 5
//     6  unsigned int           UINT                 %u       unsigned int, kind 6
//     7  long                   LONG                 %ld      long, kind 7
//     8  unsigned long          ULONG                %lu      unsigned long, kind 8
//     9  long long              LONGLONG             %lld     long long, kind 9
//     10 unsigned long long     LONGLONG             %llu     long long, kind 9
//     11 string                 STRING               itself   string, kind 11
//
// That kind 10 comes back as kind 9 is part of the form; only an argument that arrives with the type
// ULONGLONG becomes kind 10. The two classes come with the wrappers of the catalogue (<catalogue/Common.h>);
// their fields are found by name. Where a catalogue lacks the classes, arguments that cannot be made are left
// out, with a line in the log. The functions throw nothing but std::bad_alloc. An object belongs to one
// thread during a call.
#pragma once

#include <kwxml/platform/CxxStandard.h>
#include <kwxml/platform/Export.h>

#include <string>
#include <type_traits>
#include <vector>

class ArgumentInfo;
class EvMessageContainer;

namespace Common {
class EventArgument;
class EventMessage;
}  // namespace Common

/// Sets the message identifier of `out` to that of `in`, and appends the arguments of `in` to those of `out`.
/// Severity and category have no place in the message.
KWXML_API void setEvMessageContainerToXML(const EvMessageContainer& in, Common::EventMessage& out);
/// Appends the arguments to `out`, with positions from 0 on. An argument of a kind that is not in the table
/// has neither type nor text. Null does nothing.
KWXML_API void setEvMessageArgumentsToXML(const ArgumentInfo* in, std::vector<Common::EventArgument>& out);

/// Makes `out` the event of the message, its arguments in the order of their positions; severity and category
/// become 0. A number is read from the beginning of its text as far as the digits go; 0 without digits.
/// False, with `out` empty and an error in the log, for an argument of a type that does not exist.
[[nodiscard]] KWXML_API bool getEvMessageContainerFromXML(Common::EventMessage in, EvMessageContainer& out);
/// Sorts `in` by position and appends its arguments to those of `out`; arguments with equal positions stay in
/// their order. False, with `out` empty and an error in the log, for an argument of a type that does not
/// exist.
[[nodiscard]] KWXML_API bool getEvMessageContainerArgumentsFromXML(std::vector<Common::EventArgument>& in,
                                                                   EvMessageContainer& out);

/// Appends a text to the arguments of a message; its position is the number of arguments, itself included.
/// False, with an error in the log, where the catalogue has no class of arguments.
[[nodiscard]] KWXML_API bool pushEventArgumentXML(Common::EventMessage& message, std::string value);
/// Always refuses the number: false, with an error in the log, and the message unchanged. Numbers are taken
/// only where the compiler names their types "int", "long" or "__int64" at run time; compilers for this
/// platform name them "i", "l" and "x". For int, long and long long.
template <class T>
requires std::is_arithmetic_v<T>
[[nodiscard]] KWXML_API bool pushEventArgumentXML(Common::EventMessage& message, T value);

/// Whether the position of `a` is below that of `b`: an order for sorting arguments.
KWXML_API bool eventArgumentPositionSortPredicate(Common::EventArgument& a, Common::EventArgument& b);
