// What the serializer says when something is wrong, and what it makes of odd bytes.
#include "binary/Bodies.h"
#include "support/AllocationCounter.h"
#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/PasswordKey.h"
#include "support/SmallStack.h"

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/model/Limits.h>
#include <kwxml/text/Base64.h>
#include <kwxml/xml/XMLSerializer.h>

#include <gtest/gtest.h>

#include <optional>

using namespace kwxml::test;

TEST(BinaryReader, HeadersThatDoNotFit)
{
  Transcript log("binary/log.cases");
  YMMessageBase m = make("Types_AllTypes");
  setInt(m, "intValue", 7);
  BinaryBuffer none;
  EXPECT_EQ(BinarySerializer::unserialize(m, none), -1);
  EXPECT_EQ(decode(m, header(m).substr(0, 7)), -1);
  EXPECT_EQ(decode(m, header(make("Demo_Status"))), -1);
  EXPECT_EQ(getInt(m, "intValue"), 7) << "nothing has changed";
  log.note("into a new message");
  char memory[16];
  BinaryBuffer lent(memory, sizeof memory);  // its length is 0
  EXPECT_EQ(BinarySerializer::unserialize(lent, nullptr, false), nullptr);
  EXPECT_EQ(create(header(m).substr(0, 7)), nullptr);
  EXPECT_EQ(create(fromHex("02 00 01 00 99 99 99 3C")), nullptr);
  EXPECT_EQ(create(fromHex("02 00 01 00 01 00 00 C9")), nullptr);
}

TEST(BinaryReader, VersionWords)
{
  // Version words: with the flag the low 16 bits, as a signed remainder; without it the whole word.
  expectRows("binary/bodies.cases", "version words", [](const Lines& cells) {
    std::string bytes = fromHex(cells[0]) + "1234";
    BinaryStream in(bytes.data(), bytes.size());
    int version = 0;
    int tag = 0;
    int flag = -1;
    EXPECT_TRUE(BinarySerializer::getVersionAndTagIDFromBuffer(in, version, tag, flag));
    EXPECT_EQ(tag, 0x34333231);
    EXPECT_EQ(in.position(), 8u);
    return "version " + std::to_string(version) + ", flag " + std::to_string(flag);
  });
}

TEST(BinaryReader, NothingAndClassesWithoutValues)
{
  YMMessageBase m = make("Types_AllTypes");
  BinaryStream none(nullptr, 0);
  EXPECT_TRUE(BinarySerializer::unserializeBinaryRecur(m, none, 0, 2, nullptr, false));
  EXPECT_EQ(bodyHex(m), "");
  BinaryStream overrun(nullptr, 0);
  int ignored = 0;
  overrun.ReadInt32(ignored);
  EXPECT_FALSE(BinarySerializer::unserializeBinaryRecur(m, overrun, 0, 2, nullptr, false));
  YMMessageBase nobody;
  EXPECT_FALSE(BinarySerializer::unserializeBinaryRecur(nobody, none, 0, 2, nullptr, false));
  // An enumeration is a class as well, whose records have no slots.
  YMMessageBase color = make("Demo_Color");
  const FieldDef& first = color.getClass()->fields[0];
  EXPECT_EQ(decodeBody(color, std::string(first.getName()) + ".7"), 0);
}

TEST(BinaryReader, MergingKeepsWhatTheBytesDoNotHave)
{
  YMMessageBase m = make("Types_AllTypes");
  setInt(m, "uintValue", 1);
  setInt(m, "longValue", 2);
  fill(m, field(m, "objectValue"), 1);
  EXPECT_EQ(decodeBody(m, "uintValue.0 05 objectValue.2 05 number.6 02", true), 0);
  EXPECT_EQ(bodyHex(m), expand("uintValue.0 05 longValue.6 04 objectValue.2 05 number.6 02"))
      << "a nested message begins anew, with the same object";
  EXPECT_EQ(decodeBody(m, "uintValue.0 06", false), 0);
  EXPECT_EQ(bodyHex(m), expand("uintValue.0 06"));
}

TEST(BinaryReader, AUsedMessageReadsAsANewOne)
{
  // What a former message held must show nowhere, whatever ends the reading, and nowhere below what is unset.
  LogCapture log;
  const auto expectSame = [](const YMMessageBase& former, const std::string& bytes) {
    YMMessageBase used = former;
    YMMessageBase fresh = make(former.getTagName().c_str());
    ASSERT_EQ(decode(used, bytes), decode(fresh, bytes)) << toHex(bytes);
    ASSERT_TRUE(used == fresh) << toHex(bytes);
    for (YMMessageBase* message : {&used, &fresh}) {
      message->setEveryPrimitiveBitset(true);
    }
    ASSERT_TRUE(used == fresh) << toHex(bytes);
  };
  for (const char* tag : {"Types_AllTypes", "Shop_Order", "Types_Node", "Demo_Item"}) {
    YMMessageBase former = make(tag);
    YMMessageBase next = make(tag);
    for (const FieldDef& def : *former.getClass()) {
      fill(former, def, 1);
      fill(next, def, 2, 1);
    }
    const std::string bytes = encode(next);
    for (std::size_t i = 8; i < bytes.size(); i += 1 + bytes.size() / 500) {
      std::string altered = bytes;
      altered[i] = static_cast<char>(altered[i] ^ 0x41);
      expectSame(former, altered);
      expectSame(former, bytes.substr(0, i));
    }
    expectSame(former, bytes + bytes.substr(8));  // every field twice: the second nested message begins anew
    expectSame(next, encode(former));
    expectSame(former, header(former));
  }
}

TEST(BinaryReader, OldItemsThatCannotBeReusedAreReplaced)
{
  // Of an old-way class, of another class, in the caller's memory; by merging, and by a list that comes
  // twice.
  YMMessageBase order = make("Shop_Order");
  fill(order, field(order, "items"), 1, 1);
  const std::string bytes = encode(order);
  YMMessageBase merged = order;
  EXPECT_EQ(decode(merged, bytes, true), 0);
  EXPECT_TRUE(merged == order);
  YMMessageBase twice = make("Shop_Order");
  EXPECT_EQ(decode(twice, bytes + bytes.substr(8)), 0);
  EXPECT_TRUE(twice == order);
  YMMessageBase node = make("Types_Node");
  fill(node, field(node, "children"), 1, 1);
  long long memory[64];
  YMMessageBase other = make("Types_Node");
  auto& children = object<std::vector<YMMessageBase>>(other, "children");
  children.push_back(make("Types_Leaf"));
  children.emplace_back(node.getSubsysID(), node.getClassIndex(), memory, static_cast<int>(sizeof memory));
  YMMessageBase alike = other;
  EXPECT_EQ(decode(other, encode(node)), 0);
  EXPECT_TRUE(other == node);
  EXPECT_EQ(XMLSerializer().unserialize(alike, toXml(node)), 0);
  EXPECT_TRUE(alike == node);
  YMMessageBase holder = make("Types_AllTypes");
  fill(holder, field(holder, "objectValue"), 1, 1);
  YMMessageBase stranger = make("Types_AllTypes");
  const FieldDef& nested = field(stranger, "objectValue");
  stranger.setObject(nested.fieldNumber, nested.slot, new YMMessageBase(make("Types_KeyLeaf")), true,
                     stranger.getTagID(), nested.hash, true);
  YMMessageBase another = stranger;
  EXPECT_EQ(decode(stranger, encode(holder)), 0);
  EXPECT_EQ(XMLSerializer().unserialize(another, toXml(holder)), 0);
  EXPECT_TRUE(stranger == holder && another == holder);
}

TEST(BinaryReader, SizesOfNestedMessagesStayInTheirOwner)
{
  YMMessageBase m = make("Types_AllTypes");
  EXPECT_EQ(decodeBody(m, "M 02 objectList.2 05 number.6 02 objectList.2 00 objectValue.2 06 number.6 02 00"),
            0);
  EXPECT_EQ(m.GetCachedSize(), 6u);
  const std::string bytes = encode(m);
  EXPECT_EQ(m.GetCachedSize(), bytes.size() - 8);
}

TEST(BinaryWriter, CallersMemoryAndVersionOne)
{
  Transcript log("binary/log.cases");
  YMMessageBase m = make("Types_AllTypes");
  fill(m, field(m, "bstringValue"), 1);
  fill(m, field(m, "stringValue"), 1);
  const std::string whole = encode(m);
  std::string memory(whole.size() + 4, '\x55');
  BinaryBuffer exact(memory.data(), whole.size());
  EXPECT_EQ(BinarySerializer::serialize(m, exact), 0u) << "the length that the caller's buffer already had";
  EXPECT_EQ(memory, whole + "\x55\x55\x55\x55");
  memory.assign(whole.size(), '\x55');
  BinaryBuffer tooSmall(memory.data(), whole.size() - 1);
  log.note("one byte short");
  EXPECT_EQ(BinarySerializer::serialize(m, tooSmall), 0u);
  EXPECT_EQ(memory, std::string(whole.size(), '\x55'));
  // Version 1 measures the byte string as it is and writes its base64: the end is missing.
  YMMessageBase small = make("Types_AllTypes");
  object<bstring>(small, "bstringValue") = bstring("abc");
  const std::string one = encode(small, 1);
  EXPECT_EQ(one.size(), 8 + 4 + 1 + 3u);
  EXPECT_EQ(one.substr(0, 8), header(small, 1));
  EXPECT_EQ(toHex(one.substr(8, 5)), expand("bstringValue.2 05")) << "and the five characters have no room";
  EXPECT_EQ(toHex(one.substr(13)), "00 00 00") << "nor does anything else come out";
  YMMessageBase plain = make("Types_AllTypes");
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

/// Every field but the passwords: these are never small, and go through strings.
YMMessageBase withoutPasswords()
{
  YMMessageBase m = bare("Types_AllTypes");
  for (const FieldDef& def : *m.getClass()) {
    if (def.type != FIELD_PSTRING) {
      fill(m, def, 1);
    }
  }
  return m;
}

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
  YMMessageBase m = withoutPasswords();
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

TEST(BinaryWriter, AllocatesItsBufferAlone)
{
  YMMessageBase m = withoutPasswords();
  BinaryBuffer buffer;
  (void)BinarySerializer::serialize(m, buffer);
  const AllocationCounter allocations;
  (void)BinarySerializer::serialize(m, buffer);
  EXPECT_EQ(allocations.count(), 0u) << "the buffer's memory comes from malloc";
}

TEST(BinaryWriter, Traces)
{
  Transcript log("binary/log.cases", 25);
  YMMessageBase small = make("Demo_Status");
  setInt(small, "errorCode", 5);
  setText(small, "errorMessage", "x");
  const std::string bytes = encode(small);
  log.note("read");
  EXPECT_EQ(decode(small, bytes), 0);
  YMMessageBase list = make("Types_AllTypes");
  EXPECT_EQ(decodeBody(list, "M 02 intList.2 02 02 04"), 0);
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
    const std::string line = "0 BinarySerializer::serializeBinaryRecursive: Messages nest deeper than [64]\n";
    EXPECT_EQ(log.taken(), line + line);
    std::string body;
    const std::string key = fromHex(expand("child.2"));
    for (int i = 0; i < 10000; ++i) {
      body += key + "\xFF\xFF\xFF\xFF\x0F";
    }
    EXPECT_EQ(decode(copy, header(copy) + body), -1);
    EXPECT_TRUE(toText(log).starts_with(
        "0 BinarySerializer::unserializeBinaryRecur: Messages nest deeper than [64]\n"));
  });
}

TEST(BinaryPasswords, AreProtectedRefusedOrLeftOut)
{
  std::optional<PasswordKey> key(std::in_place);
  YMMessageBase m = bare("Types_Annotated");
  setPassword(m, "password1", pstring("plain"));
  setPassword(m, "password3", pstring("secret3"));
  setPassword(m, "password9", pstring("secret9"));
  setPassword(m, "password5", pstring("mistyped", 4));  // no text of that type
  setInt(m, "single", 5);
  Transcript log("binary/log.cases");
  const std::string bytes = encode(m);
  EXPECT_NE(bytes.find("plain"), std::string::npos);
  EXPECT_EQ(bytes.find("secret"), std::string::npos);
  EXPECT_EQ(bytes.find("mistyped"), std::string::npos);
  log.note("read");
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
  YMMessageBase one = bare("Types_Annotated");
  setPassword(one, "password3", pstring("abc"));
  EXPECT_EQ(toHex(encode(one, 2, &parameters).substr(8)), expand("password3.2 04 59 57 4A 6A"));
  KwXMLContextInfo through;
  through.setPasswordEncType(Annotation::PASS_THROUGH);
  EXPECT_EQ(object<pstring>(*create(bytes, &through), "password9").text(), base64_encode("secret9"));
  // Version 1 measures the password as it is, and encrypts it all the same.
  EXPECT_EQ(encode(one, 1).size(), 8 + 4 + 1 + 3u);
  EXPECT_EQ(encode(one, 1).find("abc"), std::string::npos);
  key.reset();
  // Without algorithms nothing is read, and the rest of the message is.
  log.note("read without algorithms");
  const auto keyless = create(bytes);
  ASSERT_NE(keyless, nullptr);
  EXPECT_FALSE(isSet(*keyless, "password3") || isSet(*keyless, "password9"));
  EXPECT_EQ(getInt(*keyless, "single"), 5);
  // Without an annotation the key stands alone, and cannot be read.
  log.note("without an annotation");
  YMMessageBase keyAlone = bare("Types_Annotated");
  setPassword(keyAlone, "plainPassword", pstring("x"));
  EXPECT_EQ(bodyHex(keyAlone), expand("plainPassword.2"));
  EXPECT_EQ(create(encode(keyAlone) + '\0'), nullptr);
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
