// Documents: what the reader makes of them, and what the writer makes of that in each of its forms. Then the
// ways to read: into messages of the caller, by handlers, by name.
#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/Messages.h"
#include "support/ParserFeed.h"

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/model/Limits.h>
#include <kwxml/text/ShownText.h>
#include <kwxml/xml/MySAX2Handler.h>
#include <kwxml/xml/XMLSerializer.h>

#include <gtest/gtest.h>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/Attributes.hpp>

using namespace kwxml::test;

namespace {

const std::string rows = "xml/documents.cases";
const std::string logs = "xml/log.cases";

std::vector<std::pair<std::string, EncodingFlags>> forms()
{
  std::vector<std::pair<std::string, EncodingFlags>> all{
      {"plain", {}}, {"elements", {}}, {"names", {}}, {"readable", {}}};
  all[1].second.valuesAsElements = 1;
  all[2].second.enumsAsNames = 1;
  all[3].second.readableForm = 1;
  return all;
}

/// The log of the reading, and each form that differs from the plain one (the readable form by more than the
/// new-line before it), with the log of its writing.
std::string readAndWritten(const Lines& cells)
{
  LogCapture log(cells.size() > 1 ? std::stoi(cells[1]) : 0);
  const auto message = readXml(cells[0]);
  std::string lines = log.taken();
  EXPECT_TRUE(areSame(message, readByParser(cells[0]))) << "the feeds differ";
  EXPECT_EQ(log.taken(), lines) << "the feeds differ";
  if (message == nullptr) {
    return lines + "no message";
  }
  if (cells[0].find("<" + message->getTagName()) == std::string::npos) {
    lines += "a " + message->getTagName() + "\n";
  }
  std::string plain;
  for (const auto& [name, flags] : forms()) {
    LogCapture writing;
    const std::string text = toXml(*message, flags);
    if (text != (flags.readableForm != 0 ? "\n" + plain : plain)) {
      lines += name + ": " + kwxml::shown(text, "\\") + "\n";
    }
    plain = name == "plain" ? text : plain;
    lines += writing.taken();
  }
  return lines;
}

}  // namespace

TEST(Documents, AreReadAndWrittenInEveryForm)
{
  for (const char* section : {"scalars", "lists, objects and maps", "sections of characters",
                              "what is unknown", "what is damaged", "roots"}) {
    SCOPED_TRACE(section);
    expectRows(rows, section, readAndWritten);
  }
}

TEST(Documents, ScalarTextsBecomeNumbers)
{
  expectRows(rows, "numbers", [](const Lines& cells) {
    const auto found = [&](const std::string& xml) -> std::string {
      const auto m = readXml(xml);
      const std::string number = std::to_string(getInt(*m, cells[1]));
      return isSet(*m, cells[1]) ? number : number == "0" ? "unset" : "unset, but " + number;
    };
    LogCapture log(cells.size() > 3 ? std::stoi(cells[3]) : 0);
    const std::string& name = cells[1];
    const std::string attribute = found("<" + cells[0] + " " + name + "='" + cells[2] + "'/>");
    const std::string logged = log.taken();
    const std::string element =
        found("<" + cells[0] + "><" + name + ">" + cells[2] + "</" + name + "></" + cells[0] + ">");
    return attribute + (element == attribute ? "" : ", as an element " + element) + "\n" + logged;
  });
}

TEST(Documents, PeekingFindsTheTagWithoutReadingTheRest)
{
  const auto peek = [](const Lines& cells) {
    std::string name = "old";
    unsigned int tag = 1;
    const bool found = XMLSerializer::GetTagAndTagIDFromXML(cells[0], name, tag);
    return (found ? "" : "none ") + name + " " + std::to_string(tag);
  };
  expectRows(rows, "tags", peek, 10);
  std::string name;
  unsigned int tag = 0;
  EXPECT_TRUE(XMLSerializer::GetTagAndTagIDFromXML(std::wstring(L"<SystemMonitoring_Usage/>"), name, tag));
  EXPECT_EQ(name, "MonitoringHost_Usage");
}

TEST(Reader, IntoAMessageOfTheCaller)
{
  Transcript log(logs);
  YMMessageBase m = fromXml("<Demo_Status errorCode='1' errorMessage='before'/>");
  const YMMessageBase before(m);
  EXPECT_EQ(XMLDecoder().unSerialize(m, "<Demo_Status errorCode='2'"), 4);
  EXPECT_EQ(XMLDecoder().unSerialize(m, "<Demo_Item name='x'/>"), 5);
  EXPECT_EQ(XMLDecoder().unSerialize(m, "<Nothing_Known/>"), 5);
  EXPECT_EQ(XMLDecoder().unSerialize(m, L"<Demo_Status errorCode='2'"), 4);
  EXPECT_EQ(XMLDecoder().unSerialize(m, L"<Demo_Status errorCode='2\x110000'/>"), 5);
  EXPECT_EQ(XMLDecoder().unSerialize(m, static_cast<const wchar_t*>(nullptr)), 5);
  EXPECT_TRUE(m == before) << "a failed call changes nothing";
  EXPECT_EQ(XMLSerializer().unserialize(m, std::string("<Demo_Status errorCode='2'/>"), true), 0);
  log.note("merged", toXml(m));
  EXPECT_EQ(XMLDecoder().unSerialize(m, L"<Demo_Status errorMessage='\u00E9\U0001F600'/>"), 0);
  EXPECT_FALSE(isSet(m, "errorCode"));
  log.note("wide", toXml(m));
  const wchar_t declared[] =
      L"<?xml version='1.0' encoding='ISO-8859-1'?><Demo_Status errorMessage='\u20AC'/>";
  EXPECT_EQ(XMLDecoder().unSerialize(m, declared), 0);
  YMMessageBase item = make("Demo_Item");
  EXPECT_EQ(XMLDecoder().unSerialize(item, L"<Demo_Item color='a\xD800' name='b'/>"), 0);
  log.note("no enumerator", toXml(item));
  log.note("wide text is what it is, whatever it declares", toXml(m));

  MySAX2Handler handler;
  handler.setDefaultsWhileUnserialization();
  EXPECT_EQ(XMLSerializer().parserHelper(&handler, "<Types_Hidden after='x'/>"), 0);
  const std::unique_ptr<YMMessageBase> hidden(handler.takeMessage());
  EXPECT_TRUE(isSet(*hidden, "before") && getInt(*hidden, "before") == 1);
}

TEST(Reader, AUsedMessageKeepsItsMemoryAndNothingElse)
{
  LogCapture quiet;
  YMMessageBase m = fromXml(
      "<Types_AllTypes><objectList number='1'/><objectList text='x'/><intList val='1'/><stringList val='a'/>"
      "<objectValue text='a text that needs memory of its own'/></Types_AllTypes>");
  const auto& items = object<std::vector<YMMessageBase>>(m, "objectList");
  const YMMessageBase* const first = items.data();
  const std::string expected =
      "<Types_AllTypes><stringList val=\"b\"/><stringList val=\"c\"/><objectList "
      "text=\"y\"/></Types_AllTypes>";
  ASSERT_EQ(XMLSerializer().unserialize(m, expected), 0);
  EXPECT_EQ(toXml(m), expected);
  EXPECT_EQ(items.data(), first);
  // What cannot be read leaves the message as it was.
  for (const char* xml : {"<Types_AllTypes><objectList></Types_AllTypes>", "<Demo_Item/>", "<nothing/>"}) {
    EXPECT_NE(XMLSerializer().unserialize(m, std::string(xml)), 0);
    EXPECT_EQ(toXml(m), expected);
  }
  YMMessageBase node = fromXml("<Types_Node><children/></Types_Node>");
  std::string chain;
  for (int i = 0; i < kwxml::maxMessageNesting; ++i) {
    chain = "<child>" + chain + "</child>";
  }
  EXPECT_NE(XMLSerializer().unserialize(node, "<Types_Node>" + chain + "</Types_Node>"), 0);
  EXPECT_EQ(toXml(node), "<Types_Node><children/></Types_Node>");
  // The text may be a part of the message.
  YMMessageBase status = make("Demo_Status");
  setText(status, "errorMessage", "<Demo_Status errorMessage='shorter' errorCode='3'/>");
  ASSERT_EQ(XMLSerializer().unserialize(status, getText(status, "errorMessage")), 0);
  EXPECT_EQ(toXml(status), "<Demo_Status errorCode=\"3\" errorMessage=\"shorter\"/>");
}

TEST(Reader, TheMessageOfAHandlerIsTheCallers)
{
  LogCapture log;
  for (const char* text : {"<Demo_Status errorCode='1'/>", "<Demo_Status errorCode='1'><broken>"}) {
    std::unique_ptr<YMMessageBase> message;
    {
      MySAX2Handler handler;
      XMLSerializer().parserHelper(&handler, text);
      message.reset(XMLSerializer::getSAXHandlerMessageObject(handler));
      EXPECT_EQ(XMLSerializer::getSAXHandlerMessageObject(handler), message.get()) << "again the same";
    }
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(getInt(*message, "errorCode"), 1);
  }
  MySAX2Handler unasked;  // what nobody asks for is not leaked
  XMLSerializer().parserHelper(&unasked, "<Shop_Ledger><totals><__mapKey__ val='a'/>");
}

TEST(Reader, HandlersReadOneDocumentAndSurviveMisuse)
{
  Transcript log(logs, 25);
  MySAX2Handler used;
  EXPECT_EQ(XMLSerializer().parserHelper(&used, "<Demo_Status errorCode='1'><x>"), 4);
  EXPECT_EQ(XMLSerializer().parserHelper(&used, "<Demo_Item/>"), 5);
  EXPECT_EQ(XMLSerializer().parserHelper(nullptr, "<Demo_Item/>"), 5);
  EXPECT_EQ(XMLSerializer().parserHelperWideChar(nullptr, L"<Demo_Item/>", false), 5);
  MySAX2Handler idle;
  idle.processMapEnd(field(make("Shop_Ledger"), "totals"));
  idle.endElement(u"", u"", u"x");
  EXPECT_THROW(idle.internalEntityDecl(u"x", u"y"), xercesc::SAXParseException)
      << "nobody has said where it stands";
  EXPECT_EQ(XMLSerializer::getSAXHandlerMessageObject(idle), nullptr);
  skipValidation = true;
  const auto m = readXml("<Demo_Status errorCode='3'/>");
  const auto parsed =
      readByParser("<Demo_Status errorCode='3' x:y='1'/>");  // only names with a colon, not namespaces
  skipValidation = false;
  ASSERT_TRUE(m != nullptr && parsed != nullptr);
  EXPECT_EQ(getInt(*m, "errorCode") + getInt(*parsed, "errorCode"), 6);
}

TEST(Reader, ADerivedHandlerMayStoreAttributesItself)
{
  struct Storing : MySAX2Handler
  {
    void startElement(const XMLCh* uri, const XMLCh* local, const XMLCh* name,
                      const xercesc::Attributes& attributes) override
    {
      stored.push_back(processAttributes(attributes));
      MySAX2Handler::startElement(uri, local, name, attributes);
      getMessage()->wipeBitset();
      stored.push_back(processAttributes(attributes));
    }
    std::vector<bool> stored;
  } handler;
  ASSERT_EQ(XMLSerializer().parserHelper(&handler, "<Types_Leaf number='3' x='1'/>"), 0);
  const std::unique_ptr<YMMessageBase> message(handler.takeMessage());
  EXPECT_EQ(toXml(*message), "<Types_Leaf number=\"3\"/>");
  EXPECT_EQ(handler.stored, (std::vector<bool>{false, true}))
      << "there is no message before the first element";
}

TEST(Reader, CreatesObjectsByName)
{
  expectRows(rows, "objects by name", [](const Lines& cells) {
    YMMessageBase* out = nullptr;
    const bool made =
        XMLDecoder::CreateObjByName(cells[0].c_str(), &out, cells[1].c_str(), cells[2] == "now");
    const std::unique_ptr<YMMessageBase> message(out);
    EXPECT_EQ(made, message != nullptr);
    return made ? toXml(*message) + ", for later [" + message->getSerializedXMLString() + "]" : "nothing";
  });
  Transcript log(logs);
  EXPECT_FALSE(XMLDecoder::CreateObjByName("Demo_Status", nullptr, nullptr, true));
  YMMessageBase* out = nullptr;
  EXPECT_TRUE(XMLDecoder::CreateObjByName("Demo_Status", &out, nullptr, true)) << "without a text";
  const std::unique_ptr<YMMessageBase> made(out);
  std::string why;
  EXPECT_EQ(YMMessageBase::ConstructObject(0xC9000001, "<x/>", out, true, why), 1);
  EXPECT_EQ(why, "Unable to construct object with tagID : [3372220417]");
  EXPECT_EQ(XMLDecoder::GetEnumString(0x01000013, 2), "GREEN");
  EXPECT_EQ(XMLDecoder::GetEnumString(0x01000013, 3), "");
  const YMMessageBase item = make("Demo_Item");
  EXPECT_EQ(XMLDecoder::GetEnumString(&item, "color", 1), "RED");
  EXPECT_EQ(XMLDecoder::GetEnumString(&item, "nothing", 1), "");
  EXPECT_EQ(XMLDecoder::GetEnumString(0xC9000001, 1), "");
  EXPECT_EQ(&XMLDecoder::getXMLDecoderObject(), &XMLDecoder::getXMLDecoderObject());
}

TEST(Reader, AnnotationsFlagsAndContexts)
{
  std::vector<unsigned long> ids;
  const YMMessageBase annotated = make("Types_Annotated");
  EXPECT_FALSE(XMLDecoder::FillAnnotationIds(field(annotated, "marked"), ids));
  EXPECT_TRUE(XMLDecoder::FillAnnotationIds(field(annotated, "several"), ids));
  EXPECT_EQ(ids, (std::vector<unsigned long>{kwxml::nameHash("Text", 4), kwxml::nameHash("CommandParam", 12),
                                             kwxml::nameHash("Suppress", 8)}));
  const EncodingFlags flags;
  EXPECT_TRUE(flags.switch0 == 1 && flags.auxSwitchA == 0 && flags.auxSwitchB == 1 &&
              flags.passwordEncoderArg == -1 && flags.targetPasswordType == 0 && flags.maskPasswords == 0);
  KwXMLContextInfo context;
  EXPECT_TRUE(!context.hasError() && context.getPasswordEncType() == Annotation::UNKNOWN);
  context.addParam("MessageInfo", &context);
  EXPECT_TRUE(context.getParam("MessageInfo") == &context && context.getParam("") == nullptr);
  context.setError(1, "a");
  context.setError(2, "b");
  EXPECT_EQ(context.getErrorDetails(), "a\nb\n");
  EXPECT_EQ(context.getErrorCodes(), (std::vector<int>{1, 2}));
}
