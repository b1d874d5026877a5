// Fuzzes the explainer of binary messages: it shows every byte once, in order, and calls a message damaged
// exactly when the reader does.
#include "Fuzz.h"

#include "Inspect.h"

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/model/YMMessageBase.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>

using namespace kwxml::fuzz;
using namespace kwxml::tool;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
  logToNowhere();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  for (const InspectForm form : {InspectForm::Binary, InspectForm::Records, InspectForm::Batch}) {
    std::string shown;
    std::istringstream in(bytes);
    const bool whole = inspect(in, form, [&](const kwxml::BinaryPiece& piece, std::uint64_t more) {
      if (piece.offset != shown.size()) {
        wrong("a piece is not where the one before it ends");
      }
      shown += piece.bytes;
      shown += bytes.substr(std::min(shown.size(), bytes.size()), more);
      if (toText(piece, more).find('\n') + 1 != toText(piece, more).size()) {
        wrong("a piece takes more than one line");
      }
    });
    if (shown != bytes) {
      wrong("the pieces are not the input");
    }
    if (form == InspectForm::Binary) {
      BinaryBuffer buffer;
      buffer.SetReadBuffer(bytes.data(), bytes.size(), true);
      const std::unique_ptr<YMMessageBase> message(BinarySerializer::unserialize(buffer, nullptr, false));
      if (whole != (message != nullptr)) {
        wrong("the reader sees it otherwise");
      }
    }
  }
  return 0;
}
