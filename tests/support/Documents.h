// Messages from documents and documents from messages.
#pragma once

#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>

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
