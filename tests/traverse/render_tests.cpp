// Renderings: the text of one value, each render context piece by piece, and summaries of whole messages.
//
// The golden files show a message of every type in every rendering. KWXML_UPDATE=1 writes them anew.
#include <kwxml/text/ShownText.h>
#include <kwxml/traverse/DefaultRenderContext.h>
#include <kwxml/traverse/FieldText.h>
#include <kwxml/traverse/HTMLRenderContext.h>
#include <kwxml/traverse/KwXMLSummary.h>
#include <kwxml/traverse/XmlUtils.h>

#include "support/AllocationCounter.h"
#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/Messages.h"
#include "support/SmallStack.h"

#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <functional>
#include <limits>

using namespace kwxml::test;

namespace {

template <class T>
std::string text(int type, T value)
{
  return getStringFromFld(type, &value);
}

MsgFieldContext shown(YMMessageBase& m, const char* name)
{
  MsgFieldContext f(field(m, name), &m);
  f.setValueState(isSet(m, name));
  return f;
}

template <class Context>
std::string dump(const Context& context)
{
  std::string out = "not touched";
  context.DumpToString(out);
  return out;
}

/// A summary by each of the renderings: plain, HTML, HTML with blocks that open, compact HTML.
std::array<std::string, 4> render(YMMessageBase& m, bool escaping = false)
{
  std::ostringstream stream;
  EXPECT_EQ(KwXMLSummary::getKwSummaryInfo(&m, stream, {}), 0);
  HTMLRenderContext::CountOptions = 7;
  HTMLRenderContext html;
  HTMLRenderContext collapsible(ContextFormatOpts(0, true, true));
  HTMLGuiSummaryRenderContext gui;
  const auto summary = [&](auto& context) {
    context.setEscaping(escaping);
    EXPECT_EQ(KwXMLSummary::getKwSummaryInfo(&m, &context, {}), 0);
    return dump(context);
  };
  return {stream.str(), summary(html), summary(collapsible), summary(gui)};
}

bool contains(const std::string& text, const std::string& part)
{
  return text.find(part) != std::string::npos;
}

YMMessageBase report()
{
  YMMessageBase m = fromXml(R"(<Types_Report title="A title" level="0" secretWord="canary">
      <levels val="5"/><levels val="100"/><levels val="-3"/>
      <owner userName="root" priority="3"/><leaf/></Types_Report>)");
  for (const char* name : {"numbers", "suppressedNumbers", "secretWords", "secretLevel", "leaves"}) {
    fill(m, field(m, name), 1);
  }
  return m;
}

/// One call of a context, as the cases have it, with the message of report().
template <class Context>
void call(Context& c, YMMessageBase& m, const std::string& what, const std::string& name)
{
  if (what == "values") {
    c.writeAttribute("int \t\r\n", -1);
    c.writeAttribute("unsigned", 4294967295U);
    c.writeAttribute("long", -1L);
    c.writeAttribute("unsigned long", 18446744073709551615UL);
    c.writeAttribute("long long", -1234567LL);
    c.writeAttribute("float", 0.5F);
    c.writeAttribute("double", 1e20);
    c.writeAttribute("yes", true);
    c.writeAttribute("no", false);
    c.writeAttribute("bytes", bstring("as they are"));
    c.writeAttribute("empty", "");
  } else if (what == "empty") {
    c.writeAttribute(name, "");
  } else if (what == "header") {
    c.startHeader(name);
    c.writeHeader("h");
    c.writeSubHeader("h");
    c.endHeader(name);
  } else {
    MsgFieldContext f = shown(m, name.c_str());
    what == "start"  ? c.startSubHeader(f)
    : what == "end"  ? c.endSubHeader(f)
    : what == "enum" ? c.writeEnum(f)
    : what == "list" ? c.writeList(f)
                     : c.writeAttribute(f);
  }
}

}  // namespace

TEST(Contexts, EveryCallInEveryRendering)
{
  expectCases("traverse/contexts.cases", "", [](const std::string& script) {
    YMMessageBase m = report();
    std::ostringstream stream;
    DefaultRenderContext plain(stream, ContextFormatOpts());
    HTMLRenderContext html;
    HTMLRenderContext opening(ContextFormatOpts(0, false, true));
    HTMLGuiSummaryRenderContext compact;
    HTMLRenderContext::CountOptions = 3;
    const auto run = [&](auto& context) {
      std::istringstream calls(script);
      for (std::string what, name; calls >> what && std::getline(calls >> std::ws, name);) {
        if constexpr (requires { context.setEscaping(true); }) {
          context.setEscaping(what == "escaped");
        }
        call(context, m, what == "escaped" ? "header" : what, name == "-" ? "" : name);
      }
      return kwxml::shown(dump(context)) + "\n";
    };
    return run(plain) + run(html) + run(opening) + run(compact);
  });
}

TEST(Contexts, LongTextsPasswordsAndStreamsThatHaveFailed)
{
  std::ostringstream stream;
  DefaultRenderContext context(stream, ContextFormatOpts());
  const std::string value(1000, 'x');
  context.writeAttribute("long", bstring(value));
  context.writeAttribute("secret", pstring("seen"));
  EXPECT_EQ(dump(context), "long:[" + value + "],secret:[****]");
  stream.setstate(std::ios::failbit);
  context.writeAttribute("more", bstring("x"));
  EXPECT_EQ(dump(context), "long:[" + value + "],secret:[****]");
}

TEST(FieldText, OneTextForEachStoredValue)
{
  const char* locale = std::setlocale(LC_ALL, "de_DE.UTF-8");  // where there is one
  constexpr auto least = std::numeric_limits<int>::min();
  constexpr auto leastLong = std::numeric_limits<long long>::min();
  constexpr float infinite = std::numeric_limits<float>::infinity();
  const std::string zero("a\0b", 3);
  using Of = std::function<std::string(int type)>;
  const struct
  {
    std::vector<int> types;
    Of of;
    std::string expected;
  } rows[] = {
      {{1, 10, 13, 19, 41}, [](int t) { return text(t, least) + text(t, -1LL); }, "-2147483648-1"},  // a slot
      {{2, 14}, [](int t) { return text(t, ~0U); }, "4294967295"},
      {{3, 15, 5, 17, 42}, [](int t) { return text(t, leastLong); }, "-9223372036854775808"},
      {{4, 16, 6, 18}, [](int t) { return text(t, ~0ULL); }, "18446744073709551615"},
      {{7, 26}, [](int t) { return text(t, true) + text(t, false) + text(t, 1U) + text(t, 0LL); }, "1010"},
      {{11, 28}, [](int t) { return text(t, 0.1) + " " + text(t, 1e20); }, "0.1 1e+20"},
      {{11, 28}, [](int t) { return text(t, 1234567.0) + " " + text(t, -0.0); }, "1.23457e+06 -0"},
      {{12, 27}, [](int t) { return text(t, 0.1F) + " " + text(t, infinite); }, "0.1 inf"},
      {{8, 20}, [&](int t) { return text(t, zero); }, zero},
      {{25, 30}, [](int t) { return text(t, bstring("\x01\x02\xFF")); }, "AQL/\n"},
      {{31}, [](int t) { return text(t, pstring("plain")); }, "cGxhaW4=\n"},
      {{-1, 0, 9, 21, 22, 23, 24, 29, 32, 33, 37, 39, 40, 43, 255, 256 + 8},
       [](int t) { return text(t, std::wstring(L"x")); },
       ""},
  };
  for (const auto& row : rows) {
    for (const int type : row.types) {
      EXPECT_EQ(row.of(type), row.expected) << type;
    }
  }
  for (int type = 0; type < 43; ++type) {
    EXPECT_EQ(getStringFromFld(type, nullptr), "");
  }
  std::setlocale(LC_ALL, "C");
  RecordProperty("locale", locale != nullptr ? locale : "none");
}

TEST(Html, DatesAndDurations)
{
  YMMessageBase m = make("Types_Annotated");
  expectCases("traverse/dates.cases", "", [&m](const std::string& line) {
    const auto blank = line.find(' ');
    const std::string name = line.substr(0, blank);
    setInt(m, name, std::stoll(line.substr(blank)));
    MsgFieldContext f = shown(m, name.c_str());
    HTMLRenderContext context;
    HTMLGuiSummaryRenderContext gui;
    context.writeAttribute(f);
    gui.writeAttribute(f);
    EXPECT_EQ(dump(context), "<br>" + dump(gui));
    const std::string before = "&nbsp;" + name + "&nbsp;:&nbsp;";
    EXPECT_TRUE(dump(gui).starts_with(before));
    return dump(gui).substr(before.size());
  });
}

TEST(Summary, ShowsAMessageOfEveryTypeInEveryRendering)
{
  const char* const forms[] = {".text", ".html", "-collapsible.html", "-gui.html"};
  for (const std::string tagName : {"Types_AllTypes", "Types_Report", "Types_Annotated"}) {
    YMMessageBase m = tagName == "Types_Report" ? report() : make(tagName);
    if (tagName != "Types_Report") {
      m.wipeBitset();
      fillAll(m, 3, 1);
    }
    const auto rendered = render(m);
    for (std::size_t i = 0; i < rendered.size(); ++i) {
      expectGolden("traverse/golden/" + tagName + forms[i], rendered[i]);
    }
  }
}

TEST(Summary, HidesPasswordsEverywhereAndReportFieldsInHtml)
{
  for (const std::string tagName : {"Types_Report", "Types_Annotated", "Types_Strings", "Legacy_Account"}) {
    YMMessageBase filled = tagName == "Types_Report" ? report() : make(tagName);
    for (const FieldDef& def : *filled.getClass()) {
      if (def.type == FIELD_PSTRING) {
        setPassword(filled, def.getName(), pstring("canary"));
      }
    }
    const auto rendered = render(filled);
    for (const std::string& text : rendered) {
      for (const char* secret : {"canary", "Y2FuYXJ5", "secretL", "secretWords"}) {
        EXPECT_FALSE(contains(text, secret)) << text;
      }
      EXPECT_EQ(contains(text, "suppressedNumbers"), tagName == "Types_Report" && &text == &rendered[0]);
    }
  }
}

TEST(Summary, NamesAndValuesAreNoMarkupWhenEscaped)
{
  YMMessageBase m = report();
  setText(m, "title",
          std::string("<script>alert(\"1\")</script>&'\x01\x7F\0 \xC3\xA9\nprice: 1\xE2\x80\xAE", 47));
  const std::string escaped =
      "&lt;script&gt;alert(&quot;1&quot;)&lt;/script&gt;&amp;&#39;\\x01\\x7F\\x00 \xC3\xA9\\nprice: "
      "1\\xE2\\x80\\xAE";
  const auto rendered = render(m, true);
  for (std::size_t i = 1; i < rendered.size(); ++i) {
    EXPECT_TRUE(contains(rendered[i], escaped)) << rendered[i];
  }
  EXPECT_TRUE(contains(render(m)[1], "<script>")) << "as it is, unless asked for";
}

TEST(Summary, FieldsThatShareAHashKeepTheirLists)
{
  YMMessageBase m = make("Secrets_Twins");
  for (const int number : {1, 2}) {
    ASSERT_TRUE(XMLDecoder::InsertIntoList(&m, "Aa", &number));
  }
  EXPECT_TRUE(contains(render(m)[0], "Aa[1,2],BB[]")) << render(m)[0];
  const std::string word = "w";
  ASSERT_TRUE(XMLDecoder::InsertIntoList(&m, "BB", &word));
  const YMMessageBase leaf = make("Types_Leaf");
  ASSERT_TRUE(XMLDecoder::InsertIntoList(&m, "CC", &leaf));
  YMMessageBase into = make("Secrets_Twins");
  EXPECT_TRUE(XmlTraverse().merge(m, into) && into == m);
}

TEST(Summary, LeavesOutWhatIsSecretOrNotAskedFor)
{
  expectCases("traverse/summaries.cases", "", [](const std::string& xml) {
    YMMessageBase m = fromXml(xml);
    std::string answer;
    for (const std::string& text : render(m)) {
      answer += text + "\n";
    }
    return answer;
  });
}

TEST(Summary, ResultsOfTheFacade)
{
  LogCapture log;
  YMMessageBase m = report();
  std::string out = "kept";
  HTMLRenderContext context;
  std::ostringstream stream;
  EXPECT_EQ(KwXMLSummary::getSummaryInfo("", out), 1);
  EXPECT_EQ(KwXMLSummary::getSummaryInfo("", &context), 1);
  EXPECT_EQ(KwXMLSummary::getKwSummaryInfo(&m, static_cast<KwXMLRenderContext*>(nullptr), {}), 1);
  EXPECT_EQ(KwXMLSummary::getKwSummaryInfo(nullptr, &context, {}), 1);
  EXPECT_EQ(KwXMLSummary::getKwSummaryInfo(nullptr, stream, {}), 1);
  EXPECT_EQ(toText(log), "");
  EXPECT_EQ(KwXMLSummary::getSummaryInfo("<", out), 1);
  EXPECT_EQ(out + dump(context) + stream.str(), "kept");

  const std::string xml = "<Types_Leaf number='5' text='t'/>";
  EXPECT_EQ(KwXMLSummary::getSummaryInfo(xml, out) + KwXMLSummary::getSummaryInfo(xml, &context), 0);
  EXPECT_EQ(out + dump(context),
            "number:[5],text:[t]Leaf:<br>&nbsp;number&nbsp;:&nbsp;5<br>&nbsp;text&nbsp;:&nbsp;t</div>");
  EXPECT_EQ(KwXMLSummary::getSummaryInfo(xml, static_cast<KwXMLRenderContext*>(nullptr)), 1);
}

TEST(Summary, MessagesMadeOnTheWayAreSkippedWhole)
{
  std::ostringstream stream;
  DefaultRenderContext context(stream, ContextFormatOpts());
  DefaultSummaryTraverse summary(&context);
  YMMessageBase m = bare("Shop_Order");
  XmlTraverse().traverse(m, summary, true, false);
  EXPECT_EQ(dump(context), "") << "neither items nor status are there";
}

TEST(Summary, DeepMessagesFitASmallStack)
{
  YMMessageBase m = nodeChain(64);
  onSmallStack([&] { EXPECT_TRUE(contains(render(m)[1], "level")); });
}

TEST(Summary, AllocatesInProportionToItsOutput)
{
  const auto allocations = [](YMMessageBase& m, bool html) {
    const AllocationCounter counter;
    std::ostringstream stream;
    HTMLRenderContext context;
    html ? KwXMLSummary::getKwSummaryInfo(&m, &context, {}) : KwXMLSummary::getKwSummaryInfo(&m, stream, {});
    return counter.count();
  };
  YMMessageBase wide = make("Types_Wide");  // 300 fields
  wide.wipeBitset();
  YMMessageBase many = bare("Types_Report");
  for (const bool html : {false, true}) {
    EXPECT_LE(allocations(wide, html), 16u) << "what is not shown costs nothing";
    const std::size_t before = allocations(many, html);
    YMMessageBase leaf = make("Types_Leaf");
    setInt(leaf, "number", 1);
    for (int i = 0; i < 100; ++i) {
      XMLDecoder::InsertIntoList(&many, "leaves", &leaf);
    }
    EXPECT_LE(allocations(many, html) - before, 100u * 6) << "a few for each line";
    many.deleteMember(field(many, "leaves").fieldNumber, many.getTagID(), field(many, "leaves").hash, false);
  }
}

TEST(Labels, ThereAreNoTranslations)
{
  const YMMessageBase m = make("Types_Leaf");
  std::string label = "old";
  EXPECT_TRUE(XmlUtils::getLocalizedMessage(m.getTagID(), label, 1) && label == "old");
  EXPECT_TRUE(XmlUtils::getLocalizedMessage(field(m, "text"), label, 1) && label.empty());
}
