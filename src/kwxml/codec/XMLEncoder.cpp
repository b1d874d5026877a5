#include <kwxml/codec/XMLEncoder.h>

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/binary/BinaryWriter.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/xml/XMLSerializer.h>

int XMLEncoder::serialize(const YMMessageBase& message, std::string& out, bool elementOnly) const
{
  return XMLSerializer(flags_, context_).serialize(message, out, elementOnly);
}

int XMLEncoder::serialize(const YMMessageBase& message, const kwxml::TakeText& take, bool elementOnly) const
{
  return XMLSerializer(flags_, context_).serialize(message, take, elementOnly);
}

int XMLEncoder::serialize(const YMMessageBase& message, std::ostream& out, bool elementOnly) const
{
  return XMLSerializer(flags_, context_).serialize(message, out, elementOnly);
}

int XMLEncoder::serialize(const YMMessageBase& message, std::span<char> memory, std::size_t& size,
                          bool elementOnly) const
{
  return XMLSerializer(flags_, context_).serialize(message, memory, size, elementOnly);
}

unsigned long XMLEncoder::SerializeBinary(const YMMessageBase& message, BinaryBuffer& buffer)
{
  return BinarySerializer::serialize(message, buffer);
}

unsigned long XMLEncoder::SerializeBinary(const YMMessageBase& message, BinaryBuffer& buffer, int version)
{
  return BinarySerializer::serialize(message, buffer, version);
}

bool XMLEncoder::registerPasswordEncAlgo(Annotation::PasswordEncryptType type, PasswordAlgorithm algorithm)
{
  return XMLDecoder::registerPasswordEncAlgo(type, algorithm);
}

bool kwxml::traceXml(const YMMessageBase& message, std::string& xml)
{
  return XMLSerializer().serialize(message, xml) == 0;
}
