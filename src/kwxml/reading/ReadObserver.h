// What reading tells its caller beside the message: each thing that the reader drops, bends, replaces or does
// not know.
//
// Readers of all forms (XML, JSON, binary, files) take an observer, null by default. With an observer or
// without, results, messages and log lines are the same; without one no time is spent.
#pragma once

#include <kwxml/model/Metadata.h>
#include <kwxml/platform/Export.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace kwxml {

/// What can be met while a message is read.
enum class ProblemKind : std::uint8_t
{
  // The reading ended: there is no message, or not all of it.
  NotWellFormed,  ///< the text is no document of its form, or one that is refused
  ClassUnknown,   ///< the catalogue lacks that name or tag, or the target is of another class
  TooDeep,        ///< messages or elements nest deeper than is read
  BufferCut,      ///< the bytes end, or make no sense, before the message does
  NoMemory,       ///< the message takes more memory than there is, or than may be taken

  // A value is not what the text or the bytes say.
  NotOfType,           ///< the text is no value, or not as a whole, of the field's type
  OutOfRange,          ///< the text is a number that the type does not hold
  EnumeratorUnknown,   ///< the enumeration has no such name or number
  GivenTwice,          ///< of two values one is dropped
  EntryIncomplete,     ///< a map's entry lacks its key or its value, or has two
  StrayText,           ///< text where no value stands
  ItemUnreadable,      ///< a list's item was left out
  PasswordUnreadable,  ///< a password was left out: it is wrong, or there is nothing to decrypt it with
  WireCodeOther,  ///< the bytes are coded for another type than the field's, and were read as the field's

  // The value is kept nearly, or belongs to another version.
  PrecisionLost,     ///< the number has more digits than the type keeps
  AttributeUnknown,  ///< the class has no field of the attribute's name
  ElementUnknown,    ///< the class has no field of the element's name; all that the element holds is dropped
  MemberUnknown,     ///< the class has no field of the name of the member in JSON
  FieldUnknown,      ///< the class has no field with the hash by which the binary form names fields
  WireCodeUnclear,   ///< an int has the code that enumerations and uints share: right if the writer had an
                     ///< enumeration, another number if the writer had a uint
  TrailingBytes,     ///< bytes behind the last field
  TextRescued,       ///< bytes were no base64, or had a zero among them, and were kept as far as they go
};

/// How bad a problem is.
enum class Severity : std::uint8_t
{
  Warning,  ///< met in healthy data, too, where reader and writer have different versions of a class
  Error,    ///< a value, or the message, is not what the input says
};

/// What people call a kind, such as "not of its type". The text is a constant.
KWXML_API const char* nameOf(ProblemKind kind);
/// How bad a problem of the kind is.
KWXML_API Severity severityOf(ProblemKind kind);

/// Where in the input a problem was met. A text has line and column; bytes have an offset, and line 0. Line 0
/// and offset 0 mean that nothing is known of the place.
struct ReadPlace
{
  /// From 1.
  std::uint64_t line = 0;
  /// From 1, in characters: that of the attribute's value, of the text, or of the tag. In documents that
  /// xerces-c reads (see docs/formats.md) that of the tag's end.
  std::uint64_t column = 0;
  /// From 0, in bytes.
  std::uint64_t offset = 0;
};

/// One problem. All that the problem points to lives as long as the call of ReadObserver::met().
struct Problem
{
  ProblemKind kind;   ///< what was met
  ReadPlace place{};  ///< where in the input
  /// The fields on the way to the value from the outermost message on: "items[3].price",
  /// "prices[\"a\"].value.name". For unknown names, and for text outside of values, the way to the message
  /// around. Empty for the outermost message.
  std::string_view path{};
  const FieldDef* field = nullptr;   ///< the field of the value; null where there is none
  const _ClassDef* owner = nullptr;  ///< the class of the message around; null before there is one
  FieldDataType type = FIELD_UNSET;  ///< of the value: the field's, or that of a list's item or a map's part
  /// What was met: the value's text, the unknown name, the code. Never a password, nor a text that may be a
  /// password.
  std::string_view text{};
  std::string_view remark{};  ///< more words, such as those of the XML parser
};

/// A sentence about a problem, without place and path; one printable line of bounded length. Text of the
/// input is escaped and cut.
KWXML_API std::string describe(const Problem& problem);

/// The remark of a ClassUnknown that is met at a nested message.
inline constexpr std::string_view missingClass = "the catalogue lacks the class of a nested message";

/// Is told of each problem of a reading call. Programs derive their own. The caller owns the observer, which
/// outlives the call.
class KWXML_API ReadObserver
{
public:
  virtual ~ReadObserver() = default;
  /// Called for each problem while the message is being read, by the thread that reads. An override must not
  /// throw: an exception may end the reading as a failure of the parser does, or leave the call that reads.
  virtual void met(const Problem& problem) = 0;
};

}  // namespace kwxml
