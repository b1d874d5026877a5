// Renderings: the text of one value, each render context piece by piece, and summaries of whole messages.
//
// The golden files show a message of every type in every rendering. KWXML_UPDATE=1 writes them anew.
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/traverse/DefaultRenderContext.h>
#include <kwxml/traverse/FieldText.h>
#include <kwxml/traverse/HTMLRenderContext.h>
#include <kwxml/traverse/KwXMLSummary.h>
#include <kwxml/traverse/XmlUtils.h>

#include "support/AllocationCounter.h"
#include "support/LogCapture.h"
#include "support/Messages.h"
#include "support/SmallStack.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <fstream>
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

/// A summary by each of the renderings.
struct Rendered
{
  std::string plain, html, collapsible, gui;
};

std::string htmlOf(YMMessageBase& m, const ContextFormatOpts& options, bool escaping = false)
{
  HTMLRenderContext context(options);
  context.setEscaping(escaping);
  EXPECT_EQ(KwXMLSummary::getKwSummaryInfo(&m, &context, KwXMLFormatOptions()), 0);
  return dump(context);
}

Rendered render(YMMessageBase& m, bool escaping = false)
{
  Rendered r;
  std::ostringstream stream;
  EXPECT_EQ(KwXMLSummary::getKwSummaryInfo(&m, stream, KwXMLFormatOptions()), 0);
  r.plain = stream.str();
  HTMLRenderContext::CountOptions = 7;
  r.html = htmlOf(m, ContextFormatOpts(), escaping);
  r.collapsible = htmlOf(m, ContextFormatOpts(0, true, true), escaping);
  HTMLGuiSummaryRenderContext gui;
  gui.setEscaping(escaping);
  EXPECT_EQ(KwXMLSummary::getKwSummaryInfo(&m, &gui, KwXMLFormatOptions()), 0);
  r.gui = dump(gui);
  return r;
}

void expectGolden(const std::string& name, const std::string& actual)
{
  const std::string path = KWXML_SOURCE_DIR "/tests/traverse/golden/" + name;
  if (std::getenv("KWXML_UPDATE") != nullptr) {
    std::ofstream(path) << actual << "\n";
  }
  std::ifstream file(path);
  const std::string golden((std::istreambuf_iterator<char>(file)), {});
  EXPECT_EQ(actual + "\n", golden) << path;
}

void utc()
{
  setenv("TZ", "UTC0", 1);
  tzset();
}

YMMessageBase report()
{
  YMMessageBase m = make("Types_Report");
  m.wipeBitset();
  setText(m, "title", "A title");
  setInt(m, "level", 0);
  for (const char* name : {"numbers", "suppressedNumbers", "secretWords", "secretLevel", "leaves"}) {
    fill(m, field(m, name), 1);
  }
  for (const unsigned level : {5U, 100U, static_cast<unsigned>(-3)}) {
    XMLDecoder::InsertIntoList(&m, "levels", &level);
  }
  setText(m, "secretWord", "canary");
  const FieldDef& leaf = field(m, "leaf");
  m.setObject(leaf.fieldNumber, leaf.slot, new YMMessageBase(make("Types_Leaf")), true, m.getTagID(),
              leaf.hash, true);
  YMMessageBase owner = make("KwEntities_ProcessingInstructionInfo");
  setText(owner, "userName", "root");
  setInt(owner, "priority", 3);
  const FieldDef& def = field(m, "owner");
  m.setObject(def.fieldNumber, def.slot, new YMMessageBase(owner), true, m.getTagID(), def.hash, true);
  return m;
}

}  // namespace

TEST(FieldText, OneTextForEachStoredValue)
{
  const char* locale = std::setlocale(LC_ALL, "de_DE.UTF-8");  // where there is one
  constexpr auto least = std::numeric_limits<int>::min();
  for (const int type : {1, 10, 13, 19, 41}) {
    EXPECT_EQ(text(type, least), "-2147483648") << type;
    EXPECT_EQ(text(type, -1LL), "-1") << "a slot";
  }
  for (const int type : {2, 14}) {
    EXPECT_EQ(text(type, 4294967295U), "4294967295") << type;
  }
  for (const int type : {3, 15, 5, 17, 42}) {
    EXPECT_EQ(text(type, std::numeric_limits<long long>::min()), "-9223372036854775808") << type;
  }
  for (const int type : {4, 16, 6, 18}) {
    EXPECT_EQ(text(type, std::numeric_limits<unsigned long long>::max()), "18446744073709551615") << type;
  }
  for (const int type : {7, 26}) {
    EXPECT_EQ(text(type, true) + text(type, false) + text(type, 1U) + text(type, 0LL), "1010") << type;
  }
  for (const int type : {11, 28}) {
    EXPECT_EQ(text(type, 0.1) + " " + text(type, 1e20) + " " + text(type, 1234567.0) + " " + text(type, -0.0),
              "0.1 1e+20 1.23457e+06 -0");
  }
  for (const int type : {12, 27}) {
    EXPECT_EQ(text(type, 0.1F) + " " + text(type, std::numeric_limits<float>::infinity()), "0.1 inf");
  }
  for (const int type : {8, 20}) {
    EXPECT_EQ(text(type, std::string("a\0b", 3)), std::string("a\0b", 3));
  }
  for (const int type : {25, 30}) {
    EXPECT_EQ(text(type, bstring("\x01\x02\xFF")), "AQL/\n") << type;
  }
  EXPECT_EQ(text(31, pstring("plain")), "cGxhaW4=\n");
  for (const int type : {-1, 0, 9, 21, 22, 23, 24, 29, 32, 33, 37, 39, 40, 43, 255, 256 + 8}) {
    EXPECT_EQ(text(type, std::wstring(L"x")), "") << type;
  }
  for (int type = 0; type < 43; ++type) {
    EXPECT_EQ(getStringFromFld(type, nullptr), "");
  }
  std::setlocale(LC_ALL, "C");
  RecordProperty("locale", locale != nullptr ? locale : "none");
}

TEST(PlainText, SeparatesAttributesByCommas)
{
  std::ostringstream stream;
  DefaultRenderContext context(stream, ContextFormatOpts());
  context.startHeader("Name");
  context.writeAttribute("a", 1);
  context.writeAttribute("b", "x");
  context.writeHeader("h");
  context.writeSubHeader("h");
  context.writeAttribute("u", 4294967295U);
  context.writeAttribute("l", -1L);
  context.writeAttribute("ul", 18446744073709551615UL);
  context.writeAttribute("ll", -1234567LL);
  context.writeAttribute("f", 0.5F);
  context.writeAttribute("d", 1e20);
  context.writeAttribute("yes", true);
  context.writeAttribute("no", false);
  context.writeAttribute("bytes", bstring("as they are"));
  EXPECT_EQ(dump(context),
            "a:[1],b:[x],u:[4294967295],l:[-1],ul:[18446744073709551615],ll:[-1234567],f:[0.5],d:[1e+20],"
            "yes:[true],no:[false],bytes:[as they are]");
  context.endHeader("Name");
  context.startHeader("Next");
  context.writeAttribute("a", "");
  EXPECT_TRUE(dump(context).ends_with("are]a:[]"));

  YMMessageBase m = report();
  MsgFieldContext unset = shown(m, "kept");
  std::ostringstream fields;
  DefaultRenderContext of(fields, ContextFormatOpts());
  of.startSubHeader(unset);
  of.writeEnum(unset);
  MsgFieldContext level = shown(m, "level");
  of.writeEnum(level);
  of.writeAttribute(level);
  MsgFieldContext levels = shown(m, "levels");
  of.writeList(levels);
  of.writeEnum(levels);
  of.endSubHeader(unset);
  EXPECT_EQ(dump(of), "level:[Low level],levels[],levels:[MIDDLE,High \"\xC3\xA9lev\xC3\xA9\",BELOW]");
}

TEST(Html, HeadersInBothForms)
{
  const auto header = [](const char* name, bool collapsible, bool escaping = false) {
    HTMLRenderContext::CountOptions = 3;
    HTMLRenderContext context(ContextFormatOpts(0, false, collapsible));
    context.setEscaping(escaping);
    context.startHeader(name);
    context.endHeader(name);
    EXPECT_EQ(HTMLRenderContext::CountOptions, collapsible ? 4 : 3);
    return dump(context);
  };
  const auto block = [](const std::string& id, const std::string& caption) {
    return "<a title=\"Click to view  \" style=\"color: blue; cursor:hand;\" onclick=\"showdiv('" + id +
           "');\">" + caption + "::</a><div id=\"" + id + "\" style=\"display:none\"></div>";
  };
  const char* rows[][3] = {
      {"JobOption", "Job Options", "Job Options"},
      {"ClientsList", "Additional Properties", "Additional Properties"},
      {"GetClientPropertiesResponse", "Additional Properties", "GetClientPropertiesResponse"},
      {"KWSearchReq", "Search Options", "KWSearchReq"},
      {"Order", "Order", "Order"}};
  for (const auto& [name, collapsible, plain] : rows) {
    EXPECT_EQ(header(name, true), block(std::string(name) + "3", collapsible));
    EXPECT_EQ(header(name, false), std::string(plain) + ":</div>");
  }
  EXPECT_EQ(header("", false), ":</div>");
  EXPECT_EQ(header("a');alert('\"<", true, true), block("a___alert____3", "a&#39;);alert(&#39;&quot;&lt;"));
}

TEST(Html, AttributesAndSubHeaders)
{
  YMMessageBase m = report();
  MsgFieldContext leaf = shown(m, "leaf");
  MsgFieldContext leaves = shown(m, "leaves");
  const std::string indent(spaceDelimiter);
  HTMLRenderContext context;
  context.writeAttribute("name \t\r\n", "v");
  context.writeAttribute("empty", "");
  context.writeAttribute("secret", bstring("canary"));
  context.startSubHeader(leaf);
  context.writeAttribute("n", -1);
  context.startSubHeader(leaves);  // shows nothing and takes itself back
  context.writeAttribute("", "");
  context.endSubHeader(leaves);
  context.startSubHeader(leaves);
  context.writeAttribute("yes", true);
  context.writeAttribute("no", false);
  context.endSubHeader(leaves);
  context.endSubHeader(leaf);
  context.startSubHeader(leaf);
  context.startSubHeader(leaves);
  context.endSubHeader(leaves);
  context.endSubHeader(leaf);
  EXPECT_EQ(dump(context),
            "<br>&nbsp;name&nbsp;:&nbsp;v<br>&nbsp;secret&nbsp;:&nbsp;****<br><B>leaf</B><br>" + indent +
                "&nbsp;n&nbsp;:&nbsp;-1<br>" + indent + "<B>leaves</B><br>" + indent + indent +
                "&nbsp;yes&nbsp;:&nbsp;True<br>" + indent + indent + "&nbsp;no&nbsp;:&nbsp;False");
  MsgFieldContext owner = shown(m, "owner");
  HTMLRenderContext onOneLine;
  onOneLine.startSubHeader(owner);
  onOneLine.writeAttribute("a", 1);
  onOneLine.writeAttribute("b", 2);
  onOneLine.endSubHeader(owner);
  onOneLine.writeAttribute("c", 3);
  EXPECT_EQ(dump(onOneLine),
            "<br><B>owner</B>&nbsp;&nbsp;&nbsp;a&nbsp;:&nbsp;1&nbsp;&nbsp;&nbsp;b&nbsp;:&nbsp;2<br>&nbsp;c"
            "&nbsp;:&nbsp;3");

  HTMLGuiSummaryRenderContext gui;
  gui.startHeader("any");
  gui.writeAttribute("a \n", 1.5);
  gui.writeAttribute("b", "");
  gui.startSubHeader(leaf);
  gui.writeAttribute("c", bstring("canary"));
  gui.endSubHeader(leaf);
  gui.writeAttribute("d", true);
  gui.endHeader("any");
  EXPECT_EQ(
      dump(gui),
      "<p> Summary&nbsp;a&nbsp;:&nbsp;1.5<BR>&nbsp;b&nbsp;:&nbsp;<br><B>leaf </B><p>&nbsp;c&nbsp;:&nbsp;****"
      "&nbsp;d&nbsp;:&nbsp;True</p></div>");
}

TEST(Html, DatesAndDurations)
{
  utc();
  YMMessageBase m = make("Types_Annotated");
  const struct
  {
    const char* field;
    long long value;
    const char* text;
  } rows[] = {{"dateTime", 1700000000, "2023-11-14 22:13:20"},
              {"dateOnly", 1700000000, "2023-11-14"},
              {"intDateTime", 662688000, "1991-01-01 00:00:00"},
              {"dateTime", 662687999, "662687999"},
              {"dateTime", 86400, "1 day(s)"},
              {"dateOnly", 86400 * 3, "3 day(s)"},
              {"dateTime", 7200, "2 hour(s)"},
              {"dateTime", 90000, "25 hour(s)"},
              {"dateTime", 3599, "3599"},
              {"dateTime", 0, "0"},
              {"dateTime", -1, "4294967295"},
              {"dateTime", 253402300800, "10000-01-01 00:00:00"},
              {"dateTime", std::numeric_limits<long long>::max(), "4294967295"}};
  for (const auto& row : rows) {
    setInt(m, row.field, row.value);
    MsgFieldContext f = shown(m, row.field);
    HTMLRenderContext context;
    HTMLGuiSummaryRenderContext gui;
    context.writeAttribute(f);
    gui.writeAttribute(f);
    const std::string pair = std::string("&nbsp;") + row.field + "&nbsp;:&nbsp;" + row.text;
    EXPECT_EQ(dump(context), "<br>" + pair);
    EXPECT_EQ(dump(gui), pair);
  }
}

TEST(Summary, ShowsAMessageOfEveryTypeInEveryRendering)
{
  utc();
  for (const char* tagName : {"Types_AllTypes", "Types_Report", "Types_Annotated"}) {
    YMMessageBase m = make(tagName);
    m.wipeBitset();
    if (std::string(tagName) == "Types_Report") {
      m = report();
    } else {
      fillAll(m, 3, 1);
    }
    const Rendered r = render(m);
    expectGolden(std::string(tagName) + ".text", r.plain);
    expectGolden(std::string(tagName) + ".html", r.html);
    expectGolden(std::string(tagName) + "-collapsible.html", r.collapsible);
    expectGolden(std::string(tagName) + "-gui.html", r.gui);
  }
}

TEST(Summary, HidesPasswordsEverywhereAndReportFieldsInHtml)
{
  YMMessageBase m = report();
  for (const char* tagName : {"Types_Report", "Types_Annotated", "Types_Strings", "Legacy_Account"}) {
    YMMessageBase filled = std::string(tagName) == "Types_Report" ? m : make(tagName);
    for (const FieldDef& def : *filled.getClass()) {
      if (def.type == FIELD_PSTRING) {
        filled.setpstringobject(def.fieldNumber, def.slot, pstring("canary"), Annotation::PLAIN_TEXT,
                                filled.getTagID(), def.hash);
      }
    }
    const Rendered r = render(filled);
    for (const std::string& text : {r.plain, r.html, r.collapsible, r.gui}) {
      EXPECT_EQ(text.find("canary"), std::string::npos) << text;
      EXPECT_EQ(text.find("Y2FuYXJ5"), std::string::npos) << text;
      EXPECT_EQ(text.find("secretL"), std::string::npos) << text;
      EXPECT_EQ(text.find("secretWords"), std::string::npos) << text;
    }
    if (std::string(tagName) == "Types_Report") {
      EXPECT_NE(r.plain.find("suppressedNumbers["), std::string::npos);
      EXPECT_EQ((r.html + r.gui).find("suppressedNumbers"), std::string::npos);
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
  const Rendered r = render(m, true);
  for (const std::string& text : {r.html, r.collapsible, r.gui}) {
    EXPECT_NE(text.find(escaped), std::string::npos) << text;
  }
  EXPECT_NE(render(m).html.find("<script>"), std::string::npos) << "as it is, unless asked for";
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
  EXPECT_EQ(log.lines(), std::vector<LogLine>());
  EXPECT_EQ(KwXMLSummary::getSummaryInfo("<", out), 1);
  EXPECT_EQ(out + dump(context) + stream.str(), "kept");

  std::string xml;
  YMMessageBase leaf = make("Types_Leaf");
  setInt(leaf, "number", 5);
  setText(leaf, "text", "t");
  ASSERT_EQ(XMLEncoder().serialize(leaf, xml, false), 0);
  EXPECT_EQ(KwXMLSummary::getSummaryInfo(xml, out), 0);
  EXPECT_EQ(out, "number:[5],text:[t]");
  EXPECT_EQ(KwXMLSummary::getSummaryInfo(xml, &context), 0);
  EXPECT_EQ(dump(context), "Leaf:<br>&nbsp;number&nbsp;:&nbsp;5<br>&nbsp;text&nbsp;:&nbsp;t</div>");
  EXPECT_EQ(KwXMLSummary::getSummaryInfo(xml, static_cast<KwXMLRenderContext*>(nullptr)), 1);
}

TEST(Summary, MessagesMadeOnTheWayAreSkippedWhole)
{
  std::ostringstream stream;
  DefaultRenderContext context(stream, ContextFormatOpts());
  DefaultSummaryTraverse summary(&context);
  YMMessageBase m = make("Shop_Order");
  m.wipeBitset();
  XmlTraverse().traverse(m, summary, true, false);
  EXPECT_EQ(dump(context), "") << "neither items nor status are there";
}

TEST(Summary, DeepMessagesFitASmallStack)
{
  YMMessageBase m = nodeChain(64);
  onSmallStack([&] { EXPECT_NE(render(m).html.find("level"), std::string::npos); });
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
  YMMessageBase many = make("Types_Report");
  many.wipeBitset();
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
  YMMessageBase m = make("Types_Leaf");
  std::string label = "old";
  EXPECT_TRUE(XmlUtils::getLocalizedMessage(m.getTagID(), label, 1));
  EXPECT_EQ(label, "old");
  EXPECT_TRUE(XmlUtils::getLocalizedMessage(field(m, "text"), label, 1));
  EXPECT_EQ(label, "");
}
