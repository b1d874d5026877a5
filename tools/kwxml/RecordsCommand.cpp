// The commands for files of messages that may be damaged: records check, records repair.
#include "Command.h"
#include "Messages.h"
#include "Names.h"
#include "Report.h"

#include <commandline/Values.h>
#include <CLI/CLI.hpp>

#include <kwxml/binary/RecordPrefix.h>
#include <kwxml/binary/RecordScan.h>
#include <kwxml/binary/WireFormat.h>
#include <kwxml/platform/CYxFile.h>

#include <functional>
#include <memory>

namespace kwxml::tool {

namespace {

struct RecordsOptions
{
  std::string from;
  std::string inputFile;
  std::string outputFile;
};

RecordLayout layoutOf(const RecordsOptions& options, const Input& input)
{
  if (!options.from.empty()) {
    return options.from == "batch" ? RecordLayout::Batch : RecordLayout::Single;
  }
  const std::string head = input.head(guessedBytes);
  const auto guessed = recordLayout(head, input.size());
  // Of a writer that was killed early the file ends within its first record.
  const bool isTorn =
      head.size() > recordPrefixSize && wire::isVersionWord(std::string_view(head).substr(recordPrefixSize));
  if (!guessed && !isTorn && input.size() != 0) {
    throw Failure(exitData,
                  input.name() +
                      " begins like neither form of files; --from records or --from batch takes it for "
                      "one all the same");
  }
  return guessed.value_or(RecordLayout::Single);
}

std::string counted(unsigned long long number, const char* one)
{
  return std::to_string(number) + " " + one + (number == 1 ? "" : "s");
}

/// What a file holds.
struct Found
{
  unsigned long long records = 0;
  unsigned long long bytes = 0;
  unsigned long long places = 0;
  unsigned long long damaged = 0;
};

/// Shows what is damaged, and hands each whole record to `take`.
Found scan(const Input& input, RecordLayout layout, LibraryLog& log,
           const std::function<void(const RecordStretch&)>& take)
{
  const LibraryLog::Silence silence(log);  // the lines say what is wrong
  CYxError error;
  CYxFile file;
  if (!file.Open(input.path().c_str(), CYxFile::Mode::Read, &error)) {
    throw Failure(exitData, "cannot read " + input.name() + ": " + error.AsString());
  }
  Found found;
  RecordScan records(file, layout, RecordScan::Depth::Contents);
  for (RecordStretch stretch; records.next(stretch);) {
    const auto show = [&](const std::string& text) {
      reportPlace(input.name() + ":+" + std::to_string(stretch.offset) + ": " + text);
    };
    if (stretch.kind == RecordStretch::Kind::Damage) {
      show("error: " + counted(stretch.size, "byte") + " of no record: " + stretch.why);
      ++found.places;
      found.damaged += stretch.size;
    } else if (stretch.kind == RecordStretch::Kind::Record) {
      if (!stretch.why.empty()) {
        show("warning: a record that is taken as it is: " + stretch.why);
      }
      ++found.records;
      found.bytes += stretch.size;
      take(stretch);
      constexpr unsigned long long step = 1024;
      if (found.records % step == 0) {
        showProgress(counted(found.records, "record"));
      }
    }
  }
  showProgress("");
  if (records.error().IsError()) {
    throw Failure(exitData, "cannot read " + input.name() + ": " + records.error().AsString());
  }
  return found;
}

void check(const RecordsOptions& options, Session& session, LibraryLog& log)
{
  const Input input(options.inputFile);
  const RecordLayout layout = layoutOf(options, input);
  const Found found = scan(input, layout, log, [](const RecordStretch&) {});
  std::string text = counted(found.records, "whole record") + ", " + counted(found.bytes, "byte");
  if (found.places > 0) {
    text += "; " + counted(found.damaged, "byte") + " in " + counted(found.places, "place") + " of no record";
    session.status = exitData;
  }
  writeText(options.outputFile, text);
}

void repair(const RecordsOptions& options, LibraryLog& log)
{
  const Input input(options.inputFile);
  const RecordLayout layout = layoutOf(options, input);
  Output output(options.outputFile);
  if (layout == RecordLayout::Batch) {
    output.append(batchVersionBytes);
  }
  CYxFile file(input.path().c_str(), CYxFile::Mode::Read);
  std::string bytes;
  const Found found = scan(input, layout, log, [&](const RecordStretch& stretch) {
    bytes.resize(stretch.size);
    CYxError error(0);
    if (file.Seek(static_cast<long long>(stretch.offset), CYxFile::Origin::Begin, &error) < 0 ||
        file.Read(bytes.data(), bytes.size(), &error) != static_cast<long long>(bytes.size())) {
      throw Failure(exitData, "cannot read " + input.name() + ": " +
                                  (error.IsError() ? error.AsString() : "it has become shorter"));
    }
    output.append(bytes);
  });
  output.commit();
  report(inputName(options.inputFile) + ": " + counted(found.records, "record") + " kept, " +
         counted(found.damaged, "byte") + " lost");
}

}  // namespace

void addRecordsCommand(CLI::App& app, Session& session)
{
  CLI::App& records = *app.add_subcommand("records", "Files of messages that may be damaged: check, repair.");
  records.fallthrough();
  records.require_subcommand(1);
  records.footer("kwxml records check --help and kwxml records repair --help explain them.");
  const auto add = [&](const char* name, const char* description, const char* more) {
    const auto options = std::make_shared<RecordsOptions>();
    CLI::App& command = addCommand(records, name, description, more, options->outputFile);
    command.add_option("FILE", options->inputFile, "The file of messages; - or nothing: standard input")
        ->check(commandline::ofKind(commandline::fileKind))
        ->type_name("");
    command.add_option("--from", options->from, "Form of the file (records, batch); guessed when absent")
        ->check(formName({"records", "batch"}))
        ->type_name("FORM");
    return std::pair(&command, options);
  };
  const auto [checkCommand, checkOptions] =
      add("check", "Tells whether all records of a file can be read.",
          "A line for each stretch of bytes that belongs to no record, with its offset and why; then the "
          "number of\n"
          "whole records.\n\n"
          "Exit status: 0 all records are whole, 1 something is damaged or cannot be read, 2 usage.\n\n"
          "Example:\n  kwxml records check messages.dat");
  checkCommand->callback([options = checkOptions, &session] {
    session.run = [options, &session](LibraryLog& log) { check(*options, session, log); };
  });
  const auto [repairCommand, repairOptions] =
      add("repair", "Copies every whole record of a damaged file.",
          "Behind damage the next record that can be read is sought byte by byte. What is left out is shown "
          "as by\n"
          "kwxml records check. A record of a class that the catalogue lacks is kept where it follows "
          "another one.\n"
          "\nExample:\n  kwxml records repair messages.dat -o mended.dat");
  repairCommand->callback([options = repairOptions, &session] {
    session.run = [options](LibraryLog& log) { repair(*options, log); };
  });
}

}  // namespace kwxml::tool
