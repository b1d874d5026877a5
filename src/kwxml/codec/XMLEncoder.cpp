#include <kwxml/codec/XMLEncoder.h>

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/binary/BinaryWriter.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/xml/XMLSerializer.h>

namespace {

template <class... Out>
int write(XMLSerializer serializer, const YMMessageBase& message, bool elementOnly, int* lost, Out&&... out)
{
  const int result = serializer.serialize(message, out..., elementOnly);
  if (lost != nullptr) {
    *lost = serializer.lost();
  }
  return result;
}

}  // namespace

int XMLEncoder::serialize(const YMMessageBase& message, std::string& out, bool elementOnly, int* lost) const
{
  return write(XMLSerializer(flags_, context_), message, elementOnly, lost, out);
}

int XMLEncoder::serialize(const YMMessageBase& message, const kwxml::TakeText& take, bool elementOnly,
                          int* lost) const
{
  return write(XMLSerializer(flags_, context_), message, elementOnly, lost, take);
}

int XMLEncoder::serialize(const YMMessageBase& message, std::ostream& out, bool elementOnly, int* lost) const
{
  return write(XMLSerializer(flags_, context_), message, elementOnly, lost, out);
}

int XMLEncoder::serialize(const YMMessageBase& message, std::span<char> memory, std::size_t& size,
                          bool elementOnly, int* lost) const
{
  return write(XMLSerializer(flags_, context_), message, elementOnly, lost, memory, size);
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
