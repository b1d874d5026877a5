// Events of the product as messages of the catalogue, and back: an EvMessageContainer becomes a
// Common::EventMessage, each of its arguments a Common::EventArgument with its value as text and a type
// beside it.
//
//   kind of argument          type in the message  text     back
//   5  int                    INT                  %d       int, kind 5
//   6  unsigned int           UINT                 %u       unsigned int, kind 6
//   7  long                   LONG                 %ld      long, kind 7
//   8  unsigned long          ULONG                %lu      unsigned long, kind 8
//   9  long long              LONGLONG             %lld     long long, kind 9
//   10 unsigned long long     LONGLONG             %llu     long long, kind 9
//   11 string                 STRING               itself   string, kind 11
//
// That kind 10 comes back as kind 9 is part of the form; only an argument that arrives with the type
// ULONGLONG becomes kind 10. The two classes come with the wrappers of the catalogue (<catalogue/Common.h>);
// their fields are found by name. Where a catalogue lacks them, what cannot be made is left out with a log
// line. Nothing here throws but for want of memory.
#pragma once

#include <string>
#include <type_traits>
#include <vector>

class ArgumentInfo;
class EvMessageContainer;

namespace Common {
class EventArgument;
class EventMessage;
}  // namespace Common

/// Sets the message identifier and appends the arguments of `in` to those of `out`.
void setEvMessageContainerToXML(const EvMessageContainer& in, Common::EventMessage& out);
/// Appends the arguments, with positions from 0 on. One of another kind has neither type nor text. Null does
/// nothing.
void setEvMessageArgumentsToXML(const ArgumentInfo* in, std::vector<Common::EventArgument>& out);

/// Makes `out` the event of the message, its arguments in the order of their positions. Numbers are read as
/// far as they go, 0 without any. False, with `out` empty, for an argument of a type that does not exist
/// (logged).
[[nodiscard]] bool getEvMessageContainerFromXML(Common::EventMessage in, EvMessageContainer& out);
/// The same for the arguments alone, which are appended; `in` is sorted by position (arguments of one
/// position in any order).
[[nodiscard]] bool getEvMessageContainerArgumentsFromXML(std::vector<Common::EventArgument>& in,
                                                         EvMessageContainer& out);

/// Appends a text to the arguments of a message, with the position behind their number, from 1 on. True;
/// false (logged) where the catalogue has no such class.
[[nodiscard]] bool pushEventArgumentXML(Common::EventMessage& message, std::string value);
/// The same for a number, whose type is told by its name at run time: "int", "long" or "__int64". Compilers
/// for this platform have other names ("i", "l", "x"), with which the number is refused: false, and an error
/// line. For int, long and long long.
template <class T>
requires std::is_arithmetic_v<T>
[[nodiscard]] bool pushEventArgumentXML(Common::EventMessage& message, T value);

bool eventArgumentPositionSortPredicate(Common::EventArgument& a, Common::EventArgument& b);
