// The command that shows what could not be used of a stream's messages: dead.
#include "Command.h"
#include "Files.h"
#include "Messages.h"
#include "NatsTool.h"
#include "Report.h"

#include <CLI/CLI.hpp>

#include <kwxml/nats/DeadLetters.h>

#include <filesystem>
#include <memory>

namespace kwxml::tool {

namespace {

struct DeadOptions
{
  std::string stream;
  std::string prefix{"kwxml"};
  std::string bodies;
  std::string outputFile;
};

std::string line(const nats::DeadLetter& letter)
{
  constexpr std::size_t longest = 2000;
  return std::to_string(letter.place) + ": message " + std::to_string(letter.sequence) + " of stream " +
         oneLine(letter.stream, longest) + ", received as " + oneLine(letter.durable, longest) + ", " +
         oneLine(letter.subject, longest) + ", " + std::to_string(letter.body.size()) +
         (letter.body.size() == 1 ? " byte: " : " bytes: ") + oneLine(letter.why, longest) + "\n";
}

void showDead(const DeadOptions& options)
{
  withServers([&] {
    nats::Connection connection;
    Output output(options.outputFile);
    if (!options.bodies.empty()) {
      std::error_code error;
      std::filesystem::create_directories(options.bodies, error);
      if (error) {
        throw Failure(exitData, "cannot make the folder " + options.bodies + ": " + error.message());
      }
    }
    // Their bodies are in memory together.
    constexpr std::size_t atOnce = 100;
    std::uint64_t from = 1;
    for (std::size_t count = atOnce; count == atOnce;) {
      const auto letters = nats::deadLetters(connection, options.stream, options.prefix, from, atOnce);
      count = letters.size();
      for (const nats::DeadLetter& letter : letters) {
        if (!options.bodies.empty()) {
          writeOutput(options.bodies + "/" + std::to_string(letter.place),
                      {reinterpret_cast<const char*>(letter.body.data()), letter.body.size()});
        }
        output.append(line(letter));
        from = letter.place + 1;
      }
    }
    output.commit();
  });
}

}  // namespace

void addDeadCommand(CLI::App& app, Session& session)
{
  const auto options = std::make_shared<DeadOptions>();
  CLI::App& command = addCommand(
      app, "dead", "Shows the messages of a stream of NATS JetStream that could not be used.",
      "Each has a line with its place, the message that it was, and the reason. They stay in the "
      "stream.\n\n" +
          std::string(natsSettings) + "Example:\n  kwxml dead --stream ORDERS --bodies dead-orders",
      options->outputFile);
  addStreamOption(command, "--stream", options->stream, "The stream that keeps the dead letters");
  addPrefixOption(command, "--prefix", options->prefix);
  command
      .add_option("--bodies", options->bodies,
                  "Write the bytes of each to FOLDER, in a file named by its place, over one that is there")
      ->type_name("FOLDER");
  command.callback([options, &session] { session.run = [options](LibraryLog&) { showDead(*options); }; });
}

}  // namespace kwxml::tool
