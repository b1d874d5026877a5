// The explanation of bytes, beside what the library's reader makes of the same bytes.
#include "binary/Bodies.h"
#include "support/DataFile.h"

#include <Inspect.h>

#include <kwxml/model/Limits.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

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
  std::istringstream in(input);
  Explained result{};
  std::size_t at = 0;
  std::size_t remarks = 0;
  result.whole = inspect(in, form, [&](const BinaryPiece& piece, std::uint64_t more) {
    EXPECT_EQ(piece.offset, at);
    EXPECT_EQ(piece.bytes, input.substr(at, piece.bytes.size())) << "every byte once, in order";
    at += piece.bytes.size() + more;
    remarks += piece.bytes.empty() ? 1 : 0;
    EXPECT_TRUE(std::none_of(piece.text.begin(), piece.text.end(),
                             [](unsigned char c) { return c < 0x20 || c == 0x7F; }));
    EXPECT_LT(piece.text.size(), 500u);
    result.texts.push_back(std::string(2 * static_cast<std::size_t>(piece.depth), ' ') + piece.text);
    result.shown += toText(piece, more);
  });
  EXPECT_EQ(at, input.size());
  EXPECT_LE(remarks, input.size() / 2 + 1) << "a count makes no lines";
  EXPECT_EQ(std::count(result.shown.begin(), result.shown.end(), '\n'),
            static_cast<long>(result.texts.size()));
  if (!result.whole) {
    EXPECT_NE(result.texts.back().find("damaged at 0x"), std::string::npos);
  }
  return result;
}

/// The explanation says damaged exactly when the reader does.
void agree(const std::string& bytes)
{
  LogCapture log;  // and nothing of it is shown
  ASSERT_EQ(explain(bytes).whole, create(bytes) != nullptr) << toHex(bytes);
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

std::string explainBody(const std::string& body, const std::string& tag = "Types_AllTypes")
{
  LogCapture log;
  const std::string bytes = header(make(tag)) + fromHex(expand(body));
  const Explained result = explain(bytes);
  EXPECT_EQ(result.whole, create(bytes) != nullptr) << body;
  std::string lines;
  for (std::size_t i = 2; i < result.texts.size(); ++i) {  // behind the header's
    lines += result.texts[i] + "\n";
  }
  return lines;
}

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

TEST(Inspect, GoesTheWayOfTheReader)
{
  expectCases("tool/inspect.cases", "", [](const std::string& line) {
    const auto colon = line.find(':');
    return colon == std::string::npos ? explainBody(line)
                                      : explainBody(line.substr(colon + 1), line.substr(0, colon));
  });
  // As deep as messages may nest, and one deeper.
  for (const int levels : {maxMessageNesting, maxMessageNesting + 1}) {
    std::string body;
    for (int i = 1; i < levels; ++i) {
      body += "child.2 FF FF FF 7F ";
    }
    const bool deeper = explainBody(body, "Types_Node").find("nest deeper than 64") != std::string::npos;
    EXPECT_EQ(deeper, levels > maxMessageNesting);
  }
}

TEST(Inspect, ALittleInputMakesALittleWork)
{
  // More messages than the reader builds of so many bytes.
  LogCapture log;
  const YMMessageBase m = make("Types_AllTypes");
  std::string bytes = header(m) + fromHex(expand("M FF FF FF FF 0F objectList.2"));
  for (int i = 0; i < 100000; ++i) {
    bytes += i == 0 ? "\0"s : "\0\0\0\0\0"s;
  }
  agree(bytes);
}

TEST(Inspect, NoPasswordIsShown)
{
  LogCapture log;
  const YMMessageBase m = make("Types_AllTypes");
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
  const std::map<std::optional<InspectForm>, std::string> names = {{std::nullopt, "none"},
                                                                   {InspectForm::Binary, "binary"},
                                                                   {InspectForm::Records, "records"},
                                                                   {InspectForm::Batch, "batch"}};
  expectCases("tool/forms.cases", "", [&names](const std::string& hex) {
    const std::string bytes = fromHex(hex);
    return names.at(guessInspectForm(bytes, bytes.size()));
  });
}
