#include <kwxml/binary/BinarySerializer.h>

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/binary/BinaryReader.h>
#include <kwxml/binary/BinaryWriter.h>
#include <kwxml/binary/WireFormat.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/xml/XMLSerializer.h>

#include <cassert>
#include <cstring>
#include <exception>
#include <iterator>
#include <limits>
#include <memory>

namespace wire = kwxml::wire;

namespace {

constexpr int traceLevel = 15;
constexpr int wholeLevel = 25;

XMLDebug& log()
{
  return *XMLDebug::getInstance();
}

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
unsigned long serializeTo(YMMessageBase& message, BinaryBuffer& buffer, int version,
                          const BinarySerializerParameters* parameters);

}  // namespace

unsigned long kwxml::serializeReusing(YMMessageBase& message, BinaryBuffer& buffer)
{
  return serializeTo<true>(message, buffer, wire::defaultVersion, nullptr);
}

unsigned long BinarySerializer::serialize(YMMessageBase& message, BinaryBuffer& buffer)
{
  return serialize(message, buffer, wire::defaultVersion, nullptr);
}

unsigned long BinarySerializer::serialize(YMMessageBase& message, BinaryBuffer& buffer, int version)
{
  return serialize(message, buffer, version, nullptr);
}

unsigned long BinarySerializer::serialize(YMMessageBase& message, BinaryBuffer& buffer, int version,
                                          const BinarySerializerParameters* parameters)
{
  return serializeTo<false>(message, buffer, version, parameters);
}

namespace {

template <bool reuse>
unsigned long serializeTo(YMMessageBase& message, BinaryBuffer& buffer, int version,
                          const BinarySerializerParameters* parameters)
{
  constexpr const char* function = "BinarySerializer::serialize";
  const int logLevel = log().getDebugLevel();
  kwxml::EncodeCall call = encodeCall(version, parameters, logLevel);
  const bool measuredAsWritten = version > 1;
  call.keepPasswords = measuredAsWritten;
  // The size of last time tells large ones; any other number costs time only.
  const std::uint64_t lastSize = message.GetCachedSize();
  // The caller's memory stays as it is when it is too small, and owned memory gets its exact size: a body is
  // written aside first, but for memory that may be used as it is.
  char aside[smallBody];
  const bool inPlace =
      reuse && !buffer.external() && buffer.capacity() >= roomFor(lastSize) + wire::headerSize;
  char* const small = inPlace ? buffer.data() + wire::headerSize : aside;
  char* const smallRoom = inPlace ? buffer.data() + buffer.capacity() : std::end(aside);
  const bool wasSmall = inPlace || lastSize <= smallBody;
  const char* const smallEnd = measuredAsWritten && wasSmall && !call.trace
                                   ? kwxml::writeBodyWithin(message, small, smallRoom, call)
                                   : nullptr;
  const std::uint64_t size = smallEnd != nullptr ? static_cast<std::uint64_t>(smallEnd - small)
                             : call.tooDeep      ? 0
                                                 : kwxml::measureBody(message, call);
  const std::uint64_t required = size + wire::headerSize;
  if (call.tooDeep) {
    return 0;  // logged
  }
  if (call.trace) {
    log().debug(function, traceLevel, "Required buffer size is %d", static_cast<int>(required));
  }
  if (size > maxBody) {
    log().logError(function, "Unable to create a buffer of required size : [%d]", static_cast<int>(required));
    return 0;
  }
  if (buffer.external()) {
    if (required > buffer.capacity()) {
      log().logError(function, "Size of buffer provided : [%d] is not sufficient. Size required : [%d]",
                     static_cast<int>(buffer.capacity()), static_cast<int>(required));
      return 0;
    }
  } else {
    const bool grows = required > buffer.capacity();
    if (!reuse || grows) {
      buffer.SetWriteBuffer(nullptr, 0, false);
    }
    if ((reuse && grows && !buffer.resizeBuffer(roomFor(required))) || !buffer.resizeBuffer(required)) {
      log().logError(function, "Unable to create a buffer of required size : [%d]",
                     static_cast<int>(required));
      return 0;
    }
    if (!measuredAsWritten) {
      std::memset(buffer.data(), 0,
                  required);  // what has no room is not written, and leaves its place as it is
    }
  }
  // The body is told a version that is always above 1, whatever was asked for.
  call.version = static_cast<int>(static_cast<std::uint32_t>(version) | wire::versionFlag);
  BinaryStream out(buffer.data(), buffer.capacity());
  out.WriteInt32(call.version);
  out.WriteUInt32(static_cast<std::uint32_t>(message.getTagID()));
  if (smallEnd != nullptr) {
    if (!inPlace) {
      std::memcpy(buffer.data() + wire::headerSize, small, size);
    }
  } else if (measuredAsWritten) {
    [[maybe_unused]] const char* end =
        kwxml::writeBody(message, buffer.data() + wire::headerSize, buffer.data(), call);
    assert(end == buffer.data() + required);
  } else {
    kwxml::writeBody(message, out, call);
  }
  if (logLevel >= wholeLevel) {
    std::string xml;
    if (XMLSerializer().serialize(message, xml) == 0) {
      log().debug(function, wholeLevel, "[%s]", xml.c_str());
    }
  }
  return buffer.length();
}

}  // namespace

unsigned long BinarySerializer::calculateReqBinStreamSize(YMMessageBase& message, int version,
                                                          const BinarySerializerParameters* parameters)
{
  kwxml::EncodeCall call = encodeCall(version, parameters, log().getDebugLevel());
  const std::uint64_t size = kwxml::measureBody(message, call);
  return call.tooDeep ? 0 : size;
}

void BinarySerializer::serializeBinaryRecursive(YMMessageBase& message, BinaryStream& out, int version,
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

bool BinarySerializer::unserializeBinaryRecur(YMMessageBase& message, BinaryStream& in, unsigned long end,
                                              int version, KwXMLContextInfo* context, bool flag)
{
  static_cast<void>(flag);  // construction of nested messages knows no choice
  kwxml::DecodeCall call{version, context, log().getDebugLevel() >= traceLevel};
  try {
    return kwxml::readBody(message, in, end, call);
  } catch (const std::exception& error) {  // no memory
    log().logError("BinarySerializer::unserializeBinaryRecur", "[%s]", error.what());
    return false;
  }
}

int BinarySerializer::unserialize(YMMessageBase& message, BinaryBuffer& buffer, KwXMLContextInfo* context,
                                  bool merge)
{
  constexpr const char* function = "BinarySerializer::unserialize(obj, buffer, context)";
  if (buffer.data() == nullptr || buffer.capacity() == 0) {
    log().logError(function, "[%s]", "Buffer received for unserialization is not set");
    return -1;
  }
  BinaryStream in(buffer.data(), buffer.length());
  int version = 0;
  int tag = 0;
  int hasFlag = 0;
  if (!getVersionAndTagIDFromBuffer(in, version, tag, hasFlag)) {
    log().logError(function, "[%s]", "Buffer does not contain necessary metadata");
    return -1;
  }
  if (static_cast<unsigned long>(static_cast<long>(tag)) != message.getTagID()) {
    log().logError(function,
                   "Received object with tagID [%u] does not match with the received buffer with tagID [%u]",
                   static_cast<unsigned>(message.getTagID()), static_cast<unsigned>(tag));
    return -1;
  }
  if (!merge) {
    message.reset();
    message.wipeBitset();
  }
  if (!unserializeBinaryRecur(message, in, buffer.length(), version, context, false)) {
    log().logError(function, "Error unserializing from buffer on object [%s]", message.getTagName().c_str());
    return -1;
  }
  return 0;
}

YMMessageBase* BinarySerializer::unserialize(BinaryBuffer& buffer, KwXMLContextInfo* context, bool flag)
{
  constexpr const char* function = "BinarySerializer::unserialize(buffer, context)";
  BinaryStream in(buffer.data(), buffer.length());
  int version = 0;
  int tag = 0;
  int hasFlag = 0;
  if (buffer.data() == nullptr || buffer.capacity() == 0 ||
      !getVersionAndTagIDFromBuffer(in, version, tag, hasFlag)) {
    log().logError(function, "[%s]", "Buffer received for unserialization is not set");
    return nullptr;
  }
  std::unique_ptr<YMMessageBase> message(
      YMMessageBase::createObject(static_cast<unsigned long>(static_cast<long>(tag)), flag));
  if (message == nullptr || message->getClass() == nullptr) {
    log().logError(function, "Error identifying the object received. TagID = [%u]",
                   static_cast<unsigned>(tag));
    return nullptr;
  }
  message->wipeBitset();
  if (!unserializeBinaryRecur(*message, in, buffer.length(), version, context, flag)) {
    log().logError(function, "Error unserializing from buffer on object [%s]", message->getTagName().c_str());
    return nullptr;
  }
  return message.release();
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
