// The command that adds the fields of one message to another: merge.
#include "Command.h"
#include "Messages.h"
#include "Report.h"

#include <commandline/Values.h>
#include <CLI/CLI.hpp>

#include <kwxml/traverse/XmlTraverse.h>

namespace kwxml::tool {

namespace {

struct MergeOptions
{
  std::string from;
  std::string source;
  std::string target;
  std::string outputFile;
  ReadChoices read;
  WriteChoices write;
};

constexpr const char* consequence = "nothing is written";

void merge(const MergeOptions& options, LibraryLog& log)
{
  if (isStandard(options.source) && isStandard(options.target)) {
    throw Failure(exitUsage, "FROM and INTO are both standard input");
  }
  refuseIdleOptions(options.write);
  const ReadOptions read = readOptions(options.read, options.write);
  MessageInput source(options.source, options.from, log);
  MessageInput target(options.target, options.from, log);
  source.open(read);
  target.open(read);
  const std::unique_ptr<YMMessageBase> from = onlyMessage(source, "merge");
  const std::unique_ptr<YMMessageBase> into = onlyMessage(target, "merge");

  const int errors = log.errors();
  if (from->getClass() != into->getClass()) {
    throw Failure(exitData, "cannot merge " + from->getTagName() + " (" + source.name() + ") into " +
                                into->getTagName() + " (" + target.name() + ")");
  }
  const bool merged = XmlTraverse().merge(*from, *into);
  if (const std::string why = losses(log.errors() - errors, source.name(), "merging", consequence);
      !why.empty()) {
    throw Failure(exitData, why);
  }
  if (!merged) {
    throw Failure(exitData, source.name() + ": cannot be merged into " + target.name());
  }
  writeMessage(*into, options.write, options.outputFile, target.name(), log);
}

}  // namespace

void addMergeCommand(CLI::App& app, Session& session)
{
  const auto options = std::make_shared<MergeOptions>();
  CLI::App& command = addCommand(
      app, "merge", "Writes a message with the fields of another one of its class added.",
      "The fields that are set in FROM replace those of INTO. Elements of lists are added behind those of "
      "INTO, and\n"
      "messages in both are merged in their turn. Lists of uint, enumerations and bools and maps stay as "
      "INTO "
      "has\n"
      "them. Neither file is changed (but for the one that -o names).\n\n"
      "Passwords need a key as with kwxml convert.\n\n"
      "Example:\n  kwxml merge changes.xml order.xml -o order.xml\n"
      "  generate | kwxml merge - status.xml --readable",
      options->outputFile);
  command.add_option("FROM", options->source, "The message whose fields are taken")
      ->check(commandline::ofKind(commandline::fileKind))
      ->type_name("")
      ->required();
  command
      .add_option("INTO", options->target,
                  "The message that gets them; one of the two may be -, standard input")
      ->check(commandline::ofKind(commandline::fileKind))
      ->type_name("")
      ->required();
  addFromOption(command, options->from, "both inputs");
  addReadOptions(command, options->read);
  addWriteOptions(command, options->write);
  command.callback(
      [options, &session] { session.run = [options](LibraryLog& log) { merge(*options, log); }; });
}

}  // namespace kwxml::tool
