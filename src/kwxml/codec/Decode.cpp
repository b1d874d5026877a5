#include <kwxml/codec/Decode.h>

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/xml/XmlScanner.h>

namespace kwxml {

namespace {

template <class Read>
ReadResult decodeWith(Read read)
{
  ReadResult result;
  result.message = read(&result.problems);
  if (result.problems.count(Severity::Error) > 0) {
    result.message.reset();
  }
  return result;
}

}  // namespace

ReadResult decode(TextToRead text, KwXMLContextInfo* context)
{
  const std::string_view view = text.view();
  const std::size_t first = view.find_first_not_of(" \t\r\n");
  return decodeWith([&](ReadObserver* observer) {
    return first != std::string_view::npos && view[first] == '{'
               ? JSONDecoder(context).unSerialize(view, observer)
               : XMLDecoder().unSerialize(text, owned, context, observer);
  });
}

ReadResult decode(std::span<const std::byte> bytes, KwXMLContextInfo* context)
{
  return decodeWith([&](ReadObserver* observer) {
    BinaryBuffer buffer(bytes);
    return BinarySerializer::unserialize(buffer, owned, context, observer);
  });
}

std::vector<std::byte> encodeBinary(const YMMessageBase& message)
{
  BinaryBuffer buffer;
  if (BinarySerializer::serialize(message, buffer) == 0) {
    return {};
  }
  return {buffer.bytes().begin(), buffer.bytes().end()};
}

std::size_t firstDocument(std::string_view xml)
{
  return XmlScanner(xml).firstDocument();
}

}  // namespace kwxml
