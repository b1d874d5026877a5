// Fuzzes values by XPath: lines of an ID, an XPath and a value, as the command xpath shows them, are looked
// up and stored in messages of every class of the systems that have XPaths. What a message then lists makes,
// in a new message, the same list.
#include "Fuzz.h"

#include <kwxml/metadata/XMLMetaData.h>
#include <kwxml/text/ShownText.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <vector>

using namespace kwxml;
using namespace kwxml::fuzz;

namespace {

using Records = std::vector<XPathMetaData>;

std::string_view takeColumn(std::string_view& rest, char end)
{
  const std::string_view column = rest.substr(0, rest.find(end));
  rest.remove_prefix(std::min(column.size() + 1, rest.size()));
  return column;
}

/// The records of the lines; one without a number or with a wrong escape has what is before the mistake.
Records recordsOf(std::string_view text)
{
  Records records;
  while (!text.empty()) {
    std::string_view line = takeColumn(text, '\n');
    XPathMetaData& record = records.emplace_back();
    const std::string_view id = takeColumn(line, '\t');
    std::from_chars(id.data(), id.data() + id.size(), record.id);
    record.xpath = takeColumn(line, '\t');
    const std::string_view value = takeColumn(line, '\t');
    if (unquoteShown(value, record.value, "\\")) {
      std::string again;
      if (!unquoteShown(shown(record.value, "\\"), again, "\\") || again != record.value) {
        wrong("a shown value is another");
      }
    }
  }
  return records;
}

/// The look-ups find what a walk through the tables finds.
void lookUp(const XMLMetaData& data, const XPathDataRow& tables, const XPathMetaData& record)
{
  const auto system = static_cast<short>(tables.system);
  const bool isKnown = std::any_of(tables.idToFieldsInfo, tables.idToFieldsInfo + tables.count,
                                   [&](const XPathIDHelper& entry) { return entry.id == record.id; });
  std::string xpath;
  if (data.doesXPathIDExist(system, record.id) != isKnown ||
      data.getXPathFromID(system, record.id, xpath) != isKnown) {
    wrong("an ID is there or not");
  }
  const char* const wanted = record.xpath.c_str();
  const bool isPath =
      std::any_of(tables.idToXPath, tables.idToXPath + tables.count,
                  [&](const XPathIDToXPath& entry) { return std::strcmp(entry.xpath, wanted) == 0; });
  int id = -1;
  if (data.getXPathIDFromXPath(wanted, id) != isPath ||
      (isPath ? !data.getXPathFromID(system, id, xpath) || xpath != wanted : id != -1)) {
    wrong("an XPath is there or not");
  }
}

int store(YMMessageBase& message, const Records& records, short system)
{
  YMMessageBase* target = &message;
  return XMLMetaData().setXpathMetaData(target, records, system);
}

Records list(YMMessageBase& message)
{
  Records records;
  if (XMLMetaData().getXpathMetaData(&message, records, true) != 0) {
    wrong("a message of a system with XPaths cannot be listed");
  }
  return records;
}

bool isSameRecord(const XPathMetaData& a, const XPathMetaData& b)
{
  return a.id == b.id && a.xpath == b.xpath && a.value == b.value && a.appType == b.appType &&
         a.singleInstanced == b.singleInstanced && a.isList == b.isList;
}

void tryClass(const Records& records, short system, int index)
{
  // Up to the first that cannot be stored, at once or one by one.
  YMMessageBase message(system, index);
  YMMessageBase stepwise(system, index);
  const int result = store(message, records, system);
  const bool isStored = std::all_of(records.begin(), records.end(), [&](const XPathMetaData& record) {
    return store(stepwise, {record}, system) == 0;
  });
  if ((result == 0) != isStored || !areSame(message, stepwise)) {
    wrong("one by one they are stored otherwise");
  }
  const Records listed = list(message);
  YMMessageBase back(system, index);
  if (store(back, listed, system) != 0) {
    wrong("a value that was listed cannot be stored");
  }
  const Records again = list(back);
  if (!std::equal(listed.begin(), listed.end(), again.begin(), again.end(), isSameRecord)) {
    wrong("values come back as others");
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
  logToNowhere();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const Records records = recordsOf({reinterpret_cast<const char*>(data), size});
  using Systems = XML_KWMessage_MessageSystemChooser;
  for (const XPathDataRow* tables = Systems::xpathData; tables->count >= 0; ++tables) {
    const auto system = static_cast<short>(tables->system);
    const MessageSystemRow& row = Systems::msgSysStruct[system];
    XMLMetaData lookUps;
    for (int index = 0; index < row.numberOfClasses; ++index) {
      if (row.classes[index].name == nullptr || row.classes[index].isEnum()) {
        continue;
      }
      tryClass(records, system, index);
      YMMessageBase message(system, index);
      YMMessageBase* target = &message;
      if (lookUps.setXpathMetaData(target, {}, system) != 0) {
        wrong("the tables of a system cannot be had");
      }
    }
    for (const XPathMetaData& record : records) {
      lookUp(lookUps, *tables, record);
    }
  }
  return 0;
}
