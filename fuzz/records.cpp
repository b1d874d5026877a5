// Fuzzes the reading of files of single records.
#include "FileOfBytes.h"

#include <kwxml/binary/YMMessageBaseFileHandler.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/CYxFile.h>

#include <memory>

using namespace kwxml::fuzz;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
  logToNowhere();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  static FileOfBytes bytes;
  CYxFile file(bytes.hold(data, size), CYxFile::Mode::Read);
  YMMessageBaseFileHandler handler(&file);
  int result = YMMessageBaseFileHandler::Success;
  while (result == YMMessageBaseFileHandler::Success) {
    const long long before = file.Tell();
    YMMessageBase* message = nullptr;
    result = handler.GetObjectFromFile(message);
    const std::unique_ptr<YMMessageBase> owned(message);
    if (message != nullptr && result != YMMessageBaseFileHandler::Success) {
      wrong("a message and a failure");
    }
    if (result == YMMessageBaseFileHandler::Success && file.Tell() < before + 4) {
      wrong("a record was read and the file stands where it stood");
    }
  }
  return 0;
}
