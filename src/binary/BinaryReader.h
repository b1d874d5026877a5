// The walk that reads a message's body. Not installed.
//
// The bytes are hostile. Every read ends at the end of the stream; one past it yields zero and fails the
// call. A nested body ends at the latest where the one around it does. A count never reserves more than the
// bytes that are left can hold.
#pragma once

#include <kwxml/binary/BinaryStream.h>

#include <cstdint>

class KwXMLContextInfo;
class YMMessageBase;
struct _ClassDef;

namespace kwxml {

/// What may be built from `bytes` bytes of input. The attack it stops: a list of a few bytes an element, each
/// element a message of a class with thousands of slots. The base lets small inputs be what they like; the
/// factor is far above what messages with a few fields set take.
constexpr std::uint64_t decodeBudget(std::uint64_t bytes) noexcept
{
  return (std::uint64_t{16} << 20) + 256 * bytes;
}

/// One call of the decoder.
struct DecodeCall
{
  int version;
  KwXMLContextInfo* context;
  bool trace;            ///< log each field
  std::uint64_t budget;  ///< bytes of messages that may still be built
  int depth = 0;
};

/// Reads fields into the message up to `end`. False, logged, when something was wrong; what was read stays.
[[nodiscard]] bool readBody(YMMessageBase& message, BinaryStream& in, std::uint64_t end, DecodeCall& call);

/// Takes what a message of the class occupies off the budget. False, logged, when it does not suffice.
[[nodiscard]] bool takeFromBudget(const _ClassDef& cls, bool eager, DecodeCall& call);

}  // namespace kwxml
