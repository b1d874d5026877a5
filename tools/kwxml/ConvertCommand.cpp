// The command that turns a message of one form into another: convert.
#include "Command.h"
#include "Messages.h"
#include "Report.h"

#include <memory>

namespace kwxml::tool {

namespace {

struct Options
{
  std::string from;
  std::string inputFile;
  std::string outputFile;
  WriteChoices write;
};

/// How far a long conversion has come.
void progress(unsigned long long records, unsigned long long position, unsigned long long size)
{
  constexpr unsigned long long step = 1000;
  if (records % step == 0) {
    showProgress(std::to_string(records) + " records, " +
                 std::to_string(size == 0 ? 100 : position * 100 / size) + " %");
  }
}

std::string leftOut(const MessageInput& input, unsigned long long count)
{
  return input.name() + ": " + std::to_string(count) + " of " + std::to_string(input.records()) +
         (input.records() == 1 ? " record" : " records") + " left out";
}

void convert(const Options& options, LibraryLog& log)
{
  MessageInput input(options.inputFile, options.from, log);
  const Form& from = input.form();
  refuseIdleOptions(options.write);
  const ReadOptions read = readOptions(options.write);
  if (read.passwordsAsReceived) {
    log.hideDocuments();
  }
  input.open(read);
  Output output(options.outputFile);
  const auto sink = findForm(options.write.to)->sink(output, writeOptions(options.write), log);
  const char* const consequence = from.many ? "it is left out" : "nothing is written";
  unsigned long long bad = 0;
  // A record that is lost does not lose the others; a single message is all there is.
  const auto lost = [&](const std::string& why) {
    if (!from.many) {
      throw Failure(exitData, why);
    }
    report(why);
    ++bad;
  };
  std::string end;
  while (true) {
    MessageInput::Record record;
    try {
      record = input.next(consequence);
    } catch (const Failure& failure) {
      if (!from.many || input.records() == 0) {
        throw;
      }
      end = failure.what();  // what has been read is delivered
      break;
    }
    if (record.end) {
      break;
    }
    if (record.message == nullptr) {
      lost(record.why);
      continue;
    }
    const int errors = log.errors();
    sink->encode(*record.message);
    if (const std::string why = losses(log, errors, input.recordName(), "writing", consequence);
        !why.empty()) {
      lost(why);
      continue;
    }
    sink->write();
    progress(input.records(), input.position(), input.size());
  }
  showProgress({});
  // A former output stays when there is nothing to replace it with.
  if (bad == 0 || bad < input.records()) {
    sink->finish();
    output.commit();
  }
  if (!end.empty()) {
    throw Failure(exitData, end);
  }
  if (bad > 0) {
    throw Failure(exitData, leftOut(input, bad));
  }
}

}  // namespace

void addConvertCommand(CLI::App& app, Session& session)
{
  const auto options = std::make_shared<Options>();
  CLI::App& command = addCommand(
      app, "convert", "Turns messages of one form into another.",
      "A field that cannot be read or written is an error: nothing is written "
      "then. Attributes and elements that\n"
      "the class of the message does not have are passed over.\n\n"
      "Passwords are decrypted and encrypted with the key file that the settings "
      "name. The settings are the INI\n"
      "file that the environment variable KWXML_SETTINGS names; kwxml key create "
      "makes a key file:\n\n"
      "  [Password]\n  keyfile = /etc/kwxml/password.key\n\n"
      "--mask-passwords needs no key: no password is decrypted, and none is shown in diagnostics.\n\n"
      "Example:\n  kwxml convert status.xml --readable\n"
      "  kwxml convert order.xml --elements --enum-names -o order-elements.xml\n"
      "  generate | kwxml convert --no-declaration > message.xml\n"
      "  kwxml convert --to binary status.xml -o status.bin\n"
      "  kwxml convert --from records messages.dat --no-declaration",
      options->outputFile);
  command.add_option("FILE", options->inputFile, "The message; - or nothing: standard input")->type_name("");
  addFromOption(command, options->from, "the input");
  addWriteOptions(command, options->write);
  command.callback(
      [options, &session] { session.run = [options](LibraryLog& log) { convert(*options, log); }; });
}

}  // namespace kwxml::tool
