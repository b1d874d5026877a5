// Documents read by the parser of xerces-c alone, to hold our scanner beside it.
#pragma once

#include <kwxml/xml/MySAX2Handler.h>
#include <kwxml/xml/XMLSerializer.h>

#include <memory>
#include <string>

namespace kwxml::test {

/// The message of a document by the parser of xerces-c: a derived handler is fed by nothing else.
inline std::unique_ptr<YMMessageBase> readByParser(const std::string& xml, ReadObserver* observer = nullptr)
{
  class Handler : public MySAX2Handler
  {
  };
  Handler handler;
  XMLSerializer serializer;
  serializer.setObserver(observer);
  const int result = serializer.parserHelper(&handler, xml);
  std::unique_ptr<YMMessageBase> message(handler.takeMessage());
  return result == 0 ? std::move(message) : nullptr;
}

/// Whether two messages are equal, or both are none.
inline bool areSame(const std::unique_ptr<YMMessageBase>& a, const std::unique_ptr<YMMessageBase>& b)
{
  return a != nullptr && b != nullptr ? *a == *b : a == b;
}

}  // namespace kwxml::test
