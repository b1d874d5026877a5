// What the reader makes of a text, and what it logs.
#include "support/LogCapture.h"
#include "support/Messages.h"

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/xml/MySAX2Handler.h>
#include <kwxml/xml/XMLSerializer.h>

#include <gtest/gtest.h>

#include <memory>

using namespace kwxml::test;

namespace {

constexpr const char* start = "MySAX2Handler::startElement";
constexpr const char* end = "MySAX2Handler::endElement";
constexpr const char* attributes = "MySAZ2Handler::processAttributes";

std::unique_ptr<YMMessageBase> read(const std::string& xml)
{
  return std::unique_ptr<YMMessageBase>(XMLDecoder().unSerialize(xml));
}

template <class T>
const T& value(const YMMessageBase& m, const std::string& name)
{
  static const T none{};
  const auto* found = static_cast<const T*>(field(m, name).getFieldAddrResolved(m));
  return found != nullptr ? *found : none;
}

}  // namespace

TEST(Reader, UnknownAttributesAndElementsArePassedOver)
{
  LogCapture log(15);
  const auto m = read(
      "<Demo_Status other='1' errorCode='5'><unknown a='1'><errorMessage>no</errorMessage><deep/></unknown>"
      "<errorMessage>yes</errorMessage></Demo_Status>");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(getInt(*m, "errorCode"), 5);
  EXPECT_EQ(getText(*m, "errorMessage"), "yes");
  EXPECT_TRUE(log.has(attributes, "No such field : [other] in message : [Demo_Status] "));
  EXPECT_TRUE(log.has(start, "Skipping member : [unknown]"));
  EXPECT_TRUE(log.has(start, "Skipping element [errorMessage]"));

  // The simple rule: an inner element of the same name ends the skipping, and what follows is read.
  const auto early =
      read("<Demo_Status><x><x/><errorCode>3</errorCode></x><errorMessage>m</errorMessage></Demo_Status>");
  ASSERT_NE(early, nullptr);
  EXPECT_EQ(getInt(*early, "errorCode"), 3);
  EXPECT_EQ(getText(*early, "errorMessage"), "m");
  EXPECT_TRUE(log.has(end, "Unidentified message : [x]"));
}

TEST(Reader, ScalarTextsBecomeValues)
{
  struct Case
  {
    const char* field;
    const char* text;
    long long value;
    bool set;
    const char* log;
  };
  const Case cases[] = {
      {"boolValue", "TRUE", 1, true, nullptr},
      {"boolValue", "False", 0, true, nullptr},
      {"boolValue", "2", 2, true, nullptr},
      {"boolValue", "yes", 0, true, nullptr},
      {"intValue", "  -12abc", -12, true, nullptr},
      {"intValue", "", 0, true, nullptr},
      {"intValue", "99999999999999999999", 9223372036854775807LL, true, nullptr},
      {"enumValue", "3", 3, true, nullptr},
      {"enumValue", "high", 100, true, nullptr},
      {"enumValue", "BELOW", -3, true, nullptr},
      {"enumValue", "none", 0, false, "Enum [Level] does not have enum value [none]"},
      {"enumValue", "-3", 0, false, "Enum [Level] does not have enum value [-3]"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.field) + "=" + c.text);
    LogCapture log;
    const auto m = read("<Types_AllTypes " + std::string(c.field) + "='" + c.text + "'/>");
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(getInt(*m, c.field), c.value);
    EXPECT_EQ(isSet(*m, c.field), c.set);
    EXPECT_EQ(log.lines().size(), c.log != nullptr ? 2u : 0u);
    EXPECT_TRUE(c.log == nullptr ||
                (log.has(attributes, c.log) &&
                 log.has(start, "Error while parsing attributes for tag : [Types_AllTypes] ")));
    const auto element = read("<Types_AllTypes><" + std::string(c.field) + ">" + c.text + "</" + c.field +
                              "></Types_AllTypes>");
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(isSet(*element, c.field), c.set && *c.text != 0)
        << "an element without text leaves the field unset";
    EXPECT_EQ(getInt(*element, c.field), c.value);
  }
}

TEST(Reader, AnnotatedTextsBecomeNumbers)
{
  setenv("TZ", "UTC", 1);
  tzset();
  struct Case
  {
    const char* field;
    const char* text;
    long long value;
    bool set;
    const char* log;
  };
  const Case cases[] = {
      {"dateTime", "2020-09-13 12:26:40", 1600000000, true, nullptr},
      {"dateOnly", "2020-09-13", 1599955200, true, nullptr},
      {"dateTime", "1600000000", 1600000000, true, "Error in XDate representation"},
      {"dateTime", "2 dd", 2, true, "Error in XDate representation"},
      {"daySeconds", " 12:30:05 ", 45005, true, nullptr},
      {"daySeconds", "77", 77, true, nullptr},
      {"daySeconds", "12:30", 0, false, "Error in KWTime representation"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    LogCapture log(25);
    const auto m = read("<Types_Annotated " + std::string(c.field) + "='" + c.text + "'/>");
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(getInt(*m, c.field), c.value);
    EXPECT_EQ(isSet(*m, c.field), c.set);
    EXPECT_EQ(log.has(attributes, c.log != nullptr ? c.log : "Error in XDate representation"),
              c.log != nullptr);
  }
}

TEST(Reader, StringsBytesAndPasswords)
{
  LogCapture log;
  const auto m = read(
      "<Types_AllTypes stringValue='|a|#1!b' bstringValue='YWJj' pstringValue='secret' wstringValue='w' "
      "intList='3'>"
      "<bstringList val='!!'/><bstringList val='YQ=='/><stringList "
      "val=''/><stringList/><stringList>|x</stringList>"
      "<intList val='7'/><intList>8</intList><boolList val='true'/></Types_AllTypes>");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(getText(*m, "stringValue"),
            "a\x01"
            "b");
  EXPECT_EQ(value<bstring>(*m, "bstringValue").text(), "abc");
  EXPECT_EQ(value<pstring>(*m, "pstringValue").text(), "secret");
  EXPECT_FALSE(isSet(*m, "wstringValue"));
  EXPECT_EQ(value<std::vector<bstring>>(*m, "bstringList").size(), 1u) << "damaged base64 is no item";
  EXPECT_EQ(value<std::vector<std::string>>(*m, "stringList"), (std::vector<std::string>{"", "x"}));
  EXPECT_EQ(value<std::vector<int>>(*m, "intList"), (std::vector<int>{7, 8}));
  const auto damaged = read("<Types_AllTypes stringValue='||#D800!' bstringValue='*'/>");
  ASSERT_NE(damaged, nullptr);
  EXPECT_FALSE(isSet(*damaged, "stringValue") || isSet(*damaged, "bstringValue"))
      << "a lone surrogate is no text";
  const auto secret = read("<Types_Annotated password3='c2VjcmV0' marked='1'/>");
  ASSERT_NE(secret, nullptr);
  EXPECT_FALSE(isSet(*secret, "password3"));
  EXPECT_TRUE(isSet(*secret, "marked"));
  EXPECT_TRUE(log.has(attributes, "Password Handler Not Found while serializing bstring field [password3]"));
}

TEST(Reader, MapsKeepTheFirstValueOfAKey)
{
  LogCapture log;
  const auto m = read(
      "<Types_AllTypes>"
      "<stringStringMap><__mapKey__ val='a'/><__mapValue__ val='1'/></stringStringMap>"
      "<stringStringMap><__mapValue__>2</__mapValue__><__mapKey__>a</__mapKey__></stringStringMap>"
      "<stringStringMap><__mapKey__>b</__mapKey__><__mapValue__/></stringStringMap>"
      "<stringStringMap><__mapKey__ val='no value'/></stringStringMap>"
      "<longlongObjectMap><__mapKey__ val='4'/><__mapValue__ "
      "number='5'><text>t</text></__mapValue__></longlongObjectMap>"
      "<objectObjectMap><__mapKey__ key='k'/><__mapValue__ number='1'/></objectObjectMap>"
      "<objectObjectMap><__mapKey__ key='l'/><__mapValue__ number='2'/></objectObjectMap>"
      "<__mapKey__ val='x'/><__mapValue__ val='y'/>"
      "</Types_AllTypes>");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ((value<std::map<std::string, std::string>>(*m, "stringStringMap")),
            (std::map<std::string, std::string>{{"a", "1"}, {"b", ""}}));
  const auto& objects = value<std::map<long long, YMMessageBase>>(*m, "longlongObjectMap");
  ASSERT_EQ(objects.size(), 1u);
  EXPECT_EQ(getInt(objects.at(4), "number"), 5);
  EXPECT_EQ(getText(objects.at(4), "text"), "t");
  const auto& pairs = value<std::map<YMMessageBase, YMMessageBase>>(*m, "objectObjectMap");
  ASSERT_EQ(pairs.size(), 1u);
  EXPECT_EQ(getText(pairs.begin()->first, "key"), "k");
  EXPECT_EQ(getInt(pairs.begin()->second, "number"), 1);
  EXPECT_TRUE(log.has(end, "Encountered wrong map[key] tag usage. Cached map name is : [objectObjectMap]"));
  EXPECT_TRUE(log.has(end, "Encountered wrong map[value] tag usage. Cached map name is : [objectObjectMap]"));
  const auto nested = read(
      "<Types_Node><byName><__mapKey__ val='1'/><__mapValue__ label='a'><byName><__mapKey__ val='2'/>"
      "<__mapValue__ label='b'/></byName></__mapValue__></byName></Types_Node>");
  ASSERT_NE(nested, nullptr);
  const auto& outer = value<std::map<std::string, YMMessageBase>>(*nested, "byName");
  ASSERT_EQ(outer.count("1"), 1u);
  EXPECT_EQ((value<std::map<std::string, YMMessageBase>>(outer.at("1"), "byName").count("2")), 1u);
}

TEST(Reader, RootsThatCannotBeMadeEndTheParse)
{
  for (const char* root :
       {"NoUnderscore", "Demo_", "_Status", "demo_Status", "Demo_Statu", "Nowhere_Status"}) {
    LogCapture log;
    EXPECT_EQ(read("<" + std::string(root) + " errorCode='1'/>"), nullptr);
    EXPECT_TRUE(log.has(start, "Unable to construct object out of tag : [" + std::string(root) + "]"));
    EXPECT_TRUE(log.has("XMLSerializer::parserHelper",
                        "Unknown Exception!\nXML : [<" + std::string(root) + " errorCode='1'/>]"));
  }
  const auto monitoring = read("<SystemMonitoring_Heartbeat host='h'/>");
  ASSERT_NE(monitoring, nullptr);
  EXPECT_EQ(monitoring->getTagName(), "MonitoringHost_Heartbeat");
}

TEST(Reader, IntoAMessageOfTheCaller)
{
  LogCapture log;
  YMMessageBase m = make("Demo_Status");
  setInt(m, "errorCode", 1);
  setText(m, "errorMessage", "before");
  const YMMessageBase before(m);
  EXPECT_EQ(XMLDecoder().unSerialize(m, "<Demo_Status errorCode='2'"), 4);
  EXPECT_EQ(XMLDecoder().unSerialize(m, "<Demo_Item name='x'/>"), 5);
  EXPECT_EQ(XMLDecoder().unSerialize(m, "<Nothing_Known/>"), 5);
  EXPECT_EQ(XMLDecoder().unSerialize(m, L"<Demo_Status errorCode='2'"), 4);
  EXPECT_EQ(XMLDecoder().unSerialize(m, L"<Demo_Status errorCode='2\x110000'/>"), 5);
  EXPECT_EQ(XMLDecoder().unSerialize(m, static_cast<const wchar_t*>(nullptr)), 5);
  EXPECT_TRUE(m == before) << "a failed call changes nothing";
  EXPECT_EQ(XMLSerializer().unserialize(m, std::string("<Demo_Status errorCode='2'/>"), true), 0);
  EXPECT_EQ(getText(m, "errorMessage"), "before");
  EXPECT_EQ(getInt(m, "errorCode"), 2);
  EXPECT_EQ(XMLDecoder().unSerialize(m, L"<Demo_Status errorMessage='\u00E9\U0001F600'/>"), 0);
  EXPECT_FALSE(isSet(m, "errorCode"));
  EXPECT_EQ(getText(m, "errorMessage"), "\xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(XMLDecoder().unSerialize(
                m, L"<?xml version='1.0' encoding='ISO-8859-1'?><Demo_Status errorMessage='\u20AC'/>"),
            0)
      << "wide text is what it is, whatever it declares";
  EXPECT_EQ(getText(m, "errorMessage"), "\xE2\x82\xAC");

  MySAX2Handler handler;
  handler.setDefaultsWhileUnserialization();
  EXPECT_EQ(XMLSerializer().parserHelper(&handler, "<Types_Hidden after='x'/>"), 0);
  const std::unique_ptr<YMMessageBase> read(handler.takeMessage());
  EXPECT_EQ(getInt(*read, "before"), 1);
  EXPECT_TRUE(isSet(*read, "before"));
}

TEST(Reader, PeeksAtTheTagWithoutReadingTheRest)
{
  LogCapture log(10);
  std::string name = "old";
  unsigned int tag = 1;
  EXPECT_TRUE(XMLSerializer::GetTagAndTagIDFromXML(
      std::string("<?xml version='1.0'?><!-- c --><Demo_Status a='1'><broken"), name, tag));
  EXPECT_EQ(name, "Demo_Status");
  EXPECT_EQ(tag, 0x010003F0u);
  EXPECT_TRUE(XMLSerializer::GetTagAndTagIDFromXML(std::wstring(L"<SystemMonitoring_Usage/>"), name, tag));
  EXPECT_EQ(name, "MonitoringHost_Usage");
  log.clear();
  const char* outer = "XMLSerializer::GetTagAndTagIDFromXML(string)";
  const char* inner = "XMLSerializer::_GetTagAndTagIDFromXML";
  const std::pair<const char*, const char*> failures[] = {
      {"<Unknown_Tag/>", "[Unable to retrieve tag for given xml]"},
      {"<Demo Status", "[Unable to retrieve tag for given xml]"},
      {"<?xml version='1.0' bad?><Demo_Status/>", "[Unable to retrieve token for given xml]"},
      {"<NoUnderscore/>", "[Unable to retrieve tag for given xml]"},
  };
  for (const auto& [text, reason] : failures) {
    log.clear();
    EXPECT_FALSE(XMLSerializer::GetTagAndTagIDFromXML(std::string(text), name, tag));
    EXPECT_TRUE(log.has(inner, reason)) << text;
    EXPECT_EQ(name, "");
    EXPECT_EQ(tag, 0u);
    EXPECT_TRUE(log.has(outer, "Error retrieving tag for given xml : [" + std::string(text) + "]"));
  }
  EXPECT_FALSE(XMLSerializer::GetTagAndTagIDFromXML(std::string(), name, tag));
  EXPECT_TRUE(log.has(outer, "[Received empty xml]"));
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
  LogCapture log(25);
  MySAX2Handler used;
  EXPECT_EQ(XMLSerializer().parserHelper(&used, "<Demo_Status errorCode='1'><x>"), 4);
  EXPECT_EQ(XMLSerializer().parserHelper(&used, "<Demo_Item/>"), 5);
  EXPECT_TRUE(log.has("MySAX2Handler::startDocument", "[A handler reads one document]"));
  EXPECT_TRUE(log.has("XMLSerializer::parserHelper", "Received xml for unserialization : [<Demo_Item/>]"));
  EXPECT_EQ(XMLSerializer().parserHelper(nullptr, "<Demo_Item/>"), 5);
  EXPECT_EQ(XMLSerializer().parserHelperWideChar(nullptr, L"<Demo_Item/>", false), 5);
  MySAX2Handler idle;
  idle.processMapEnd(field(make("Shop_Ledger"), "totals"));
  idle.endElement(u"", u"", u"x");
  EXPECT_EQ(XMLSerializer::getSAXHandlerMessageObject(idle), nullptr);
  const auto empty = read("<Demo_Status><errorMessage/></Demo_Status>");
  ASSERT_NE(empty, nullptr);
  EXPECT_TRUE(log.has(end, "Skipping member [errorMessage] as it has empty value"));
  skipValidation = true;
  const auto m = read("<Demo_Status errorCode='3'/>");
  skipValidation = false;
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(getInt(*m, "errorCode"), 3);
}

TEST(Reader, CreatesObjectsByName)
{
  LogCapture log;
  const char* function = "XMLDecoder::CreateObjByName";
  YMMessageBase* out = nullptr;
  EXPECT_TRUE(XMLDecoder::CreateObjByName("Demo_Status", &out, "<Demo_Status errorCode='4'/>", true));
  EXPECT_EQ(getInt(*out, "errorCode"), 4);
  delete out;
  EXPECT_TRUE(XMLDecoder::CreateObjByName("Demo_Status", &out, "<later", false));
  EXPECT_STREQ(out->getSerializedXMLString(), "<later");
  delete out;
  for (const char* text : {"<broken", "<Demo_Item/>", ""}) {
    log.clear();
    EXPECT_FALSE(XMLDecoder::CreateObjByName("Demo_Status", &out, text, true));
    EXPECT_EQ(out, nullptr);
    EXPECT_TRUE(log.has(function, "Unable to read the given xml into an object of type : [Demo_Status]"))
        << text;
  }
  EXPECT_FALSE(XMLDecoder::CreateObjByName("", &out, nullptr, true));
  EXPECT_FALSE(XMLDecoder::CreateObjByName("Nowhere_X", &out, nullptr, true));
  EXPECT_FALSE(XMLDecoder::CreateObjByName("Demo_X_Y", &out, nullptr, true));
  EXPECT_FALSE(XMLDecoder::CreateObjByName("Demo_Status", nullptr, nullptr, true));
  EXPECT_TRUE(log.has(function, "Failed to Create Object.XML Tag is empty") &&
              log.has(function, "Subsystem : [Nowhere] does not exist.") &&
              log.has(function, "Subsystem : [Demo] does not contain message : [X_Y].") &&
              log.has(function, "Received Null Message Pointer."));
  EXPECT_EQ(XMLDecoder::GetEnumString(0x01000013, 2), "GREEN");
  EXPECT_EQ(XMLDecoder::GetEnumString(0x01000013, 3), "");
  EXPECT_TRUE(log.has("XMLDecoder::GetEnumString",
                      "Enum with tag id : [16777235l] does not contain member with value : [3]"));
  const YMMessageBase item = make("Demo_Item");
  EXPECT_EQ(XMLDecoder::GetEnumString(&item, "color", 1), "RED");
  EXPECT_EQ(XMLDecoder::GetEnumString(&item, "nothing", 1), "");
  EXPECT_EQ(XMLDecoder::GetEnumString(0xC9000001, 1), "");
  EXPECT_TRUE(
      log.has("XMLDecoder::GetEnumString", "Error retrieving metadata for given tag id : [3372220417l]"));
  std::vector<unsigned long> ids;
  const YMMessageBase annotated = make("Types_Annotated");
  EXPECT_FALSE(XMLDecoder::FillAnnotationIds(field(annotated, "marked"), ids));
  EXPECT_TRUE(XMLDecoder::FillAnnotationIds(field(annotated, "several"), ids));
  EXPECT_EQ(ids, (std::vector<unsigned long>{kwxml::nameHash("Text", 4), kwxml::nameHash("CommandParam", 12),
                                             kwxml::nameHash("Suppress", 8)}));
  EXPECT_EQ(&XMLDecoder::getXMLDecoderObject(), &XMLDecoder::getXMLDecoderObject());
  const EncodingFlags flags;
  EXPECT_TRUE(flags.switch0 == 1 && flags.auxSwitchA == 0 && flags.auxSwitchB == 1 &&
              flags.passwordEncoderArg == -1 && flags.targetPasswordType == 0 && flags.maskPasswords == 0);
  KwXMLContextInfo context;
  EXPECT_FALSE(context.hasError());
  EXPECT_EQ(context.getPasswordEncType(), Annotation::UNKNOWN);
  context.addParam("MessageInfo", &context);
  EXPECT_EQ(context.getParam("MessageInfo"), &context);
  context.setError(1, "a");
  context.setError(2, "b");
  EXPECT_EQ(context.getErrorDetails(), "a\nb\n");
  EXPECT_EQ(context.getErrorCodes(), (std::vector<int>{1, 2}));
  EXPECT_EQ(context.getParam(""), nullptr);
}
