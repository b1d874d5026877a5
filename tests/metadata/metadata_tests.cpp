// Values by XPath ID (what is collected, what is stored, and what comes back), and placeholder values.
#include <kwxml/metadata/DummyValues.h>
#include <kwxml/metadata/XMLMetaData.h>

#include <kwxml/model/Limits.h>
#include <kwxml/model/Registry.h>
#include <kwxml/traverse/MsgFieldContext.h>

#include "platform/TempDirectory.h"
#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/Messages.h"
#include "support/SmallStack.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>

using namespace kwxml::test;
using namespace std::string_literals;

namespace {

constexpr short inventory = 12;
const std::string logs = "metadata/log.cases";

YMMessageBase stock()
{
  return fromXml(R"(<Inventory_Stock><article number="4711" title="Hammer"/></Inventory_Stock>)");
}

std::vector<XPathMetaData> get(YMMessageBase& m, bool all = true)
{
  std::vector<XPathMetaData> records;
  EXPECT_EQ(XMLMetaData().getXpathMetaData(&m, records, all), 0);
  return records;
}

std::string lines(const std::vector<XPathMetaData>& records)
{
  std::string result;
  for (const XPathMetaData& r : records) {
    result += std::to_string(r.id) + " " + r.xpath + " " + r.value + " " + std::to_string(r.appType) +
              (r.isList ? " list" : "") + (r.singleInstanced ? " single" : "") + "\n";
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
  expectCases("metadata/get.cases", "", [](const std::string& input) {
    const auto line = input.find('\n');
    YMMessageBase m = fromXml(input.substr(line + 1));
    YMMessageBase first = stock();
    XMLMetaData data;
    std::vector<XPathMetaData> records;
    EXPECT_EQ(data.getXpathMetaData(&first, records, true), 0);
    records.clear();
    const LogCapture log(25);
    EXPECT_EQ(data.getXpathMetaData(&m, records, input.substr(0, line) == "all"), 0);
    return lines(records) + toText(log);
  });
}

TEST(XPath, FailsWithoutTablesAndWithoutAClass)
{
  const Transcript log(logs);
  std::vector<XPathMetaData> records{record(300, "kept")};
  YMMessageBase status = make("Demo_Status");
  YMMessageBase none;
  YMMessageBase* nothing = nullptr;
  YMMessageBase m = stock();
  XMLMetaData data;
  EXPECT_EQ(data.getXpathMetaData(&status, records, true), 1);
  EXPECT_EQ(data.getXpathMetaData(nullptr, records, true), 1);
  EXPECT_EQ(data.getXpathMetaData(&m, records, true), 0);
  EXPECT_EQ(data.getXpathMetaData(&none, records, true), 1) << "the tables are kept";
  EXPECT_EQ(records[0].value, "kept");
  EXPECT_EQ(set(m, {}), 0);
  XPathMetaData unknown = record(999999, "");
  EXPECT_EQ(set(m, {unknown}), 0);
  EXPECT_EQ(XMLMetaData().setXpathMetaData(nothing, {}, inventory), 1);
  EXPECT_EQ(set(m, records, 1), 1);
  EXPECT_EQ(set(none, records), 1);
}

TEST(XPathGet, PassesOverWhatItCannotWalk)
{
  XMLMetaData data;
  std::vector<XPathMetaData> records;
  YMMessageBase m = stock();
  ASSERT_EQ(data.getXpathMetaData(&m, records, true), 0);
  records.clear();
  Transcript log(logs);
  YMMessageBase deepest = nodeChain(kwxml::maxMessageNesting);
  EXPECT_EQ(data.getXpathMetaData(&deepest, records, true), 0);
  log.note("one message deeper");
  YMMessageBase tooDeep = nodeChain(kwxml::maxMessageNesting + 1);
  EXPECT_EQ(data.getXpathMetaData(&tooDeep, records, true), 0);
  YMMessageBase node = nodeChain(2);
  const YMMessageBase taken =
      std::move(object<YMMessageBase>(node, "child"));  // leaves a message without a class
  EXPECT_EQ(data.getXpathMetaData(&node, records, true), 0);
  EXPECT_EQ(records.size(), 0u);
}

TEST(XPathSet, MakesWhatIsOnTheWayUpToTheFirstValueThatDoesNotFit)
{
  expectCases("metadata/set.cases", "", [](const std::string& input) {
    std::vector<XPathMetaData> records;
    std::istringstream rows(input);
    for (std::string row; std::getline(rows, row);) {
      records.push_back(record(std::stoi(row), row.substr(row.find(' ') + 1)));
    }
    const LogCapture log(15);
    YMMessageBase m = make("Inventory_Stock");
    const int result = set(m, records);
    const std::string logged = toText(log);
    return std::to_string(result) + " " + toXml(m) + "\n" + logged;
  });
}

TEST(XPathSet, TheTablesOfOneSystemFitNoOther)
{
  const LogCapture log;
  // Indices that lead nowhere are found out.
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
    YMMessageBase& cells = object<YMMessageBase>(m, "cells");
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
    EXPECT_EQ(toText(log), "");
  }
}

TEST(XPathGet, WideStringsHaveNoText)
{
  YMMessageBase m = make("Inventory_Sheet");
  fill(object<YMMessageBase>(m, "cells"), field(object<YMMessageBase>(m, "cells"), "wstringCell"), 1);
  EXPECT_EQ(lines(get(m)), "1008 cells[1]/@wstringCell  10001\n");
  fill(object<YMMessageBase>(m, "cells"), field(object<YMMessageBase>(m, "cells"), "wstringCells"), 1);
  EXPECT_EQ(get(m).size(), 1u + 3);
}

TEST(XPathValues, TextsThatFitAndThatDoNot)
{
  expectRows("metadata/values.cases", "", [](const Lines& cells) {
    const std::string& name = cells[0];
    YMMessageBase m = make("Inventory_Cells");
    MsgFieldContext f(field(m, name), &m);
    const bool taken = XMLMetaData::replaceValuefromString(f, cells[1]);
    EXPECT_EQ(f.isModified(), taken);
    EXPECT_EQ(isSet(m, name), taken);
    return taken ? toXml(m) : "refused";
  });
}

TEST(XPathLookUps, ByTextByIdAndByTheMark)
{
  const Transcript log(logs, 10);
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
  EXPECT_TRUE(!data.getXPathFromID(inventory, 999999, xpath) && xpath == "kept");
  EXPECT_TRUE(!data.getXPathFromID(1, 300, xpath) && xpath.empty());
  EXPECT_FALSE(data.doesXPathIDExist(inventory, -1) || data.doesXPathIDExist(1, 300));
  EXPECT_EQ(data.getXPathFieldsInfoIndex(row.idToFieldsInfo, -1, 7), -1);
  EXPECT_EQ(data.getXPathFieldsInfoIndex(row.idToFieldsInfo, 0, row.idToFieldsInfo[0].id),
            row.idToFieldsInfo[0].fieldsInfoIndex);
  EXPECT_EQ(data.getXPathFieldsInfoIndex(row.idToFieldsInfo, 0, row.idToFieldsInfo[1].id), -1);
  EXPECT_EQ(data.getXPathFieldsInfoIndex(nullptr, 5, 7), -1);

  const std::pair<std::string, bool> words[] = {
      {"\0\4\0\x80"s, true}, {"\0\4\0\x7F"s, false}, {"\0\3\0\0"s, false}, {"\0\3\0\x80"s, true},
      {"\1\0\0\0"s, false},  {"\0\0\1\xFF"s, true},  {"\0\0\0\0"s, false}, {"\xFF\xFF\xFF\xFF"s, true}};
  for (const auto& [word, has] : words) {
    EXPECT_EQ(XMLMetaData::hasXPath(word.data()), has);
  }
  EXPECT_FALSE(XMLMetaData::hasXPath(nullptr));

  const int types[] = {0, 7, 8, 9, 10, 9,  16, 2, 1, 1, 7, 12, 11, 7, 8, 9, 10, 9, 16, 7, 1, 1,
                       0, 0, 0, 1, 2,  11, 12, 1, 1, 1, 0, 0,  0,  0, 0, 0, 0,  0, 0,  7, 9, 0};
  for (int type = 0; type < 44; ++type) {
    EXPECT_EQ(XMLMetaData::getAppType(static_cast<char>(type)), types[type]) << type;
  }
  EXPECT_EQ(XMLMetaData::getAppType(static_cast<char>(-1)), 0);
}

TEST(Dummy, EveryTypeGetsWhatItGets)
{
  LogCapture log;
  YMMessageBase m = bare("Types_AllTypes");
  ASSERT_EQ(recurseAndFillDummyValues(&m), 0);
  std::string set;
  for (const FieldDef& def : *m.getClass()) {
    set += isSet(m, def.getName()) ? def.getName() + std::string("\n") : "";
  }
  expectGolden("metadata/dummy.txt", set + toXml(m));
  YMMessageBase empty = make("Types_Empty");
  EXPECT_EQ(recurseAndFillDummyValues(&empty), 0);
  EXPECT_EQ(toText(log), "");
}

TEST(Dummy, NothingAndClassesWithoutEndFail)
{
  Transcript log(logs);
  YMMessageBase none;
  YMMessageBase* nothing = nullptr;
  EXPECT_EQ(recurseAndFillDummyValues(nullptr) + recurseAndFillDummyValues(&none), 2);
  log.note("made");
  EXPECT_EQ(createXMLObjectWithDummyValues(nothing), 1);
  YMMessageBase node = make("Types_Node");
  YMMessageBase* pointer = &node;
  onSmallStack([&] { EXPECT_EQ(createXMLObjectWithDummyValues(pointer), 1); });
  EXPECT_EQ(pointer, &node);
  YMMessageBase all = make("Types_AllTypes");
  const FieldDef& nested = field(all, "objectValue");
  const YMMessageBase other = make("Types_KeyLeaf");
  all.setObject(nested.fieldNumber, nested.slot, &other, false, all.getTagID(), nested.hash, true);
  EXPECT_EQ(recurseAndFillDummyValues(&all), 1) << "what is there is of another class";

  const TempDirectory folder;
  std::string schema = "<catalogue><system name=\"Wide\" index=\"61\"><message name=\"M0\" id=\"1\"/>";
  for (int i = 1; i < 9; ++i) {
    const std::string number = std::to_string(i);
    schema += "<message name=\"M" + number + "\" id=\"" + std::to_string(i + 1) +
              "\"><field name=\"items\" type=\"list\" of=\"object\" class=\"Wide_M" + std::to_string(i - 1) +
              "\"/></message>";
  }
  std::string problems;
  const auto registry =
      kwxml::Registry::fromSchemas({folder.write("Wide.xml", schema + "</system></catalogue>")}, problems);
  ASSERT_NE(registry, nullptr) << problems;
  const kwxml::UsingCatalogue scope(*registry);
  YMMessageBase wide(61, 8);
  EXPECT_EQ(recurseAndFillDummyValues(&wide), 1);
}
