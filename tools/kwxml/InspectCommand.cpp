// The command that explains the bytes of binary messages: inspect.
#include "Command.h"
#include "Inspect.h"
#include "Messages.h"
#include "Report.h"

#include <commandline/Values.h>
#include <CLI/CLI.hpp>

#include <fstream>
#include <memory>
#include <optional>

namespace kwxml::tool {

namespace {

struct InspectOptions
{
  std::string from;
  std::string inputFile;
  std::string outputFile;
};

std::optional<InspectForm> formNamed(std::string_view name)
{
  return name == "binary"    ? std::optional(InspectForm::Binary)
         : name == "records" ? std::optional(InspectForm::Records)
         : name == "batch"   ? std::optional(InspectForm::Batch)
                             : std::nullopt;
}

void run(const InspectOptions& options, LibraryLog& log)
{
  const Input input(options.inputFile);
  std::optional<InspectForm> form = formNamed(options.from);
  if (!form) {
    form = formNamed(guessForm(input.head(guessedBytes), input.size()).name);
    if (!form) {
      throw Failure(exitData, input.name() + " is in no binary form; --from binary explains it all the same");
    }
  }
  std::ifstream in(input.path(), std::ios::binary);
  if (!in) {
    throw Failure(exitData, "cannot read " + input.name());
  }
  const LibraryLog::Silence silence(log);  // the lines say what is wrong
  Output output(options.outputFile);
  std::string text;
  const bool whole = inspect(in, *form, [&](const BinaryPiece& piece, std::uint64_t more) {
    constexpr std::size_t enough = 64 * 1024;
    text += toText(piece, more);
    if (text.size() >= enough) {
      output.append(text);
      text.clear();
    }
  });
  if (in.bad()) {
    throw Failure(exitData, "cannot read " + input.name());
  }
  output.append(text);
  output.commit();
  if (!whole) {
    throw Failure(exitData, input.name() + " is damaged");
  }
}

}  // namespace

void addInspectCommand(CLI::App& app, Session& session)
{
  const auto options = std::make_shared<InspectOptions>();
  CLI::App& command =
      addCommand(app, "inspect", "Explains a binary message byte by byte.",
                 "A line per piece: offset, bytes, and what a reader takes them for. Of many bytes the first "
                 "16 are shown; "
                 "of\n"
                 "passwords none. Of a damaged message everything before the damage is explained; the last "
                 "line says what is\n"
                 "wrong.\n\n"
                 "Exit status: 0 the message is whole, 1 it is damaged or cannot be read, 2 usage.\n\n"
                 "Example:\n  kwxml inspect status.bin\n  kwxml inspect --from records messages.dat | less",
                 options->outputFile);
  command
      .add_option("FILE", options->inputFile, "The message or file of messages; - or nothing: standard input")
      ->check(commandline::ofKind(commandline::fileKind))
      ->type_name("");
  command
      .add_option("--from", options->from, "Form of the input (binary, records, batch); guessed when absent")
      ->check(formName({"binary", "records", "batch"}))
      ->type_name("FORM");
  command.callback([options, &session] { session.run = [options](LibraryLog& log) { run(*options, log); }; });
}

}  // namespace kwxml::tool
