// kwxml: everything that the message library does, from a shell.
#include "Command.h"
#include "CompleteLine.h"
#include "Files.h"
#include "NamedCatalogue.h"
#include "Names.h"
#include "Report.h"

#include <commandline/AppManual.h>
#include <commandline/Completion.h>
#include <CLI/CLI.hpp>

#include <kwxml/codec/StandInPasswords.h>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <exception>
#include <iostream>
#include <new>

namespace kwxml::tool {

using namespace commandline;

CLI::App& addCommand(CLI::App& app, const std::string& name, const std::string& description,
                     const std::string& more, std::string& outputFile)
{
  CLI::App& command = *app.add_subcommand(name, description);
  command.fallthrough();  // the options of the tool may stand behind the command
  command.add_option("-o", outputFile, "Write to this file instead of standard output")
      ->check(ofKind(fileKind))
      ->type_name("FILE");
  command.footer(more);
  return command;
}

std::string notNegative(const std::string& value)
{
  int number = 0;
  const char* end = value.data() + value.size();
  const auto result = std::from_chars(value.data(), end, number);
  return result.ec == std::errc() && result.ptr == end && number >= 0
             ? std::string()
             : "takes a number from 0 to 2147483647, not '" + value + "'";
}

namespace {

constexpr const char* program = "kwxml " KWXML_VERSION;

/// CLI11's own words, but for what has a nearest name.
std::string explain(const CLI::App& app, const CLI::ParseError& error)
{
  const std::vector<std::string> unexpected = app.remaining(true);
  if (unexpected.empty()) {
    const auto given = app.get_subcommands();
    if (error.get_name() == "RequiredError" && given.empty()) {
      return "no command is given; kwxml --help lists them";
    }
    if (error.get_name() == "RequiredError" && given.front()->get_require_subcommand_min() > 0 &&
        given.front()->get_subcommands().empty()) {
      const std::string& name = given.front()->get_name();
      return "kwxml " + name + " wants a command; kwxml " + name + " --help lists them";
    }
    return error.what();
  }
  const std::string& word = unexpected.front();
  const std::vector<CLI::App*> chosen = app.get_subcommands();
  std::vector<std::string> names;
  if (word.starts_with("-")) {
    for (const CLI::App* scope :
         {&app, chosen.empty() ? &app : static_cast<const CLI::App*>(chosen.front())}) {
      for (const CLI::Option* option : scope->get_options()) {
        for (const std::string& name : option->get_lnames()) {
          names.push_back("--" + name);
        }
      }
    }
    return "unknown option '" + word + "'" + didYouMean(word, names);
  }
  const CLI::App& scope = chosen.empty() ? app : *chosen.front();
  const auto commands = scope.get_subcommands([](const CLI::App*) { return true; });
  if (!chosen.empty() && (commands.empty() || !scope.get_subcommands().empty())) {
    return "unexpected argument '" + word + "'";
  }
  for (const CLI::App* command : commands) {
    names.push_back(command->get_name());
  }
  return "unknown command '" + word + "'" + didYouMean(word, names);
}

int run(int argc, char** argv)
{
  Session session;
  CLI::App app("Messages of a catalogue: their classes, and their forms outside a program.", "kwxml");
  app.set_version_flag("--version", program);
  app.require_subcommand(1);
  app.add_option("--log-level", session.logLevel,
                 "Level of the library's log on standard error (default: 0, errors)")
      ->check(offering({{"0", "errors"},
                        {"10", "event arguments, too"},
                        {"15", "fields of the binary form, too"},
                        {"25", "whole messages, too"}},
                       notNegative))
      ->type_name("N");
  app.add_option(
         "--catalogue", session.catalogue,
         "Messages of this catalogue: a schema file (.xml), a folder of them, or a library (.so) that "
         "kwxml_add_catalogue() has made. Without it the one that the environment variable "
         "KWXML_CATALOGUE names, or else the one that the tool is linked with")
      ->envname(catalogueVariable)
      ->check(ofKind(fileKind))
      ->check(CLI::Validator(
          [](std::string& path) { return path.empty() ? std::string("takes a path") : std::string(); }, ""))
      ->type_name("PATH");
  app.footer(
      "kwxml <command> --help explains a command.\n\n"
      "Exit status: 0 done, 1 the data could not be read or written, 2 usage.\n\n"
      "Environment: KWXML_SETTINGS names the file of settings, which names the key file of passwords; see\n"
      "kwxml key create --help.\n\n"
      "Example:\n  kwxml convert status.xml --readable");
  addCatalogueCommands(app, session);
  addConvertCommand(app, session);
  addDiffCommand(app, session);
  addInspectCommand(app, session);
  addDummyCommand(app, session);
  addXPathCommand(app, session);
  addLogCommand(app, session);
  addKeyCommand(app, session);
  addMergeCommand(app, session);
  addRecordsCommand(app, session);
#if KWXML_NATS
  addSendCommand(app, session);
  addReceiveCommands(app, session);
  addDeadCommand(app, session);
#endif
  // The help does not say these: shells ask the one, the build the other.
  const std::vector<std::string> words(argv + std::min(argc, 2), argv + argc);
  if (argc > 1 && argv[1] == completeOption) {
    completeLine(app, words);
    return exitDone;
  }
  if (argc == 3 && argv[1] == pagesOption) {
    writePages(pagesOf(app, {"kwxml-catalogue(1)", "kwxml-schema(5)"}), words[0], program);
    return exitDone;
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    writeText("", app.help());
    return exitDone;
  } catch (const CLI::CallForVersion& version) {
    writeText("", version.what());
    return exitDone;
  } catch (const CLI::ParseError& error) {
    report(explain(app, error));
    return exitUsage;
  }
  LibraryLog log(session.logLevel);
  if (isPasswordKeyConfigured()) {
    static_cast<void>(registerPasswordAlgorithms());
  }
  if (session.needsCatalogue) {
    useNamedCatalogue(session.catalogue, std::cerr);
  }
  session.run(log);
  return session.status;
}

}  // namespace

}  // namespace kwxml::tool

int main(int argc, char** argv)
{
  using namespace kwxml::tool;
  try {
    occupyStandardFiles();
    // A file that grows beyond what the process may write is an error like others, and no end without a word.
    std::signal(SIGXFSZ, SIG_IGN);
    return run(argc, argv);
  } catch (const Failure& failure) {
    report(failure.what());
    return failure.status;
  } catch (const std::bad_alloc&) {
    report("not enough memory");
  } catch (const std::exception& error) {
    report(error.what());
  }
  return exitData;
}
