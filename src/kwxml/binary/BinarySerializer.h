// Messages in their binary form, and back.
//
// Threads may write one message at the same time, each with settings of its own. But
// calculateReqBinStreamSize() keeps sizes in the messages for serializeBinaryRecursive(): between these two
// calls no other thread may write the message. Reading trusts nothing: every read stays inside the buffer,
// and Limits.h says how deep messages may nest and how much memory they may take. Errors are logged. Without
// memory reading fails, with a line in the log; writing fails so, too, or throws std::bad_alloc.
#pragma once

#include <kwxml/binary/BinaryBuffer.h>
#include <kwxml/binary/BinaryStream.h>
#include <kwxml/model/FieldTypes.h>
#include <kwxml/model/Owned.h>
#include <kwxml/platform/Export.h>

struct EncodingFlags;
class KwXMLContextInfo;
class YMMessageBase;

namespace kwxml {
class ReadObserver;
}

/// The settings of one writing call. What the pointers refer to stays the caller's and outlives the call.
struct BinarySerializerParameters
{
  /// The flags that passwords are encrypted by; null: default flags.
  const EncodingFlags* passwordSettings = nullptr;
  /// The context that password algorithms get; null: none.
  KwXMLContextInfo* context = nullptr;
  /// Where not null, serialize() puts the number of values that could not be written there; each is logged.
  int* lost = nullptr;
};

/// Writes messages in their binary form and reads them. All operations are static and keep nothing between
/// calls.
class KWXML_API BinarySerializer
{
public:
  /// Writes header and body, and returns the length of the buffer. A buffer that owns its memory gets just as
  /// much memory as the message needs: the result is the number of bytes that were written. A buffer with the
  /// caller's memory must have the room; its length, which is the result, stays what it was. 0 on failure (no
  /// room, no memory, nested too deep, more than 4 GB), which is logged. `parameters` may be null. The form
  /// without a version has version 2.
  ///
  /// With a version of 1 or less the size of byte strings and passwords is measured as if they were written
  /// as they are, yet they are written as with version 2, so that the end of the message is missing. That is
  /// part of the form: readers expect it.
  [[nodiscard]] static unsigned long serialize(const YMMessageBase& message, BinaryBuffer& buffer,
                                               int version, const BinarySerializerParameters* parameters);
  [[nodiscard]] static unsigned long serialize(const YMMessageBase& message, BinaryBuffer& buffer,
                                               int version);
  [[nodiscard]] static unsigned long serialize(const YMMessageBase& message, BinaryBuffer& buffer);

  /// Returns the length of the body in bytes, and stores it as the message's cached size, and the lengths of
  /// nested messages as theirs. 0 when messages nest too deep, which is logged. `parameters` may be null.
  [[nodiscard]] static unsigned long calculateReqBinStreamSize(const YMMessageBase& message, int version,
                                                               const BinarySerializerParameters* parameters);
  /// Writes the body at the stream's position. The cached sizes of nested messages must be those that
  /// calculateReqBinStreamSize() stored for the same version and parameters. What does not fit is not
  /// written; BinaryStream::overrun() tells. `parameters` may be null.
  static void serializeBinaryRecursive(const YMMessageBase& message, BinaryStream& out, int version,
                                       const BinarySerializerParameters* parameters);

  /// Reads into `message`, which has the class that the header names. With `merge` fields that are not in the
  /// bytes stay as they are; without it they are unset. Returns 0, or -1 on failure, which is logged: with a
  /// wrong header the message is unchanged, after a failure within the body the message has the fields that
  /// were read. The header's tag is compared sign-extended, so that reading into a message of a system above
  /// 127 always fails. `context`, which may be null, has the parameters for passwords and the limit of
  /// memory. `observer`, which may be null, is told of what reading drops or bends, and of why reading
  /// failed.
  [[nodiscard]] static int unserialize(YMMessageBase& message, BinaryBuffer& buffer,
                                       KwXMLContextInfo* context = nullptr, bool merge = false,
                                       kwxml::ReadObserver* observer = nullptr);
  /// Reads a new message of the class that the header names; the caller deletes the message. Null on failure,
  /// which is logged. `flag` has no effect. `context` and `observer` are as above.
  [[nodiscard]] static YMMessageBase* unserialize(BinaryBuffer& buffer, KwXMLContextInfo* context, bool flag,
                                                  kwxml::ReadObserver* observer = nullptr);
  /// The same, with the message in an owner.
  [[nodiscard]] static std::unique_ptr<YMMessageBase> unserialize(BinaryBuffer& buffer, kwxml::Owned,
                                                                  KwXMLContextInfo* context = nullptr,
                                                                  kwxml::ReadObserver* observer = nullptr);
  /// Reads fields into `message` from the stream's position up to the position `end`, or to the end of the
  /// stream if that comes first; other fields of the message stay. False on failure, which is logged: the
  /// message has the fields that were read, and the stream stands anywhere. `context` may be null. `flag` has
  /// no effect.
  [[nodiscard]] static bool unserializeBinaryRecur(YMMessageBase& message, BinaryStream& in,
                                                   unsigned long end, int version, KwXMLContextInfo* context,
                                                   bool flag);

  /// Reads the header at the stream's position: `version`, the tag identifier of the message's class, and in
  /// `hasFlag` 1 where the version word has the bit that marks versions, else 0: then `version` is the whole
  /// word. False, with nothing read, when the stream's size is less than that of a header.
  [[nodiscard]] static bool getVersionAndTagIDFromBuffer(BinaryStream& in, int& version, int& tagId,
                                                         int& hasFlag);

  /// The wire code of a type; 7 for a type without a code and for a number that is no type.
  static int getEncodingType(FieldDataType type);
  /// Whether the type is a list or a map. Irregular: true for ulonglong, which is neither, and false for the
  /// list of it.
  static bool isCollectionType(FieldDataType type);
};
