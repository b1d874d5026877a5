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

ReadResult readStrict(const std::string& xml, KwXMLContextInfo* context)
{
  return read([&](ReadObserver* observer) {
    return std::unique_ptr<YMMessageBase>(XMLDecoder().unSerialize(xml, context, observer));
  });
}

ReadResult readStrictJson(std::string_view json, KwXMLContextInfo* context)
{
  return read([&](ReadObserver* observer) { return JSONDecoder(context).unSerialize(json, observer); });
}

ReadResult readStrict(BinaryBuffer& bytes, KwXMLContextInfo* context)
{
  return read([&](ReadObserver* observer) {
    return std::unique_ptr<YMMessageBase>(XMLDecoder().UnserializeBinary(bytes, context, observer));
  });
}

}  // namespace kwxml
