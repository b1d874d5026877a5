// Messages in one call, and with owners.
#include "platform/TempDirectory.h"

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/binary/YMMessageBaseFileHandler.h>
#include <kwxml/codec/Decode.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/platform/CYxFile.h>
#include <kwxml/xml/XMLSerializer.h>

#include <catalogue/Demo.h>
#include <gtest/gtest.h>

using kwxml::ReadResult;

namespace {

const Demo::Status& status()
{
  static const Demo::Status message = [] {
    Demo::Status made;
    made.set_errorCode(7);
    made.set_errorMessage("disk full");
    return made;
  }();
  return message;
}

std::string told(const ReadResult& result)
{
  return (result ? kwxml::cast<Demo::Status>(*result.message)->errorMessage() : "none") + "; " +
         toText(result.problems, "x");
}

}  // namespace

TEST(Decode, GivesTheMessageOrSaysWhyThereIsNone)
{
  std::string xml;
  std::string json;
  ASSERT_EQ(XMLEncoder().serialize(status(), xml), 0);
  ASSERT_EQ(JSONEncoder().serialize(status(), json), 0);
  const std::vector<std::byte> bytes = kwxml::encodeBinary(status());
  for (const std::string& text : {xml, json, " \n\t" + json, xml + "\n"}) {
    EXPECT_EQ(told(kwxml::decode(text)), "disk full; ") << text;
  }
  EXPECT_EQ(told(kwxml::decode(bytes)), "disk full; ");
  EXPECT_EQ(*kwxml::decode(bytes).message, status());

  struct Case
  {
    const char* text;
    const char* told;
  };
  for (const Case& c :
       {Case{"<Demo_Status errorMessage='a' later='1'/>", "a; x:1:38: warning: unknown attribute 'later'\n"},
        Case{"<Demo_Status errorCode='seven'/>", "none; x:1:25: error: errorCode: 'seven' is no int\n"},
        Case{R"({"Demo_Status":{"errorCode":"seven"}})",
             "none; x:1:29: error: errorCode: 'seven' is no int\n"},
        Case{"", "none; x:1:1: error: invalid document structure\n"},
        Case{"<", "none; x:1:2: error: element name expected\n"},
        Case{"{", "none; x:1:2: error: the text ends before the document does\n"}}) {
    EXPECT_EQ(told(kwxml::decode(c.text)), c.told);
  }
  EXPECT_FALSE(kwxml::decode(std::span(bytes).first(bytes.size() - 1)));
  EXPECT_EQ(told(kwxml::decode(std::span<const std::byte>())), "none; x: error: shorter than a header\n");
}

// Views end where they end: the readers' own runs stop at a zero byte.
TEST(Decode, TakesViewsIntoLargerTexts)
{
  std::string xml;
  std::string json;
  ASSERT_EQ(XMLEncoder().serialize(status(), xml), 0);
  ASSERT_EQ(JSONEncoder().serialize(status(), json), 0);
  for (const std::string& text : {xml, json, xml.substr(xml.find("?>") + 2)}) {
    for (const std::string behind : {"   ", "<a/>", "x", "/>", "\"\">"}) {
      const std::vector<char> bytes(text.begin(), text.end());  // nothing of the program's stands behind it
      const std::string larger = text + behind;
      EXPECT_EQ(told(kwxml::decode(std::string_view(bytes.data(), bytes.size()))), "disk full; ");
      EXPECT_EQ(told(kwxml::decode(std::string_view(larger).substr(0, text.size()))), "disk full; ");
      EXPECT_FALSE(kwxml::decode(std::string_view(larger).substr(0, text.size() - 1)));
      Demo::Status read;
      EXPECT_EQ(XMLDecoder().unSerialize(read, std::string_view(larger).substr(0, text.size())),
                text == json ? 4 : 0);
    }
  }
}

TEST(Owned, EachFunctionThatGivesAMessageCanGiveItsOwner)
{
  const auto expectStatus = [](const std::unique_ptr<YMMessageBase>& message, const char* from) {
    ASSERT_NE(message, nullptr) << from;
    EXPECT_NE(kwxml::cast<Demo::Status>(*message), nullptr) << from;
  };
  std::string xml;
  ASSERT_EQ(XMLEncoder().serialize(status(), xml), 0);
  const std::vector<std::byte> bytes = kwxml::encodeBinary(status());
  BinaryBuffer buffer(bytes);
  expectStatus(YMMessageBase::createObject(Demo::Status::tag, kwxml::owned), "createObject");
  expectStatus(YMMessageBase::createObjectFromIndices(Demo::Status::systemIndex, Demo::Status::classIndex,
                                                      kwxml::owned),
               "createObjectFromIndices");
  expectStatus(XMLDecoder().unSerialize(xml, kwxml::owned), "unSerialize");
  expectStatus(XMLSerializer().unserialize(xml, kwxml::owned), "unserialize");
  expectStatus(XMLDecoder().UnserializeBinary(buffer, kwxml::owned), "UnserializeBinary");
  expectStatus(BinarySerializer::unserialize(buffer, kwxml::owned), "BinarySerializer::unserialize");
  std::unique_ptr<YMMessageBase> out;
  std::string error;
  EXPECT_TRUE(XMLDecoder::CreateObjByName("Demo_Status", out));
  expectStatus(out, "CreateObjByName");
  EXPECT_EQ(YMMessageBase::ConstructObject(Demo::Status::tag, xml.c_str(), out, true, error), 0);
  expectStatus(out, "ConstructObject");
  EXPECT_EQ(*out, status());
  EXPECT_FALSE(XMLDecoder::CreateObjByName("Demo_None", out));
  EXPECT_EQ(out, nullptr);

  const kwxml::test::TempDirectory directory;
  CYxFile file((directory / "records").c_str(), CYxFile::Mode::Truncate);
  YMMessageBaseFileHandler handler(&file);
  ASSERT_EQ(handler.AddObjectToFile(status()), 0);
  file.Seek(0);
  EXPECT_EQ(handler.GetObjectFromFile(out), 0);
  expectStatus(out, "GetObjectFromFile");
  EXPECT_NE(handler.GetObjectFromFile(out), 0);
  EXPECT_EQ(out, nullptr);
}
