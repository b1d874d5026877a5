// The walk that reads a message's body. Not installed.
//
// The bytes are hostile. Every read ends at the end of the stream; one past it yields zero and fails the
// call. A nested body ends at the latest where the one around it does. A count never reserves more than the
// bytes that are left can hold.
//
// What is built is in proportion to the bytes, but for messages, which take the storage of their classes: see
// usualDecodeMemory().
#pragma once

#include <kwxml/binary/BinaryStream.h>
#include <kwxml/model/MemoryBudget.h>

#include <cstdint>
#include <memory>

class BinaryBuffer;
class KwXMLContextInfo;
class YMMessageBase;

namespace kwxml {

class Explaining;
class ReadObserver;

/// One call of the decoder.
struct DecodeCall
{
  int version;
  KwXMLContextInfo* context;
  bool trace;  ///< log each field
  ReadObserver* observer = nullptr;
  Explaining* explaining = nullptr;  ///< told of the bytes, in place of log and observer
  /// Fields may have been set before; an observer is not told of those that are set again.
  bool merges = false;
  bool reuses = false;  ///< the message is stale: see MessageReuse
  int depth = 0;
  MemoryBudget budget{0, ~std::uint64_t{0}};
};

/// What BinarySerializer::unserialize does that makes the message; but without memory for it throws
/// std::bad_alloc.
std::unique_ptr<YMMessageBase> unserializeNew(BinaryBuffer& buffer, KwXMLContextInfo* context,
                                              ReadObserver* observer);

/// Reads fields into the message up to `end`. False, logged, when something was wrong; what was read stays.
[[nodiscard]] bool readBody(YMMessageBase& message, BinaryStream& in, std::uint64_t end, DecodeCall& call);

}  // namespace kwxml
