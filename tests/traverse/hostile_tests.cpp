// Walks and renderings where something is against them: visitors that change what is walked, fields that
// share a hash, secrets below a field, and passwords that pass through a text.
#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/codec/StandInPasswords.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/traverse/DefaultRenderContext.h>
#include <kwxml/traverse/HTMLRenderContext.h>
#include <kwxml/traverse/KwXMLSummary.h>

#include "support/DataFile.h"
#include "support/Messages.h"

#include <gtest/gtest.h>

#include <functional>

using namespace kwxml::test;

namespace {

std::string summaries(YMMessageBase& m)
{
  std::ostringstream stream;
  HTMLRenderContext html;
  HTMLGuiSummaryRenderContext gui;
  EXPECT_EQ(KwXMLSummary::getKwSummaryInfo(&m, stream, {}), 0);
  EXPECT_EQ(KwXMLSummary::getKwSummaryInfo(&m, &html, {}), 0);
  EXPECT_EQ(KwXMLSummary::getKwSummaryInfo(&m, &gui, {}), 0);
  std::string text;
  std::string more;
  html.DumpToString(text);
  gui.DumpToString(more);
  return stream.str() + "\n" + text + "\n" + more;
}

/// Does something at the start of each nested message.
struct Meddler final : XmlTraverseHandler
{
  using XmlTraverseHandler::XmlTraverseHandler;
  std::function<void(MsgFieldContext&)> meddle;
  int starts = 0;
  int ends = 0;
  void startSubObject(MsgFieldContext& f) override
  {
    ++starts;
    meddle(f);
  }
  void visit(MsgFieldContext&) override {}
  void endSubObject(MsgFieldContext&) override { ++ends; }
};

}  // namespace

TEST(Hostile, VisitorsMayTakeAwayWhatIsAboutToBeWalked)
{
  YMMessageBase leaf = make("Types_Leaf");
  const std::function<void(MsgFieldContext&)> meddling[] = {
      [](MsgFieldContext& f) { f.clearList(); },
      [&leaf](MsgFieldContext& f) { f.replaceValue(&leaf); },
      [](MsgFieldContext& f) {
        f.getMessage()->deleteMember(f.getField().fieldNumber, f.getMessage()->getTagID(), f.getField().hash,
                                     false);
      },
  };
  for (const auto& meddle : meddling) {
    for (const bool order : {false, true}) {
      YMMessageBase m = make("Types_AllTypes");
      fill(m, field(m, "objectList"), 1);
      fill(m, field(m, "objectValue"), 1);
      Meddler meddler(0, order);
      meddler.meddle = meddle;
      XmlTraverse().traverse(m, meddler, false, false);
      EXPECT_EQ(meddler.starts, meddler.ends);
      EXPECT_GE(meddler.starts, 2);
    }
  }
}

TEST(Hostile, FieldsThatShareAHashKeepTheirLists)
{
  YMMessageBase m = make("Secrets_Twins");
  for (const int number : {1, 2}) {
    ASSERT_TRUE(XMLDecoder::InsertIntoList(&m, "Aa", &number));
  }
  const std::string text = summaries(m);
  EXPECT_NE(text.find("Aa[1,2],BB[]"), std::string::npos) << text;
  const std::string word = "w";
  ASSERT_TRUE(XMLDecoder::InsertIntoList(&m, "BB", &word));
  const YMMessageBase leaf = make("Types_Leaf");
  ASSERT_TRUE(XMLDecoder::InsertIntoList(&m, "CC", &leaf));
  YMMessageBase into = make("Secrets_Twins");
  EXPECT_TRUE(XmlTraverse().merge(m, into) && into == m);
}

TEST(Hostile, SecretsBelowAFieldAreLeftOut)
{
  YMMessageBase m = fromXml(
      "<Secrets_Nested after='shown'><secret name='canary'/><hidden name='canary'/>"
      "<suppressed name='canary'/><secrets name='canary'/></Secrets_Nested>");
  const std::string text = summaries(m);
  const std::string plain = text.substr(0, text.find('\n'));
  EXPECT_EQ(plain, "name:[canary],name:[canary],after:[shown]") << "plain text hides passwords alone";
  EXPECT_EQ(text.substr(plain.size()).find("canary"), std::string::npos) << text;
  EXPECT_EQ(text.find("secret"), std::string::npos) << text;
}

TEST(Hostile, AListOfOneEmptyTextIsShown)
{
  YMMessageBase m = make("Types_Report");
  m.wipeBitset();
  const unsigned unknown = 77;
  XMLDecoder::InsertIntoList(&m, "levels", &unknown);
  EXPECT_NE(summaries(m).find("levels&nbsp;:&nbsp;()"), std::string::npos);
}

TEST(Hostile, PasswordsPassThroughATextAsTheyWere)
{
  kwxml::registerPasswordAlgorithms();
  struct Nobody final : XmlTraverseHandler
  {
    void visit(MsgFieldContext&) override {}
  } nobody;
  std::string xml =
      "<Types_Annotated password3=\"bm90IGEga2V5\" password9=\"c2VjcmV0\" password6=\"as it is\"/>";
  KwXMLContextInfo context;
  XmlTraverse().traverse(xml, nobody, false, false, &context);
  for (const char* part :
       {"password3=\"bm90IGEga2V5\"", "password9=\"c2VjcmV0\"", "password6=\"as it is\""}) {
    EXPECT_NE(xml.find(part), std::string::npos) << xml;
  }
}
