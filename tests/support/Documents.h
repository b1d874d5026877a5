// Messages from documents and documents from messages.
#pragma once

#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/xml/MySAX2Handler.h>
#include <kwxml/xml/XMLSerializer.h>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace kwxml::test {

/// The message of a document, or none.
inline std::unique_ptr<YMMessageBase> readXml(const std::string& xml, KwXMLContextInfo* context = nullptr)
{
  return std::unique_ptr<YMMessageBase>(XMLDecoder().unSerialize(xml, context));
}

/// The same by the parser of xerces-c alone: a derived handler is fed by nothing else.
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

/// The message of a document that has one.
inline YMMessageBase fromXml(const std::string& xml)
{
  const auto message = readXml(xml);
  return message != nullptr ? *message : throw std::invalid_argument(xml);
}

/// The document, bare of the declaration or with it.
inline std::string toXml(YMMessageBase& message, const EncodingFlags& flags = {}, bool bare = true)
{
  std::string out;
  EXPECT_EQ(XMLEncoder(flags).serialize(message, out, bare), 0);
  return out;
}

}  // namespace kwxml::test
