// Values by XPath ID: what is collected, what is stored, and what comes back.
#include <kwxml/metadata/XMLMetaData.h>

#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/traverse/MsgFieldContext.h>

#include "support/LogCapture.h"
#include "support/Messages.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

using namespace kwxml::test;

namespace {

constexpr short inventory = 12;

YMMessageBase& child(YMMessageBase& m, const char* name)
{
  const FieldDef& def = field(m, name);
  auto*& held = kwxml::MessageAccess::pointer<YMMessageBase>(m, def.slot);
  if (held == nullptr) {
    const auto reference = kwxml::packedReference(def);
    held = new YMMessageBase(static_cast<int>(reference.system), static_cast<int>(reference.classIndex));
  }
  kwxml::MessageAccess::mark(m, def);
  return *held;
}

YMMessageBase stock()
{
  YMMessageBase m = make("Inventory_Stock");
  setText(child(m, "article"), "title", "Hammer");
  setInt(child(m, "article"), "number", 4711);
  for (const int code : {3, -8, 5}) {
    XMLDecoder::InsertIntoList(&child(m, "article"), "codes", &code);
  }
  setText(child(child(m, "location"), "site"), "name", "North");
  setText(child(m, "notes"), "text", "not marked");
  return m;
}

std::vector<XPathMetaData> get(YMMessageBase& m, bool all = true)
{
  std::vector<XPathMetaData> records;
  EXPECT_EQ(XMLMetaData().getXpathMetaData(&m, records, all), 0);
  return records;
}

std::vector<std::string> lines(const std::vector<XPathMetaData>& records)
{
  std::vector<std::string> result;
  for (const XPathMetaData& r : records) {
    result.push_back(std::to_string(r.id) + " " + r.xpath + " " + r.value + " " + std::to_string(r.appType) +
                     (r.isList ? " list" : "") + (r.singleInstanced ? " single" : ""));
  }
  return result;
}

int set(YMMessageBase& m, const std::vector<XPathMetaData>& records, short system = inventory)
{
  YMMessageBase* pointer = &m;
  return XMLMetaData().setXpathMetaData(pointer, records, system);
}

XPathMetaData record(int id, std::string value)
{
  XPathMetaData r;
  r.id = id;
  r.value = std::move(value);
  return r;
}

/// Whether the type of a field has a place in the way from text to value.
bool hasText(FieldDataType type)
{
  return type != FIELD_ULONGLONG && type != FIELD_LIST_ULONGLONG && type != FIELD_WSTRING &&
         type != FIELD_LIST_WSTRING;
}

}  // namespace

TEST(XPathGet, CollectsValuesBelowTheOutermostMessage)
{
  LogCapture log;
  YMMessageBase m = stock();
  setText(m, "remark", "of the outermost message");
  const std::vector<std::string> marked = {
      "310 article[1]/@number 4711 10008 single", "300 article[1]/@title Hammer 10001",
      "321 article[1]/codes 3 10007 list",        "321 article[1]/codes -8 10007 list",
      "321 article[1]/codes 5 10007 list",        "402 location[1]/site[1]/@name North 10001"};
  EXPECT_EQ(lines(get(m, false)), marked);
  std::vector<std::string> all = marked;
  all.emplace_back("500 notes[1]/@text not marked 10001");
  EXPECT_EQ(lines(get(m)), all);
  EXPECT_EQ(log.lines(), std::vector<LogLine>());

  LogCapture trace(25);
  YMMessageBase movement = make("Inventory_Movement");
  XMLDecoder::InsertIntoList(&m, "movements", &movement);
  get(m);
  EXPECT_EQ(trace.lines(), std::vector<LogLine>()) << "at the top lists of messages are not looked at";
}

TEST(XPathGet, FailsWithoutTablesAndWithoutAClass)
{
  LogCapture log;
  std::vector<XPathMetaData> records{record(1, "kept")};
  YMMessageBase status = make("Demo_Status");
  YMMessageBase none;
  YMMessageBase m = stock();
  XMLMetaData data;
  EXPECT_EQ(data.getXpathMetaData(&status, records, true), 1);
  EXPECT_EQ(data.getXpathMetaData(nullptr, records, true), 1);
  EXPECT_EQ(data.getXpathMetaData(&m, records, true), 0);
  EXPECT_EQ(data.getXpathMetaData(&none, records, true), 1) << "the tables are kept";
  EXPECT_EQ(records[0].value, "kept");
  const char* function = "XMLMetaData::getXpathMetaData";
  EXPECT_EQ(log.lines(),
            (std::vector<LogLine>{{0, function, "No XPath metadata exists for given subsystem id : [1l]"},
                                  {0, function, "Received NULL as pointer to object."},
                                  {0, function, "Unable to get Metadata for Object : []"}}));
}

/// One XMLMetaData keeps to the tables of its first message, so that others can be walked with them too.
TEST(XPathGet, PassesOverListsOfMessagesAndWhatItCannotWalk)
{
  XMLMetaData data;
  std::vector<XPathMetaData> records;
  YMMessageBase m = stock();
  ASSERT_EQ(data.getXpathMetaData(&m, records, true), 0);
  records.clear();
  const char* function = "XMLMetaData::getXPathMetaDataHelper";

  YMMessageBase node = nodeChain(3);
  YMMessageBase leaf = nodeChain(1);
  XMLDecoder::InsertIntoList(&child(child(node, "child"), "child"), "children", &leaf);
  {
    const LogCapture trace(25);
    EXPECT_EQ(data.getXpathMetaData(&node, records, true), 0);
    EXPECT_EQ(trace.lines(),
              (std::vector<LogLine>{{25, function,
                                     "Type:[complex List] Found Xpath[child[1]/child[1]/children]. "
                                     "This is yet to be implemented."}}));
  }
  const LogCapture log;
  YMMessageBase deepest = nodeChain(kwxml::maxMessageNesting);
  EXPECT_EQ(data.getXpathMetaData(&deepest, records, true), 0);
  EXPECT_EQ(log.lines(), std::vector<LogLine>());
  YMMessageBase tooDeep = nodeChain(kwxml::maxMessageNesting + 1);
  EXPECT_EQ(data.getXpathMetaData(&tooDeep, records, true), 0);
  YMMessageBase& hollow = child(node, "child");
  const YMMessageBase taken = std::move(hollow);  // leaves a message without a class
  EXPECT_EQ(data.getXpathMetaData(&node, records, true), 0);
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{{0, function, "Messages nest deeper than [64]"},
                                               {0, function, "Unable to get Metadata for Object"}}));
  EXPECT_EQ(records.size(), 0u);
}

TEST(XPathSet, MakesWhatIsOnTheWayAndAddsToLists)
{
  LogCapture log;
  YMMessageBase m = make("Inventory_Stock");
  EXPECT_EQ(set(m, {record(402, "South"), record(600, "7"), record(999999, "?"), record(601, "ada"),
                    record(321, "1"), record(321, "2")}),
            0);
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{{0, "XMLMetaData::setXpathMetaData",
                                                "No MetaData exists for XPath ID :[999999]"}}));
  EXPECT_EQ(lines(get(m)), (std::vector<std::string>{"321 article[1]/codes 1 10007 list",
                                                     "321 article[1]/codes 2 10007 list",
                                                     "402 location[1]/site[1]/@name South 10001"}));
  std::vector<void*> movements;
  XMLDecoder::ReadFromList(&m, "movements", &movements);
  ASSERT_EQ(movements.size(), 2u) << "an element for each record";
  EXPECT_EQ(getInt(*static_cast<YMMessageBase*>(movements[0]), "quantity"), 7);
  EXPECT_EQ(getText(*static_cast<YMMessageBase*>(movements[1]), "by"), "ada");
  EXPECT_EQ(set(m, {}), 0);
}

TEST(XPathSet, StopsAtTheFirstValueThatDoesNotFit)
{
  LogCapture log(15);
  YMMessageBase m = make("Inventory_Stock");
  EXPECT_EQ(set(m, {record(300, "before"), record(310, "x"), record(402, "after")}), 1);
  EXPECT_EQ(lines(get(m)), std::vector<std::string>{"300 article[1]/@title before 10001"});
  EXPECT_TRUE(log.has("XMLMetaData::setXpathMetaDataHelper",
                      "Unable to set value for Message [Inventory_Article] : Field [number] value :[x]"));
  log.clear();
  YMMessageBase none;
  YMMessageBase* nothing = nullptr;
  EXPECT_EQ(XMLMetaData().setXpathMetaData(nothing, {}, inventory), 1);
  EXPECT_EQ(set(m, {record(300, "x")}, 1), 1);
  EXPECT_EQ(set(none, {record(300, "x")}), 1);
  const char* function = "XMLMetaData::setXpathMetaData";
  EXPECT_EQ(log.lines(),
            (std::vector<LogLine>{{0, function, "Received NULL as pointer to object."},
                                  {0, function, "No XPath metadata exists for given subsystem index: [1]"},
                                  {0, function, "Unable to get Metadata for Object : []"}}));
  // The tables of one system, the message of another: indices that lead nowhere are found out.
  log.clear();
  YMMessageBase leaf = make("Types_Leaf");
  for (int id = 0; id < 1100; ++id) {
    set(leaf, {record(id, "1")});
  }
  EXPECT_TRUE(
      log.has("XMLMetaData::setXpathMetaDataHelper", "Error while reconstruction of object from XPathID"));
}

TEST(XPathRoundTrip, EveryTypeWithATextComesBack)
{
  std::mt19937 random(5);
  for (int round = 0; round < 50; ++round) {
    YMMessageBase m = make("Inventory_Sheet");
    YMMessageBase& cells = child(m, "cells");
    cells.wipeBitset();
    for (const FieldDef& def : *cells.getClass()) {
      if (hasText(def.type) && random() % 3 != 0) {
        fill(cells, def, 1 + static_cast<int>(random() % 40));
      }
    }
    LogCapture log;
    YMMessageBase back = make("Inventory_Sheet");
    const auto records = get(m);
    ASSERT_EQ(set(back, records), 0);
    EXPECT_TRUE(back == m);
    EXPECT_EQ(lines(get(back)), lines(records));
    EXPECT_EQ(log.lines(), std::vector<LogLine>());
  }
}

TEST(XPathRoundTrip, WhatHasNoWayBackIsRefused)
{
  // Six digits are what a floating number's text has; the scheme of a password is not in its text; wide
  // strings have no text; ulonglong has one, and no way back.
  YMMessageBase m = make("Inventory_Sheet");
  YMMessageBase& cells = child(m, "cells");
  const FieldDef& number = field(cells, "doubleCell");
  cells.setdouble(number.fieldNumber, number.slot, 1.0 / 3, cells.getTagID(), number.hash);
  const FieldDef& secret = field(cells, "pstringCell");
  cells.setpstringobject(secret.fieldNumber, secret.slot, pstring("x"), Annotation::BASE64, cells.getTagID(),
                         secret.hash);
  YMMessageBase back = make("Inventory_Sheet");
  ASSERT_EQ(set(back, get(m)), 0);
  YMMessageBase& copied = child(back, "cells");
  EXPECT_EQ(copied.getdouble(number.slot, copied.getTagID(), 0), 0.333333);
  EXPECT_EQ(copied.getpstringobject_const(secret.fieldNumber, secret.slot, copied.getTagID(), secret.hash)
                ->getEncryptionType(),
            Annotation::PLAIN_TEXT);
  for (const FieldDef& def : *cells.getClass()) {
    if (hasText(def.type)) {
      continue;
    }
    YMMessageBase one = make("Inventory_Sheet");
    fill(child(one, "cells"), def, 1);
    const auto records = get(one);
    ASSERT_FALSE(records.empty()) << def.getName();
    YMMessageBase empty = make("Inventory_Sheet");
    EXPECT_EQ(set(empty, records), 1) << def.getName();
    EXPECT_FALSE(isSet(child(empty, "cells"), def.getName()));
  }
}

TEST(XPathValues, TextsThatFitAndThatDoNot)
{
  YMMessageBase m = make("Inventory_Cells");
  const struct
  {
    const char* field;
    std::vector<std::string> good;
    std::vector<std::string> bad;
  } rows[] = {
      {"intCell",
       {"-2147483648", "2147483647", "007"},
       {"", " 1", "1 ", "+1", "2147483648", "1.0", "x", "0x1"}},
      {"uintCell", {"4294967295"}, {"-1", "4294967296"}},
      {"longCell", {"-9223372036854775808"}, {"9223372036854775808"}},
      {"ulongCell", {"18446744073709551615"}, {"-1", "18446744073709551616"}},
      {"longlongCell", {"9223372036854775807"}, {"9223372036854775808"}},
      {"time32Cell", {"-1"}, {"3000000000"}},
      {"time64Cell", {"3000000000"}, {"now"}},
      {"boolCell", {"true", "TRUE", "1", "0", "false", "False"}, {"", "yes", "2", "tru"}},
      {"enumCell", {"-1", "2", "4294967295"}, {"TOOL", "4294967296", "-2147483649"}},
      {"doubleCell", {"1e308", "-inf", "nan", ".5"}, {"", "1e309", "1,5", "1 "}},
      {"floatCell", {"3e38"}, {"1e39", "one"}},
      {"boolCells", {"true"}, {"ja"}},
      {"uintCells", {"4294967295"}, {"-1"}},
      {"enumCells", {"-1"}, {"TOOL"}},
      {"stringCell", {"", "any\ttext\n"}, {}},
      {"wstringCell", {}, {"text"}},
      {"ulonglongCell", {}, {"1"}},
  };
  for (const auto& row : rows) {
    MsgFieldContext f(field(m, row.field), &m);
    for (const std::string& text : row.bad) {
      EXPECT_FALSE(XMLMetaData::replaceValuefromString(f, text)) << row.field << " [" << text << "]";
    }
    EXPECT_FALSE(f.isModified() || isSet(m, row.field)) << row.field;
    for (const std::string& text : row.good) {
      EXPECT_TRUE(XMLMetaData::replaceValuefromString(f, text)) << row.field << " [" << text << "]";
    }
  }
  // Base64 as getting writes it is undone; what only looks like it is a text.
  const FieldDef& def = field(m, "bstringCell");
  for (const auto& [text, bytes] :
       {std::pair("AQL/\n", "\x01\x02\xFF"), std::pair("AQL/", "AQL/"), std::pair("AQL/ \n", "AQL/ \n"),
        std::pair("", ""), std::pair("\n", "\n")}) {
    MsgFieldContext f(def, &m);
    EXPECT_TRUE(XMLMetaData::replaceValuefromString(f, text));
    EXPECT_EQ(m.getbstringobject_const(def.fieldNumber, def.slot, m.getTagID(), def.hash)->text(), bytes);
  }
}

TEST(XPathLookUps, ByTextByIdAndByTheMark)
{
  LogCapture log(10);
  XMLMetaData data;
  int id = -5;
  EXPECT_FALSE(data.getXPathIDFromXPath("article[1]/@title", id)) << "no tables yet";
  YMMessageBase m = stock();
  std::vector<XPathMetaData> records;
  ASSERT_EQ(data.getXpathMetaData(&m, records, true), 0);
  EXPECT_FALSE(data.getXPathIDFromXPath("article[1]/@titl", id) || data.getXPathIDFromXPath("", id) ||
               data.getXPathIDFromXPath(nullptr, id) || data.getXPathIDFromXPath("zzz", id));
  EXPECT_EQ(id, -5);
  const XPathDataRow& row = *YMMessageBase::getXPathData(inventory);
  for (int i = 0; i < row.count; ++i) {
    std::string xpath;
    EXPECT_TRUE(data.getXPathIDFromXPath(row.idToXPath[i].xpath, id));
    EXPECT_EQ(id, static_cast<int>(row.idToXPath[i].id));
    EXPECT_TRUE(data.getXPathFromID(inventory, id, xpath) && data.doesXPathIDExist(inventory, id));
    EXPECT_EQ(xpath, row.idToXPath[i].xpath);
  }
  std::string xpath = "kept";
  EXPECT_FALSE(data.getXPathFromID(inventory, 999999, xpath));
  EXPECT_EQ(xpath, "kept");
  EXPECT_FALSE(data.getXPathFromID(1, 300, xpath));
  EXPECT_EQ(xpath, "");
  EXPECT_FALSE(data.doesXPathIDExist(inventory, -1) || data.doesXPathIDExist(1, 300));
  EXPECT_EQ(data.getXPathFieldsInfoIndex(row.idToFieldsInfo, -1, 7), -1);
  EXPECT_EQ(data.getXPathFieldsInfoIndex(row.idToFieldsInfo, 0, row.idToFieldsInfo[0].id),
            row.idToFieldsInfo[0].fieldsInfoIndex);
  EXPECT_EQ(data.getXPathFieldsInfoIndex(row.idToFieldsInfo, 0, row.idToFieldsInfo[1].id), -1);
  EXPECT_EQ(data.getXPathFieldsInfoIndex(nullptr, 5, 7), -1);
  EXPECT_EQ(log.lines(),
            (std::vector<LogLine>{
                {0, "XMLMetaData::getXPathFromID", "[Error retrieving metadata for Subsystem ID [1]]"},
                {10, "XMLMetaData::doesXPathIDExist", "XPath Metadata does not exist for subsystem [1]"},
                {0, "XMLMetaData::getFieldNumbers", "Subsytem XPath Metadata not provided"}}));

  const struct
  {
    unsigned char word[4];
    bool has;
  } words[] = {{{0, 4, 0, 0x80}, true}, {{0, 4, 0, 0x7F}, false},        {{0, 3, 0, 0}, false},
               {{0, 3, 0, 0x80}, true}, {{1, 0, 0, 0}, false},           {{0, 0, 1, 0xFF}, true},
               {{0, 0, 0, 0}, false},   {{0xFF, 0xFF, 0xFF, 0xFF}, true}};
  for (const auto& [word, has] : words) {
    EXPECT_EQ(XMLMetaData::hasXPath(reinterpret_cast<const char*>(word)), has);
  }
  EXPECT_FALSE(XMLMetaData::hasXPath(nullptr));

  const int types[] = {0, 7, 8, 9, 10, 9,  16, 2, 1, 1, 7, 12, 11, 7, 8, 9, 10, 9, 16, 7, 1, 1,
                       0, 0, 0, 1, 2,  11, 12, 1, 1, 1, 0, 0,  0,  0, 0, 0, 0,  0, 0,  7, 9, 0};
  for (int type = 0; type < 44; ++type) {
    EXPECT_EQ(XMLMetaData::getAppType(static_cast<char>(type)), types[type]) << type;
  }
  EXPECT_EQ(XMLMetaData::getAppType(static_cast<char>(-1)), 0);
}
