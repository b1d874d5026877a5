// What the writer does beside what documents show: passwords, listeners, failures, the DOM, files.
#include "platform/TempDirectory.h"
#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/Messages.h"
#include "support/SmallStack.h"

#include <kwxml/model/Limits.h>
#include <kwxml/platform/CYxFile.h>
#include <kwxml/xml/XMLSerializer.h>

#include <gtest/gtest.h>

#include <xercesc/dom/DOM.hpp>

#include <bit>
#include <random>
#include <sstream>

using namespace kwxml::test;

TEST(Writer, DeclarationsAreWrittenUnlessTheyAreNotWanted)
{
  YMMessageBase empty = make("Types_Leaf");
  std::string document = toXml(empty, {}, false);
  EXPECT_EQ(document, "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?><Types_Leaf/>");
  EXPECT_EQ(XMLSerializer().serialize(empty, document, 1), 0);
  EXPECT_EQ(document, "<Types_Leaf/>");
}

TEST(Writer, EndsOfSectionsAreReplaced)
{
  for (const auto& [given, expected] :
       {std::pair{"]]>x]]>", "]]]]>>x]]]]>>"}, {"]]]>]>]]>", "]]]]]>>]>]]]]>>"}}) {
    std::string text = given;
    parseStringForCDATAEndAndReplace(text);
    EXPECT_EQ(text, expected);
  }
}

TEST(Writer, PasswordsAreMaskedOrNeedAnAlgorithm)
{
  YMMessageBase m = bare("Types_Annotated");
  for (const FieldDef& def : *m.getClass()) {
    if (def.type == FIELD_PSTRING) {
      const bool plain = std::string(def.getName()) == "password1";
      setPassword(m, def.getName(),
                  pstring("canary", plain ? Annotation::PLAIN_TEXT : Annotation::KWPASSWORD_ENCRYPTION_VER1));
    }
  }
  Transcript log("xml/log.cases");
  EXPECT_EQ(toXml(m), "<Types_Annotated password1=\"canary\"/>")
      << "a plain value is written as it is, others never";
  EncodingFlags masked;
  masked.maskPasswords = 1;
  const std::string hidden = toXml(m, masked);
  EXPECT_EQ(hidden.find("canary"), std::string::npos);
  for (int i = 1; i <= 11; ++i) {
    EXPECT_NE(hidden.find("password" + std::to_string(i) + "=\"*******\""), std::string::npos) << i;
  }
}

TEST(Writer, MonitoringMessagesHaveTheirOwnSystemName)
{
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
  const auto message = readXml("<Types_Leaf number='1' text='t'/>");
  YMMessageBase& leaf = *message;
  Transcript log("xml/log.cases", 15);
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
  support.removeListener(leaf.getTagID(), skipNumber);
  serializer.serialize(leaf, out, true);
  EXPECT_EQ(out, "<Types_Leaf number=\"1\" text=\"t\"/>");

  const auto annotated = readXml("<Types_Annotated suppressed='1' several='s' marked='2'/>");
  XMLSerializer byAnnotation;
  byAnnotation.getXMLSerializationSupportObject().addListener(kwxml::nameHash("Suppress", 8), skip);
  byAnnotation.serialize(*annotated, out, true);
  EXPECT_EQ(out, "<Types_Annotated marked=\"2\"/>");
}

TEST(Writer, ListenerHelpers)
{
  Transcript log("xml/log.cases");
  const YMMessageBase all = make("Types_AllTypes");
  EXPECT_EQ(XMLSerializationSupport::getSizeOfField(field(all, "intValue")), 8);
  EXPECT_EQ(XMLSerializationSupport::getSizeOfField(field(all, "stringValue")), 32);
  EXPECT_EQ(XMLSerializationSupport::getSizeOfField(field(all, "noneValue")), 0);
  const auto info = readXml("<KwEntities_ProcessingInstructionInfo requestId='7' userName='u'/>");
  XMLSerializer serializer;
  serializer.getXMLSerializationSupportObject().addListener(info->getTagID(),
                                                            XMLSerializationSupport::hideFields);
  std::string out;
  serializer.serialize(*info, out, true);
  EXPECT_EQ(out, "<KwEntities_ProcessingInstructionInfo requestId=\"7\"/>");
}

TEST(Writer, WhatCannotBeMadeIsLoggedAndTheRestIsWritten)
{
  // An element takes no children that are made by another document.
  ASSERT_TRUE(XMLSerializer::initialize());
  Transcript log("xml/log.cases");
  YMMessageBase m = make("Types_AllTypes");
  for (const char* name :
       {"intValue", "objectValue", "intList", "longlongStringMap", "stringLonglongMap", "time64Value"}) {
    fill(m, field(m, name), 1, 0);
  }
  xercesc::DOMImplementation* dom = xercesc::DOMImplementationRegistry::getDOMImplementation(u"LS");
  xercesc::DOMDocument* document = dom->createDocument(nullptr, u"root", nullptr);
  xercesc::DOMDocument* other = dom->createDocument(nullptr, u"other", nullptr);
  XMLSerializer serializer;
  EXPECT_TRUE(serializer.serializeXMLRecur(m, other, document->getDocumentElement(), 2));
  EXPECT_EQ(serializer.lost(), 8);
  std::string written;
  EXPECT_TRUE(serializer.DumpDOMDocumentToStringUTF8(written, document, true));
  log.note(written);
  document->release();
  other->release();
}

TEST(Writer, PartsStreamsAndMemoryOfTheCaller)
{
  LogCapture quiet;
  YMMessageBase m = make("Types_AllTypes");
  object<std::vector<std::string>>(m, "stringList") = {std::string(100000, '<'), "second"};
  object<std::vector<int>>(m, "intList").assign(5000, -7);
  setText(m, "stringValue", "an attribute that the record has behind the lists");
  const std::string whole = toXml(m, {}, false);
  std::string joined;
  std::size_t longest = 0;
  const auto take = [&](std::string_view part) {
    joined += part;
    longest = std::max(longest, part.size());
    return true;
  };
  EXPECT_EQ(XMLEncoder().serialize(m, kwxml::TakeText(take)), 0);
  EXPECT_EQ(joined, whole);
  EXPECT_LE(longest, 16384u);
  int parts = 0;
  EXPECT_EQ(XMLEncoder().serialize(m, kwxml::TakeText([&](std::string_view) { return ++parts < 3; })), 1);
  EXPECT_EQ(parts, 3) << "nothing comes behind a part that was not taken";
  std::ostringstream stream;
  EXPECT_EQ(XMLEncoder().serialize(m, stream, true), 0);
  EXPECT_EQ(stream.str(), toXml(m));
  for (const std::size_t room : {whole.size(), whole.size() - 1, std::size_t{0}}) {
    std::vector<char> memory(room);
    std::size_t size = 1;
    EXPECT_EQ(XMLEncoder().serialize(m, memory, size), room == whole.size() ? 0 : 1);
    EXPECT_EQ(size, whole.size());
    EXPECT_EQ(std::string(memory.begin(), memory.end()), whole.substr(0, room));
  }
  // What is unusual comes as a whole; what cannot be written, not at all; what is met too late, without it.
  fill(m, field(m, "pstringValue"), 1);
  joined.clear();
  EXPECT_EQ(XMLEncoder().serialize(m, kwxml::TakeText(take)), 0);
  EXPECT_EQ(joined, toXml(m, {}, false));
  YMMessageBase deep = nodeChain(kwxml::maxMessageNesting + 1);
  joined.clear();
  EXPECT_EQ(XMLEncoder().serialize(deep, kwxml::TakeText(take)), 1);
  EXPECT_EQ(joined, "");
}

TEST(Writer, ExactNumbersReadBackToTheSameBits)
{
  EncodingFlags exact;
  exact.exactNumbers = 1;
  std::mt19937_64 random(17);
  for (int i = 0; i < 20000; ++i) {
    YMMessageBase m = make("Types_AllTypes");
    const auto number = std::bit_cast<double>(random());
    const auto small = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    if (number != number || small != small) {
      continue;
    }
    object<std::vector<double>>(m, "doubleList") = {number, static_cast<double>(i) / 7};
    object<std::vector<float>>(m, "floatList") = {small, static_cast<float>(i) / 7};
    const std::string xml = toXml(m, exact);
    ASSERT_TRUE(fromXml(xml) == m) << xml;
  }
}

TEST(Writer, FailuresLeaveNoHalfDocument)
{
  Transcript log("xml/log.cases");
  std::string out = "old";
  YMMessageBase none;
  EXPECT_EQ(XMLSerializer().serialize(none, out), 1);
  EXPECT_EQ(out, "");
  onSmallStack([&] {
    YMMessageBase deepest = nodeChain(kwxml::maxMessageNesting);
    EXPECT_EQ(XMLSerializer().serialize(deepest, out), 0);
    YMMessageBase tooDeep = nodeChain(kwxml::maxMessageNesting + 1);
    EXPECT_EQ(XMLSerializer().serialize(tooDeep, out), 1);
    EXPECT_EQ(out, "");
  });
  YMMessageBase wide = make("Types_Node");
  object<std::vector<YMMessageBase>>(wide, "children").assign(100, nodeChain(kwxml::maxMessageNesting));
  log.note("a walk that ends at the first");
  EXPECT_EQ(XMLSerializer().serialize(wide, out), 1);
  YMMessageBase status = make("Demo_Status");
  setText(status, "errorMessage", "kept until it is written");
  const FieldDef& own = field(status, "errorMessage");
  std::string& inside = status.getstring(own.fieldNumber, own.slot, status.getTagID(), own.hash);
  EXPECT_EQ(XMLSerializer().serialize(status, inside, true), 0);
  log.note(inside);
  XMLSerializer().serializeXMLRecur(none, nullptr, nullptr, 2);
  YMMessageBase stock = make("Inventory_Stock");  // marked set, but never made
  for (const char* name : {"processinginstructioninfo", "article"}) {
    kwxml::MessageAccess::mark(stock, field(stock, name));
  }
  EXPECT_EQ(toXml(stock), "<Inventory_Stock/>");
}

TEST(Writer, DomOperationsStandAlone)
{
  ASSERT_TRUE(XMLSerializer::initialize());
  Transcript log("xml/log.cases");
  xercesc::DOMImplementation* dom = xercesc::DOMImplementationRegistry::getDOMImplementation(u"LS");
  xercesc::DOMDocument* document = dom->createDocument(nullptr, u"root", nullptr);
  xercesc::DOMElement* root = document->getDocumentElement();
  EncodingFlags elements;
  elements.valuesAsElements = 1;
  XMLSerializer serializer(elements);
  const auto writeAll = [&](xercesc::DOMElement* parent, const char* name, const char16_t* text) {
    serializer.writeNodeToXML(document, parent, name, text);
    serializer.writeAsCDATA(document, parent, name, text);
    serializer.writeListNodeToXML(document, parent, name, text);
    serializer.writeListNodeAsCDATA(document, parent, name, text);
    XMLSerializer().writeNodeToXML(document, parent, name, text);
  };
  serializer.writeNodeToXML(document, root, "value", u"1");
  serializer.writeAsCDATA(document, root, "text", u"<c>");
  xercesc::DOMElement *entry = nullptr, *key = nullptr, *value = nullptr;
  EXPECT_EQ(serializer.constructMapElements(document, root, entry, key, value, "map"), 1);
  serializer.writeListNodeToXML(document, key, "val", u"k");
  serializer.writeListNodeAsCDATA(document, value, "val", u"v");
  XMLSerializer().writeNodeToXML(document, entry, "a", u"2");
  serializer.writeNodeToXML(document, root, "no name", u"1");
  EXPECT_EQ(serializer.constructMapElements(document, root, entry, key, value, "<"), 0);
  xercesc::DOMDocument* other = dom->createDocument(nullptr, u"other", nullptr);
  writeAll(other->getDocumentElement(), "item", u"x");
  XMLSerializer().writeListNodeToXML(document, other->getDocumentElement(), "no name", u"x");
  serializer.writeNodeToXML(document, root, nullptr, u"x");
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
  log.note("texts that XML does not allow");
  for (const char16_t* bad :
       {u"\xD800", u"a\xDC00", u"\xDC00\xD800", u"\x1", u"\xFFFE", static_cast<const char16_t*>(nullptr)}) {
    writeAll(root, "bad", bad);
  }
  // Nor is it written when it came into the document by other ways.
  const auto isWritten = [&](xercesc::DOMDocument* foreign, const auto& change) {
    foreign->getDocumentElement()->appendChild(foreign->createElement(u"first"));
    xercesc::DOMElement* last = foreign->createElement(u"last");
    foreign->getDocumentElement()->appendChild(last);
    change(*last);
    const bool written = serializer.DumpDOMDocumentToStringUTF8(out, foreign, false);
    foreign->release();
    return written;
  };
  const auto asItIs = [](const auto&) {};
  EXPECT_TRUE(isWritten(dom->createDocument(nullptr, u"root", nullptr), asItIs));
  EXPECT_FALSE(isWritten(dom->createDocument(nullptr, u"root", nullptr),
                         [](auto& last) { last.setAttribute(u"a", u"\x1"); }));
  EXPECT_FALSE(isWritten(dom->createDocument(nullptr, u"root", nullptr), [](auto& last) {
    last.appendChild(last.getOwnerDocument()->createCDATASection(u"\xD800"));
  }));
  EXPECT_FALSE(isWritten(dom->createDocument(u"\xD800", u"root", nullptr), asItIs));
  EXPECT_FALSE(isWritten(
      dom->createDocument(nullptr, u"root", dom->createDocumentType(u"root", nullptr, u"\xDC00")), asItIs));
  EXPECT_TRUE(serializer.DumpDOMDocumentToStringUTF8(out, document, true));
  log.note(out);
  document->release();
}

TEST(Writer, DumpsIntoFiles)
{
  Transcript log("xml/log.cases");
  YMMessageBase leaf = make("Types_Leaf");
  CYxFile closed;
  EXPECT_NE(XMLSerializer::dumpXmlToFile(nullptr, &closed), 0);
  EXPECT_NE(XMLSerializer::dumpXmlToFile(&leaf, &closed), 0);
  EXPECT_NE(XMLSerializer::dumpXmlToFile(&leaf, nullptr), 0);
  const TempDirectory directory;
  CYxFile file((directory / "dump.xml").c_str(), CYxFile::Mode::Truncate);
  EXPECT_EQ(XMLSerializer::dumpXmlToFile(&leaf, &file), 0);
  YMMessageBase none;
  EXPECT_EQ(XMLSerializer::dumpXmlToFile(&none, &file), 9);
  file.Close();
  EXPECT_EQ(directory.read("dump.xml"),
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?><Types_Leaf/>");
  CYxFile full("/dev/full", CYxFile::Mode::Write);
  EXPECT_EQ(XMLSerializer::dumpXmlToFile(&leaf, &full), 1);
}
