// Messages written by way of a DOM, to hold the text that is written without one beside it.
#pragma once

#include <kwxml/xml/XMLSerializer.h>

#include <string>

namespace kwxml::test {

/// A listener, of whatever tag, keeps the serializer to the DOM.
inline int writeByDom(YMMessageBase& message, const EncodingFlags& flags, std::string& out,
                      bool elementOnly = false)
{
  XMLSerializer serializer(flags);
  serializer.getXMLSerializationSupportObject().addListener(0, [](ListenerCbData&) { return true; });
  return serializer.serialize(message, out, elementOnly);
}

/// All combinations of the switches that text has.
inline constexpr unsigned forms = 16;
inline EncodingFlags form(unsigned number)
{
  EncodingFlags flags;
  flags.valuesAsElements = number & 1;
  flags.readableForm = (number >> 1) & 1;
  flags.enumsAsNames = static_cast<unsigned char>((number >> 2) & 1);
  flags.exactNumbers = static_cast<unsigned char>((number >> 3) & 1);
  return flags;
}

}  // namespace kwxml::test
