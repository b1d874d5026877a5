// Fuzzes the reader of JSON, and the writer with what the reader let through: that reads back as the same
// message, in both layouts, without a problem that the document did not have.
#include "Fuzz.h"

#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/reading/Problems.h>

#include <memory>
#include <string>

using namespace kwxml::fuzz;

namespace {

void expectReturns(YMMessageBase& message, bool isReadable)
{
  EncodingFlags flags;
  flags.readableForm = isReadable;
  std::string json;
  if (JSONEncoder(flags).serialize(message, json) != 0) {
    wrong("a message that was read cannot be written");
  }
  const std::unique_ptr<YMMessageBase> again = JSONDecoder().unSerialize(json);
  std::string second;
  if (again == nullptr || JSONEncoder(flags).serialize(*again, second) != 0 || second != json) {
    wrong("a message that was written reads otherwise");
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
  logToNowhere();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  kwxml::Problems problems;
  const std::unique_ptr<YMMessageBase> observed = JSONDecoder().unSerialize(text, &problems);
  const std::unique_ptr<YMMessageBase> message = JSONDecoder().unSerialize(text);
  if ((message == nullptr) != (observed == nullptr) ||
      (message != nullptr && !areSame(*message, *observed))) {
    wrong("an observer changes what is read");
  }
  if (message == nullptr && problems.empty()) {
    wrong("a failure without a problem");
  }
  for (std::size_t at = 0; at != text.size();) {
    const std::size_t before = at;
    (void)JSONDecoder().next(text, at);
    if (at <= before) {
      wrong("reading does not go on");
    }
  }
  if (message != nullptr) {
    expectReturns(*message, false);
    expectReturns(*message, true);
  }
  return 0;
}
