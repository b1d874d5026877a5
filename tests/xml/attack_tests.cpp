// Documents that attack a reader: nothing that they name is opened, no entity grows, nesting ends.
#include "platform/TempDirectory.h"
#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/Messages.h"
#include "support/OpenTrace.h"
#include "support/ParserFeed.h"
#include "support/SmallStack.h"
#include "xml/Utf.h"

#include <kwxml/xml/MySAX2Handler.h>
#include <kwxml/xml/XMLSerializer.h>

#include <gtest/gtest.h>

#include <xercesc/util/PlatformUtils.hpp>

#include <malloc.h>

#include <fstream>
#include <regex>
#include <thread>

using namespace kwxml::test;

namespace {

const std::string rows = "xml/attacks.cases";

class Attacks : public testing::Test
{
protected:
  Attacks() { readXml("<Demo_Status/>"); }  // the library itself opens something at first
  static std::wstring widen(const std::string& text) { return {text.begin(), text.end()}; }

  const TempDirectory directory_;
  const std::string file_ = directory_.write("secret.txt", "the secret");
};

}  // namespace

TEST_F(Attacks, AreRefusedInEverySetUpWithoutOpeningAnything)
{
  expectCases(rows, "attacks", [&](const std::string& document) {
    const LogCapture log;
    const std::string xml = std::regex_replace(document, std::regex("FILE"), file_);
    const OpenTrace trace;
    MySAX2Handler narrow;
    EXPECT_EQ(XMLSerializer().parserHelper(&narrow, xml), 4);
    YMMessageBase wide = make("Demo_Status");
    EXPECT_EQ(XMLDecoder().unSerialize(wide, widen(xml).c_str()), 4);
    MySAX2Handler validating;
    EXPECT_EQ(XMLSerializer().parserHelperWideChar(&validating, widen(xml).c_str(), true), 4);
    std::string name;
    unsigned int tag = 0;
    EXPECT_FALSE(XMLSerializer::GetTagAndTagIDFromXML(xml, name, tag));
    EXPECT_TRUE(trace.opened().empty()) << trace.opened().front();
    for (const LogLine& line : log.lines()) {
      EXPECT_EQ(line.text.find("the secret"), std::string::npos);
    }
    return "";
  });
}

TEST_F(Attacks, NamedFilesAndHostsAreLeftAlone)
{
  expectCases(rows, "namings", [&](const std::string& document) {
    const LogCapture quiet;
    const std::string xml = std::regex_replace(document, std::regex("FILE"), file_);
    const OpenTrace trace;
    const auto narrow = readXml(xml);
    EXPECT_TRUE(narrow != nullptr && getInt(*narrow, "errorCode") == 1);
    YMMessageBase wide = make("Demo_Status");
    EXPECT_EQ(XMLDecoder().unSerialize(wide, widen(xml).c_str()), 0);
    MySAX2Handler validating;  // what it finds invalid it may report, but nothing more
    EXPECT_NE(XMLSerializer().parserHelperWideChar(&validating, widen(xml).c_str(), true), 5);
    EXPECT_TRUE(trace.opened().empty()) << trace.opened().front();
    return "";
  });
}

TEST_F(Attacks, TheTraceSeesWhatAPlainReaderOpens)
{
  const OpenTrace trace;
  std::ifstream stream(file_);
  std::fclose(std::fopen(file_.c_str(), "r"));
  EXPECT_FALSE(trace.opened().empty());
}

TEST_F(Attacks, ContentModelsNeitherLeakNorGrow)
{
  const auto model = [](int levels, bool whole) {
    std::string text = "<!DOCTYPE a [<!ELEMENT a (b";
    for (int i = 0; i < levels; ++i) {
      text += ",(b";
    }
    return text + (whole ? std::string(static_cast<std::size_t>(levels), ')') + ")>]><Demo_Status/>" : "");
  };
  for (const std::string& xml : {model(900, false), model(5000, true)}) {
    const auto before = mallinfo2().uordblks;
    for (int i = 0; i < 100; ++i) {
      MySAX2Handler handler;
      EXPECT_EQ(XMLSerializer().parserHelper(&handler, xml), 4);
    }
    EXPECT_LT(mallinfo2().uordblks, before + 1000000);
  }
  MySAX2Handler validating;
  const std::wstring growing = L"<!DOCTYPE a [<!ELEMENT a ((a|b)*,a,(a|b),(a|b))>]><Demo_Status/>";
  EXPECT_EQ(XMLSerializer().parserHelperWideChar(&validating, growing.c_str(), true), 4);
}

TEST_F(Attacks, NestedElementsEndAtTheLimit)
{
  LogCapture log;
  onSmallStack([] {
    for (const char* name : {"unknown", "child"}) {
      std::string xml = "<Types_Node>";
      for (int i = 0; i < 200000; ++i) {
        xml += std::string("<") + name + ">";
      }
      EXPECT_EQ(readXml(xml), nullptr);
    }
  });
  EXPECT_TRUE(log.has("MySAX2Handler::startElement", "Elements nest deeper than [130]"));
  EXPECT_TRUE(log.has("MySAX2Handler::startElement", "Messages nest deeper than [64]"));
}

TEST_F(Attacks, AProcessThatUsesTheXmlLibraryItselfKeepsIt)
{
  xercesc::XMLPlatformUtils::Initialize();
  xercesc::XMLPlatformUtils::Terminate();
  std::vector<std::jthread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      std::string text(5000 + static_cast<std::size_t>(t), 'x');
      for (int i = 0; i < 6000; ++i) {
        appendUtf8(text, U'\u0100' + static_cast<char32_t>(t * 0x3000) + static_cast<char32_t>(i % 0x1000));
      }
      const std::string xml = "<Demo_Status errorCode=\"1\" errorMessage=\"" + text + "\"/>";
      for (int k = 0; k < 50; ++k) {
        const auto m = k % 2 == 0 ? readXml(xml) : readByParser(xml);
        ASSERT_NE(m, nullptr);
        EXPECT_TRUE(toXml(*m) == xml);
      }
    });
  }
}
