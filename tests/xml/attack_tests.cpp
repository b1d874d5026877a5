// Documents that attack a reader: nothing that they name is opened, no entity grows, nesting ends.
#include "support/LogCapture.h"
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
#include <thread>

using namespace kwxml::test;

namespace {

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

/// Every attack, around an attribute or content that would show the stolen text.
std::vector<std::string> attacks(const std::string& file)
{
  const std::string name = "Demo_Status";
  return {
      laughs() + "<Demo_Status errorMessage='&a7;'/>",
      laughs() + "<Demo_Status><errorMessage>&a7;</errorMessage></Demo_Status>",
      "<!DOCTYPE Demo_Status [<!ENTITY % p '&#37;q;&#37;q;'><!ENTITY % q ' '> %p;]><Demo_Status/>",
      "<!DOCTYPE Demo_Status [<!ENTITY x SYSTEM '" + file +
          "'>]><Demo_Status><errorMessage>&x;</errorMessage></Demo_Status>",
      "<!DOCTYPE Demo_Status [<!ENTITY x SYSTEM 'file://" + file + "'>]><Demo_Status errorMessage='&x;'/>",
      "<!DOCTYPE Demo_Status [<!ENTITY % p SYSTEM '" + file + "'> %p;]><Demo_Status/>",
      "<!DOCTYPE Demo_Status [<!ENTITY x 'a'>]><Demo_Status errorMessage='&x;'/>",
      "<!DOCTYPE Demo_Status [<!ATTLIST Demo_Status errorMessage CDATA 'from the "
      "declaration'>]><Demo_Status/>",
  };
}

/// Documents that only name something, and are else in order.
std::vector<std::string> namings(const std::string& file)
{
  return {
      "<!DOCTYPE Demo_Status SYSTEM '" + file + "'><Demo_Status errorCode='1'/>",
      "<!DOCTYPE Demo_Status PUBLIC '-//X//Y' 'http://127.0.0.1:9/x.dtd'><Demo_Status errorCode='1'/>",
      "<Demo_Status xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:noNamespaceSchemaLocation='" +
          file + "' errorCode='1'/>",
      "<?xml-stylesheet href='" + file + "'?><Demo_Status errorCode='1'/>",
      "<Demo_Status xmlns:xi='http://www.w3.org/2001/XInclude' errorCode='1'><xi:include href='" + file +
          "' parse='text'/></Demo_Status>",
  };
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
  LogCapture log;
  for (const std::string& xml : attacks(file_)) {
    SCOPED_TRACE(xml.substr(0, 120));
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
  }
  for (const LogLine& line : log.lines()) {
    EXPECT_EQ(line.text.find("the secret"), std::string::npos);
  }
}

TEST_F(Attacks, NamedFilesAndHostsAreLeftAlone)
{
  for (const std::string& xml : namings(file_)) {
    SCOPED_TRACE(xml);
    const OpenTrace trace;
    const std::unique_ptr<YMMessageBase> narrow(XMLDecoder().unSerialize(xml));
    ASSERT_NE(narrow, nullptr);
    EXPECT_EQ(getInt(*narrow, "errorCode"), 1);
    YMMessageBase wide = make("Demo_Status");
    EXPECT_EQ(XMLDecoder().unSerialize(wide, widen(xml).c_str()), 0);
    MySAX2Handler validating;  // what it finds invalid it may report, but nothing more
    EXPECT_NE(XMLSerializer().parserHelperWideChar(&validating, widen(xml).c_str(), true), 5);
    EXPECT_TRUE(trace.opened().empty()) << trace.opened().front();
  }
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
