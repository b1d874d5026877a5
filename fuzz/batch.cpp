// Fuzzes the reading of batch files, in calls of one, two, three, ... records.
#include "FileOfBytes.h"

#include <kwxml/binary/YMMessageBaseFileHandler.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/CYxFile.h>

#include <vector>

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
  std::vector<YMMessageBase*> messages;
  int result = YMMessageBaseFileHandler::Success;
  for (int count = 1; result == YMMessageBaseFileHandler::Success; ++count) {
    const long long before = file.Tell();
    const std::size_t had = messages.size();
    result = handler.readBinaryBufferFromFile(messages, count);
    if (messages.size() > had + static_cast<std::size_t>(count)) {
      wrong("more messages than were asked for");
    }
    if (result == YMMessageBaseFileHandler::Success && file.Tell() < before + 5 * count) {
      wrong("records were read and the file has not gone on by them");
    }
  }
  for (YMMessageBase* message : messages) {
    delete message;
  }
  return 0;
}
