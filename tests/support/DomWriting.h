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

/// Calls `visit(const EncodingFlags&)` with all combinations of the switches that text has.
template <class Visit>
void forEachForm(Visit visit)
{
  for (int i = 0; i < 16; ++i) {
    EncodingFlags flags;
    flags.valuesAsElements = i & 1;
    flags.readableForm = (i >> 1) & 1;
    flags.enumsAsNames = static_cast<unsigned char>((i >> 2) & 1);
    flags.exactNumbers = static_cast<unsigned char>((i >> 3) & 1);
    visit(flags);
  }
}

}  // namespace kwxml::test
