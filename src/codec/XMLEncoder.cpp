#include <kwxml/codec/XMLEncoder.h>

#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/xml/XMLSerializer.h>

int XMLEncoder::serialize(YMMessageBase& message, std::string& out, bool elementOnly) const
{
  return XMLSerializer(flags_, context_).serialize(message, out, elementOnly);
}

bool XMLEncoder::registerPasswordEncAlgo(Annotation::PasswordEncryptType type, PasswordAlgorithm algorithm)
{
  return XMLDecoder::registerPasswordEncAlgo(type, algorithm);
}
