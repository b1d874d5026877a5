// What the serializer says when something is wrong, and what it makes of odd bytes.
#include "binary/Bodies.h"
#include "platform/TempDirectory.h"
#include "support/AllocationCounter.h"
#include "support/SmallStack.h"

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/codec/StandInPasswords.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/model/Limits.h>
#include <kwxml/platform/PasswordKeyFile.h>
#include <kwxml/text/Base64.h>

#include <gtest/gtest.h>

#include <memory>

using namespace kwxml::test;

namespace {

constexpr const char* objectFunction = "BinarySerializer::unserialize(obj, buffer, context)";
constexpr const char* bufferFunction = "BinarySerializer::unserialize(buffer, context)";
constexpr const char* failed = "Error unserializing from buffer on object [Types_AllTypes]";

std::unique_ptr<YMMessageBase> create(const std::string& bytes, KwXMLContextInfo* context = nullptr)
{
  BinaryBuffer buffer;
  buffer.deepCopyBuffer(bytes.data(), bytes.size(), false);
  return std::unique_ptr<YMMessageBase>(BinarySerializer::unserialize(buffer, context, false));
}

}  // namespace

TEST(BinaryReader, HeadersThatDoNotFit)
{
  LogCapture log;
  YMMessageBase m = allTypes();
  setInt(m, "intValue", 7);
  BinaryBuffer none;
  EXPECT_EQ(BinarySerializer::unserialize(m, none), -1);
  EXPECT_EQ(log.lines().back(),
            (LogLine{0, objectFunction, "[Buffer received for unserialization is not set]"}));
  EXPECT_EQ(decode(m, header(m).substr(0, 7)), -1);
  EXPECT_EQ(log.lines().back(), (LogLine{0, objectFunction, "[Buffer does not contain necessary metadata]"}));
  const YMMessageBase other = make("Demo_Status");
  EXPECT_EQ(decode(m, header(other)), -1);
  EXPECT_EQ(log.lines().back(), (LogLine{0, objectFunction,
                                         "Received object with tagID [" + std::to_string(m.getTagID()) +
                                             "] does not match with the received buffer with tagID [" +
                                             std::to_string(other.getTagID()) + "]"}));
  EXPECT_EQ(getInt(m, "intValue"), 7) << "nothing has changed";
  EXPECT_EQ(log.lines().size(), 3u);
  log.clear();
  char memory[16];
  BinaryBuffer lent(memory, sizeof memory);  // its length is 0
  EXPECT_EQ(BinarySerializer::unserialize(lent, nullptr, false), nullptr);
  EXPECT_EQ(create(header(m).substr(0, 7)), nullptr);
  EXPECT_EQ(log.lines(), (std::vector<LogLine>(
                             2, {0, bufferFunction, "[Buffer received for unserialization is not set]"})));
  log.clear();
  EXPECT_EQ(create(fromHex("02 00 01 00 99 99 99 3C")), nullptr);
  EXPECT_EQ(log.lines().back(),
            (LogLine{0, bufferFunction, "Error identifying the object received. TagID = [1016699289]"}));
  EXPECT_EQ(create(fromHex("02 00 01 00 01 00 00 C9")), nullptr);
  EXPECT_EQ(log.lines().back(),
            (LogLine{0, bufferFunction, "Error identifying the object received. TagID = [3372220417]"}));
  // Version words: with the flag the low 16 bits, as a signed remainder; without it the whole word.
  const struct
  {
    const char* bytes;
    int version, flag;
  } words[] = {{"02 00 01 00", 2, 1},
               {"02 00 00 00", 2, 0},
               {"FF FF 03 00", 65535, 1},
               {"00 00 02 00", 0x20000, 0},
               {"FF FF FF FF", -1, 1}};
  for (const auto& word : words) {
    std::string bytes = fromHex(word.bytes) + "1234";
    BinaryStream in(bytes.data(), bytes.size());
    int version = 0;
    int tag = 0;
    int flag = -1;
    ASSERT_TRUE(BinarySerializer::getVersionAndTagIDFromBuffer(in, version, tag, flag));
    EXPECT_EQ(version, word.version);
    EXPECT_EQ(flag, word.flag);
    EXPECT_EQ(tag, 0x34333231);
    EXPECT_EQ(in.position(), 8u);
  }
}

TEST(BinaryReader, NothingAndClassesWithoutValues)
{
  YMMessageBase m = allTypes();
  BinaryStream none(nullptr, 0);
  EXPECT_TRUE(BinarySerializer::unserializeBinaryRecur(m, none, 0, 2, nullptr, false));
  EXPECT_EQ(bodyHex(m), "");
  // An enumeration is a class as well, whose records have no slots.
  YMMessageBase color = make("Demo_Color");
  const FieldDef& first = color.getClass()->fields[0];
  std::string key;
  for (int shift = 0; shift < 32; shift += 8) {
    key += static_cast<char>((first.hash << 3 | 7) >> shift);
  }
  EXPECT_EQ(decode(color, header(color) + key), 0);
}

TEST(BinaryReader, BodiesThatFailSayWhy)
{
  const std::string overrun =
      " Specified string size [9] causes a buffer overrun. Buffer size : [%S]. CurrentPosition : [%P]";
  const struct
  {
    const char* body;
    std::string line;  // %S and %P: the size of the buffer, and the position behind the length
    int position = 0;  // of that, counted from the body's begin
  } rows[] = {
      {"9A 99 00 02 09 00",
       "Error unserializing in binary mode. Specified string size [9] > buffer size [%S]. CurrentPosition : "
       "[%P]",
       5},
      {"stringValue.2 09 61", "Error constructing string field [stringValue]." + overrun, 5},
      {"bstringValue.2 09 61", "Error constructing bstring field [bstringValue]." + overrun, 5},
      {"pstringValue.2 09 61", "Error constructing pstring field [pstringValue]." + overrun, 5},
      {"M 01 stringList.2 09", "Error constructing list<string> field [stringList]." + overrun, 10},
      {"M 02 bstringList.2 00 bstringList.2 09",
       "Error constructing list<bstring> field [bstringList]." + overrun, 15},
      {"M 01 stringStringMap.2 00 02 02 09",
       "Error constructing map<string> (key) field [stringStringMap]." + overrun, 13},
      {"M 01 stringStringMap.2 00 02 02 00 09",
       "Error constructing map<string> (Value) field [stringStringMap]." + overrun, 14},
      {"M 01 longlongStringMap.2 00 01 02 00 00 00 00 00 00 00 00 09",
       "Error constructing map<string> (value) field [longlongStringMap]." + overrun, 21},
      {"M 01 stringLonglongMap.2 00 02 01 09",
       "Error constructing map<string> (key) field [stringLonglongMap]." + overrun, 13},
      {"M 01 stringStringMap.2 00 01 02",
       "Map member [stringStringMap] has key/value encoding type mismatch\nkey type = [2]; received key type "
       "= "
       "[1]\nValue type = [2]; received value type = [2] "},
      {"objectValue.2 09 text.2 09", "Error constructing string field [text]." + overrun, 10},
      {"M 01 objectList.2 05 text.2 09", "Error constructing string field [text]." + overrun, 15},
      {"M 01 stringObjectMap.2 00 02 02 00 09 text.2 09", "Error constructing string field [text]." + overrun,
       19},
      {"M 01 objectObjectMap.2 00 02 02 09 key.2 09", "Error constructing string field [key]." + overrun, 18},
      {"M 01 objectObjectMap.2 00 02 02 00 09 text.2 09", "Error constructing string field [text]." + overrun,
       19},
  };
  for (const auto& row : rows) {
    LogCapture log;
    YMMessageBase m = allTypes();
    const std::string body = fromHex(expand(row.body));
    std::string line = row.line;
    const auto put = [&](const std::string& what, std::size_t number) {
      if (const auto at = line.find(what); at != std::string::npos) {
        line.replace(at, what.size(), std::to_string(number));
      }
    };
    put("%S", body.size() + 8);
    put("%P", static_cast<std::size_t>(row.position) + 8);
    EXPECT_EQ(decodeBody(m, row.body), -1) << row.body;
    ASSERT_GE(log.lines().size(), 2u) << row.body;
    EXPECT_EQ(log.lines().front(), (LogLine{0, reader, line}));
    EXPECT_EQ(log.lines().back(), (LogLine{0, objectFunction, failed}));
  }
  // What encloses a body that fails says so too.
  const struct
  {
    const char* body;
    const char* line;
  } enclosing[] = {{"objectValue.2 09 text.2 09", "Error unserializing on field [objectValue]"},
                   {"M 01 objectList.2 09 text.2 09", "Error unserializing on field [objectList]"},
                   {"M 01 longlongObjectMap.2 00 01 02 00 00 00 00 00 00 00 00 09 text.2 09",
                    "Error unserializing on field [longlongObjectMap]"},
                   {"M 01 objectObjectMap.2 00 02 02 09 key.2 09",
                    "Error unserializing on field [objectObjectMap]  (map key)"},
                   {"M 01 objectObjectMap.2 00 02 02 00 09 text.2 09",
                    "Error unserializing on field [objectObjectMap] (map value)"}};
  for (const auto& row : enclosing) {
    LogCapture log;
    YMMessageBase m = allTypes();
    EXPECT_EQ(decodeBody(m, row.body), -1);
    ASSERT_EQ(log.lines().size(), 3u) << row.body;
    EXPECT_EQ(log.lines()[1], (LogLine{0, reader, row.line}));
  }
}

TEST(BinaryReader, OddBytesAreReadAsTheFormHasThem)
{
  const struct
  {
    const char* body;
    const char* back;  // the body of what was read
    int result = 0;
  } rows[] = {
      // Unknown fields of every code, the marker among them, and codes that are none; then one that is known.
      {"08 00 00 00 AC 02 09 00 00 00 01 02 03 04 05 06 07 08 0A 00 00 00 02 61 62 0D 00 00 00 01 02 03 04 "
       "0E 00 00 "
       "00 05 0F 00 00 00 0B 00 00 00 0C 00 00 00 M AC 02 uintValue.0 05",
       "uintValue.0 05"},
      {"longValue.6 02 01 02 03", "longValue.6 02"},  // up to three bytes at the end are no key
      {"longValue.6 02 01", "longValue.6 02"},
      {"longValue.6 02 0A 00 00 00", "longValue.6 02"},  // an unknown field at the end has no value
      {"longValue.6 02 longValue.6 04", "longValue.6 04"},
      {"longValue.7 02", "longValue.6 02"},  // the code of a known field does not matter
      {"uintValue.0 FF FF FF FF 7F", "uintValue.0 FF FF FF FF 0F"},
      {"boolValue.0 AC 02", "boolValue.0 AC 02"},
      // The pending count is not used up, and counts in this body alone.
      {"M 02 intList.2 00 02 04 uintList.2 00 01 02", "M 02 intList.2 02 02 04 M 02 uintList.2 02 01 02"},
      {"M 01 objectValue.2 05 number.6 02 intList.2 00 02",
       "objectValue.2 05 number.6 02 M 01 intList.2 01 02"},
      {"intList.2 00 05", "M 00 intList.2 00", 0},
      // The keys between elements are not looked at.
      {"M 02 stringList.2 01 61 01 02 03 04 01 62", "M 02 stringList.2 01 61 stringList.2 01 62"},
      // Byte strings end at a zero byte; what is no base64 stays as it is.
      {"bstringValue.2 05 59 57 4A 6A 0A", "bstringValue.2 05 59 57 4A 6A 0A"},
      {"bstringValue.2 03 2A 00 61", "bstringValue.2 05 4B 67 3D 3D 0A"},
      // The first of two equal keys stays.
      {"M 02 stringStringMap.2 00 02 02 01 61 01 31 01 61 01 32",
       "M 01 stringStringMap.2 06 02 02 01 61 01 31"},
      {"M 01 stringStringMap.2 00 02 02 01 61 01 31 stringStringMap.2 00 02 02 01 61 01 32",
       "M 01 stringStringMap.2 06 02 02 01 61 01 31"},
      // A nested body ends with the one around it, and may end early.
      {"objectValue.2 7F number.6 02", "objectValue.2 05 number.6 02"},
      {"objectValue.2 00 longValue.6 02", "longValue.6 02 objectValue.2 00"},
      {"objectValue.2 05 number.6 02 objectValue.2 05 number.6 04", "objectValue.2 05 number.6 04"},
      // A key of the irregular list: its count passes for the size, the pending count for the count.
      {"M 01 ulonglongList.2 08 05 00 00 00 00 00 00 00",
       "ulonglongList.2 01 ulonglongList.2 08 05 00 00 00 00 00 00 00"},
      {"ulonglongValue.1 05 00 00 00 00 00 00 00", "M 05 00 00 00 00 00 00 00"},
      // Cut short: zero, and failure; what was read stays.
      {"uintValue.0 05 longValue.6", "uintValue.0 05 longValue.6 00", -1},
      {"uintValue.0 05 longlongValue.1 01 02 03", "uintValue.0 05 longlongValue.1 00 00 00 00 00 00 00 00",
       -1},
      {"M 03 intList.2 03 02 04", "M 00 intList.2 00", -1},
      {"M FF FF FF FF 0F doubleList.2 00 00 00 00 00 00 00 F0 3F", "M 00 doubleList.2 00", -1},
      {"M FF FF FF FF 0F stringList.2 01 61", "M 01 stringList.2 01 61", -1},
      {"M FF FF FF FF 0F stringStringMap.2 00 02 02 01 61 01 31",
       "M 01 stringStringMap.2 06 02 02 01 61 01 31", -1},
  };
  for (const auto& row : rows) {
    LogCapture log;
    YMMessageBase m = allTypes();
    EXPECT_EQ(decodeBody(m, row.body), row.result) << row.body;
    EXPECT_EQ(log.lines().empty(), row.result == 0) << row.body;
    EXPECT_EQ(bodyHex(m), expand(row.back)) << row.body;
  }
}

TEST(BinaryReader, MergingKeepsWhatTheBytesDoNotHave)
{
  YMMessageBase m = allTypes();
  setInt(m, "uintValue", 1);
  setInt(m, "longValue", 2);
  fill(m, field(m, "objectValue"), 1);
  EXPECT_EQ(decodeBody(m, "uintValue.0 05 objectValue.2 05 number.6 02", true), 0);
  EXPECT_EQ(bodyHex(m), expand("uintValue.0 05 longValue.6 04 objectValue.2 05 number.6 02"))
      << "a nested message begins anew, with the same object";
  EXPECT_EQ(decodeBody(m, "uintValue.0 06", false), 0);
  EXPECT_EQ(bodyHex(m), expand("uintValue.0 06"));
}

TEST(BinaryReader, SizesOfNestedMessagesStayInTheirOwner)
{
  YMMessageBase m = allTypes();
  EXPECT_EQ(decodeBody(m, "M 02 objectList.2 05 number.6 02 objectList.2 00 objectValue.2 06 number.6 02 00"),
            0);
  EXPECT_EQ(m.GetCachedSize(), 6u);
  const std::string bytes = encode(m);
  EXPECT_EQ(m.GetCachedSize(), bytes.size() - 8);
}

TEST(BinaryWriter, CallersMemoryAndVersionOne)
{
  LogCapture log;
  YMMessageBase m = allTypes();
  fill(m, field(m, "bstringValue"), 1);
  fill(m, field(m, "stringValue"), 1);
  const std::string whole = encode(m);
  std::string memory(whole.size() + 4, '\x55');
  BinaryBuffer exact(memory.data(), whole.size());
  EXPECT_EQ(BinarySerializer::serialize(m, exact), 0u) << "the length that the caller's buffer already had";
  EXPECT_EQ(memory, whole + "\x55\x55\x55\x55");
  memory.assign(whole.size(), '\x55');
  BinaryBuffer tooSmall(memory.data(), whole.size() - 1);
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(BinarySerializer::serialize(m, tooSmall), 0u);
  EXPECT_EQ(memory, std::string(whole.size(), '\x55'));
  EXPECT_EQ(log.lines(),
            (std::vector<LogLine>{{0, "BinarySerializer::serialize",
                                   "Size of buffer provided : [" + std::to_string(whole.size() - 1) +
                                       "] is not sufficient. Size required : [" +
                                       std::to_string(whole.size()) + "]"}}));
  // Version 1 measures the byte string as it is and writes its base64: the end is missing.
  YMMessageBase small = allTypes();
  object<bstring>(small, "bstringValue") = bstring("abc");
  const std::string one = encode(small, 1);
  EXPECT_EQ(one.size(), 8 + 4 + 1 + 3u);
  EXPECT_EQ(one.substr(0, 8), header(small, 1));
  EXPECT_EQ(toHex(one.substr(8, 5)), expand("bstringValue.2 05")) << "and the five characters have no room";
  EXPECT_EQ(toHex(one.substr(13)), "00 00 00") << "nor does anything else come out";
  YMMessageBase plain = allTypes();
  setInt(plain, "uintValue", 5);
  EXPECT_EQ(bodyHex(plain, 1), expand("uintValue.0 05"));
  EXPECT_EQ(bodyHex(plain, -7), expand("uintValue.0 05"));
  // Read as version 1, base64 stays.
  std::string bytes = encode(small);
  bytes[0] = 1;
  EXPECT_EQ(decode(small, bytes), 0);
  EXPECT_EQ(object<bstring>(small, "bstringValue").text(), "YWJj\n");
}

namespace {

/// The body as the walk over a stream writes it, which knows all sizes beforehand.
std::string measuredBody(YMMessageBase& m)
{
  std::string bytes(BinarySerializer::calculateReqBinStreamSize(m, 2, nullptr), '\0');
  BinaryStream stream(bytes.data(), bytes.size());
  BinarySerializer::serializeBinaryRecursive(m, stream, 2, nullptr);
  EXPECT_EQ(stream.position(), bytes.size());
  return bytes;
}

}  // namespace

/// Small bodies are written by a walk that learns their sizes on the way, and its guesses come from what was
/// written last: nested sizes that grow and shrink, and bodies on both sides of what is small.
TEST(BinaryWriter, OneWalkAndTwoWriteTheSame)
{
  YMMessageBase m = allTypes();
  m.wipeBitset();
  for (const FieldDef& def : *m.getClass()) {
    if (def.type != FIELD_PSTRING) {  // a password is never small
      fill(m, def, 1);
    }
  }
  YMMessageBase& nested = object<YMMessageBase>(m, "objectValue");
  const std::size_t rest = encode(m).size();
  const auto check = [&](std::size_t inner, std::size_t outer) {
    setText(nested, "text", std::string(inner, 'i'));
    setText(m, "stringValue", std::string(outer, 'o'));
    const std::string bytes = encode(m);
    const unsigned size = m.GetCachedSize();
    const unsigned innerSize = nested.GetCachedSize();
    ASSERT_EQ(bytes.substr(8), measuredBody(m)) << inner << ", " << outer;
    EXPECT_EQ(size, bytes.size() - 8);
    EXPECT_EQ(innerSize, nested.GetCachedSize());
    std::string memory(bytes.size(), '\x55');
    BinaryBuffer tooSmall(memory.data(), bytes.size() - 1);
    const LogCapture log;
    EXPECT_EQ(BinarySerializer::serialize(m, tooSmall), 0u);
    EXPECT_EQ(memory, std::string(bytes.size(), '\x55'));
  };
  for (const std::size_t inner : {0U, 200U, 5U, 20000U, 120U, 121U, 122U, 130U, 119U, 16370U, 3U}) {
    check(inner, 10);
  }
  constexpr std::size_t small = 16384;
  for (std::size_t outer = small - rest - 1500; outer < small + 50; outer += 13) {
    check(outer % 160, outer);
  }
}

TEST(BinaryWriter, TracesAndAllocatesItsBufferAlone)
{
  YMMessageBase m = allTypes();
  m.wipeBitset();
  for (const FieldDef& def : *m.getClass()) {
    if (def.type != FIELD_PSTRING) {  // a password goes through strings
      fill(m, def, 1);
    }
  }
  BinaryBuffer buffer;
  (void)BinarySerializer::serialize(m, buffer);
  {
    const AllocationCounter allocations;
    (void)BinarySerializer::serialize(m, buffer);
    EXPECT_EQ(allocations.count(), 0u) << "the buffer's memory comes from malloc";
  }
  YMMessageBase small = make("Demo_Status");
  setInt(small, "errorCode", 5);
  setText(small, "errorMessage", "x");
  LogCapture log(25);
  const std::string bytes = encode(small);
  EXPECT_EQ(decode(small, bytes), 0);
  std::vector<LogLine> wanted{
      {15, "BinarySerializer::serialize", "Required buffer size is 19"},
      {15, writer, "Writing field [Status]:[errorCode] at buffer position : [8]"},
      {15, writer, "Writing field [Status]:[errorMessage] at buffer position : [13]"}};
  std::vector<LogLine> lines = log.lines();
  ASSERT_GE(lines.size(), 6u);
  EXPECT_EQ(std::vector<LogLine>(lines.begin(), lines.begin() + 3), wanted);
  EXPECT_TRUE(
      log.has("BinarySerializer::serialize",
              "[<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?><Demo_Status errorCode=\"5\" "
              "errorMessage=\"x\"/>]"));
  EXPECT_TRUE(log.has(reader, "Identified  [Status] : [errorCode] at buffer position : [8]"));
  YMMessageBase list = allTypes();
  EXPECT_EQ(decodeBody(list, "M 02 intList.2 02 02 04"), 0);
  EXPECT_TRUE(log.has(reader, "Cached collection(list/map) size is : [2]"));
}

TEST(BinaryWriter, NestingIsBoundedBothWays)
{
  onSmallStack([] {
    LogCapture log;
    YMMessageBase deepest = nodeChain(kwxml::maxMessageNesting);
    const std::string bytes = encode(deepest);
    YMMessageBase copy = make("Types_Node");
    EXPECT_EQ(decode(copy, bytes), 0);
    EXPECT_TRUE(copy == deepest);
    EXPECT_TRUE(log.lines().empty());
    YMMessageBase tooDeep = nodeChain(kwxml::maxMessageNesting + 1);
    BinaryBuffer buffer;
    EXPECT_EQ(BinarySerializer::serialize(tooDeep, buffer), 0u);
    EXPECT_EQ(BinarySerializer::calculateReqBinStreamSize(tooDeep, 2, nullptr), 0u);
    EXPECT_EQ(log.lines(), (std::vector<LogLine>(2, {0, writer, "Messages nest deeper than [64]"})));
    log.clear();
    std::string body;
    const std::string key = fromHex(expand("child.2"));
    for (int i = 0; i < 10000; ++i) {
      body += key + "\xFF\xFF\xFF\xFF\x0F";
    }
    EXPECT_EQ(decode(copy, header(copy) + body), -1);
    EXPECT_EQ(log.lines().front(), (LogLine{0, reader, "Messages nest deeper than [64]"}));
  });
}

TEST(BinaryPasswords, AreProtectedRefusedOrLeftOut)
{
  TempDirectory directory;
  std::string error;
  ASSERT_TRUE(kwxml::createKeyFile(directory / "key", error));
  setenv("KWXML_SETTINGS",
         directory.write("settings", "[Password]\nkeyfile = " + directory / "key\n").c_str(), 1);
  const auto setPassword = [](YMMessageBase& m, const std::string& name, const pstring& value) {
    const FieldDef& def = field(m, name);
    m.setpstringobject(def.fieldNumber, def.slot, value,
                       static_cast<Annotation::PasswordEncryptType>(value.getEncryptionType()), m.getTagID(),
                       def.hash);
  };
  YMMessageBase m = make("Types_Annotated");
  m.wipeBitset();
  setPassword(m, "password1", pstring("plain"));
  setPassword(m, "password3", pstring("secret3"));
  setPassword(m, "password9", pstring("secret9"));
  setPassword(m, "password5", pstring("mistyped", 4));  // no text of that type
  setInt(m, "single", 5);
  LogCapture log;
  kwxml::registerPasswordAlgorithms();
  const std::string bytes = encode(m);
  EXPECT_EQ(log.lines(),
            (std::vector<LogLine>{
                {0, writer, "Password Handler Not Found while serializing pstring field [password5]"}}));
  EXPECT_NE(bytes.find("plain"), std::string::npos);
  EXPECT_EQ(bytes.find("secret"), std::string::npos);
  EXPECT_EQ(bytes.find("mistyped"), std::string::npos);
  log.clear();
  const auto copy = create(bytes);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(object<pstring>(*copy, "password3").text(), "secret3");
  EXPECT_EQ(object<pstring>(*copy, "password9").text(), "secret9");
  EXPECT_FALSE(isSet(*copy, "password5"));
  EXPECT_EQ(getInt(*copy, "single"), 5);
  // Settings and context reach the encryption; the context reaches the decryption.
  EncodingFlags flags;
  flags.targetPasswordType = Annotation::BASE64;
  const BinarySerializerParameters parameters{&flags, nullptr};
  YMMessageBase one = make("Types_Annotated");
  one.wipeBitset();
  setPassword(one, "password3", pstring("abc"));
  EXPECT_EQ(toHex(encode(one, 2, &parameters).substr(8)), expand("password3.2 04 59 57 4A 6A"));
  KwXMLContextInfo through;
  through.setPasswordEncType(Annotation::PASS_THROUGH);
  EXPECT_EQ(object<pstring>(*create(bytes, &through), "password9").text(), base64_encode("secret9"));
  // Version 1 measures the password as it is, and encrypts it all the same.
  EXPECT_EQ(encode(one, 1).size(), 8 + 4 + 1 + 3u);
  EXPECT_EQ(encode(one, 1).find("abc"), std::string::npos);
  for (int i = 0; i <= kwxml::maxPasswordAlgorithmType; ++i) {
    XMLDecoder::registerPasswordEncAlgo(static_cast<Annotation::PasswordEncryptType>(i), nullptr);
    XMLDecoder::registerPasswordDecAlgo(static_cast<Annotation::PasswordEncryptType>(i), nullptr);
  }
  unsetenv("KWXML_SETTINGS");
  // Without algorithms nothing is read, and the rest of the message is.
  log.clear();
  const auto keyless = create(bytes);
  ASSERT_NE(keyless, nullptr);
  EXPECT_FALSE(isSet(*keyless, "password3") || isSet(*keyless, "password9"));
  EXPECT_EQ(getInt(*keyless, "single"), 5);
  EXPECT_TRUE(log.has(reader, "Password Handler Not Found while serializing pstring field [password3]"));
  // Without an annotation the key stands alone, and cannot be read.
  log.clear();
  YMMessageBase bare = make("Types_Annotated");
  bare.wipeBitset();
  setPassword(bare, "plainPassword", pstring("x"));
  EXPECT_EQ(bodyHex(bare), expand("plainPassword.2"));
  EXPECT_EQ(log.lines(),
            (std::vector<LogLine>{{0, writer, "No Password annotation found on member : plainPassword"}}));
  log.clear();
  EXPECT_EQ(create(encode(bare) + '\0'), nullptr);
  EXPECT_TRUE(log.has(reader, "No Password annotation found on member : plainPassword"));
}

TEST(BinaryCodec, TheFacadesForward)
{
  YMMessageBase status = make("Demo_Status");
  setInt(status, "errorCode", 5);
  BinaryBuffer buffer;
  unsigned long length = XMLEncoder::SerializeBinary(status, buffer);
  EXPECT_EQ(length, buffer.length());
  length = XMLEncoder::SerializeBinary(status, buffer, 7);
  EXPECT_EQ(length, buffer.length());
  EXPECT_EQ(buffer.data()[0], 7);
  YMMessageBase copy = make("Demo_Status");
  KwXMLContextInfo context;
  EXPECT_EQ(XMLDecoder().UnserializeBinary(copy, buffer), 0);
  EXPECT_EQ(XMLDecoder().UnserializeBinary(copy, buffer, &context), 0);
  EXPECT_TRUE(copy == status);
  const std::unique_ptr<YMMessageBase> made(XMLDecoder(&context).UnserializeBinary(buffer));
  const std::unique_ptr<YMMessageBase> again(XMLDecoder().UnserializeBinary(buffer, &context));
  ASSERT_TRUE(made != nullptr && again != nullptr);
  EXPECT_TRUE(*made == status && *again == status);
  EXPECT_EQ(BinarySerializer::getEncodingType(FIELD_ENUM), 0);
  EXPECT_EQ(BinarySerializer::getEncodingType(FIELD_INT64), 1);
  EXPECT_EQ(BinarySerializer::getEncodingType(static_cast<FieldDataType>(43)), 7);
  EXPECT_TRUE(BinarySerializer::isCollectionType(FIELD_ULONGLONG));
  EXPECT_FALSE(BinarySerializer::isCollectionType(FIELD_LIST_ULONGLONG));
}
