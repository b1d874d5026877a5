#include <kwxml/codec/XMLEncoder.h>

#include <kwxml/xml/XMLSerializer.h>

int XMLEncoder::serialize(YMMessageBase& message, std::string& out, bool elementOnly) const
{
  return XMLSerializer(flags_, context_).serialize(message, out, elementOnly);
}
