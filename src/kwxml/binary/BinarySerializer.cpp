#include <kwxml/binary/BinarySerializer.h>

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/binary/BinaryReader.h>
#include <kwxml/binary/BinaryWriter.h>
#include <kwxml/binary/WireFormat.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/MessageReuse.h>
#include <kwxml/reading/ReadObserver.h>

#include <cassert>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iterator>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace wire = kwxml::wire;

using kwxml::log;

namespace {

constexpr int traceLevel = 15;
constexpr int wholeLevel = 25;

const EncodingFlags defaultFlags;

kwxml::EncodeCall encodeCall(int version, const BinarySerializerParameters* parameters, int logLevel)
{
  const bool given = parameters != nullptr;
  const EncodingFlags* flags =
      given && parameters->passwordSettings != nullptr ? parameters->passwordSettings : &defaultFlags;
  return {version, {*flags, given ? parameters->context : nullptr}, logLevel >= traceLevel};
}

/// A body of up to about so many bytes is written by one walk, on the stack.
constexpr std::size_t smallBody = std::size_t{16} << 10;

/// Memory that is kept for messages to come has some to spare: a body that fills it to the last bytes is not
/// written by one walk.
std::uint64_t roomFor(std::uint64_t size)
{
  return size + size / 4 + 512;
}

/// The largest body: sizes travel in 32 bits.
constexpr std::uint64_t maxBody = std::numeric_limits<std::uint32_t>::max() - wire::headerSize;

}  // namespace

// ---- Writing

namespace {

/// With `reuse` an owned buffer keeps its memory where it is large enough. A template, so that others do not
/// pay for it.
template <bool reuse>
unsigned long serializeTo(const YMMessageBase& message, BinaryBuffer& buffer, int version,
                          const BinarySerializerParameters* parameters);

}  // namespace

unsigned long kwxml::serializeReusing(const YMMessageBase& message, BinaryBuffer& buffer)
{
  return serializeTo<true>(message, buffer, wire::defaultVersion, nullptr);
}

unsigned long BinarySerializer::serialize(const YMMessageBase& message, BinaryBuffer& buffer)
{
  return serialize(message, buffer, wire::defaultVersion, nullptr);
}

unsigned long BinarySerializer::serialize(const YMMessageBase& message, BinaryBuffer& buffer, int version)
{
  return serialize(message, buffer, version, nullptr);
}

unsigned long BinarySerializer::serialize(const YMMessageBase& message, BinaryBuffer& buffer, int version,
                                          const BinarySerializerParameters* parameters)
{
  return serializeTo<false>(message, buffer, version, parameters);
}

namespace {

constexpr const char* serializeFunction = "BinarySerializer::serialize";

/// A body that may have been written already, while its size was found out.
struct Body
{
  std::uint64_t size;
  const char* written;  ///< null when it is still to be written
};

/// The caller's memory stays as it is when it is too small, and owned memory gets its exact size: a body is
/// written to `aside` first, but for memory that may be used as it is (`room`).
Body writeOrMeasure(const YMMessageBase& message, std::span<char> aside, std::span<char> room, bool oneWalk,
                    kwxml::EncodeCall& call)
{
  // The size of last time tells large ones; any other number costs time only.
  const bool wasSmall = !room.empty() || message.GetCachedSize() <= smallBody;
  const std::span<char> to = room.empty() ? aside : room;
  const char* const end = oneWalk && wasSmall && !call.trace
                              ? kwxml::writeBodyWithin(message, to.data(), to.data() + to.size(), call)
                              : nullptr;
  if (end != nullptr) {
    return {static_cast<std::uint64_t>(end - to.data()), to.data()};
  }
  return {call.tooDeep ? 0 : kwxml::measureBody(message, call), nullptr};
}

/// Room for a message in the buffer; false, logged, when there is none.
template <bool reuse>
bool makeRoom(BinaryBuffer& buffer, std::uint64_t required)
{
  const auto fail = [required] {
    log().logError(serializeFunction, "Unable to create a buffer of required size : [%d]",
                   static_cast<int>(required));
    return false;
  };
  if (required > maxBody + wire::headerSize) {
    return fail();
  }
  if (buffer.external()) {
    if (required > buffer.capacity()) {
      log().logError(serializeFunction,
                     "Size of buffer provided : [%d] is not sufficient. Size required : [%d]",
                     static_cast<int>(buffer.capacity()), static_cast<int>(required));
      return false;
    }
    return true;
  }
  const bool grows = required > buffer.capacity();
  if (!reuse || grows) {
    buffer.SetWriteBuffer(nullptr, 0, false);
  }
  return (!(reuse && grows) || buffer.resizeBuffer(roomFor(required))) && buffer.resizeBuffer(required)
             ? true
             : fail();
}

template <bool reuse>
unsigned long serializeTo(const YMMessageBase& message, BinaryBuffer& buffer, int version,
                          const BinarySerializerParameters* parameters)
{
  const int logLevel = log().getDebugLevel();
  if (parameters != nullptr && parameters->lost != nullptr) {
    *parameters->lost = 0;
  }
  kwxml::EncodeCall call = encodeCall(version, parameters, logLevel);
  const bool measuredAsWritten = version > 1;
  call.keepPasswords = measuredAsWritten;
  call.keepSizes = true;
  char aside[smallBody];
  std::span<char> room;
  if (reuse && !buffer.external() &&
      buffer.capacity() >= roomFor(message.GetCachedSize()) + wire::headerSize) {
    room = {buffer.data() + wire::headerSize, buffer.capacity() - wire::headerSize};
  }
  const Body body = writeOrMeasure(message, aside, room, measuredAsWritten, call);
  const std::uint64_t required = body.size + wire::headerSize;
  if (call.tooDeep) {
    return 0;  // logged
  }
  if (call.trace) {
    log().debug(serializeFunction, traceLevel, "Required buffer size is %d", static_cast<int>(required));
  }
  if (!makeRoom<reuse>(buffer, required)) {
    return 0;
  }
  if (!measuredAsWritten && !buffer.external()) {
    // What has no room is not written, and leaves its place as it is.
    std::memset(buffer.data(), 0, required);
  }
  // The body is told a version that is always above 1, whatever was asked for.
  call.version = static_cast<int>(static_cast<std::uint32_t>(version) | wire::versionFlag);
  BinaryStream out(buffer.data(), buffer.capacity());
  out.WriteInt32(call.version);
  out.WriteUInt32(static_cast<std::uint32_t>(message.getTagID()));
  if (body.written == aside) {
    std::memcpy(buffer.data() + wire::headerSize, aside, body.size);
  } else if (body.written != nullptr) {
    // in its place already
  } else if (measuredAsWritten) {
    [[maybe_unused]] const char* end =
        kwxml::writeBody(message, buffer.data() + wire::headerSize, buffer.data(), call);
    assert(end == buffer.data() + required);
  } else {
    kwxml::writeBody(message, out, call);
  }
  if (parameters != nullptr && parameters->lost != nullptr) {
    *parameters->lost = call.lost;
  }
  if (std::string xml; logLevel >= wholeLevel && kwxml::traceXml(message, xml)) {
    log().debug(serializeFunction, wholeLevel, "[%s]", xml.c_str());
  }
  return buffer.length();
}

}  // namespace

unsigned long BinarySerializer::calculateReqBinStreamSize(const YMMessageBase& message, int version,
                                                          const BinarySerializerParameters* parameters)
{
  kwxml::EncodeCall call = encodeCall(version, parameters, log().getDebugLevel());
  const std::uint64_t size = kwxml::measureBody(message, call);
  return call.tooDeep ? 0 : size;
}

void BinarySerializer::serializeBinaryRecursive(const YMMessageBase& message, BinaryStream& out, int version,
                                                const BinarySerializerParameters* parameters)
{
  kwxml::EncodeCall call = encodeCall(version, parameters, log().getDebugLevel());
  kwxml::writeBody(message, out, call);
}

// ---- Reading

bool BinarySerializer::getVersionAndTagIDFromBuffer(BinaryStream& in, int& version, int& tagId, int& hasFlag)
{
  if (in.size() < wire::headerSize) {
    return false;
  }
  in.ReadInt32(version);
  in.ReadInt32(tagId);
  hasFlag = (version & static_cast<int>(wire::versionFlag)) != 0 ? 1 : 0;
  if (hasFlag != 0) {
    version %= static_cast<int>(wire::versionFlag);
  }
  return true;
}

namespace {

void tell(kwxml::ReadObserver* observer, kwxml::ProblemKind kind, std::uint64_t offset, std::string_view text,
          std::string_view remark = {})
{
  if (observer != nullptr) {
    observer->met({.kind = kind, .place = {.offset = offset}, .text = text, .remark = remark});
  }
}

constexpr const char* unserializeNewFunction = "BinarySerializer::unserialize(buffer, context)";

std::string hexadecimal(int tag)
{
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(tag));
  return text;
}

/// The fields of an outermost message. Throws std::bad_alloc.
bool readOutermost(YMMessageBase& message, BinaryStream& in, std::uint64_t end, int version,
                   KwXMLContextInfo* context, bool merges, bool reuses, kwxml::ReadObserver* observer)
{
  kwxml::DecodeCall call{version, context, log().getDebugLevel() >= traceLevel, observer};
  call.budget = kwxml::MemoryBudget(in.size(), context != nullptr ? context->getMemoryLimit() : 0);
  call.merges = merges;
  call.reuses = reuses;
  const bool good = kwxml::readBody(message, in, end, call);
  if (good && in.remaining() > 0) {
    tell(observer, kwxml::ProblemKind::TrailingBytes, in.position(), {},
         "bytes behind the last field, too few for a key");
  }
  return good;
}

/// Without memory false, logged and told.
template <class Read>
bool orFalse(kwxml::ReadObserver* observer, Read read)
{
  try {
    return read();
  } catch (const std::bad_alloc& error) {
    log().logError("BinarySerializer::unserializeBinaryRecur", "[%s]", error.what());
    tell(observer, kwxml::ProblemKind::NoMemory, 0, {}, "there is no memory for the message");
    return false;
  }
}

}  // namespace

bool BinarySerializer::unserializeBinaryRecur(YMMessageBase& message, BinaryStream& in, unsigned long end,
                                              int version, KwXMLContextInfo* context, bool flag)
{
  static_cast<void>(flag);  // construction of nested messages knows no choice
  return orFalse(nullptr,
                 [&] { return readOutermost(message, in, end, version, context, true, false, nullptr); });
}

int BinarySerializer::unserialize(YMMessageBase& message, BinaryBuffer& buffer, KwXMLContextInfo* context,
                                  bool merge, kwxml::ReadObserver* observer)
{
  constexpr const char* function = "BinarySerializer::unserialize(obj, buffer, context)";
  if (buffer.data() == nullptr || buffer.capacity() == 0) {
    log().logError(function, "[%s]", "Buffer received for unserialization is not set");
    tell(observer, kwxml::ProblemKind::BufferCut, 0, {}, "there are no bytes");
    return -1;
  }
  BinaryStream in(buffer.data(), buffer.length());
  int version = 0;
  int tag = 0;
  int hasFlag = 0;
  if (!getVersionAndTagIDFromBuffer(in, version, tag, hasFlag)) {
    log().logError(function, "[%s]", "Buffer does not contain necessary metadata");
    tell(observer, kwxml::ProblemKind::BufferCut, 0, {}, "shorter than a header");
    return -1;
  }
  if (static_cast<unsigned long>(static_cast<long>(tag)) != message.getTagID()) {
    log().logError(function,
                   "Received object with tagID [%u] does not match with the received buffer with tagID [%u]",
                   static_cast<unsigned>(message.getTagID()), static_cast<unsigned>(tag));
    tell(observer, kwxml::ProblemKind::ClassUnknown, sizeof version, hexadecimal(tag),
         "a message of another class is read into");
    return -1;
  }
  const bool good = orFalse(observer, [&] {
    const bool reuses = !merge && kwxml::MessageReuse::canBegin(message, message.getClass());
    if (!merge) {
      if (!reuses) {
        message.reset();
      }
      message.wipeBitset();  // and no more: cached texts stay
    }
    return readOutermost(message, in, buffer.length(), version, context, merge, reuses, observer);
  });
  if (!good) {
    log().logError(function, "Error unserializing from buffer on object [%s]", message.getTagName().c_str());
    return -1;
  }
  return 0;
}

YMMessageBase* BinarySerializer::unserialize(BinaryBuffer& buffer, KwXMLContextInfo* context, bool flag,
                                             kwxml::ReadObserver* observer)
{
  static_cast<void>(flag);  // as above
  std::unique_ptr<YMMessageBase> message;
  const auto read = [&] {
    message = kwxml::unserializeNew(buffer, context, observer);
    return true;
  };
  static_cast<void>(orFalse(observer, read));
  return message.release();
}

std::unique_ptr<YMMessageBase> BinarySerializer::unserialize(BinaryBuffer& buffer, kwxml::Owned,
                                                             KwXMLContextInfo* context,
                                                             kwxml::ReadObserver* observer)
{
  return std::unique_ptr<YMMessageBase>(unserialize(buffer, context, false, observer));
}

std::unique_ptr<YMMessageBase> kwxml::unserializeNew(BinaryBuffer& buffer, KwXMLContextInfo* context,
                                                     ReadObserver* observer)
{
  constexpr const char* function = unserializeNewFunction;
  BinaryStream in(buffer.data(), buffer.length());
  int version = 0;
  int tag = 0;
  int hasFlag = 0;
  if (buffer.data() == nullptr || buffer.capacity() == 0 ||
      !BinarySerializer::getVersionAndTagIDFromBuffer(in, version, tag, hasFlag)) {
    log().logError(function, "[%s]", "Buffer received for unserialization is not set");
    tell(observer, kwxml::ProblemKind::BufferCut, 0, {}, "shorter than a header");
    return nullptr;
  }
  const auto wanted = static_cast<unsigned long>(static_cast<long>(tag));
  short system = 0;
  int index = 0;
  std::unique_ptr<YMMessageBase> message;
  if (YMMessageBase::getIndicesFromTagID(system, index, wanted)) {
    message = std::make_unique<YMMessageBase>(system, index);
  } else {
    (void)YMMessageBase::createObject(wanted);  // null, with the line that says so
  }
  if (message == nullptr || message->getClass() == nullptr) {
    log().logError(function, "Error identifying the object received. TagID = [%u]",
                   static_cast<unsigned>(tag));
    tell(observer, kwxml::ProblemKind::ClassUnknown, sizeof version, hexadecimal(tag));
    return nullptr;
  }
  message->wipeBitset();
  if (!readOutermost(*message, in, buffer.length(), version, context, false, false, observer)) {
    log().logError(function, "Error unserializing from buffer on object [%s]", message->getTagName().c_str());
    return nullptr;
  }
  return message;
}

// ---- Types

int BinarySerializer::getEncodingType(FieldDataType type)
{
  return kwxml::fieldTypeInfo(type).wireCode;
}

bool BinarySerializer::isCollectionType(FieldDataType type)
{
  return kwxml::isCollectionType(type);
}
