#include <kwxml/codec/JSONDecoder.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/json/JsonReader.h>
#include <kwxml/reading/ReadObserver.h>
#include <kwxml/xml/MessageReader.h>

#include <string>
#include <utility>

namespace {

constexpr const char* function = "JSONDecoder::unSerialize";
constexpr int notWellFormed = 4;
constexpr int readingFailed = 5;

}  // namespace

int JSONDecoder::read(std::string_view json, std::unique_ptr<YMMessageBase>& message,
                      kwxml::ReadObserver* observer) const
{
  kwxml::JsonRead read = kwxml::readJson(json, 0, context_, observer);
  if (read.result == 0 && read.end != json.size()) {
    constexpr const char* words = "text stands behind the document";
    const kwxml::ReadPlace place = kwxml::placeInJson(json, read.end);
    kwxml::log().logError(function, "%s at line [%llu], column [%llu]", words,
                          static_cast<unsigned long long>(place.line),
                          static_cast<unsigned long long>(place.column));
    if (observer != nullptr) {
      observer->met({.kind = kwxml::ProblemKind::NotWellFormed, .place = place, .remark = words});
    }
    return notWellFormed;
  }
  message = std::move(read.message);
  return read.result;
}

int JSONDecoder::unSerialize(YMMessageBase& message, std::string_view json,
                             kwxml::ReadObserver* observer) const
{
  std::unique_ptr<YMMessageBase> made;
  if (const int result = read(json, made, observer); result != 0) {
    return result;
  }
  return kwxml::MessageReader::moveInto(message, std::move(*made), observer) ? 0 : readingFailed;
}

std::unique_ptr<YMMessageBase> JSONDecoder::unSerialize(std::string_view json,
                                                        kwxml::ReadObserver* observer) const
{
  std::unique_ptr<YMMessageBase> message;
  (void)read(json, message, observer);  // null on failure, which has been told
  return message;
}

std::unique_ptr<YMMessageBase> JSONDecoder::next(std::string_view json, std::size_t& at,
                                                 kwxml::ReadObserver* observer) const
{
  kwxml::JsonRead read = kwxml::readJson(json, at, context_, observer);
  at = read.end;
  return std::move(read.message);
}
