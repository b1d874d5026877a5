// The commands for the values of a message by XPath ID, a line each: xpath get, xpath set.
#include "Command.h"
#include "Messages.h"
#include "Names.h"
#include "Report.h"

#include <kwxml/metadata/XMLMetaData.h>

#include <charconv>
#include <optional>

namespace kwxml::tool {

namespace {

constexpr char separator = '\t';

/// The characters that would end a column or a line, as they are written.
struct Escape
{
  char character;
  char letter;
};
constexpr Escape escapes[] = {{'\t', 't'}, {'\n', 'n'}, {'\r', 'r'}, {'\\', '\\'}};

std::string escaped(std::string_view text)
{
  std::string result;
  for (const char c : text) {
    char letter = 0;
    for (const Escape& escape : escapes) {
      letter = c == escape.character ? escape.letter : letter;
    }
    if (letter != 0) {
      result += '\\';
    }
    result += letter != 0 ? letter : c;
  }
  return result;
}

/// Empty for a text with a backslash that begins no escape.
std::optional<std::string> unescaped(std::string_view text)
{
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      result += text[i];
      continue;
    }
    const char letter = ++i < text.size() ? text[i] : '\0';
    bool known = false;
    for (const Escape& escape : escapes) {
      if (letter == escape.letter) {
        result += escape.character;
        known = true;
      }
    }
    if (!known) {
      return std::nullopt;
    }
  }
  return result;
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
  bool marked = false;
};

void get(const GetOptions& options, LibraryLog& log)
{
  MessageInput input(options.inputFile, options.from, log);
  input.open(ReadOptions());
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

/// The record of a line, of which the ID and the value count; throws Failure (data) that begins with `where`.
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
  auto value = unescaped(columns[2]);
  if (!value) {
    throw Failure(exitData, where + "a backslash stands before t, n, r or another backslash");
  }
  record.value = std::move(*value);
  return record;
}

void set(const SetOptions& options, LibraryLog& log)
{
  refuseIdleOptions(options.write);
  const ClassPlace place = findTag(options.tag);
  YMMessageBase message(place.system, place.index);
  if (message.getClass() == nullptr || message.getClass()->isEnum()) {
    throw Failure(exitData, options.tag + " is an enumeration, not a message");
  }
  if (YMMessageBase::getXPathData(place.system) == nullptr) {
    throw Failure(exitData, "the system of " + message.getTagName() + " has no XPaths");
  }
  const std::string text = readInput(options.inputFile);
  const std::string name = inputName(options.inputFile);
  YMMessageBase* target = &message;
  XMLMetaData data;
  int number = 0;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    const std::string_view line = std::string_view(text).substr(begin, end - begin);
    begin = end + 1;
    ++number;
    if (line.empty()) {
      continue;
    }
    const std::string where = name + ":" + std::to_string(number) + ": ";
    const XPathMetaData record = parseLine(line, where);
    if (data.setXpathMetaData(target, {record}, place.system) != 0) {
      std::string xpath;
      data.getXPathFromID(place.system, record.id, xpath);
      throw Failure(exitData, where + message.getTagName() + " takes no value '" + oneLine(record.value, 64) +
                                  "' at " + xpath);
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
      "\\n "
      "for a\n"
      "line end, \\r for a carriage return and \\\\ for a backslash. Bytes and passwords are base64 (so a "
      "password can be read), truth values 1 and 0, "
      "and\n"
      "enumerations numbers. Values of the outermost message and in lists of messages have no line.\n\n"
      "Example:\n  kwxml xpath get stock.xml | cut -f 2,3",
      getOptions->outputFile);
  getCommand.add_option("FILE", getOptions->inputFile, "The message; - or nothing: standard input")
      ->type_name("");
  addFromOption(getCommand, getOptions->from, "the input");
  getCommand.add_flag("--marked", getOptions->marked,
                      "Only from nested messages whose field has the XPath mark");
  getCommand.callback(
      [getOptions, &session] { session.run = [getOptions](LibraryLog& log) { get(*getOptions, log); }; });

  const auto setOptions = std::make_shared<SetOptions>();
  CLI::App& setCommand = addCommand(
      xpath, "set", "Makes a message from such lines.",
      "Reads the lines that kwxml xpath get writes, with the same escapes. Of each line the ID and the value "
      "count;\n"
      "the columns behind the value may be missing. Truth values are 1, 0, true or false. A line whose ID "
      "the "
      "system\n"
      "does not have is reported and passed over; a value that does not fit its field is an error.\n\n"
      "Example:\n  kwxml xpath get stock.xml | kwxml xpath set Inventory_Stock --readable",
      setOptions->outputFile);
  setCommand.add_option("TAG", setOptions->tag, "Tag name or tag ID of the class")->type_name("")->required();
  setCommand.add_option("FILE", setOptions->inputFile, "The lines; - or nothing: standard input")
      ->type_name("");
  addWriteOptions(setCommand, setOptions->write);
  setCommand.callback(
      [setOptions, &session] { session.run = [setOptions](LibraryLog& log) { set(*setOptions, log); }; });
}

}  // namespace kwxml::tool
