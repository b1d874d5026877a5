// Messages from documents and documents from messages.
#pragma once

#include "support/Messages.h"

#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace kwxml::test {

inline std::unique_ptr<YMMessageBase> read(const std::string& xml)
{
  return std::unique_ptr<YMMessageBase>(XMLDecoder().unSerialize(xml));
}

/// The document, bare of the declaration or with it.
inline std::string write(YMMessageBase& message, const EncodingFlags& flags = EncodingFlags(),
                         bool bare = true)
{
  std::string out;
  EXPECT_EQ(XMLEncoder(flags).serialize(message, out, bare), 0);
  return out;
}

}  // namespace kwxml::test
