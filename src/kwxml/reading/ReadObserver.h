// What reading tells its caller beside the message: each thing that it drops, bends, replaces or does not
// know.
//
// Readers of all forms (XML, binary, files) take an observer, null by default. With one or without, results,
// messages and log lines are the same; without one nothing is spent.
#pragma once

#include <kwxml/model/Metadata.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace kwxml {

enum class ProblemKind : std::uint8_t
{
  // The reading ended: there is no message, or not all of it.
  NotWellFormed,       ///< the text is no document of its form, or one that is refused
  ClassUnknown,        ///< the catalogue has no class of that name or tag, or the target is of another
  TooDeep,             ///< messages or elements nest deeper than is read
  BufferCut,           ///< the bytes end, or make no sense, before the message does
  NoMemory,            ///< the message takes more memory than there is, or than may be taken
                       // A value is not what the text or the bytes say.
  NotOfType,           ///< the text is no value, or not as a whole, of the field's type
  OutOfRange,          ///< the text is a number that the type does not hold
  EnumeratorUnknown,   ///< the enumeration has no such name or number
  GivenTwice,          ///< of two values one is dropped
  EntryIncomplete,     ///< a map's entry lacks its key or its value, or has two
  StrayText,           ///< text where no value stands
  ItemUnreadable,      ///< a list's item was left out
  PasswordUnreadable,  ///< a password was left out: it is wrong, or there is nothing to decrypt it with
  WireCodeOther,  ///< the writer meant other bytes than those of the field's type, and they were read as the
                  ///< type's
                  // The value is kept nearly, or belongs to another version.
  PrecisionLost,  ///< the number has more digits than the type keeps
  AttributeUnknown,  ///< the class has no field of that name
  ElementUnknown,    ///< the same, with all that the element holds
  MemberUnknown,     ///< the same in JSON
  FieldUnknown,      ///< the same in the binary form, which knows fields by the hash of their name
  WireCodeUnclear,   ///< an int's bytes are coded as those of enumerations, which are the same, and of uint,
                     ///< which are not
  TrailingBytes,     ///< bytes behind the last field
  TextRescued,       ///< bytes were no base64, or had a zero among them, and were kept as far as they go
};

enum class Severity : std::uint8_t
{
  Warning,  ///< what differs between versions is met in healthy data
  Error,
};

/// What people call a kind: "not of its type".
const char* nameOf(ProblemKind kind);
Severity severityOf(ProblemKind kind);

/// Where in the input. Of a text, line and column, both from 1, the column in characters: that of the
/// attribute's value, of the text, or of the tag; in documents that are read by xerces-c (see
/// docs/formats.md) the end of the tag. Of bytes, the offset of what was met; the line is then 0. Nothing is
/// known of a problem at line 0 and offset 0.
struct ReadPlace
{
  std::uint64_t line = 0;
  std::uint64_t column = 0;
  std::uint64_t offset = 0;
};

/// One problem. All that it points to lives as long as the call that tells of it.
struct Problem
{
  ProblemKind kind;
  ReadPlace place{};
  /// The value from the outermost message on: "items[3].price", "prices[\"a\"].value.name"; for names that
  /// are not known, and text outside of values, the message around. Empty for the outermost message.
  std::string_view path{};
  const FieldDef* field = nullptr;   ///< null where there is none
  const _ClassDef* owner = nullptr;  ///< the class of the message around; null before there is one
  FieldDataType type = FIELD_UNSET;  ///< of the value: the field's, or that of a list's item or a map's part
  /// What was met: the value's text, the unknown name, the code. Never a password, nor a text that may be
  /// one.
  std::string_view text{};
  std::string_view remark{};  ///< more words, as those of the XML parser
};

/// A sentence about a problem, without place and path; one printable line of bounded length.
std::string describe(const Problem& problem);

/// The remark of a ClassUnknown where it is a nested message that the catalogue has no class for.
inline constexpr std::string_view missingClass = "the catalogue lacks the class of a nested message";

class ReadObserver
{
public:
  virtual ~ReadObserver() = default;
  /// Called while the message is being read, by the thread that reads. It must not throw: what it throws may
  /// end the reading as a failure of the parser does, or leave the call that reads.
  virtual void met(const Problem& problem) = 0;
};

}  // namespace kwxml
