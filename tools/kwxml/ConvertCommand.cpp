// The command that turns a message of one form into another: convert.
#include "Command.h"
#include "Files.h"
#include "Forms.h"
#include "Names.h"
#include "Report.h"

#include <kwxml/codec/StandInPasswords.h>

#include <memory>

namespace kwxml::tool {

namespace {

struct Options
{
  std::string from;
  std::string to = "xml";
  std::string inputFile;
  std::string outputFile;
  bool elements = false;
  bool readable = false;
  bool enumNames = false;
  bool maskPasswords = false;
  bool noDeclaration = false;
};

std::string joined(const std::vector<std::string>& names)
{
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return text;
}

/// Refuses a value that names no form.
CLI::Validator formName(bool readable)
{
  return CLI::Validator(
      [readable](std::string& value) {
        const std::vector<std::string> names = formNames(readable);
        for (const std::string& name : names) {
          if (value == name) {
            return std::string();
          }
        }
        return "unknown form '" + value + "', known: " + joined(names) + didYouMean(value, names);
      },
      "");
}

/// The library goes on after a field that it cannot read or write, and says so; a message that has lost a
/// field is not handed on.
void refuseLosses(const LibraryLog& log, const std::string& input, const char* doing)
{
  if (log.errors() > 0) {
    const bool wantsKey = log.wantedKey() && !isPasswordKeyConfigured();
    throw Failure(exitData,
                  input + ": " + doing + " met " + std::to_string(log.errors()) +
                      (log.errors() == 1 ? " error" : " errors") + "; nothing is written" +
                      (wantsKey ? " (no password key is configured: see kwxml convert --help)" : ""));
  }
}

void convert(const Options& options, LibraryLog& log)
{
  const std::string input = inputName(options.inputFile);
  const std::string bytes = readInput(options.inputFile);
  const Form& from = options.from.empty() ? guessForm(bytes) : *findForm(options.from);
  if (options.maskPasswords) {
    log.hideDocuments();
  }
  Messages messages;
  if (!from.read(bytes, {.passwordsAsReceived = options.maskPasswords}, messages, log)) {
    std::string text = input + ": not a message in the form " + from.name;
    if (!log.unknownRoot().empty()) {
      text = input + ": unknown message '" + oneLine(log.unknownRoot(), 128) + "'" +
             didYouMean(log.unknownRoot(), rootNames());
    }
    throw Failure(exitData, text);
  }
  refuseLosses(log, input, "reading");
  for (const auto& message : messages) {
    if (message->getClass()
            ->isEnum()) {  // has a record like a message's, and a reader takes it for an empty one
      throw Failure(exitData, input + ": " + message->getTagName() + " is an enumeration, not a message");
    }
  }

  WriteOptions how;
  how.flags.valuesAsElements = options.elements;
  how.flags.readableForm = options.readable;
  how.flags.enumsAsNames = options.enumNames;
  how.flags.maskPasswords = options.maskPasswords;
  how.xmlDeclaration = !options.noDeclaration;
  const Form& to = *findForm(options.to);
  std::string result;
  if (!to.write(messages, how, result)) {
    throw Failure(exitData, input + ": cannot be written in the form " + to.name);
  }
  refuseLosses(log, input, "writing");
  to.isText ? writeText(options.outputFile, result) : writeOutput(options.outputFile, result);
}

}  // namespace

void addConvertCommand(CLI::App& app, Session& session)
{
  const auto options = std::make_shared<Options>();
  CLI::App& command = addCommand(
      app, "convert", "Turns a message of one form into another.",
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
      "  generate | kwxml convert --no-declaration > message.xml",
      options->outputFile);
  command.add_option("FILE", options->inputFile, "The message; - or nothing: standard input")->type_name("");
  command
      .add_option("--from", options->from,
                  "Form of the input (" + joined(formNames(true)) + "); guessed when absent")
      ->check(formName(true))
      ->type_name("FORM");
  command
      .add_option("--to", options->to, "Form of the output (" + joined(formNames(false)) + "); default: xml")
      ->check(formName(false))
      ->type_name("FORM");
  const std::string xml = "How XML is written";
  command.add_flag("--elements", options->elements, "Values as elements instead of attributes")->group(xml);
  command
      .add_flag("--readable", options->readable, "Indented, enumerations by name, dates and times as such")
      ->group(xml);
  command.add_flag("--enum-names", options->enumNames, "Enumerations by name")->group(xml);
  command.add_flag("--mask-passwords", options->maskPasswords, "Every password as *******; needs no key")
      ->group(xml);
  command.add_flag("--no-declaration", options->noDeclaration, "Without the XML declaration")->group(xml);
  command.callback(
      [options, &session] { session.run = [options](LibraryLog& log) { convert(*options, log); }; });
}

}  // namespace kwxml::tool
