// What the writer writes, byte for byte, and what it logs when it leaves something out.
#include "support/LogCapture.h"
#include "support/Messages.h"
#include "support/SmallStack.h"

#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/model/Limits.h>
#include <kwxml/platform/CYxFile.h>
#include <kwxml/xml/XMLSerializer.h>

#include <gtest/gtest.h>

#include <xercesc/dom/DOM.hpp>

#include <cstdlib>
#include <fstream>

using namespace kwxml::test;

namespace {

constexpr const char* writer = "XMLSerializer::serializeXMLRecur";

EncodingFlags elements()
{
  EncodingFlags flags;
  flags.valuesAsElements = 1;
  return flags;
}

EncodingFlags names()
{
  EncodingFlags flags;
  flags.enumsAsNames = 1;
  return flags;
}

EncodingFlags readable()
{
  EncodingFlags flags;
  flags.readableForm = 1;
  return flags;
}

std::string xml(YMMessageBase& message, const EncodingFlags& flags = EncodingFlags())
{
  std::string out;
  EXPECT_EQ(XMLEncoder(flags).serialize(message, out, true), 0);
  return out;
}

}  // namespace

TEST(Writer, ScalarsListsObjectsAndMapsInBothForms)
{
  YMMessageBase item = make("Demo_Item");
  setText(item, "name", "a<b>");
  setInt(item, "color", 2);
  const FieldDef& price = field(item, "price");
  item.setdouble(price.fieldNumber, price.slot, 1234567.0, item.getTagID(), price.hash);
  const FieldDef& tags = field(item, "tags");
  *item.getliststring(tags.fieldNumber, tags.slot, item.getTagID(), tags.hash, true) = {"x", "y"};
  EXPECT_EQ(xml(item),
            "<Demo_Item color=\"2\" name=\"a&lt;b>\" price=\"1.23457e+06\"><tags val=\"x\"/><tags "
            "val=\"y\"/></Demo_Item>");
  EXPECT_EQ(xml(item, elements()),
            "<Demo_Item><name>a&lt;b&gt;</name><price>1.23457e+06</price><color>2</color><tags>x</"
            "tags><tags>y</tags>"
            "</Demo_Item>");
  EXPECT_EQ(xml(item, names()).substr(0, 24), "<Demo_Item color=\"GREEN\"");
  EXPECT_EQ(xml(item, readable()),
            "\n<Demo_Item color=\"GREEN\" name=\"a&lt;b>\" price=\"1.23457e+06\">\n\n  <tags val=\"x\"/>\n\n"
            "  <tags val=\"y\"/>\n\n</Demo_Item>");

  YMMessageBase order = make("Shop_Order");
  EXPECT_EQ(xml(order), "<Shop_Order><status errorCode=\"0\" errorMessage=\"\"/></Shop_Order>");
  YMMessageBase ledger = make("Shop_Ledger");
  const FieldDef& totals = field(ledger, "totals");
  *ledger.getMapStringAndString(totals.fieldNumber, totals.slot, ledger.getTagID(), totals.hash, true) = {
      {"b", "2"}, {"a", ""}};
  EXPECT_EQ(xml(ledger),
            "<Shop_Ledger><totals><__mapKey__ val=\"a\"/><__mapValue__ val=\"\"/></totals>"
            "<totals><__mapKey__ val=\"b\"/><__mapValue__ val=\"2\"/></totals></Shop_Ledger>");
  EXPECT_EQ(xml(ledger, elements()),
            "<Shop_Ledger><totals><__mapKey__>a</__mapKey__><__mapValue__></__mapValue__></totals>"
            "<totals><__mapKey__>b</__mapKey__><__mapValue__>2</__mapValue__></totals></Shop_Ledger>");
  YMMessageBase empty = make("Types_Leaf");
  EXPECT_EQ(xml(empty), "<Types_Leaf/>");
  std::string document;
  XMLEncoder().serialize(empty, document, false);
  EXPECT_EQ(document, "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?><Types_Leaf/>");
  EXPECT_EQ(XMLSerializer().serialize(empty, document, 1), 0);
  EXPECT_EQ(document, "<Types_Leaf/>");
}

TEST(Writer, NumbersAreWrittenAsTheirTypesSay)
{
  YMMessageBase m = make("Types_AllTypes");
  const auto one = [&](const char* name, auto set) {
    m = make("Types_AllTypes");
    const FieldDef& def = field(m, name);
    set(def.fieldNumber, def.slot, def.hash);
    const std::string text = xml(m);
    const auto begin = text.find('"') + 1;
    return text.substr(begin, text.find('"', begin) - begin);
  };
  const unsigned long tag = m.getTagID();
  const auto real = [&](double v) {
    return one("doubleValue", [&](short n, short s, unsigned h) { m.setdouble(n, s, v, tag, h); });
  };
  EXPECT_EQ(real(0.1), "0.1");
  EXPECT_EQ(real(1e-5), "1e-05");
  EXPECT_EQ(real(100000), "100000");
  EXPECT_EQ(real(1000000), "1e+06");
  EXPECT_EQ(real(-0.0), "-0");
  EXPECT_EQ(real(1.0 / 0.0), "inf");
  EXPECT_EQ(one("floatValue", [&](short n, short s, unsigned h) { m.setfloat(n, s, 0.1f, tag, h); }), "0.1");
  EXPECT_EQ(one("boolValue", [&](short n, short s, unsigned h) { m.setint64(n, s, 2, tag, h); }), "true");
  EXPECT_EQ(one("ulonglongValue", [&](short n, short s, unsigned h) { m.setint64(n, s, -1, tag, h); }), "-1");
  EXPECT_EQ(one("bstringValue",
                [&](short n, short s, unsigned h) { m.setbstringobject(n, s, bstring("abc"), tag, h); }),
            "YWJj&#xA;");
  EXPECT_EQ(
      one("boolList", [&](short n, short s, unsigned h) { m.getlistuint(n, s, tag, h, true)->push_back(1); }),
      "1");
}

TEST(Writer, AnnotatedNumbersAreReadableOnlyInReadableForm)
{
  setenv("TZ", "UTC", 1);
  tzset();
  struct Case
  {
    const char* field;
    long long value;
    const char* plain;
    const char* readable;  // null: left out
    const char* log;
  };
  const Case cases[] = {
      {"dateTime", 1600000000, "1600000000", "2020-09-13 12:26:40", nullptr},
      {"dateOnly", 1600000000, "1600000000", "2020-09-13", nullptr},
      {"dateTime", 172800, "172800", "2 dd", nullptr},
      {"dateTime", 7200, "7200", "2 hh", nullptr},
      {"dateTime", 0, "0", nullptr, nullptr},
      {"dateTime", 5000000000, "5000000000", nullptr, "[Unable to convert timestamp to date]"},
      {"daySeconds", 86400, "86400", "24:00:00", nullptr},
      {"daySeconds", 45005, "45005", "12:30:05", nullptr},
      {"daySeconds", 0, "0", "00:00:00", nullptr},
      {"daySeconds", 86401, "86401", nullptr, "Invalid time in seconds [86401]"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.field) + " " + c.plain);
    YMMessageBase m = make("Types_Annotated");
    m.wipeBitset();
    setInt(m, c.field, c.value);
    EXPECT_EQ(xml(m), std::string("<Types_Annotated ") + c.field + "=\"" + c.plain + "\"/>");
    LogCapture log;
    EXPECT_EQ(xml(m, readable()), c.readable != nullptr ? std::string("\n<Types_Annotated ") + c.field +
                                                              "=\"" + c.readable + "\"/>"
                                                        : "\n<Types_Annotated/>");
    EXPECT_EQ(log.lines().size(), c.log != nullptr ? 1u : 0u);
    EXPECT_TRUE(c.log == nullptr || log.has(writer, c.log));
  }
}

TEST(Writer, EnumerationsWithoutANameAreDroppedOnlyWhenNamesAreAsked)
{
  YMMessageBase item = make("Demo_Item");
  item.wipeBitset();
  setInt(item, "color", 7);
  EXPECT_EQ(xml(item).find("color=\"7\"") != std::string::npos, true);
  for (const EncodingFlags& flags : {names(), readable()}) {
    LogCapture log;
    EXPECT_EQ(xml(item, flags).find("color"), std::string::npos);
    EXPECT_TRUE(log.has(writer, "Field [color] does not accept value [7]"));
  }
}

TEST(Writer, CdataSectionsHoldTheirOwnEnd)
{
  YMMessageBase m = make("Types_Annotated");
  m.wipeBitset();
  setText(m, "cdataText", "a]]>b<&");
  const FieldDef& list = field(m, "cdataList");
  *m.getliststring(list.fieldNumber, list.slot, m.getTagID(), list.hash, true) = {"]]>", "<y>"};
  const std::string expected =
      "<Types_Annotated><cdataText><![CDATA[a]]]]><![CDATA[>b<&]]></cdataText>"
      "<cdataList><![CDATA[]]]]><![CDATA[>]]></cdataList><cdataList><![CDATA[<y>]]></cdataList></"
      "Types_Annotated>";
  EXPECT_EQ(xml(m), expected);
  EXPECT_EQ(xml(m, elements()), expected);
  std::string text = "]]>x]]>";
  parseStringForCDATAEndAndReplace(text);
  EXPECT_EQ(text, "]]]]>>x]]]]>>");
}

TEST(Writer, PasswordsAreMaskedOrNeedAnAlgorithm)
{
  YMMessageBase m = make("Types_Annotated");
  m.wipeBitset();
  for (const FieldDef& def : *m.getClass()) {
    if (def.type == FIELD_PSTRING) {
      m.setpstringobject(def.fieldNumber, def.slot, pstring("canary"),
                         std::string(def.getName()) == "password1" ? Annotation::PLAIN_TEXT
                                                                   : Annotation::KWPASSWORD_ENCRYPTION_VER1,
                         m.getTagID(), def.hash);
    }
  }
  LogCapture log(25);
  const std::string text = xml(m);
  EXPECT_EQ(text, "<Types_Annotated password1=\"canary\"/>")
      << "a plain value is written as it is, others never";
  EXPECT_TRUE(log.has(writer, "Password Handler Not Found while serializing bstring field [password3]"));
  EXPECT_TRUE(log.has(writer, "There are no annotations specified on this field : [plainPassword]"));
  EncodingFlags masked;
  masked.maskPasswords = 1;
  const std::string hidden = xml(m, masked);
  EXPECT_EQ(hidden.find("canary"), std::string::npos);
  for (int i = 1; i <= 11; ++i) {
    EXPECT_NE(hidden.find("password" + std::to_string(i) + "=\"*******\""), std::string::npos) << i;
  }
}

TEST(Writer, MonitoringMessagesHaveTheirOwnSystemName)
{
  YMMessageBase heartbeat = make("MonitoringHost_Heartbeat");
  EXPECT_EQ(xml(heartbeat), "<SystemMonitoring_Heartbeat/>");
  YMMessageBase subscription = make("MonitoringHost_Subscription");
  EXPECT_EQ(xml(subscription), "<MonitoringHost_Subscription/>");
  EXPECT_FALSE(XMLSerializationSupport::checkIfSystemMonitoringMessage(0x0831B7));
}

TEST(Writer, ListenersLeaveFieldsOut)
{
  static int calls;
  calls = 0;
  const auto count = [](ListenerCbData&) { return ++calls > 0; };
  const auto skip = [](ListenerCbData& data) {
    data.result = XMLCB_SKIP_PROCESSING;
    return true;
  };
  const auto skipNumber = [](ListenerCbData& data) {
    data.result = std::string(data.field.getName()) == "number" ? XMLCB_SKIP_PROCESSING : 0;
    return true;
  };
  YMMessageBase leaf = make("Types_Leaf");
  setInt(leaf, "number", 1);
  setText(leaf, "text", "t");
  LogCapture log(15);
  std::string out;
  XMLSerializer serializer;
  XMLSerializationSupport& support = serializer.getXMLSerializationSupportObject();
  support.addListener(leaf.getTagID(), nullptr);
  support.addListener(leaf.getTagID(), skipNumber);
  support.addListener(leaf.getTagID(), count);
  support.addListener(leaf.getTagID(), count);
  serializer.serialize(leaf, out, true);
  EXPECT_EQ(out, "<Types_Leaf text=\"t\"/>");
  EXPECT_EQ(calls, 4);
  EXPECT_TRUE(log.has(writer, "Writing [Leaf]:[number]"));
  EXPECT_TRUE(log.has(writer, "Skipping field [number] as XMLCB_SKIP_PROCESSING is set(On Tag ID)"));
  support.removeListener(leaf.getTagID(), skipNumber);
  serializer.serialize(leaf, out, true);
  EXPECT_EQ(out, "<Types_Leaf number=\"1\" text=\"t\"/>");

  YMMessageBase annotated = make("Types_Annotated");
  annotated.wipeBitset();
  setInt(annotated, "suppressed", 1);
  setText(annotated, "several", "s");
  setInt(annotated, "marked", 2);
  XMLSerializer byAnnotation;
  byAnnotation.getXMLSerializationSupportObject().addListener(kwxml::nameHash("Suppress", 8), skip);
  byAnnotation.serialize(annotated, out, true);
  EXPECT_EQ(out, "<Types_Annotated marked=\"2\"/>");
  EXPECT_TRUE(log.has(writer, "Skipping field [several] as XMLCB_SKIP_PROCESSING is set(On Annotation ID)"));
}

TEST(Writer, FailuresLeaveNoHalfDocument)
{
  LogCapture log;
  std::string out = "old";
  YMMessageBase none;
  EXPECT_EQ(XMLSerializer().serialize(none, out), 1);
  EXPECT_EQ(out, "");
  EXPECT_TRUE(log.has("XMLSerializer::serialize", "[Error creating XML root node.]"));
  onSmallStack([&] {
    YMMessageBase deepest = nodeChain(kwxml::maxMessageNesting);
    EXPECT_EQ(XMLSerializer().serialize(deepest, out), 0);
    YMMessageBase tooDeep = nodeChain(kwxml::maxMessageNesting + 1);
    EXPECT_EQ(XMLSerializer().serialize(tooDeep, out), 1);
    EXPECT_EQ(out, "");
  });
  XMLSerializer().serializeXMLRecur(none, nullptr, nullptr, 2);
  EXPECT_TRUE(log.has(writer, "[Received NULL document]"));

  YMMessageBase stock = make("Inventory_Stock");  // marked set, but never made
  for (const char* name : {"processinginstructioninfo", "article"}) {
    const FieldDef& def = field(stock, name);
    stock.setField(def.fieldNumber, stock.getTagID(), def.hash);
  }
  log.clear();
  EXPECT_EQ(xml(stock), "<Inventory_Stock/>");
  EXPECT_EQ(log.texts(), std::vector<std::string>{"[Please check]"});
}

TEST(Writer, DomOperationsStandAlone)
{
  ASSERT_TRUE(XMLSerializer::initialize());
  LogCapture log;
  xercesc::DOMImplementation* dom = xercesc::DOMImplementationRegistry::getDOMImplementation(u"LS");
  xercesc::DOMDocument* document = dom->createDocument(nullptr, u"root", nullptr);
  xercesc::DOMElement* root = document->getDocumentElement();
  XMLSerializer serializer(elements());
  serializer.writeNodeToXML(document, root, "value", u"1");
  serializer.writeAsCDATA(document, root, "text", u"<c>");
  xercesc::DOMElement* entry = nullptr;
  xercesc::DOMElement* key = nullptr;
  xercesc::DOMElement* value = nullptr;
  EXPECT_EQ(serializer.constructMapElements(document, root, entry, key, value, "map"), 1);
  serializer.writeListNodeToXML(document, key, "val", u"k");
  serializer.writeListNodeAsCDATA(document, value, "val", u"v");
  XMLSerializer().writeNodeToXML(document, entry, "a", u"2");
  serializer.writeNodeToXML(document, root, "no name", u"1");
  EXPECT_TRUE(
      log.has("XMLSerializer::writeNodeToXML", "Exception occurred while constructing tag : [no name]"));
  EXPECT_EQ(serializer.constructMapElements(document, root, entry, key, value, "<"), 0);
  EXPECT_TRUE(log.has("XMLSerializer::constructMapElements", "Error constructing map object [<]."));
  std::string out;
  EXPECT_TRUE(serializer.DumpDOMDocumentToStringUTF8(out, document, true));
  EXPECT_EQ(out,
            "<root><value>1</value><text><![CDATA[<c>]]></text><map a=\"2\"><__mapKey__>k</__mapKey__>"
            "<__mapValue__><![CDATA[v]]></__mapValue__></map></root>");
  document->release();
}

TEST(Writer, DumpsIntoFiles)
{
  LogCapture log;
  YMMessageBase leaf = make("Types_Leaf");
  CYxFile closed;
  EXPECT_NE(XMLSerializer::dumpXmlToFile(nullptr, &closed), 0);
  EXPECT_NE(XMLSerializer::dumpXmlToFile(&leaf, &closed), 0);
  EXPECT_NE(XMLSerializer::dumpXmlToFile(&leaf, nullptr), 0);
  const std::string path = testing::TempDir() + "kwxml_dump.xml";
  {
    CYxFile file(path.c_str(), CYxFile::Mode::Truncate);
    EXPECT_EQ(XMLSerializer::dumpXmlToFile(&leaf, &file), 0);
    YMMessageBase none;
    EXPECT_EQ(XMLSerializer::dumpXmlToFile(&none, &file), 9);
  }
  std::stringstream content;
  content << std::ifstream(path).rdbuf();
  EXPECT_EQ(content.str(), "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?><Types_Leaf/>");
  CYxFile full("/dev/full", CYxFile::Mode::Write);
  EXPECT_EQ(XMLSerializer::dumpXmlToFile(&leaf, &full), 1);
  const char* function = "XMLSerializer::dumpXmlToFile";
  EXPECT_TRUE(log.has(function, "Received null object") && log.has(function, "Invalid input file") &&
              log.has(function, "serialize xml failed with ret code :[1]") &&
              log.has(function, "Failed to Dump Xml String Into File, error=No space left on device"));
}
