// What generated wrappers stand on.
//
// A wrapper is a class derived from YMMessageBase for one class of messages. It has no data of its own, so
// that a message of the generic class can be taken for one (kwxml::as) and lists of messages for lists of
// them. Its accessors are the generic ones with constant addresses.
#pragma once

#include <kwxml/platform/CxxStandard.h>
#include <kwxml/platform/Export.h>

#include <kwxml/model/Registry.h>
#include <kwxml/model/YMMessageBase.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace kwxml {

inline namespace v2 {  // as CatalogueTables::currentVersion

/// A class as its wrapper was compiled for it. Constant, in the program that uses the wrapper.
struct WrapperClass
{
  /// Of the wrapper's catalogue: without that catalogue the program does not link.
  const Registry* const* registry;
  const char* catalogue;        ///< the catalogue's name then
  const char* system;           ///< name of the class's system
  const char* name;             ///< name of the class
  std::uint32_t tag;            ///< the class's tag identifier
  std::int32_t classIndex;      ///< the class's position in its system
  std::uint32_t fingerprint;    ///< over `fields`: fingerprintStep()
  std::int32_t numberOfFields;  ///< records that `fields` lists
  const char* fields;           ///< of each record its hash, number, slot and type in decimal: "9023,0,2,1;"
};

/// An enumeration as it was compiled for a program. Constant.
struct WrapperEnum
{
  const Registry* const* registry;   ///< as a WrapperClass's
  const char* catalogue;             ///< the catalogue's name then
  const char* system;                ///< name of the enumeration's system
  const char* name;                  ///< name of the enumeration
  std::int32_t systemIndex;          ///< index of the system
  std::int32_t classIndex;           ///< the enumeration's position in its system
  std::int32_t numberOfEnumerators;  ///< enumerators that the program knows
  std::uint32_t fingerprint;         ///< over the enumerators
};

}  // namespace v2

/// Throws KwException (and logs) when a message of the wrapper's tag has other fields than the wrapper was
/// compiled for: its accessors would take one field for another. A message of another tag is read by the
/// names of its fields, whatever it has.
/// (`catalogue`: the name of the wrapper's, `wrapper`: null where it is not at hand.)
KWXML_API void checkWrapper(const YMMessageBase& message, std::uint32_t tag, std::uint32_t fingerprint,
                            const char* catalogue, const WrapperClass* wrapper);

/// A wrapper has neither data nor virtual functions: object and wrapper are the same bytes. (To the language
/// a message of the generic class is none of the wrapper's type. All that a wrapper does is to call members
/// of the generic class, on which the compilers that this library is for act as one expects.)
template <class Wrapper>
inline constexpr bool isWrapper =
    sizeof(Wrapper) == sizeof(YMMessageBase) &&
    !std::is_polymorphic_v<Wrapper> && std::is_base_of_v<YMMessageBase, Wrapper>;

/// What no text can be made of, although a null pointer, and a 0 for one, converts to one.
template <class T>
concept NoText = std::is_null_pointer_v<T> || std::is_integral_v<T>;
/// A text that its owner gives away: what a setter may take over instead of copying it.
template <class T, class Text>
concept GivenAway = std::is_same_v<T, Text>;
/// A view of a text.
template <class T>
concept TextView = std::is_same_v<T, std::string_view>;
/// What a whole number can be made of, but loses its fraction.
template <class T>
concept Floating = std::is_floating_point_v<T>;

/// A message as its wrapper. The message may be of another class: on a foreign tag fields are found by the
/// hashes of their names, and those that are not there read as unset. Throws KwException (and logs) when the
/// message is of the wrapper's tag, but its catalogue has other fields for it than the wrapper was compiled
/// for.
template <class Wrapper>
Wrapper& as(YMMessageBase& message)
{
  static_assert(isWrapper<Wrapper>, "a wrapper adds nothing to a message");
  checkWrapper(message, Wrapper::tag, Wrapper::kwxmlClass.fingerprint, Wrapper::kwxmlClass.catalogue,
               &Wrapper::kwxmlClass);
  return static_cast<Wrapper&>(message);
}
template <class Wrapper>
const Wrapper& as(const YMMessageBase& message)
{
  return as<Wrapper>(const_cast<YMMessageBase&>(message));
}

/// A message as its wrapper where it is of the wrapper's class; null for one of another class, for one
/// without a class, and for null. The message stays its owner's. Throws as kwxml::as() does.
template <class Wrapper>
[[nodiscard]] Wrapper* cast(YMMessageBase* message)
{
  return message != nullptr && message->getTagID() == Wrapper::tag ? &as<Wrapper>(*message) : nullptr;
}
template <class Wrapper>
[[nodiscard]] const Wrapper* cast(const YMMessageBase* message)
{
  return cast<Wrapper>(const_cast<YMMessageBase*>(message));
}
template <class Wrapper>
[[nodiscard]] Wrapper* cast(YMMessageBase& message)
{
  return cast<Wrapper>(&message);
}
template <class Wrapper>
[[nodiscard]] const Wrapper* cast(const YMMessageBase& message)
{
  return cast<Wrapper>(&message);
}
template <class Wrapper>
[[nodiscard]] Wrapper* cast(const std::unique_ptr<YMMessageBase>& message)
{
  return cast<Wrapper>(message.get());
}
template <class Wrapper>
[[nodiscard]] Wrapper* cast(std::unique_ptr<YMMessageBase>&&) = delete;
template <class Wrapper>
[[nodiscard]] Wrapper* cast(std::nullptr_t)
{
  return nullptr;
}

/// What an accessor gives for a value that is not there: an empty one, the same for all.
template <class T>
const T& orEmpty(const T* value)
{
  static const T empty{};
  return value != nullptr ? *value : empty;
}
/// And one that may be written to, when a message has no such field (logged). The next such access of the
/// thread empties it.
template <class T>
T& orScratch(T* value)
{
  thread_local T scratch;
  return value != nullptr ? *value : scratch = T();
}

// ---- Nested messages
// The accessors of a nested message: those of YMMessageBase, but only for a field that holds a message in
// the message at hand, so that no value of another kind is taken for one. Pointers are without a type
// because a wrapper's header need not have the other wrapper's class; all are of messages.
//
// Each that gives a message checks it as kwxml::as() does, by the tag and the fingerprint of the wrapper
// that it is given as; `outer` is the wrapper of the message around it, whose catalogue has both.

/// The message in the field, set or not; null when the field holds none (one log line when it can hold none).
KWXML_API const void* nestedMessage(const YMMessageBase& message, short field, short slot, unsigned long tag,
                                    unsigned int hash, std::uint32_t wrapperTag, std::uint32_t fingerprint,
                                    const WrapperClass& outer);
/// Stores a copy of the message at `value`, marked set; without effect (one log line) when the field holds no
/// message.
KWXML_API void setNestedMessage(YMMessageBase& message, short field, short slot, unsigned long tag,
                                unsigned int hash, const void* value);
/// The message in the field, made as one of the class that the field refers to when it is missing, and marked
/// set. Throws KwException (after one log line) when the field can hold none.
KWXML_API void* mutableNestedMessage(YMMessageBase& message, short field, short slot, unsigned long tag,
                                     unsigned int hash, std::uint32_t wrapperTag, std::uint32_t fingerprint,
                                     const WrapperClass& outer);

// ---- Times and enumerators

/// Throws std::out_of_range, with a text that names the seconds.
[[noreturn]] KWXML_API void refuseTime(long long seconds);
/// A count of seconds as the number of a field. Throws std::out_of_range where the type does not hold it.
template <class Number>
Number numberOf(long long seconds)
{
  const auto number = static_cast<Number>(seconds);
  if (static_cast<long long>(number) != seconds || (number < 0) != (seconds < 0)) {
    refuseTime(seconds);
  }
  return number;
}

/// Writes an enumerator's name to the stream, or the number where the name is empty.
KWXML_API std::ostream& writeEnumerator(std::ostream& out, const char* name, int number);
/// Name of an enumerator; an empty text when there is none. Both functions throw KwException (and log) when
/// the tables do not begin with the enumerators that the program was compiled with, or have no such
/// enumeration: a program's constants would mean others.
KWXML_API const char* enumeratorName(const WrapperEnum& enumeration, int value);
/// The number of an enumerator; false, with `value` unchanged, when there is none of that name.
[[nodiscard]] KWXML_API bool enumeratorValue(const WrapperEnum& enumeration, std::string_view name,
                                             int& value);

}  // namespace kwxml
