#include <kwxml/codec/StrictReading.h>

#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/XMLDecoder.h>

namespace kwxml {

namespace {

template <class Read>
ReadResult read(Read read)
{
  ReadResult result;
  result.message = read(&result.problems);
  if (!result.problems.empty()) {
    result.message.reset();
  }
  return result;
}

}  // namespace

ReadResult readStrict(TextToRead xml, KwXMLContextInfo* context)
{
  return read(
      [&](ReadObserver* observer) { return XMLDecoder().unSerialize(xml, owned, context, observer); });
}

ReadResult readStrictJson(std::string_view json, KwXMLContextInfo* context)
{
  return read([&](ReadObserver* observer) { return JSONDecoder(context).unSerialize(json, observer); });
}

ReadResult readStrict(BinaryBuffer& bytes, KwXMLContextInfo* context)
{
  return read([&](ReadObserver* observer) {
    return XMLDecoder().UnserializeBinary(bytes, owned, context, observer);
  });
}

}  // namespace kwxml
