// What the commands share: how one is made known to the command line, and how it fails.
//
// A command's file adds its options to the command line; parsing the line selects one command, which main()
// then runs. A command writes nothing before it has everything, so that a failure leaves no half of an answer
// behind.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

// Its header takes compilers seconds: only the files that add options include that.
namespace CLI {
class App;
}

namespace kwxml::tool {

class LibraryLog;

enum ExitStatus
{
  exitDone = 0,
  exitData = 1,       // the data could not be read or written
  exitDifferent = 1,  // what was compared differs
  exitUsage = 2,      // the command line says something that cannot be done
};

/// Ends the command; main() shows the text as one line and exits with the status.
class Failure : public std::runtime_error
{
public:
  Failure(ExitStatus status, const std::string& text) : std::runtime_error(text), status(status) {}
  const ExitStatus status;
};

/// One run of the tool. `run` is the selected command; it throws Failure, or leaves its exit status.
struct Session
{
  std::function<void(LibraryLog& log)> run;
  int logLevel = 0;
  std::string catalogue;  ///< schemas or a library; empty: the linked one
  bool needsCatalogue = true;
  ExitStatus status = exitDone;
};

/// A command with an option `-o FILE` that stores into `outputFile`; `more` (examples) ends its help. Both
/// strings and the session must live until the command has run.
CLI::App& addCommand(CLI::App& app, const std::string& name, const std::string& description,
                     const std::string& more, std::string& outputFile);

/// The check of an option that takes a level: empty, or what is wrong with it.
std::string notNegative(const std::string& value);

void addCatalogueCommands(CLI::App& app, Session& session);
void addConvertCommand(CLI::App& app, Session& session);
void addDiffCommand(CLI::App& app, Session& session);
void addInspectCommand(CLI::App& app, Session& session);
void addDummyCommand(CLI::App& app, Session& session);
void addXPathCommand(CLI::App& app, Session& session);
void addKeyCommand(CLI::App& app, Session& session);
void addLogCommand(CLI::App& app, Session& session);
void addRecordsCommand(CLI::App& app, Session& session);
void addMergeCommand(CLI::App& app, Session& session);
// Where the build has the client of NATS (KWXML_NATS).
void addSendCommand(CLI::App& app, Session& session);
void addReceiveCommands(CLI::App& app, Session& session);
void addDeadCommand(CLI::App& app, Session& session);

}  // namespace kwxml::tool
