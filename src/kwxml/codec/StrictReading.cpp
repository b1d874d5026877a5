#include <kwxml/codec/StrictReading.h>

#include <kwxml/codec/XMLDecoder.h>

namespace kwxml {

namespace {

template <class Read>
ReadResult read(Read read)
{
  ReadResult result;
  result.message.reset(read(&result.problems));
  if (!result.problems.empty()) {
    result.message.reset();
  }
  return result;
}

}  // namespace

ReadResult readStrict(const std::string& xml, KwXMLContextInfo* context)
{
  return read([&](ReadObserver* observer) { return XMLDecoder().unSerialize(xml, context, observer); });
}

ReadResult readStrict(BinaryBuffer& bytes, KwXMLContextInfo* context)
{
  return read(
      [&](ReadObserver* observer) { return XMLDecoder().UnserializeBinary(bytes, context, observer); });
}

}  // namespace kwxml
