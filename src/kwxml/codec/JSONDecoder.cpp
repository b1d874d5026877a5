#include <kwxml/codec/JSONDecoder.h>

#include <kwxml/json/JsonReader.h>
#include <kwxml/reading/ReadObserver.h>
#include <kwxml/xml/MessageReader.h>

#include <utility>

int JSONDecoder::unSerialize(YMMessageBase& message, std::string_view json,
                             kwxml::ReadObserver* observer) const
{
  constexpr int otherClass = 5;
  const kwxml::UsingCatalogue catalogue(message);
  const kwxml::JsonRead read = kwxml::readJson(json, 0, true, context_, observer);
  if (read.result != 0) {
    return read.result;
  }
  return kwxml::MessageReader::moveInto(message, std::move(*read.message), observer) ? 0 : otherClass;
}

std::unique_ptr<YMMessageBase> JSONDecoder::unSerialize(std::string_view json,
                                                        kwxml::ReadObserver* observer) const
{
  return kwxml::readJson(json, 0, true, context_, observer).message;
}

std::unique_ptr<YMMessageBase> JSONDecoder::next(std::string_view json, std::size_t& at,
                                                 kwxml::ReadObserver* observer) const
{
  kwxml::JsonRead read = kwxml::readJson(json, at, false, context_, observer);
  at = read.end;
  return std::move(read.message);
}
