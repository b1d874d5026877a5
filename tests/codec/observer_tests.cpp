// What readers tell their observers: kind, path, place and words of every problem; and that nothing else
// changes.
#include "binary/Bodies.h"
#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/ParserFeed.h"
#include "support/PasswordKey.h"

#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/StrictReading.h>
#include <kwxml/reading/Problems.h>
#include <kwxml/xml/TextFit.h>

#include <gtest/gtest.h>

#include <set>
#include <tuple>

using namespace kwxml;
using namespace kwxml::test;

namespace {

const std::string cases = "codec/problems.cases";

std::string text(const Problems& problems)
{
  std::string out;
  for (const Problems::Entry& problem : problems.entries()) {
    out += toText(problem, "x") + " (" + nameOf(problem.kind) + ")\n";
  }
  return out;
}

/// Kinds, paths and words: all but the places.
std::string withoutPlaces(const Problems& problems)
{
  std::string out;
  for (const Problems::Entry& problem : problems.entries()) {
    out += std::string(nameOf(problem.kind)) + ", " + problem.text + "\n";
  }
  return out;
}

/// What reading gives and logs is the same by both feeds, with an observer and without.
std::string problemsOf(const std::string& xml)
{
  LogCapture log(15);
  const auto message = readXml(xml);
  const std::string lines = log.taken();
  Problems problems;
  const std::unique_ptr<YMMessageBase> observed(XMLDecoder().unSerialize(xml, nullptr, &problems));
  EXPECT_TRUE(areSame(message, observed));
  EXPECT_EQ(log.taken(), lines);
  Problems parsed;
  EXPECT_TRUE(areSame(message, readByParser(xml, &parsed)));
  EXPECT_EQ(log.taken(), lines);
  EXPECT_EQ(withoutPlaces(parsed), withoutPlaces(problems));
  return text(problems);
}

}  // namespace

TEST(Observer, IsToldOfEachProblemOfADocument)
{
  expectCases(cases, "documents", problemsOf);
}

TEST(Observer, IsToldOfEachProblemOfBytes)
{
  expectRows(cases, "bytes", [](const Lines& cells) {
    const LogCapture quiet;
    const YMMessageBase cls = make(cells[0]);
    std::string bytes = header(cls, cells.size() > 2 ? std::stoi(cells[2]) : 2) + fromHex(expand(cells[1]));
    BinaryBuffer buffer;
    buffer.deepCopyBuffer(bytes.data(), bytes.size(), false);
    Problems problems;
    const std::unique_ptr<YMMessageBase> observed(XMLDecoder().UnserializeBinary(buffer, nullptr, &problems));
    EXPECT_TRUE(areSame(observed, create(bytes)));
    EXPECT_EQ(readStrict(buffer).message == nullptr, !problems.empty());
    return text(problems);
  });
}

TEST(Observer, EachKindHasItsWordsWithTextsAndRemarksAndWithout)
{
  const YMMessageBase item = make("Demo_Item");
  expectCases(cases, "words", [&](const std::string& name) {
    std::string words;
    for (unsigned kind = 0; kind <= static_cast<unsigned>(ProblemKind::TextRescued); ++kind) {
      if (name != nameOf(static_cast<ProblemKind>(kind))) {
        continue;
      }
      std::set<std::string> before;
      for (const char* text : {"", "gren"}) {
        for (const char* remark : {"", "a remark"}) {
          const std::string line = describe({.kind = static_cast<ProblemKind>(kind),
                                             .field = &field(item, "color"),
                                             .owner = item.getClass(),
                                             .type = FIELD_INT,
                                             .text = text,
                                             .remark = remark});
          words += before.insert(line).second ? line + "\n" : "";
        }
      }
    }
    return words;
  });
}

TEST(Observer, CutAndChangedDocumentsAreTheSameByBothFeeds)
{
  LogCapture log;
  YMMessageBase filled = make("Types_AllTypes");
  fillAll(filled, 1, 1);
  std::string xml = toXml(filled);
  const auto compare = [&] {
    Problems problems;
    const std::unique_ptr<YMMessageBase> scanned(XMLDecoder().unSerialize(xml, nullptr, &problems));
    const std::string lines = log.taken();
    Problems parsed;
    ASSERT_TRUE(areSame(scanned, readByParser(xml, &parsed))) << xml;
    ASSERT_EQ(log.taken(), lines);
    ASSERT_EQ(withoutPlaces(problems), withoutPlaces(parsed)) << xml;
  };
  for (std::size_t i = 0; i < xml.size(); i += 11) {
    const char bit = static_cast<char>(1 << i % 8);
    xml[i] = static_cast<char>(xml[i] ^ bit);
    compare();
    xml[i] = static_cast<char>(xml[i] ^ bit);
    const std::string whole = xml;
    xml.resize(i);
    compare();
    xml = whole;
  }
}

TEST(Observer, OneThatFailsEndsTheReadingAndIsToldSo)
{
  struct Failing : ReadObserver
  {
    void met(const Problem& problem) override
    {
      told.emplace_back(problem.remark);
      if (told.size() == 1) {
        throw std::runtime_error("full");
      }
    }
    std::vector<std::string> told;
  };
  const LogCapture quiet;
  using Read = bool (*)(ReadObserver&);
  const Read readings[] = {
      [](ReadObserver& o) {
        return XMLDecoder().unSerialize("<Demo_Item price='x'/>", nullptr, &o) != nullptr;
      },
      [](ReadObserver& o) { return readByParser("<Demo_Item price='x'/>", &o) != nullptr; },
      [](ReadObserver& o) {
        return JSONDecoder().unSerialize(R"({"Demo_Item":{"price":"x"}})", &o) != nullptr;
      },
  };
  for (const Read read : readings) {
    Failing observer;
    EXPECT_FALSE(read(observer));
    ASSERT_EQ(observer.told.size(), 2U);
    EXPECT_EQ(observer.told[1], "reading failed: the observer failed");
    struct : ReadObserver
    {
      void met(const Problem&) override { ++told < 2 ? throw 7 : void(); }
      int told = 0;
    } unusual;
    EXPECT_FALSE(read(unusual));
    EXPECT_EQ(unusual.told, 2);
  }
}

TEST(Observer, IsToldWhyAMessageOfTheCallerStaysAsItWas)
{
  const LogCapture quiet;
  YMMessageBase status = make("Demo_Status");
  Problems problems;
  XMLSerializer reader;
  reader.setObserver(&problems);
  EXPECT_NE(reader.unserialize(status, std::string("<Demo_Item/>")), 0);
  EXPECT_NE(reader.unserialize(status, L"<Demo_Status errorMessage='\x110000'/>"), 0);
  EXPECT_EQ(withoutPlaces(problems),
            "unknown class, a message of another class is read into\n"
            "not well-formed, The text holds a value that is no Unicode code point\n");
}

TEST(Observer, PasswordsAreNeverInAProblem)
{
  const LogCapture quiet;
  const std::string secret = "Hunter2";
  for (const std::string form :
       {"<Types_Annotated password3='@'/>", "<Types_Annotated password1='a' password1='@'/>",
        "<Types_Annotated><password3>@<more/></password3></Types_Annotated>",
        "<Types_Annotated>@</Types_Annotated>", "<Types_Annotated pasword3='@'/>",
        "<Types_Annotated password3='&@;'/>", "<Types_Annotated><password3>@<@</password3></Types_Annotated>",
        "<Types_Annotated password3='x'@='y'/>", "<Types_Annotated password3='x' @=''@'/>",
        "<Types_Annotated><password3 val='@'/></Types_Annotated>"}) {
    std::string xml = form;
    for (auto at = xml.find('@'); at != std::string::npos; at = xml.find('@')) {
      xml.replace(at, 1, secret);
    }
    Problems problems;
    const std::unique_ptr<YMMessageBase> message(XMLDecoder().unSerialize(xml, nullptr, &problems));
    EXPECT_EQ(text(problems).find(secret), std::string::npos) << text(problems);
  }
}

TEST(Scanner, LeavesToTheParserWhatWouldCostIt)
{
  // Names whose sums of 31 powers are equal, in one tag; a declaration longer than the parser decodes.
  std::string xml = "<Demo_Status";
  for (int i = 0; i < 1 << 12; ++i) {
    xml += ' ';
    for (int bit = 0; bit < 12; ++bit) {
      xml += (i >> bit & 1) != 0 ? "Aa" : "BB";
    }
    xml += "=''";
  }
  const LogCapture quiet;
  EXPECT_NE(readXml(xml + "/>"), nullptr);
  EXPECT_EQ(readXml(xml + " AaAaAaAaAaAaAaAaAaAaAaAa=''/>"), nullptr) << "given twice";
  EXPECT_EQ(readXml("<?xml version='1.0'" + std::string(20000, ' ') + "?><Demo_Status/>"), nullptr);
  for (const char* comment : {"<!--\x01-->", "<!-- - -", "<!-- -- -->", "<!- -->"}) {
    EXPECT_EQ(readXml(std::string("<Demo_Status>") + comment + "</Demo_Status>"), nullptr) << comment;
  }
}

TEST(Fit, OfTimesAndOfTypesWithoutNumbers)
{
  const std::tuple<const char*, const char*, bool> times[] = {
      {"12:30", "dd:dd", true},
      {"12-30", "dd:dd", false},
      {"120:30", "dd:dd", false},
      {"12:30:", "dd:dd", false},
      {":30", "dd:dd", false},
      {"2024-2-29   1", "dddd-dd-dd d", true},
      {"2023-2-29 1", "dddd-dd-dd d", false},
  };
  for (const auto& [text, form, fits] : times) {
    EXPECT_EQ(isTimeOfForm(text, form), fits) << text;
  }
  EXPECT_EQ(fitOf(FIELD_STRING, "x"), TextFit::Whole);
}

TEST(Problems, AreBounded)
{
  const LogCapture quiet;
  std::string xml = "<Types_AllTypes>";
  for (int i = 0; i < 30; ++i) {
    xml += "\n<intList val='x'/>";
  }
  const ReadResult result = readStrict(xml + "</Types_AllTypes>");
  EXPECT_FALSE(result);
  EXPECT_EQ(result.problems.count(), 30u);
  EXPECT_EQ(result.problems.entries().size(), Problems::usualMost);
  const std::string lines = toText(result.problems, "f\n.xml");
  EXPECT_TRUE(lines.starts_with("f\\n.xml:2:15: error: intList[0]: 'x' is no int\n")) << lines;
  EXPECT_TRUE(lines.ends_with("f\\n.xml: and 10 more\n")) << lines;
  Problems again;
  again.met({.kind = ProblemKind::StrayText});
  again.clear();
  EXPECT_TRUE(again.empty() && again.entries().empty() && !again.has(ProblemKind::StrayText));
  EXPECT_TRUE(readStrict("<Types_AllTypes doubleValue='0." + std::string(799, '3') + "'/>")
                  .problems.has(ProblemKind::PrecisionLost));
  EXPECT_TRUE(readStrict("<Types_AllTypes doubleValue='0." + std::string(900, '3') + "'/>")
                  .problems.has(ProblemKind::PrecisionLost));
  EXPECT_TRUE(readStrict("<Demo_Status errorCode='1'/>"));
  EXPECT_FALSE(readStrict("<Demo_Status errorCod='1'/>")) << "what is only a warning is a problem too";
}
