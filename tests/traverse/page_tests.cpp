// Pages: what stands for each kind of value, that nothing in a message is more than a value, and what stands
// around them. How they behave in a browser is tested in tests/tool/check-page.
#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/Messages.h"
#include "support/SmallStack.h"

#include <kwxml/model/Limits.h>
#include <kwxml/traverse/DifferencePage.h>
#include <kwxml/traverse/MessagePage.h>
#include <kwxml/traverse/PageText.h>

#include <gtest/gtest.h>

using namespace kwxml;
using namespace kwxml::test;

namespace {

constexpr std::string_view made = "2026-11-22 <now>";

/// The page that `fill` makes, from its body on.
template <class Page, class Fill, class... Names>
std::string bodyOf(Fill fill, Names... names)
{
  std::string text;
  Page page(
      [&](std::string_view part) {
        text += part;
        return true;
      },
      names..., made);
  fill(page);
  EXPECT_TRUE(page.finish());
  return text.substr(text.find("<body>"));
}

std::string pageOf(const YMMessageBase& message)
{
  return bodyOf<MessagePage>([&](MessagePage& page) { EXPECT_TRUE(page.add(message, "a <file>")); });
}

std::string between(const std::string& text, std::string_view begin, std::string_view end)
{
  const auto from = text.find(begin) + begin.size();
  return text.substr(from, text.find(end, from) - from);
}

/// The values alone.
std::string rows(const YMMessageBase& message)
{
  return between(pageOf(message), "<section>\n", "</section>\n");
}

}  // namespace

TEST(MessagePage, Values)
{
  expectCases("traverse/page.cases", "values", [](const std::string& xml) { return rows(fromXml(xml)); });
}

TEST(MessagePage, NothingInATextIsMoreThanText)
{
  expectRows("traverse/page.cases", "texts", [](const Lines& cells) {
    std::string box;
    appendTextBox(box, cells[0]);
    std::string key;
    appendKeyBox(key, cells[0]);
    return box + (key == box ? "" : "\n" + key);
  });
}

TEST(MessagePage, WhatOnlyProgramsPutIntoMessages)
{
  Transcript log("traverse/page.cases");
  YMMessageBase message = make("Types_AllTypes");
  for (const char* name : {"objectValue", "intList", "noneValue", "bstringValue", "stringStringMap"}) {
    MessageAccess::mark(message, field(message, name));
  }
  object<std::vector<std::wstring>>(
      message, "wstringList") = {{L'<', L'\u202E', static_cast<wchar_t>(0xD800), L'\\', L'\n', L'e'}};
  object<bstring>(message, "bstringValue") = bstring(std::string("\0<>\xFF", 4));
  object<std::vector<YMMessageBase>>(message, "objectList") = {make("Types_Leaf"), YMMessageBase()};
  object<std::map<YMMessageBase, YMMessageBase>>(message, "objectObjectMap")[make("Types_KeyLeaf")] =
      make("Types_Leaf");
  log.note(rows(message));
  YMMessageBase vault = make("Secrets_Vault");
  fillAll(vault, 1, 1);
  log.note(rows(vault));
}

TEST(MessagePage, Large)
{
  YMMessageBase message = make("Types_AllTypes");
  object<std::vector<int>>(message, "intList").resize(2001);
  setText(message, "stringValue", std::string(5000, '<'));
  object<bstring>(message, "bstringValue") = bstring(std::string(33, 'x'));
  const std::string text = rows(message);
  EXPECT_NE(text.find("<summary>2001 to 2001</summary>\n<ol class=\"v\" start=\"2000\"><li>0</li></ol>"),
            std::string::npos);
  EXPECT_NE(text.find("<summary>5,000 characters: &lt;&lt;"), std::string::npos);
  EXPECT_NE(text.find("33 bytes: 78787878"), std::string::npos);
  EXPECT_NE(text.find("all, in base64"), std::string::npos);
}

/// As deep as messages come from outside, on the smallest stack; what a program nests deeper is left out.
TEST(MessagePage, Deep)
{
  const YMMessageBase deep = nodeChain(maxMessageNesting);
  const YMMessageBase deeper = nodeChain(maxMessageNesting + 1);
  onSmallStack([&] {
    EXPECT_EQ(rows(deep).find("too deep"), std::string::npos);
    EXPECT_NE(rows(deeper).find("(nested too deep to be shown)"), std::string::npos);
  });
}

TEST(MessagePage, SeveralMessages)
{
  const auto many = bodyOf<MessagePage>([](MessagePage& page) {
    EXPECT_TRUE(page.add(fromXml("<Demo_Status errorCode='7' errorMessage='disk &lt;full>'/>"), "a <file>"));
    EXPECT_TRUE(page.add(fromXml("<Types_Report secretWord='canary'><owner userName='ada'/></Types_Report>"),
                         "record 2"));
    EXPECT_TRUE(page.add(YMMessageBase(), ""));
  });
  expectGolden("traverse/golden/page-several.html", many);
  const std::string none = bodyOf<MessagePage>([](MessagePage&) {});
  EXPECT_NE(none.find("<main>\n</main>"), std::string::npos);
}

TEST(MessagePage, EndsWhenNobodyTakesIt)
{
  int calls = 0;
  MessagePage page([&](std::string_view) { return ++calls < 3; }, made);
  const YMMessageBase message = make("Types_Leaf");
  EXPECT_TRUE(page.add(message, "1"));
  EXPECT_FALSE(page.add(message, "2"));
  EXPECT_FALSE(page.add(message, "3"));
  EXPECT_FALSE(page.finish());
  EXPECT_EQ(calls, 3);
}

TEST(DifferencePage, EqualAndOther)
{
  const YMMessageBase left = fromXml(
      "<Types_Report title='one&#10;two' secretWord='canary'><numbers val='1'/><levels "
      "val='5'/></Types_Report>");
  const YMMessageBase right = fromXml(
      "<Types_Report title='&lt;b>' secretWord='bird' level='MIDDLE'><numbers val='1'/></Types_Report>");
  std::size_t count = 0;
  expectGolden("traverse/golden/page-differences.html", bodyOf<DifferencePage>(
                                                            [&](DifferencePage& page) {
                                                              EXPECT_TRUE(page.add(&left, &right, "#1"));
                                                              EXPECT_TRUE(page.add(&left, nullptr, "#2"));
                                                              count = page.count();
                                                            },
                                                            "a <file>", "b"));
  EXPECT_EQ(count, 5U);
}
