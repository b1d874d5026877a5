// Documents that attack a reader: nothing that they name is opened, no entity grows, nesting ends.
#include "support/DataFile.h"
#include "support/Messages.h"
#include "support/OpenTrace.h"
#include "support/SmallStack.h"

#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/xml/MySAX2Handler.h>
#include <kwxml/xml/XMLSerializer.h>

#include <gtest/gtest.h>

#include <xercesc/util/PlatformUtils.hpp>

#include <malloc.h>

#include <fstream>
#include <memory>
#include <regex>
#include <thread>

using namespace kwxml::test;

namespace {

const std::string rows = "xml/attacks.cases";

std::string laughs()
{
  std::string text = "<!DOCTYPE Demo_Status [<!ENTITY a0 'hahahahahaha'>";
  for (int i = 1; i < 8; ++i) {
    const std::string inner = "&a" + std::to_string(i - 1) + ";";
    text += "<!ENTITY a" + std::to_string(i) + " '";
    for (int k = 0; k < 10; ++k) {
      text += inner;
    }
    text += "'>";
  }
  return text + "]>";
}

/// The document that a row stands for.
std::string documentOf(const std::string& row, const std::string& file)
{
  std::string text = std::regex_replace(row, std::regex("FILE"), file);
  return std::regex_replace(text, std::regex("LAUGHS"), laughs());
}

std::wstring widen(const std::string& text)
{
  return {text.begin(), text.end()};
}

class Attacks : public testing::Test
{
protected:
  Attacks() : file_(testing::TempDir() + "kwxml_secret.txt")
  {
    std::ofstream(file_) << "the secret";
    XMLSerializer::initialize();
    std::unique_ptr<YMMessageBase>(
        XMLDecoder().unSerialize("<Demo_Status/>"));  // what the library itself opens first
  }
  const std::string file_;
};

}  // namespace

TEST_F(Attacks, AreRefusedInEverySetUpWithoutOpeningAnything)
{
  expectRows(rows, "attacks", [&](const Lines& cells) {
    const LogCapture log;
    const std::string xml = documentOf(cells[0], file_);
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
  expectRows(rows, "namings", [&](const Lines& cells) {
    const LogCapture quiet;
    const std::string xml = documentOf(cells[0], file_);
    const OpenTrace trace;
    const std::unique_ptr<YMMessageBase> narrow(XMLDecoder().unSerialize(xml));
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
      const std::unique_ptr<YMMessageBase> m(XMLDecoder().unSerialize(xml));
      EXPECT_EQ(m, nullptr);
    }
  });
  EXPECT_TRUE(log.has("MySAX2Handler::startElement", "Elements nest deeper than [130]"));
  EXPECT_TRUE(log.has("MySAX2Handler::startElement", "Messages nest deeper than [64]"));
}

TEST_F(Attacks, AProcessThatUsesTheXmlLibraryItselfKeepsIt)
{
  xercesc::XMLPlatformUtils::Initialize();
  xercesc::XMLPlatformUtils::Terminate();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int k = 0; k < 50; ++k) {
        const std::unique_ptr<YMMessageBase> m(
            XMLDecoder().unSerialize("<Demo_Status errorCode='1' errorMessage='\xC3\xA9'/>"));
        ASSERT_NE(m, nullptr);
        std::string out;
        EXPECT_EQ(XMLSerializer().serialize(*m, out), 0);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}
