// The explanation of bytes, beside what the library's reader makes of the same bytes.
#include "binary/Bodies.h"
#include "support/LogCapture.h"

#include <Inspect.h>

#include <kwxml/model/Limits.h>

#include <gtest/gtest.h>

#include <algorithm>

using namespace kwxml;
using namespace kwxml::test;
using namespace kwxml::tool;
using namespace std::string_literals;

namespace {

struct Explained
{
  bool whole;
  std::vector<std::string> texts;  ///< of the lines, blanks for their depth before them
  std::string shown;               ///< as the command writes them
};

/// Checks what holds for every input.
Explained explain(const std::string& input, InspectForm form = InspectForm::Binary)
{
  const auto exact = std::make_unique<char[]>(input.size());  // the sanitizer sees what is read behind it
  std::copy(input.begin(), input.end(), exact.get());
  const std::string_view bytes(exact.get(), input.size());
  Explained result{};
  std::size_t at = 0;
  std::size_t remarks = 0;
  result.whole = inspect(bytes, form, [&](const InspectLine& line) {
    EXPECT_EQ(line.offset, at);
    EXPECT_TRUE(line.bytes.empty() || line.bytes.data() == bytes.data() + at) << "every byte once, in order";
    at += line.bytes.size();
    remarks += line.bytes.empty() ? 1 : 0;
    EXPECT_TRUE(std::none_of(line.text.begin(), line.text.end(),
                             [](unsigned char c) { return c < 0x20 || c == 0x7F; }));
    EXPECT_LT(line.text.size(), 500u);
    result.texts.push_back(std::string(2 * static_cast<std::size_t>(line.depth), ' ') + line.text);
    result.shown += toText(line);
  });
  EXPECT_EQ(at, bytes.size());
  EXPECT_LE(remarks, bytes.size() / 2 + 1) << "a count makes no lines";
  EXPECT_EQ(std::count(result.shown.begin(), result.shown.end(), '\n'),
            static_cast<long>(result.texts.size()));
  if (!result.whole) {
    EXPECT_NE(result.texts.back().find("damaged at 0x"), std::string::npos);
  }
  return result;
}

bool isRead(const std::string& bytes)
{
  BinaryBuffer buffer;
  buffer.deepCopyBuffer(bytes.data(), bytes.size(), false);
  return std::unique_ptr<YMMessageBase>(BinarySerializer::unserialize(buffer, nullptr, false)) != nullptr;
}

/// The explanation says damaged exactly when the reader does.
void agree(const std::string& bytes)
{
  LogCapture log;  // and nothing of it is shown
  ASSERT_EQ(explain(bytes).whole, isRead(bytes)) << toHex(bytes);
}

std::string filled(const std::string& tag, bool irregular)
{
  YMMessageBase m = make(tag);
  for (const FieldDef& def : *m.getClass()) {
    if (irregular ||
        (def.type != FIELD_ULONGLONG && def.type != FIELD_LIST_ULONGLONG && def.type != FIELD_LIST_WSTRING)) {
      fill(m, def, 1, 1);
    }
  }
  return encode(m);
}

std::vector<std::string> explainBody(const std::string& body, const std::string& tag = "Types_AllTypes")
{
  LogCapture log;
  const std::string bytes = header(make(tag)) + fromHex(expand(body));
  const Explained result = explain(bytes);
  EXPECT_EQ(result.whole, isRead(bytes)) << body;
  return {result.texts.begin() + 2, result.texts.end()};
}

using Lines = std::vector<std::string>;

}  // namespace

TEST(Inspect, AgreesWithTheReaderOnTruncatedAndAlteredBytes)
{
  for (const bool irregular : {false, true}) {
    const std::string bytes = filled("Types_AllTypes", irregular);
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
      agree(bytes.substr(0, size));
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      for (const char replacement : {'\x00', '\x7F', '\x80', '\xFF'}) {
        std::string altered = bytes;
        altered[i] = replacement;
        agree(altered);
      }
      explain("1\0\0\0"s + bytes.substr(i), InspectForm::Batch);
      explain(bytes.substr(i), InspectForm::Records);
    }
  }
  EXPECT_TRUE(explain(filled("Types_AllTypes", false)).whole);
  for (const char* tag : {"Types_Annotated", "Shop_Order", "Shop_Ledger", "Demo_Item"}) {
    agree(filled(tag, true));
  }
}

TEST(Inspect, ShowsTheValueOfEveryType)
{
  const struct
  {
    const char* body;
    Lines lines;  // without that of the key, which the first row shows
  } rows[] = {
      {"intValue.6 03", {"-2"}},
      {"uintValue.0 FF FF FF FF 7F", {"4294967295"}},
      {"longlongValue.1 FF FF FF FF FF FF FF FF", {"-1"}},
      {"boolValue.0 01", {"true"}},
      {"boolValue.0 05", {"5"}},
      {"enumValue.0 05", {"-3 BELOW"}},
      {"enumValue.0 02", {"1, no enumerator"}},
      {"doubleValue.1 9A 99 99 99 99 99 B9 3F", {"0.1"}},
      {"floatValue.5 00 00 80 7F", {"inf"}},
      {"stringValue.2 0A 61 22 5C 0A 00 C3 A9 C2 85 FF", {"length 10", R"(  "a\"\\\n\x00é\xC2\x85\xFF")"}},
      {"stringValue.2 00", {"length 0"}},
      {"bstringValue.2 05 59 57 4A 6A 0A", {"length 5", "  5 bytes, base64 of 3 bytes"}},
      {"bstringValue.2 03 2A 00 61",
       {"length 3", "  3 bytes, read up to the zero byte behind 1, no base64: kept as it is"}},
      {"pstringValue.2 02 68 69", {"length 2", "  password of 2 bytes, type 1"}},
      {"wstringValue.2", {"no value travels"}},
  };
  for (const auto& row : rows) {
    Lines lines = explainBody(row.body);
    ASSERT_FALSE(lines.empty()) << row.body;
    lines.erase(lines.begin());
    Lines expected;
    for (const std::string& line : row.lines) {
      expected.push_back("  " + line);
    }
    EXPECT_EQ(lines, expected) << row.body;
  }
  EXPECT_EQ(
      explainBody("intValue.6 03").front(), "intValue int (hash 0x" + [] {
        char text[8];
        std::snprintf(text, sizeof text, "%06X", nameHash("intValue", 8));
        return std::string(text);
      }() + ", zigzag)");
}

TEST(Inspect, GoesTheWayOfTheReader)
{
  const auto has = [](const Lines& lines, const std::string& text) {
    return std::any_of(lines.begin(), lines.end(),
                       [&](const std::string& line) { return line.find(text) != std::string::npos; });
  };
  const struct
  {
    const char* body;
    const char* line;
  } rows[] = {
      // The count is not used up; below: it is the body's own.
      {"M 02 intList.2 02 02 04 uintList.2 02 01 02", "  [1] 2"},
      {"M 02 stringList.2 01 61 01 02 03 04 01 62", "next element"},
      {"longValue.7 02", "no encoding), read as zigzag"},
      {"longValue.6 02 01 02 03", "too few bytes for a key: not read"},
      {"longValue.6 02 0A 00 00 00", "unknown field (hash 0x000001, length-delimited)"},
      {"08 00 00 00 AC 02", "  skipped: 300"},
      {"0A 00 00 00 02 61 62", "    skipped: 2 bytes"},
      {"0B 00 00 00", "code 3, which is none"},
      {"objectValue.2 7F number.6 02", "Types_Leaf, size 127, cut to that of the message around"},
      {"objectValue.2 02 longValue.6 02", "ends 2 bytes before its size"},
      {"objectValue.2 05 text.2 02 61 62 longValue.6 02", "ends 2 bytes behind its size"},
      {"objectValue.2 05 number.6 02 objectValue.2 05 number.6 04", "    2"},
      {"M 01 longlongStringMap.2 00 01 02 07 00 00 00 00 00 00 00 01 61", "  [0] key 7"},
      {"M 01 stringStringMap.2 00 01 02", "keys or values are not coded as those of the map"},
      {"M FF FF FF FF 0F intList.2 00 02", "the bytes that are left cannot hold 4294967295 elements"},
      {"M FF FF FF FF 0F stringStringMap.2 00 02 02 00 00", "the bytes end before an entry"},
      {"M FF FF FF FF 0F stringList.2 00", "the bytes end within the key before an element"},
      {"stringValue.2 09 61", "a string of 9 bytes where 1 is left"},
      {"longlongValue.1 01 02 03", "the bytes end within a number"},
  };
  for (const auto& row : rows) {
    EXPECT_TRUE(has(explainBody(row.body), row.line)) << row.body << "\n"
                                                      << testing::PrintToString(explainBody(row.body));
  }
  EXPECT_TRUE(has(explainBody("M 02 items.2 04 tags.2 00 00 00 00 00", "Shop_Order"), "      0 elements"));
  EXPECT_TRUE(has(explainBody("plainPassword.2 02 68 69", "Types_Annotated"), "has no annotation"));

  // As deep as messages may nest, and one deeper.
  for (const int levels : {maxMessageNesting, maxMessageNesting + 1}) {
    std::string body;
    for (int i = 1; i < levels; ++i) {
      body += "child.2 FF FF FF 7F ";
    }
    EXPECT_EQ(has(explainBody(body, "Types_Node"), "nest deeper than 64"), levels > maxMessageNesting);
  }
}

TEST(Inspect, ALittleInputMakesALittleWork)
{
  // More messages than the reader builds of so many bytes.
  LogCapture log;
  const YMMessageBase m = allTypes();
  std::string bytes = header(m) + fromHex(expand("M FF FF FF FF 0F objectList.2"));
  for (int i = 0; i < 100000; ++i) {
    bytes += i == 0 ? "\0"s : "\0\0\0\0\0"s;
  }
  agree(bytes);
}

TEST(Inspect, NoPasswordIsShown)
{
  LogCapture log;
  const YMMessageBase m = allTypes();
  const std::string secret = "hush";
  const std::string body = fromHex(expand("pstringValue.2"));
  for (const std::string& bytes : {header(m) + body + "\4" + secret, header(m) + body + "\7" + secret,
                                   header(m) + fromHex(expand("stringValue.2 7F")) + body + "\4" + secret}) {
    const std::string shown = explain(bytes).shown;
    EXPECT_EQ(shown.find(secret), std::string::npos) << shown;
    EXPECT_EQ(shown.find(toHex(secret)), std::string::npos) << shown;
  }
}

TEST(Inspect, TellsTheFormsApart)
{
  const std::string message = header(make("Demo_Status"));
  constexpr std::optional<InspectForm> none;
  const struct
  {
    std::string bytes;
    std::optional<InspectForm> form;
  } rows[] = {
      {message, InspectForm::Binary},
      {"\0\0\0\x08"s + message, InspectForm::Records},
      {"\0\0\0\x09"s + message, none},  // does not fit
      {"\0\0\0\x08"s + message + "x", InspectForm::Records},
      {"\0\0\0\x08"s + "\2\0\0\0" + message, none},
      {"1\0\0\0"s, InspectForm::Batch},
      {"1\0\0"s, none},
      {message.substr(0, 7), none},
      {"", none},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(guessInspectForm(row.bytes, row.bytes.size()), row.form) << toHex(row.bytes);
  }
}
