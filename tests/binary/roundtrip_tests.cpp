// What is written is read back; damaged bytes fail or give a message that can be written.
#include "binary/Bodies.h"
#include "support/Documents.h"

#include <random>

using namespace kwxml::test;

namespace {

/// The types whose values do not come back: by the form's own rules.
bool isIrregular(FieldDataType type)
{
  return type == FIELD_ULONGLONG || type == FIELD_LIST_ULONGLONG || type == FIELD_WSTRING ||
         type == FIELD_LIST_WSTRING || kwxml::fieldTypeInfo(type).storage == kwxml::Storage::None;
}

/// Reads bytes that may be anything. What comes of it is a logged failure, or a message that can be written.
void readAnything(YMMessageBase& m, const std::string& bytes, LogCapture& log)
{
  log.clear();
  m.reset();
  const int result = decode(m, bytes);
  EXPECT_TRUE(result == 0 || (result == -1 && !log.lines().empty())) << "a failure says why";
  BinaryBuffer buffer;
  EXPECT_GE(BinarySerializer::serialize(m, buffer), 8u);
}

}  // namespace

/// Messages with all fields, and with a random choice of those whose values fit the 32 bits of narrow types.
TEST(BinaryRoundTrip, MessagesComeBackAsTheirBytesAndAgreeWithXml)
{
  std::mt19937 random(20261121);
  LogCapture log;
  for (const char* tagName :
       {"Types_AllTypes", "Types_Node", "Types_Wide", "Types_Slots24", "Types_Slots25", "Types_Empty",
        "Shop_Order", "Shop_Ledger", "Inventory_Stock", "Demo_Item", "Types_ExplicitSlots"}) {
    for (int i = 1; i <= 60; ++i) {
      const bool all = i <= 3;
      YMMessageBase m = bare(tagName);
      for (const FieldDef& def : *m.getClass()) {
        const bool narrows = def.type == FIELD_LIST_LONG || def.type == FIELD_LIST_ULONG;
        // Neither form keeps this: a string with characters that end it here, or an item that is empty there.
        const bool cuts = def.type == FIELD_PSTRING && def.annotations == nullptr;
        if (!isIrregular(def.type) && !cuts && (all || (!narrows && random() % 3 == 0))) {
          fill(m, def, all ? i : 1 + static_cast<int>(random() % 100));
        }
      }
      YMMessageBase copy = make(tagName);
      const std::string bytes = encode(m);
      ASSERT_EQ(decode(copy, bytes), 0) << tagName;
      EXPECT_EQ(toHex(encode(copy)), toHex(bytes)) << tagName;
      EXPECT_TRUE(all || (copy == m && toXml(copy) == toXml(m))) << tagName;
    }
  }
  EXPECT_EQ(toText(log), "");
}

TEST(BinaryDamage, EveryTruncationFlipAndByte)
{
  LogCapture log;
  YMMessageBase m = make("Types_AllTypes");
  std::vector<std::string> messages;
  for (const FieldDef& def : *m.getClass()) {
    YMMessageBase one = bare("Types_AllTypes");
    if (fill(one, def, 1, 1)) {
      messages.push_back(encode(one));
    }
  }
  YMMessageBase all = make("Types_AllTypes");
  fillAll(all, 2, 1);
  messages.push_back(encode(all));
  for (const std::string& whole : messages) {
    for (std::size_t i = 0; i < whole.size(); ++i) {
      readAnything(m, whole.substr(0, i), log);
      std::string bytes = whole;
      for (int bit = 0; bit < 8; ++bit) {
        bytes[i] = static_cast<char>(whole[i] ^ 1 << bit);
        readAnything(m, bytes, log);
      }
      for (const int byte : {0x00, 0x7F, 0x80, 0xFF}) {
        bytes[i] = static_cast<char>(byte);
        readAnything(m, bytes, log);
      }
    }
  }
}
