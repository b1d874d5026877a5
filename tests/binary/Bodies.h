// Bodies of binary messages as hexadecimal text, and messages to write and read them with.
//
// In the texts M stands for the collection marker 78 7F 7F 7F, and a word such as intValue.6 for a key: the
// hash of the field's name, and the code.
#pragma once

#include "support/Hex.h"
#include "support/LogCapture.h"
#include "support/Messages.h"

#include <kwxml/binary/BinarySerializer.h>

#include <gtest/gtest.h>

#include <memory>
#include <sstream>

namespace kwxml::test {

inline std::string keyHex(const std::string& word)
{
  const auto dot = word.rfind('.');
  const std::string name = word.substr(0, dot);
  const std::uint32_t key =
      kwxml::nameHash(name.data(), name.size()) << 3 | static_cast<unsigned>(word[dot + 1] - '0');
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) {
    bytes += static_cast<char>(key >> shift);
  }
  return toHex(bytes);
}

/// The hexadecimal text that a template stands for.
inline std::string expand(const std::string& text)
{
  std::istringstream words(text);
  std::string out;
  for (std::string word; words >> word;) {
    const bool isKey = word.find('.') != std::string::npos;
    out += (out.empty() ? "" : " ") + (word == "M" ? "78 7F 7F 7F" : isKey ? keyHex(word) : word);
  }
  return out;
}

/// The template of a hexadecimal text, with the keys of the sample classes.
inline std::string folded(std::string hex)
{
  const auto replace = [&hex](const std::string& bytes, const std::string& word) {
    for (auto at = hex.find(bytes); at != std::string::npos; at = hex.find(bytes, at)) {
      hex.replace(at, bytes.size(), word);
    }
  };
  replace("78 7F 7F 7F", "M");
  for (const char* tagName : {"Types_AllTypes", "Types_Leaf", "Types_KeyLeaf"}) {
    for (const FieldDef& def : *make(tagName).getClass()) {
      for (char code = '0'; code < '8'; ++code) {
        const std::string word = std::string(def.getName()) + "." + code;
        replace(keyHex(word), word);
      }
    }
  }
  return hex;
}

inline std::string header(const YMMessageBase& m, int version = 2)
{
  std::string head(8, '\0');
  BinaryStream stream(head.data(), head.size());
  stream.WriteInt32(version | 0x10000);
  stream.WriteUInt32(static_cast<unsigned>(m.getTagID()));
  return head;
}

inline std::string encode(YMMessageBase& m, int version = 2,
                          const BinarySerializerParameters* parameters = nullptr)
{
  BinaryBuffer buffer;
  const unsigned long n = BinarySerializer::serialize(m, buffer, version, parameters);
  EXPECT_EQ(n, buffer.length());
  return std::string(buffer.data(), buffer.length());
}

inline std::string bodyHex(YMMessageBase& m, int version = 2)
{
  const std::string bytes = encode(m, version);
  EXPECT_EQ(bytes.substr(0, 8), header(m, version));
  return toHex(bytes.substr(8));
}

inline int decode(YMMessageBase& m, const std::string& bytes, bool merge = false)
{
  // Exactly as large as it says, so that the sanitizer sees what is read behind it.
  const auto exact = std::make_unique<char[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), exact.get());
  BinaryBuffer buffer;
  buffer.SetReadBuffer(exact.get(), bytes.size(), true);
  return BinarySerializer::unserialize(m, buffer, nullptr, merge);
}

/// A new message of the class that the bytes name, or none.
inline std::unique_ptr<YMMessageBase> create(const std::string& bytes, KwXMLContextInfo* context = nullptr)
{
  BinaryBuffer buffer;
  buffer.deepCopyBuffer(bytes.data(), bytes.size(), false);
  return std::unique_ptr<YMMessageBase>(BinarySerializer::unserialize(buffer, context, false));
}

inline int decodeBody(YMMessageBase& m, const std::string& text, bool merge = false)
{
  return decode(m, header(m) + fromHex(expand(text)), merge);
}

}  // namespace kwxml::test
