// What the writer writes, byte for byte, and what it logs when it leaves something out.
#include "support/LogCapture.h"
#include "support/Messages.h"
#include "support/SmallStack.h"

#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/model/Limits.h>
#include <kwxml/platform/CYxFile.h>
#include <kwxml/xml/MessageWriter.h>
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
      {"daySeconds", -5000000000, "-5000000000", nullptr, "Invalid time in seconds [-2147483648]"},
      {"daySeconds", 5000000000, "5000000000", nullptr, "Invalid time in seconds [2147483647]"},
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
  text = "]]]>]>]]>";
  parseStringForCDATAEndAndReplace(text);
  EXPECT_EQ(text, "]]]]]>>]>]]]]>>");
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
  for (const unsigned long id : {0x0831B8, 0x1E9926, 0x2D8780, 0x3D2DE6, 0x4C4BC8, 0x863962, 0xA13661,
                                 0xAD45B7, 0xB2C843, 0xB55B23, 0xCE06A4, 0xE35D60}) {
    EXPECT_TRUE(XMLSerializationSupport::checkIfSystemMonitoringMessage(id));
    EXPECT_FALSE(XMLSerializationSupport::checkIfSystemMonitoringMessage(id - 1));
    EXPECT_FALSE(XMLSerializationSupport::checkIfSystemMonitoringMessage(id + 1));
  }
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

TEST(Writer, ListenerHelpers)
{
  LogCapture log;
  const YMMessageBase all = make("Types_AllTypes");
  EXPECT_EQ(XMLSerializationSupport::getSizeOfField(field(all, "intValue")), 8);
  EXPECT_EQ(XMLSerializationSupport::getSizeOfField(field(all, "stringValue")), 32);
  EXPECT_EQ(XMLSerializationSupport::getSizeOfField(field(all, "noneValue")), 0);
  EXPECT_EQ(log.texts(),
            std::vector<std::string>{"Unknown Type for Computing size. Type:[0] Field:[noneValue]."});
  YMMessageBase info = make("KwEntities_ProcessingInstructionInfo");
  setText(info, "requestId", "7");
  setText(info, "userName", "u");
  XMLSerializer serializer;
  serializer.getXMLSerializationSupportObject().addListener(info.getTagID(),
                                                            XMLSerializationSupport::hideFields);
  std::string out;
  serializer.serialize(info, out, true);
  EXPECT_EQ(out, "<KwEntities_ProcessingInstructionInfo requestId=\"7\"/>");
}

namespace {

/// A sink that makes no element.
struct RefusingSink final : kwxml::XmlSink
{
  bool open(const char*) override { return false; }
  void close() override { ADD_FAILURE(); }
  bool openMapEntry(const char*) override { return false; }
  void mapValue() override { ADD_FAILURE(); }
  void closeMapEntry() override { ADD_FAILURE(); }
  void attribute(const char* name, const char16_t*) override { written.emplace_back(name); }
  void textElement(const char*, const char16_t*) override { ADD_FAILURE(); }
  void cdataElement(const char*, const char16_t*) override { ADD_FAILURE(); }
  void itemAttribute(const char*, const char16_t*) override { ADD_FAILURE(); }
  void text(const char*, const char16_t*) override { ADD_FAILURE(); }
  void cdata(const char*, const char16_t*) override { ADD_FAILURE(); }
  std::vector<std::string> written;
};

}  // namespace

TEST(Writer, WhatCannotBeMadeIsLoggedAndTheRestIsWritten)
{
  LogCapture log;
  YMMessageBase m = make("Types_AllTypes");
  for (const char* name :
       {"intValue", "objectValue", "intList", "longlongStringMap", "stringLonglongMap", "time64Value"}) {
    fill(m, field(m, name), 1, 0);
  }
  RefusingSink sink;
  const EncodingFlags flags;
  const XMLSerializationSupport listeners;
  EXPECT_TRUE(kwxml::MessageWriter(sink, flags, listeners, nullptr).writeFields(m, 2));
  EXPECT_EQ(sink.written, (std::vector<std::string>{"intValue", "time64Value"}));
  EXPECT_TRUE(log.has(writer, "Error constructing subobject : [objectValue]"));
  EXPECT_TRUE(log.has(writer, "Error constructing list object [intList]."));
  EXPECT_TRUE(log.has(writer, "Error for map field [longlongStringMap], key : [-9223372036854775798]"));
  EXPECT_EQ(log.lines().size(), 1 + 1 + 3 + 3u);
  EXPECT_EQ(log.lines().back().text.rfind("Error for map field [stringLonglongMap], key : [text 12 ", 0), 0u);
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
  YMMessageBase wide = make("Types_Node");
  const FieldDef& children = field(wide, "children");
  wide.getlistobject(children.fieldNumber, children.slot, wide.getTagID(), children.hash, true)
      ->assign(100, nodeChain(kwxml::maxMessageNesting));
  log.clear();
  EXPECT_EQ(XMLSerializer().serialize(wide, out), 1);
  EXPECT_EQ(log.texts(), std::vector<std::string>{"Messages nest deeper than [64]"})
      << "the walk ends at the first";
  YMMessageBase status = make("Demo_Status");
  setText(status, "errorMessage", "kept until it is written");
  const FieldDef& own = field(status, "errorMessage");
  std::string& inside = status.getstring(own.fieldNumber, own.slot, status.getTagID(), own.hash);
  EXPECT_EQ(XMLSerializer().serialize(status, inside, true), 0);
  EXPECT_EQ(inside, "<Demo_Status errorCode=\"0\" errorMessage=\"kept until it is written\"/>");
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
  xercesc::DOMDocument* other = dom->createDocument(nullptr, u"other", nullptr);
  serializer.writeListNodeToXML(document, other->getDocumentElement(), "item", u"x");
  serializer.writeListNodeAsCDATA(document, other->getDocumentElement(), "item", u"x");
  serializer.writeAsCDATA(document, other->getDocumentElement(), "item", u"x");
  XMLSerializer().writeListNodeToXML(document, other->getDocumentElement(), "no name", u"x");
  serializer.writeNodeToXML(document, root, nullptr, u"x");
  EXPECT_TRUE(
      log.has("XMLSerializer::writeListNodeToXML", "Exception occurred while constructing tag : [item]"));
  EXPECT_TRUE(
      log.has("XMLSerializer::writeListNodeAsCDATA", "Exception occurred while constructing tag : [item]"));
  EXPECT_TRUE(log.has("XMLSerializer::writeAsCDATA", "Exception occurred while constructing tag : [item]"));
  EXPECT_TRUE(
      log.has("XMLSerializer::writeListNodeToXML", "Exception occurred while constructing tag : [no name]"));
  other->release();
  std::string out = "old";
  xercesc::DOMDocument* rootless = dom->createDocument();
  EXPECT_FALSE(serializer.DumpDOMDocumentToStringUTF8(out, rootless, true));
  EXPECT_EQ(out, "");
  rootless->release();
  for (xercesc::DOMLSSerializer* made :
       {serializer.DOMCreateAWriterUTF8(), serializer.DOMCreateAWriterUTF16()}) {
    ASSERT_NE(made, nullptr);
    made->release();
  }
  log.clear();
  int refused = 0;
  const char16_t* const values[] = {u"\xD800", u"a\xDC00", u"\xDC00\xD800", u"\x1", u"\xFFFE", nullptr};
  for (const char16_t* value : values) {
    serializer.writeNodeToXML(document, root, "bad", value);
    serializer.writeAsCDATA(document, root, "bad", value);
    serializer.writeListNodeToXML(document, root, "bad", value);
    serializer.writeListNodeAsCDATA(document, root, "bad", value);
    XMLSerializer().writeNodeToXML(document, root, "bad", value);
    refused += 5;
  }
  EXPECT_EQ(log.texts(), std::vector<std::string>(static_cast<std::size_t>(refused),
                                                  "Exception occurred while constructing tag : [bad]"));
  // Nor is it written when it came into the document by other ways.
  xercesc::DOMDocument* foreign = dom->createDocument(nullptr, u"root", nullptr);
  foreign->getDocumentElement()->appendChild(foreign->createElement(u"first"));
  xercesc::DOMElement* last = foreign->createElement(u"last");
  foreign->getDocumentElement()->appendChild(last);
  EXPECT_TRUE(serializer.DumpDOMDocumentToStringUTF8(out, foreign, true));
  last->setAttribute(u"a", u"\x1");
  EXPECT_FALSE(serializer.DumpDOMDocumentToStringUTF8(out, foreign, true));
  last->removeAttribute(u"a");
  last->appendChild(foreign->createCDATASection(u"\xD800"));
  EXPECT_FALSE(serializer.DumpDOMDocumentToStringUTF8(out, foreign, true));
  EXPECT_TRUE(log.has("XMLSerializer::DumpDOMDocumentToStringUTF8", "[Error Writing Xml to String]"));
  foreign->release();
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
