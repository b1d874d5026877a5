// What is written is read back: every type, every form, every string; random messages; damaged documents.
#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/DomWriting.h"
#include "support/Messages.h"
#include "support/SmallStack.h"
#include "xml/Utf.h"

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/model/Limits.h>
#include <kwxml/text/ShownText.h>
#include <kwxml/xml/XMLSerializer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>

using namespace kwxml::test;

namespace {

std::vector<EncodingFlags> allForms()
{
  std::vector<EncodingFlags> forms;
  for (int i = 0; i < 8; ++i) {
    EncodingFlags flags;
    flags.valuesAsElements = i & 1;
    flags.readableForm = (i >> 1) & 1;
    flags.enumsAsNames = static_cast<unsigned char>((i >> 2) & 1);
    forms.push_back(flags);
  }
  return forms;
}

/// The text with and without a DOM is the same, and so is what is logged meanwhile.
void expectSameByDom(YMMessageBase& message)
{
  for (unsigned number = 0; number < forms; ++number) {
    const EncodingFlags flags = form(number);
    for (const bool elementOnly : {false, true}) {
      std::string byDom;
      std::string text;
      int results[2];
      std::vector<LogLine> lines[2];
      {
        LogCapture log;
        results[0] = writeByDom(message, flags, byDom, elementOnly);
        lines[0] = log.lines();
      }
      {
        LogCapture log;
        results[1] = XMLSerializer(flags).serialize(message, text, elementOnly);
        lines[1] = log.lines();
      }
      ASSERT_EQ(results[0], results[1]);
      ASSERT_EQ(text, byDom);
      ASSERT_EQ(lines[0], lines[1]);
      std::string joined;
      const auto take = [&joined](std::string_view part) {
        joined += part;
        return true;
      };
      LogCapture quiet;
      ASSERT_EQ(XMLSerializer(flags).serialize(message, kwxml::TakeText(take), elementOnly), results[0]);
      ASSERT_EQ(joined, byDom) << "in parts";
    }
  }
}

bool hasXmlForm(const FieldDef& def)
{
  return kwxml::fieldTypeInfo(def.type).storage != kwxml::Storage::None && def.type != FIELD_WSTRING &&
         def.type != FIELD_LIST_WSTRING;
}

}  // namespace

TEST(RoundTrip, EveryTypeInEveryForm)
{
  const YMMessageBase empty = make("Types_AllTypes");
  for (const FieldDef& def : *empty.getClass()) {
    if (!hasXmlForm(def)) {
      continue;
    }
    for (const EncodingFlags& flags : allForms()) {
      for (int variant = 1; variant <= 2; ++variant) {
        YMMessageBase m = make("Types_AllTypes");
        fill(m, def, variant);
        const std::string xml = toXml(m, flags, false);
        const auto back = readXml(xml);
        ASSERT_NE(back, nullptr) << xml;
        EXPECT_TRUE(*back == m) << xml;
      }
    }
  }
}

TEST(RoundTrip, RandomMessagesOfEveryClass)
{
  LogCapture quiet;
  std::mt19937 random(20);
  const auto forms = allForms();
  for (int s = 1; s < 206; ++s) {
    const MessageSystemRow& row = XML_KWMessage_MessageSystemChooser::msgSysStruct[s];
    for (short c = 0; c < row.numberOfClasses; ++c) {
      if (row.classes[c].name == nullptr || row.classes[c].isEnum()) {
        continue;
      }
      YMMessageBase used(s, c);  // reads each document over the former one
      for (int i = 0; i < 6; ++i) {
        YMMessageBase m(s, c);
        m.reset();
        for (const FieldDef& def : *m.getClass()) {
          const bool secret = def.type == FIELD_PSTRING && std::string(def.getName()) != "pstringValue";
          if (!hasXmlForm(def) || secret || def.hash == 0) {
            m.deleteMember(def.fieldNumber, m.getTagID(), def.hash, false);
          } else if (random() % 2 == 0 && std::string_view(row.name) != "Legacy") {
            fill(m, def, static_cast<int>(random() % 90) + 1, 1);
            if (kwxml::AnnotationRecord(def.annotations).isCdata()) {  // has no carriage returns
              m.deleteMember(def.fieldNumber, m.getTagID(), def.hash, false);
              if (def.type == FIELD_STRING) {
                setText(m, def.getName(), "]]> \xC3\xA9\n<");
              }
            }
          }
        }
        EncodingFlags flags = forms[random() % forms.size()];
        flags.enumsAsNames = 1;  // a negative value is a number only to the writer
        const std::string xml = toXml(m, flags, false);
        std::string byDom;
        EXPECT_EQ(writeByDom(m, flags, byDom), 0);
        EXPECT_EQ(xml, byDom);
        const auto back = readXml(xml);
        ASSERT_NE(back, nullptr) << xml;
        EXPECT_EQ(toXml(*back, flags, false), xml);
        ASSERT_EQ(XMLSerializer().unserialize(used, xml), 0);
        EXPECT_TRUE(used == *back) << xml;
        YMMessageBase marked = used;
        marked.setEveryPrimitiveBitset(true);
        back->setEveryPrimitiveBitset(true);
        EXPECT_TRUE(marked == *back) << xml;
      }
    }
  }
}

TEST(WithoutDom, TheTextIsTheSame)
{
  const std::string texts[] = {"",
                               " ",
                               "\n",
                               " \n  ",
                               "\r",
                               "\t\r ",
                               "a\n",
                               "a",
                               "<&>\"'",
                               "]]>",
                               "]]]]>>]]>",
                               "]]",
                               "]",
                               "\x7F\xC2\x85\xE2\x80\xA8",
                               "\x01",
                               "\xFF\xFE",
                               "caf\xE9",
                               "\xF0\x9F\x98\x80",
                               "\xEF\xBF\xBF",
                               "\xEF\xBF\xBD",
                               std::string("a\0b", 3),
                               "|a",
                               "|\x01",
                               "&#10;",
                               std::string(3000, '<'),
                               std::string(9000, 'x'),
                               std::string(70, '\xC3'),
                               "\xED\xA0\x80"};
  for (const std::string& text : texts) {
    YMMessageBase m = make("Types_AllTypes");
    YMMessageBase annotated = make("Types_Annotated");
    setText(m, "stringValue", text);
    object<std::vector<std::string>>(m, "stringList") = {text, "between", text};
    object<std::map<std::string, std::string>>(m, "stringStringMap") = {{text, "1"}, {"key", text}};
    object<bstring>(m, "bstringValue") = bstring(text);
    fill(m, field(m, "objectList"), 1);
    setInt(m, "enumValue", text.size() % 3);  // one of them has a name
    // Something that cannot be written may come when parts have been handed out, or just before.
    object<std::vector<std::string>>(m, "stringList").emplace_back(text.size() % 2 == 0 ? 8000 : 20000, 'v');
    object<std::vector<std::string>>(m, "stringList")
        .insert(object<std::vector<std::string>>(m, "stringList").end(), {text, "last"});
    object<std::map<std::string, std::string>>(m, "stringStringMap")["0"] = std::string(7000, 'w');
    setInt(m, "intValue", 7);
    setText(annotated, "cdataText", text);
    setText(annotated, "command", text);
    setInt(annotated, "daySeconds", text.size() % 2 == 0 ? 86400 : 86401);
    setInt(annotated, "dateOnly", text.size() % 2 == 0 ? 0 : 1000000);
    expectSameByDom(m);
    expectSameByDom(annotated);
    if (HasFatalFailure()) {
      FAIL() << kwxml::shown(text, "\\");
    }
  }
  for (const double number :
       {0.0, -0.0, 1e300, -1e-300, 123456.78, 0.1, 1e5, 1e6, 100000.0, HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    YMMessageBase m = make("Types_AllTypes");
    m.setdouble(field(m, "doubleValue").fieldNumber, field(m, "doubleValue").slot, number, m.getTagID(),
                field(m, "doubleValue").hash);
    m.setfloat(field(m, "floatValue").fieldNumber, field(m, "floatValue").slot, static_cast<float>(number),
               m.getTagID(), field(m, "floatValue").hash);
    object<std::vector<double>>(m, "doubleList") = {number, 1.5};
    expectSameByDom(m);
  }
}

TEST(RoundTrip, EveryCodePointInEveryPlace)
{
  YMMessageBase m = bare("Types_Annotated");
  for (char32_t first = 0; first < 0x110000; first += 0x800) {
    if (isSurrogate(first)) {
      continue;  // these have no UTF-8
    }
    std::string text = "x";
    for (char32_t c = first; c < first + 0x800; ++c) {
      appendUtf8(text, c);
    }
    setText(m, "command", text);
    setText(m, "cdataText", text);
    for (const EncodingFlags& flags : allForms()) {
      const auto back = readXml(toXml(m, flags, false));
      ASSERT_NE(back, nullptr);
      ASSERT_EQ(getText(*back, "command"), text) << std::hex << static_cast<unsigned>(first);
      // XML reads a carriage return in a CDATA section as a new-line; nothing else changes there.
      std::string normalized = text;
      std::replace(normalized.begin(), normalized.end(), '\r', '\n');
      ASSERT_EQ(getText(*back, "cdataText"), normalized) << std::hex << static_cast<unsigned>(first);
      if (first != 0) {
        break;  // the forms differ only in how they treat characters of the first block
      }
    }
  }
}

TEST(RoundTrip, AwkwardStrings)
{
  expectRows("xml/documents.cases", "awkward strings", [](const Lines& cells) {
    const LogCapture quiet;
    std::set<std::string> results;
    for (const EncodingFlags& flags : allForms()) {
      YMMessageBase m = make("Types_Leaf");
      setText(m, "text", cells[0]);
      const auto back = readXml(toXml(m, flags, false));
      EXPECT_EQ(isSet(*back, "text"), !(cells[0].empty() && flags.valuesAsElements))
          << "an element without text sets nothing";
      results.insert(getText(*back, "text"));
    }
    EXPECT_EQ(results.size(), 1u) << "the form makes no difference";
    return kwxml::shown(*results.begin(), "\\");
  });
}

TEST(RoundTrip, TheNestingLimitIsTheSameBothWaysAndFitsASmallStack)
{
  LogCapture log;
  onSmallStack([&] {
    YMMessageBase deepest = nodeChain(kwxml::maxMessageNesting);
    const auto back = readXml(toXml(deepest, {}, false));
    ASSERT_NE(back, nullptr);
    EXPECT_TRUE(*back == deepest);
    YMMessageBase copy(*back);
    EXPECT_TRUE(copy == deepest);

    std::string maps = "<Types_Node label='x'/>";  // nested through maps, which cost two elements a level
    std::string open = "<Types_Node label='x'>";
    std::string close;
    for (int i = 1; i < kwxml::maxMessageNesting; ++i) {
      open += "<byNumber><__mapKey__ val='1'/><__mapValue__ label='y'>";
      close += "</__mapValue__></byNumber>";
    }
    const auto mapped = readXml(open + "<label>z</label>" + close + "</Types_Node>");
    ASSERT_NE(mapped, nullptr);
    EXPECT_NE(readXml(toXml(*mapped, {}, false)), nullptr);
    EXPECT_EQ(readXml(open + "<byNumber><__mapKey__ val='1'/><__mapValue__ label='y'/></byNumber>" + close +
                      "</Types_Node>"),
              nullptr);
  });
  EXPECT_TRUE(log.has("MySAX2Handler::startElement", "Messages nest deeper than [64]"));
}

TEST(RoundTrip, CutAndDamagedDocumentsFailOrReadSafely)
{
  LogCapture quiet;
  YMMessageBase m = make("Types_AllTypes");
  fillAll(m, 1, 1);
  const std::string xml = toXml(m, {}, false);
  for (std::size_t i = 0; i < xml.size(); i += 7) {
    EXPECT_EQ(readXml(xml.substr(0, i)), nullptr);
  }
  std::mt19937 random(7);
  for (int i = 0; i < 400; ++i) {
    std::string damaged = xml;
    damaged[random() % damaged.size()] = static_cast<char>(random());
    const auto back = readXml(damaged);
    if (back != nullptr) {  // what was understood stays so
      const auto again = readXml(toXml(*back, {}, false));
      ASSERT_NE(again, nullptr);
      EXPECT_EQ(toXml(*again, {}, false), toXml(*back, {}, false));
    }
  }
}
