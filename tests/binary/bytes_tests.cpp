// Every type of field as bytes, in both directions.
#include "binary/Bodies.h"

#include <gtest/gtest.h>

#include <functional>

using kwxml::MessageAccess;
using namespace kwxml::test;

namespace {

using Set = std::function<void(YMMessageBase&)>;

Set integer(const std::string& name, long long value)
{
  return [=](YMMessageBase& m) { setInt(m, name, value); };
}

template <class T>
Set value(const std::string& name, T contents)
{
  return [=](YMMessageBase& m) { object<T>(m, name) = contents; };
}

void setFloating(YMMessageBase& m, const std::string& name, double number)
{
  const FieldDef& def = field(m, name);
  def.type == FIELD_FLOAT
      ? m.setfloat(def.fieldNumber, def.slot, static_cast<float>(number), m.getTagID(), def.hash)
      : m.setdouble(def.fieldNumber, def.slot, number, m.getTagID(), def.hash);
}

struct Row
{
  Set set;
  const char* bytes;
  /// What comes back when it is not what was set: other bytes, or "-" for a body that cannot be read.
  const char* back = nullptr;
};

}  // namespace

TEST(BinaryBytes, EveryTypeBothWays)
{
  using namespace std::string_literals;
  using Leaf = YMMessageBase;
  const Row rows[] = {
      {[](YMMessageBase&) {}, ""},
      {integer("intValue", -1), "intValue.6 01"},
      {integer("intValue", 0x123456789), "intValue.6 92 9E AB B4 04"},
      {integer("uintValue", 300), "uintValue.0 AC 02"},
      {integer("longValue", (1LL << 40) + 5), "longValue.6 0A"},
      {integer("ulongValue", (1LL << 40) + 5), "ulongValue.0 05"},
      {integer("longlongValue", (1LL << 40) + 5), "longlongValue.1 05 00 00 00 00 01 00 00"},
      {integer("boolValue", 1), "boolValue.0 01"},
      {integer("enumValue", -3), "enumValue.0 05"},
      {integer("enumValue", 100), "enumValue.0 C8 01"},
      {integer("time32Value", 2), "time32Value.6 04"},
      {integer("time64Value", -1), "time64Value.1 FF FF FF FF FF FF FF FF"},
      {[](YMMessageBase& m) { setFloating(m, "doubleValue", 1.0); }, "doubleValue.1 00 00 00 00 00 00 F0 3F"},
      {[](YMMessageBase& m) { setFloating(m, "floatValue", -2.5); }, "floatValue.5 00 00 20 C0"},
      {[](YMMessageBase& m) { setText(m, "stringValue", "a\0b"s); }, "stringValue.2 03 61 00 62"},
      {[](YMMessageBase& m) { setText(m, "stringValue", ""); }, "stringValue.2 00"},
      {value("bstringValue", bstring("abc")), "bstringValue.2 05 59 57 4A 6A 0A"},
      {value("bstringValue", bstring("\0\xFF", 2)), "bstringValue.2 05 41 50 38 3D 0A"},
      {value("pstringValue", pstring("abc")), "pstringValue.2 03 61 62 63"},
      // Lists of numbers: marker, count, key, size of all, numbers.
      {value("intList", std::vector<int>{1, -1, 64}), "M 03 intList.2 04 02 01 80 01"},
      {value("intList", std::vector<int>{}), "M 00 intList.2 00"},
      {value("uintList", std::vector<unsigned>{1, 300}), "M 02 uintList.2 03 01 AC 02"},
      {value("longList", std::vector<long>{(1L << 40) + 5, -1}), "M 02 longList.2 02 0A 01",
       "M 02 longList.2 02 0A 01"},
      {value("ulongList", std::vector<unsigned long>{(1UL << 40) + 5}), "M 01 ulongList.2 01 05"},
      {value("longlongList", std::vector<long long>{-1}), "M 01 longlongList.2 08 FF FF FF FF FF FF FF FF"},
      {value("boolList", std::vector<unsigned>{1, 0}), "M 02 boolList.2 02 01 00"},
      {value("enumList", std::vector<unsigned>{100}), "M 01 enumList.2 01 64"},
      {value("floatList", std::vector<float>{-2.5F}), "M 01 floatList.2 04 00 00 20 C0"},
      {value("doubleList", std::vector<double>{1.0}), "M 01 doubleList.2 08 00 00 00 00 00 00 F0 3F"},
      // Lists of others: marker, count, and for each its key, length and bytes. Empty, nothing names the
      // field.
      {value("stringList", std::vector<std::string>{"a", ""}), "M 02 stringList.2 01 61 stringList.2 00"},
      {value("stringList", std::vector<std::string>{"a\0b"s}), "M 01 stringList.2 01 61"},
      {value("stringList", std::vector<std::string>{}), "M 00", ""},
      {value("bstringList", std::vector<bstring>{"abc", ""}),
       "M 02 bstringList.2 05 59 57 4A 6A 0A bstringList.2 00"},
      {value("bstringList", std::vector<bstring>{}), "M 00", ""},
      {value("objectList", std::vector<Leaf>{leaf(1), make("Types_Leaf")}),
       "M 02 objectList.2 05 number.6 02 objectList.2 00"},
      {value("objectList", std::vector<Leaf>{}), "M 00", ""},
      {[](YMMessageBase& m) { fill(m, field(m, "objectValue"), 1, 0); }, "objectValue.2 00"},
      // Maps: marker, count, key, size of what follows, codes of key and value, entries.
      {value("longlongLonglongMap", std::map<long long, long long>{{-1, 2}}),
       "M 01 longlongLonglongMap.2 12 01 01 FF FF FF FF FF FF FF FF 02 00 00 00 00 00 00 00"},
      {value("longlongLonglongMap", std::map<long long, long long>{}), "M 00 longlongLonglongMap.2 02 01 01"},
      {value("longlongStringMap", std::map<long long, std::string>{{1, "ab"}}),
       "M 01 longlongStringMap.2 0D 01 02 01 00 00 00 00 00 00 00 02 61 62"},
      {value("longlongObjectMap", std::map<long long, Leaf>{{1, leaf(1)}}),
       "M 01 longlongObjectMap.2 10 01 02 01 00 00 00 00 00 00 00 05 number.6 02"},
      {value("stringLonglongMap", std::map<std::string, long long>{{"k", 1}}),
       "M 01 stringLonglongMap.2 0C 02 01 01 6B 01 00 00 00 00 00 00 00"},
      {value("stringStringMap", std::map<std::string, std::string>{{"a", "1"}, {"b\0c"s, "2\0"s}}),
       "M 02 stringStringMap.2 0A 02 02 01 61 01 31 01 62 01 32"},
      {value("stringStringMap", std::map<std::string, std::string>{}), "M 00 stringStringMap.2 02 02 02"},
      {value("stringObjectMap", std::map<std::string, Leaf>{{"k", leaf(1)}}),
       "M 01 stringObjectMap.2 0A 02 02 01 6B 05 number.6 02"},
      {[](YMMessageBase& m) {
         YMMessageBase key = make("Types_KeyLeaf");
         setText(key, "key", "k");
         object<std::map<YMMessageBase, YMMessageBase>>(m, "objectObjectMap").emplace(key, leaf(1));
       },
       "M 01 objectObjectMap.2 0F 02 02 06 key.2 01 6B 05 number.6 02"},
      // Without a value: nothing comes back.
      {[](YMMessageBase& m) { fill(m, field(m, "wstringValue"), 1); }, "wstringValue.2", ""},
      {value("wstringList", std::vector<std::wstring>{L"w"}), "M", ""},
      {[](YMMessageBase& m) { MessageAccess::mark(m, field(m, "utf16Value")); }, "utf16Value.7", ""},
      // The marker without a key: a reader takes the first bytes of the value for the count, the rest for
      // keys.
      {integer("ulonglongValue", 5), "M 05 00 00 00 00 00 00 00", ""},
      // Key, count, key again, size, values: the count passes for the size, the pending count (0) for the
      // count.
      {value("ulonglongList", std::vector<unsigned long long>{}), "ulonglongList.2 00 ulonglongList.2 00"},
      // Field 0 lends its bit to the records without a type.
      {[](YMMessageBase& m) { setInt(m, "intValue", 0), setInt(m, "time64Value", 0); },
       "intValue.6 00 time64Value.1 00 00 00 00 00 00 00 00 noneValue.7"},
  };
  LogCapture log;
  for (const Row& row : rows) {
    YMMessageBase m = allTypes();
    m.wipeBitset();
    row.set(m);
    // Field 0 set brings the untyped record with it; the rows above that set it alone mean the value.
    const std::string wanted = expand(row.bytes);
    std::string got = bodyHex(m);
    if (isSet(m, "intValue") && wanted.find(keyHex("noneValue.7")) == std::string::npos) {
      EXPECT_TRUE(got.ends_with(" " + keyHex("noneValue.7")));
      got.resize(got.size() - 12);
    }
    EXPECT_EQ(got, wanted) << row.bytes;
    EXPECT_EQ(BinarySerializer::calculateReqBinStreamSize(m, 2, nullptr), encode(m).size() - 8);
    // The stream that may end too early makes the same bytes.
    std::string bytes(encode(m).size() - 8, '\0');
    BinaryStream out(bytes.data(), bytes.size());
    BinarySerializer::serializeBinaryRecursive(m, out, 2, nullptr);
    EXPECT_EQ(toHex(bytes), bodyHex(m)) << row.bytes;
    // Back.
    YMMessageBase copy = allTypes();
    EXPECT_EQ(decode(copy, encode(m)), 0) << row.bytes;
    YMMessageBase expected = allTypes();
    expected.wipeBitset();
    if (row.back == nullptr) {
      EXPECT_EQ(bodyHex(copy), bodyHex(m)) << row.bytes;
    } else {
      EXPECT_EQ(bodyHex(copy), expand(row.back)) << row.bytes;
    }
  }
  EXPECT_EQ(log.lines(), std::vector<LogLine>());
}

TEST(BinaryBytes, OneMessageWholeAndLiteral)
{
  YMMessageBase status = make("Demo_Status");
  setInt(status, "errorCode", -1);
  setText(status, "errorMessage", "x");
  EXPECT_EQ(toHex(encode(status)),
            "02 00 01 00 F0 03 00 01 AE 80 E5 04 01 " + keyHex("errorMessage.2") + " 01 78");
  YMMessageBase empty = make("Types_Empty");
  EXPECT_EQ(toHex(encode(empty)), "02 00 01 00 0D 60 00 3C");
  YMMessageBase copy = make("Demo_Status");
  EXPECT_EQ(decode(copy, encode(status)), 0);
  EXPECT_TRUE(copy == status);
}
