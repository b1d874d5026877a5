// The command that writes a message through the logger, so that its line can be seen: log.
#include "Command.h"
#include "Messages.h"
#include "Report.h"

#include <commandline/Values.h>
#include <CLI/CLI.hpp>

#include <kwxml/log/XmlBinaryLogger.h>
#include <kwxml/log/XmlLoggerHelper.h>
#include <kwxml/platform/LogSink.h>
#include <kwxml/text/ShownText.h>
#include <kwxml/xml/XMLSerializer.h>

namespace kwxml::tool {

namespace {

constexpr std::string_view placeholder = "%bxml_kw";

struct LogOptions
{
  std::string from;
  std::string inputFile;
  std::string outputFile;
  std::string format = "%bxml_kw";
  std::string function = "kwxml";
  ReadChoices read;
  int level = 0;
};

/// A format of the command line has no arguments: a conversion in it would read what is not there.
void refuseConversions(const std::string& format)
{
  for (std::size_t i = format.find('%'); i != std::string::npos; i = format.find('%', i)) {
    const std::string_view rest = std::string_view(format).substr(i);
    const std::size_t length = rest.starts_with("%%")          ? 2
                               : rest.starts_with(placeholder) ? placeholder.size()
                                                               : 0;
    if (length == 0) {
      throw Failure(exitUsage,
                    "--format has no conversions but %bxml_kw and %%, not '" + oneLine(rest, 16) + "'");
    }
    i += length;
  }
}

/// How many values the line's XML cannot hold; the logger itself tells nobody.
int lostInXml(YMMessageBase& message, LibraryLog& log)
{
  const LibraryLog::Silence silence(log);  // the logger has the lines, too
  XMLSerializer serializer;
  std::string xml;
  return serializer.serialize(message, xml) != 0 ? 1 : serializer.lost();
}

void logMessage(const LogOptions& options, LibraryLog& log)
{
  refuseConversions(options.format);
  MessageInput input(options.inputFile, options.from, log);
  input.open(ReadOptions{.strictness = strictness(options.read), .memoryLimit = memoryLimit(options.read)});
  const auto message = onlyMessage(input, "log");
  const int lost = lostInXml(*message, log);
  std::string line;
  {
    const LibraryLog::OwnLines own(log, options.level, options.function, [&line](const LogRecord& record) {
      // The last one: the library may have traced at this level and under this name before.
      line = "[" + std::to_string(record.level) + "] " + shown(record.function) + " " + shown(record.text) +
             "\n";
    });
    XmlBinaryLogger logger;
    logger.initialize();
    logger.DebugLvl(options.function.c_str(), options.level, options.format.c_str(), message.get());
    XmlLoggerHelper::getXmlLoggerInstance()->drain();
  }
  if (const std::string why = losses(lost, input.name(), "logging", "nothing is written"); !why.empty()) {
    throw Failure(exitData, why);
  }
  writeOutput(options.outputFile, line);
}

}  // namespace

void addLogCommand(CLI::App& app, Session& session)
{
  const auto options = std::make_shared<LogOptions>();
  CLI::App& command =
      addCommand(app, "log", "Shows the line that a message leaves in the log.",
                 "Writes the message through the library's logger and shows level, function and text of the "
                 "line. In the format "
                 "%bxml_kw\n"
                 "stands for the XML of the message, which has three blanks before and after it, and %% for "
                 "a percent sign.\n\n"
                 "Example:\n  kwxml log order.xml --format 'received %bxml_kw from shop 7' --level 10",
                 options->outputFile);
  command.add_option("FILE", options->inputFile, "The message; - or nothing: standard input")
      ->check(commandline::ofKind(commandline::fileKind))
      ->type_name("");
  addFromOption(command, options->from, "the input");
  addReadOptions(command, options->read);
  command.add_option("--format", options->format, "Format of the line (default: %bxml_kw)")
      ->type_name("FORMAT");
  command.add_option("--function", options->function, "Function that the line names (default: kwxml)")
      ->type_name("NAME");
  command.add_option("--level", options->level, "Level of the line (default: 0)")
      ->check(commandline::offering({}, notNegative))
      ->type_name("N");
  command.callback(
      [options, &session] { session.run = [options](LibraryLog& log) { logMessage(*options, log); }; });
}

}  // namespace kwxml::tool
