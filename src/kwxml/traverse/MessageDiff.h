// In which values two messages differ, for people who wonder why the messages are not equal.
//
// One message is walked once beside the other. As long as nothing differs nothing is allocated, and a level
// of nesting takes little of the stack: the path to a value is put together only when the value is reported.
#pragma once

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/Export.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kwxml {

/// One value in which two messages differ.
///
/// The path names fields from the outermost message on: `status.errorCode`, `items[2].price`,
/// `totals["2026-01"]`, `counts[-7]`. An entry of a map whose keys are messages is named by its position,
/// with key and value apart: `pairs[0].key.name`, `pairs[0].value.name`. In a field with the annotation
/// Password an entry is named by the position of its key among the keys of both sides: `secrets[#0]`. The
/// path is empty when the two messages as wholes differ, being of different classes.
///
/// A text is one line without control characters. Texts of different values are different, but for secrets
/// and what nests too deep:
///
///     integers, times      decimal
///     floating values      the shortest decimal that reads back as the value; "inf", "-inf"; what is not a
///                          number with its bits: "nan(0x7fc00000)"; a float that was set as an integer
///                          beyond 32 bits with the whole of it: "1.5(0x13fc00000)"
///     truth values         "true", "false"; another number that stands for true: "true(2)"
///     enumerations         "RED(1)"; "7" when no enumerator has the value
///     strings              in double quotes, UTF-8. Escaped are quotes, backslashes, \n, \r and \t; as \xNN
///                          (two digits) each byte of other control characters, of line separators, direction
///                          marks and what is no UTF-8; as \u{N} elements of wide strings that are no
///                          characters
///     bytes, passwords     "****", whatever they hold, and so is every value in a field with the annotation
///                          Password
///     messages             "{}" when no field is set, "null" for a field that is set without a message,
///                          "(no class)", or the tag name when the other side is a message of another class
///                          Where 256 messages nest, the next one is compared as a whole, "(nested too
///                          deep)", or "(equal)": a stack has an end
///     empty collections    "[]", a map "{}"
///     fields without type  "(set)"; of a type that does not exist: "(unknown type)"
///
/// Strings and keys of maps are escaped alike.
struct MessageDifference
{
  /// How the messages differ in the value.
  enum class Kind
  {
    OnlyLeft,   ///< the left message has the value, the right one does not
    OnlyRight,  ///< the right message has the value, the left one does not
    Changed,    ///< both have a value, and the values differ
    Equal,      ///< both have the same value; only with DiffExtent::Everything
  };
  Kind kind;               ///< how the messages differ
  std::string_view path;   ///< the fields on the way to the value
  std::string_view left;   ///< the left message's value as text; empty with OnlyRight
  std::string_view right;  ///< the right message's value as text; empty with OnlyLeft
};

/// Is told in which values messages differ. Programs derive their own.
class KWXML_API MessageDiffVisitor
{
public:
  /// Called for each difference, and with DiffExtent::Everything for each equal value, in the order of the
  /// fields. The texts live as long as the call. An override must not change the messages. What an override
  /// throws ends the comparison and leaves diffMessages().
  virtual void differs(const MessageDifference& difference) = 0;

protected:
  ~MessageDiffVisitor() = default;  // nobody owns a visitor through its base
};

/// What a visitor is shown.
enum class DiffExtent : std::uint8_t
{
  Differences,  ///< values that differ
  Everything,   ///< equal values, too
};

/// Shows the visitor every value in which the messages differ, and returns how many there are. None if and
/// only if `left == right`: hidden fields do not count; single floating values are compared by their bits,
/// floating values in lists as numbers (so that a nan in a list differs from itself, with equal texts); a
/// message without a class differs from every message.
///
/// Elements of lists are compared with those of the same position, entries of maps with those of the same
/// key; elements and entries that one side has more are OnlyLeft or OnlyRight. A message or collection that
/// only one side has is shown value by value.
///
/// Logs nothing. Safe for concurrent use on messages that nobody changes.
KWXML_API std::size_t diffMessages(const YMMessageBase& left, const YMMessageBase& right,
                                   MessageDiffVisitor& visitor, DiffExtent extent = DiffExtent::Differences);

}  // namespace kwxml
