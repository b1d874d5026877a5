// The commands for the values of a message by XPath ID, a line each: xpath get, xpath set.
#include "Command.h"
#include "CompleteLine.h"
#include "Messages.h"
#include "Names.h"
#include "Report.h"

#include <commandline/Values.h>
#include <CLI/CLI.hpp>

#include <kwxml/metadata/XMLMetaData.h>
#include <kwxml/text/ShownText.h>

#include <charconv>

namespace kwxml::tool {

namespace {

constexpr char separator = '\t';

/// Columns hold neither tabs nor line ends, and backslashes stand for themselves behind another.
constexpr std::string_view quotedCharacters = "\\";

std::string escaped(std::string_view text)
{
  return shown(text, quotedCharacters);
}

std::string flagsOf(const XPathMetaData& record)
{
  if (!record.singleInstanced && !record.isList) {
    return "-";
  }
  return std::string(record.isList ? "list" : "") + (record.isList && record.singleInstanced ? "," : "") +
         (record.singleInstanced ? "single" : "");
}

struct GetOptions
{
  std::string from;
  std::string inputFile;
  std::string outputFile;
  ReadChoices read;
  bool marked = false;
};

void get(const GetOptions& options, LibraryLog& log)
{
  MessageInput input(options.inputFile, options.from, log);
  input.open(ReadOptions{.memoryLimit = memoryLimit(options.read)});
  const auto message = onlyMessage(input, "xpath get");
  std::vector<XPathMetaData> records;
  if (XMLMetaData().getXpathMetaData(message.get(), records, !options.marked) != 0) {
    throw Failure(exitData, input.name() + ": the system of " + message->getTagName() + " has no XPaths");
  }
  std::string text;
  for (const XPathMetaData& record : records) {
    text += std::to_string(record.id) + separator + escaped(record.xpath) + separator +
            escaped(record.value) + separator + std::to_string(record.appType) + separator + flagsOf(record) +
            '\n';
  }
  writeOutput(options.outputFile, text);
}

struct SetOptions
{
  std::string tag;
  std::string inputFile;
  std::string outputFile;
  WriteChoices write;
};

/// The XPath that a path of field positions stands for from a class on; empty when it leads nowhere there. A
/// name that `written` has in its place is taken from there where it leads to the same field: it may be a
/// former one.
std::string xpathFrom(const _ClassDef* cls, const XPathFieldsInfo& path, std::string_view written = {})
{
  std::string xpath;
  for (int level = 0; level < path.depth; ++level) {
    const int position = path.fieldIndices[level];
    if (cls == nullptr || position < 0 || position >= cls->numberOfFields) {
      return {};
    }
    const FieldDef& def = cls->fields[position];
    const bool last = level + 1 == path.depth;
    const bool list = fieldTypeInfo(def.type).element != FIELD_UNSET;
    std::string_view name = written.substr(0, written.find_first_of("[/"));
    name.remove_prefix(name.starts_with('@') ? 1 : 0);
    written.remove_prefix(std::min(written.find('/'), written.size() - 1) + 1);
    if (name.empty() || findFieldOrFormer(*cls, nameHash(name.data(), name.size())) != &def) {
      name = def.getName();
    }
    xpath += (last && !list ? "@" : "") + std::string(name) + (last ? "" : "[1]/");
    const bool leadsOn = def.type == FIELD_OBJECT || def.type == FIELD_LIST_OBJECT;
    cls = leadsOn ? YMMessageBase::GetClassDefFromClassID(def) : nullptr;
  }
  return xpath;
}

/// Stores the values of lines in a message.
class Setter
{
public:
  Setter(YMMessageBase& message, const XPathDataRow& tables, LibraryLog& log)
      : message_(message), tables_(tables), log_(log)
  {
  }

  /// Throws Failure (data) that begins with `where`.
  void set(std::string_view line, const std::string& where);

private:
  YMMessageBase& message_;
  const XPathDataRow& tables_;
  LibraryLog& log_;
  XMLMetaData data_;
};

/// The record of a line: ID, XPath and value. Throws Failure (data) that begins with `where`.
XPathMetaData parseLine(std::string_view line, const std::string& where)
{
  std::vector<std::string_view> columns;
  for (std::size_t begin = 0; begin <= line.size();) {
    const std::size_t end = std::min(line.find(separator, begin), line.size());
    columns.push_back(line.substr(begin, end - begin));
    begin = end + 1;
  }
  if (columns.size() < 3 || columns.size() > 5) {
    throw Failure(exitData, where + "a line has an ID, an XPath and a value, separated by tabs");
  }
  XPathMetaData record;
  const std::string_view id = columns[0];
  const auto number = std::from_chars(id.data(), id.data() + id.size(), record.id);
  if (number.ec != std::errc() || number.ptr != id.data() + id.size() || record.id < 0) {
    throw Failure(exitData, where + "'" + oneLine(id, 64) + "' is no XPath ID");
  }
  if (!unquoteShown(columns[2], record.value, quotedCharacters)) {
    throw Failure(exitData, where + "a backslash begins \\t, \\n, \\r, \\xNN or \\\\");
  }
  record.xpath = columns[1];
  return record;
}

void Setter::set(std::string_view line, const std::string& where)
{
  const XPathMetaData record = parseLine(line, where);
  const auto system = static_cast<short>(tables_.system);
  std::string xpath;
  if (!data_.doesXPathIDExist(system, record.id) || !data_.getXPathFromID(system, record.id, xpath)) {
    log_.error(where + "the system of " + message_.getTagName() + " has no XPath ID " +
               std::to_string(record.id));
    return;
  }
  const int index = data_.getXPathFieldsInfoIndex(tables_.idToFieldsInfo, tables_.count - 1, record.id);
  const XPathFieldsInfo& path = tables_.fieldsInfo[index];
  if (xpathFrom(message_.getClass(), path) != xpath) {
    throw Failure(exitData, where + "XPath ID " + std::to_string(record.id) + " (" + xpath + ") is none of " +
                                message_.getTagName());
  }
  if (!record.xpath.empty() && record.xpath != escaped(xpathFrom(message_.getClass(), path, record.xpath))) {
    throw Failure(exitData, where + "XPath ID " + std::to_string(record.id) + " is " + xpath + ", not " +
                                oneLine(record.xpath, 64));
  }
  YMMessageBase* target = &message_;
  if (data_.setXpathMetaData(target, {record}, system) != 0) {
    throw Failure(exitData, where + message_.getTagName() + " takes no value '" + oneLine(record.value, 64) +
                                "' at " + xpath);
  }
}

void set(const SetOptions& options, LibraryLog& log)
{
  refuseIdleOptions(options.write);
  const ClassPlace place = findTag(options.tag);
  YMMessageBase message(place.system, place.index);
  if (message.getClass() == nullptr || message.getClass()->isEnum()) {
    throw Failure(exitData, options.tag + " is an enumeration, not a message");
  }
  const XPathDataRow* tables = YMMessageBase::getXPathData(place.system);
  if (tables == nullptr) {
    throw Failure(exitData, "the system of " + message.getTagName() + " has no XPaths");
  }
  const std::string text = readInput(options.inputFile);
  const std::string name = inputName(options.inputFile);
  Setter setter(message, *tables, log);
  int number = 0;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    std::string_view line = std::string_view(text).substr(begin, end - begin);
    begin = end + 1;
    ++number;
    if (line.ends_with('\r')) {  // in a value it is escaped
      line.remove_suffix(1);
    }
    if (!line.empty()) {
      setter.set(line, name + ":" + std::to_string(number) + ": ");
    }
  }
  writeMessage(message, options.write, options.outputFile, name, log);
}

}  // namespace

void addXPathCommand(CLI::App& app, Session& session)
{
  CLI::App& xpath = *app.add_subcommand("xpath", "Values of a message by XPath ID: get, set.");
  xpath.fallthrough();
  xpath.require_subcommand(1);
  xpath.footer("kwxml xpath get --help and kwxml xpath set --help explain them.");

  const auto getOptions = std::make_shared<GetOptions>();
  CLI::App& getCommand = addCommand(
      xpath, "get", "Lists the values of a message that have an XPath ID.",
      "A line for each value, with five columns separated by tabs: ID, XPath, value, application type, and "
      "flags\n"
      "(list: an element of a list; single: the value exists once; or -). In values \\t stands for a tab, "
      "\\n for\n"
      "a line end, \\r for a carriage return, \\\\ for a backslash, and \\xNN for a byte of a character that "
      "a terminal\n"
      "would obey. Bytes and passwords are base64 (so a password can be read), truth values 1 and 0, and\n"
      "enumerations numbers. Values of the outermost message and in lists of messages have no line.\n\n"
      "Example:\n  kwxml xpath get stock.xml | cut -f 2,3",
      getOptions->outputFile);
  getCommand.add_option("FILE", getOptions->inputFile, "The message; - or nothing: standard input")
      ->check(commandline::ofKind(commandline::fileKind))
      ->type_name("");
  addFromOption(getCommand, getOptions->from, "the input");
  addMemoryOption(getCommand, getOptions->read);
  getCommand.add_flag("--marked", getOptions->marked,
                      "Only from nested messages whose field has the XPath mark");
  getCommand.callback(
      [getOptions, &session] { session.run = [getOptions](LibraryLog& log) { get(*getOptions, log); }; });

  const auto setOptions = std::make_shared<SetOptions>();
  CLI::App& setCommand =
      addCommand(xpath, "set", "Makes a message from such lines.",
                 "Reads the lines that kwxml xpath get writes, with the same escapes. The XPath may be "
                 "empty; where it is not "
                 "it\n"
                 "must be that of the ID. The columns behind the value may be missing. Truth values are 1, "
                 "0, true or false. A "
                 "line\n"
                 "whose ID the system does not have is reported and passed over; an ID of another class, and "
                 "a value that "
                 "does\n"
                 "not fit its field, is an error.\n\n"
                 "Example:\n  kwxml xpath get stock.xml | kwxml xpath set Inventory_Stock --readable",
                 setOptions->outputFile);
  setCommand.add_option("TAG", setOptions->tag, "Tag name or tag ID of the class")
      ->check(commandline::ofKind(messageKind))
      ->type_name("")
      ->required();
  setCommand.add_option("FILE", setOptions->inputFile, "The lines; - or nothing: standard input")
      ->check(commandline::ofKind(commandline::fileKind))
      ->type_name("");
  addWriteOptions(setCommand, setOptions->write);
  setCommand.callback(
      [setOptions, &session] { session.run = [setOptions](LibraryLog& log) { set(*setOptions, log); }; });
}

}  // namespace kwxml::tool
