// Every type of field as bytes, in both directions, and bodies as others may have written them.
#include "binary/Bodies.h"
#include "support/DataFile.h"
#include "support/Documents.h"

#include <gtest/gtest.h>

using namespace kwxml;
using namespace kwxml::test;

namespace {

const std::string rows = "binary/bodies.cases";

/// A collection without items.
void makeEmpty(YMMessageBase& m, const FieldDef& def)
{
  visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (ListValue<Tag> || MapValue<Tag>) {
      m.setObject(def.fieldNumber, def.slot, new typename Tag::Value, true, m.getTagID(), def.hash, true);
    }
  });
}

/// The message that the first cell of a row describes.
YMMessageBase described(const std::string& text)
{
  YMMessageBase m = bare("Types_AllTypes");
  const std::string word = text.substr(0, text.find(' '));
  if (word == "fill") {
    fill(m, field(m, text.substr(5)), 1);
  } else if (word == "empty") {
    makeEmpty(m, field(m, text.substr(6)));
  } else if (word == "mark") {
    MessageAccess::mark(m, field(m, text.substr(5)));
  } else {
    const std::string xml = text.starts_with('<') ? ">" + text + "</Types_AllTypes>" : " " + text + "/>";
    return fromXml("<Types_AllTypes" + xml);
  }
  return m;
}

}  // namespace

TEST(BinaryBytes, EveryTypeBothWays)
{
  expectRows(rows, "fields", [](const Lines& cells) {
    YMMessageBase m = described(cells[0]);
    const std::string body = bodyHex(m);
    const std::string whole = encode(m);
    EXPECT_EQ(BinarySerializer::calculateReqBinStreamSize(m, 2, nullptr), whole.size() - 8);
    // The stream that may end too early makes the same bytes.
    std::string bytes(whole.size() - 8, '\0');
    BinaryStream out(bytes.data(), bytes.size());
    BinarySerializer::serializeBinaryRecursive(m, out, 2, nullptr);
    EXPECT_EQ(toHex(bytes), body);
    YMMessageBase copy = make("Types_AllTypes");
    EXPECT_EQ(decode(copy, whole), 0);
    const std::string back = bodyHex(copy);
    return folded(body) + (back == body ? "" : "\nback: " + (back.empty() ? "nothing" : folded(back)));
  });
}

TEST(BinaryBytes, OddBodiesAreReadAsTheFormHasThem)
{
  expectRows(rows, "odd bodies", [](const Lines& cells) {
    YMMessageBase m = make("Types_AllTypes");
    const int result = decodeBody(m, cells[0]);
    const std::string body = folded(bodyHex(m));
    return body + (result == 0 ? "" : result == -1 ? "\nfails" : "\n" + std::to_string(result));
  });
}

TEST(BinaryBytes, BodiesThatFailSayWhy)
{
  expectRows(rows, "bodies that fail", [](const Lines& cells) {
    YMMessageBase m = make("Types_AllTypes");
    EXPECT_EQ(decodeBody(m, cells[0]), -1);
    return "";
  });
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
  EXPECT_TRUE(*create(encode(status)) == status);
}
