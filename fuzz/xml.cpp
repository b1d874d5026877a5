// Fuzzes the reader of XML, and the writer with what the reader let through: that must be readable.
#include "Fuzz.h"

#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/model/YMMessageBase.h>

#include <memory>
#include <string>

using namespace kwxml::fuzz;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
  logToNowhere();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const std::string text(reinterpret_cast<const char*>(data), size);
  const XMLDecoder decoder;
  const std::unique_ptr<YMMessageBase> message(decoder.unSerialize(text));
  if (!message) {
    return 0;
  }
  std::string written;
  if (XMLEncoder().serialize(*message, written) != 0) {
    wrong("a message that was read cannot be written");
  }
  const std::unique_ptr<YMMessageBase> again(decoder.unSerialize(written));
  if (!again) {
    wrong("a message that was written cannot be read");
  }
  return 0;
}
