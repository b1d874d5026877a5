// Messages in their binary form, and back. All operations are static and keep nothing between calls.
//
// Threads may write one message at the same time, each with settings of its own. What
// calculateReqBinStreamSize() keeps in the messages for serializeBinaryRecursive() is the exception: between
// the two, no other thread writes the message. Reading trusts nothing: every read stays inside the buffer,
// and Limits.h says how deep messages nest and what they take of memory. Errors are logged. Without memory
// reading fails, with a line, and writing does, or throws std::bad_alloc.
#pragma once

#include <kwxml/binary/BinaryBuffer.h>
#include <kwxml/binary/BinaryStream.h>
#include <kwxml/model/FieldTypes.h>
#include <kwxml/model/Owned.h>

struct EncodingFlags;
class KwXMLContextInfo;
class YMMessageBase;

namespace kwxml {
class ReadObserver;
}

/// What the passwords of one call are encrypted with. With both null, or without parameters: default flags
/// and no context. The caller's; they must outlive the call.
struct BinarySerializerParameters
{
  const EncodingFlags* passwordSettings = nullptr;
  KwXMLContextInfo* context = nullptr;
  int* lost =
      nullptr;  ///< where not null: becomes the number of values that could not be written (each is logged)
};

class BinarySerializer
{
public:
  /// Writes header and body, and gives the number of bytes. An owned buffer is made as large as needed; its
  /// length is the result. A buffer of the caller's memory must have the room already; its length, and so the
  /// result, stays what it was. 0 on failure (no room, no memory, nested too deep, more than 4 GB).
  ///
  /// With a version of 1 or less the size of byte strings and passwords is measured as if they were written
  /// as they are, yet they are written as with version 2, so that the end is missing: deliberate, since
  /// readers know it so.
  [[nodiscard]] static unsigned long serialize(const YMMessageBase& message, BinaryBuffer& buffer,
                                               int version, const BinarySerializerParameters* parameters);
  [[nodiscard]] static unsigned long serialize(const YMMessageBase& message, BinaryBuffer& buffer,
                                               int version);
  [[nodiscard]] static unsigned long serialize(const YMMessageBase& message, BinaryBuffer& buffer);

  /// The length of the body, stored as the message's cached size too, as is that of each nested message in
  /// it. 0 when messages nest too deep.
  [[nodiscard]] static unsigned long calculateReqBinStreamSize(const YMMessageBase& message, int version,
                                                               const BinarySerializerParameters* parameters);
  /// Writes the body. The cached sizes of nested messages must be those of calculateReqBinStreamSize().
  static void serializeBinaryRecursive(const YMMessageBase& message, BinaryStream& out, int version,
                                       const BinarySerializerParameters* parameters);

  /// Reads into a message of the class that the header names; its other fields stay with `merge`. 0 on
  /// success; -1 otherwise: before the body nothing has changed, within the body the fields that were read
  /// stay. The header's tag is compared sign-extended, so that a message of a system above 127 is never the
  /// one that the header names: deliberate. `context` may be null; it concerns passwords.
  /// `observer` is told of what reading drops or bends, and of why it failed; null: nobody is.
  [[nodiscard]] static int unserialize(YMMessageBase& message, BinaryBuffer& buffer,
                                       KwXMLContextInfo* context = nullptr, bool merge = false,
                                       kwxml::ReadObserver* observer = nullptr);
  /// A new message of the class that the header names, the caller's; null on failure. `flag` is handed to
  /// YMMessageBase::createObject.
  [[nodiscard]] static YMMessageBase* unserialize(BinaryBuffer& buffer, KwXMLContextInfo* context, bool flag,
                                                  kwxml::ReadObserver* observer = nullptr);
  [[nodiscard]] static std::unique_ptr<YMMessageBase> unserialize(BinaryBuffer& buffer, kwxml::Owned,
                                                                  KwXMLContextInfo* context = nullptr,
                                                                  kwxml::ReadObserver* observer = nullptr);
  /// Reads fields up to the position `end`, or to the end of the stream if that comes first. False when
  /// something was wrong. Of the stream's position nothing can be said then. `flag` has no effect: nested
  /// messages are built in one way only.
  [[nodiscard]] static bool unserializeBinaryRecur(YMMessageBase& message, BinaryStream& in,
                                                   unsigned long end, int version, KwXMLContextInfo* context,
                                                   bool flag);

  /// Reads the header. False, without reading, when the stream is shorter than that. `hasFlag` is the bit
  /// that says that the version is one; without it `version` is the whole word.
  [[nodiscard]] static bool getVersionAndTagIDFromBuffer(BinaryStream& in, int& version, int& tagId,
                                                         int& hasFlag);

  /// The wire code of a type, 7 for what is none.
  static int getEncodingType(FieldDataType type);
  /// Irregular: it has ulonglong, and lacks the list of it.
  static bool isCollectionType(FieldDataType type);
};
