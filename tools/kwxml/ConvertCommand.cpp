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
  int binaryVersion = 2;
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

/// How far a long conversion has come.
void progress(unsigned long long records, unsigned long long position, unsigned long long size)
{
  constexpr unsigned long long step = 1000;
  if (records % step == 0) {
    showProgress(std::to_string(records) + " records, " +
                 std::to_string(size == 0 ? 100 : position * 100 / size) + " %");
  }
}

/// The library goes on after a field that it cannot read or write, and says so; a message that has lost a
/// field is not handed on.
std::string losses(const LibraryLog& log, int before, const Form& from, const std::string& what,
                   const char* doing)
{
  const int errors = log.errors() - before;
  if (errors == 0) {
    return std::string();
  }
  const bool wantsKey = log.wantedKey() && !isPasswordKeyConfigured();
  return what + ": " + doing + " met " + std::to_string(errors) + (errors == 1 ? " error" : " errors") +
         (from.many ? "; it is left out" : "; nothing is written") +
         (wantsKey ? " (no password key is configured: see kwxml convert --help)" : "");
}

/// An option that the form of the output does not know would do nothing, without a word.
void refuseIdleOptions(const Options& options)
{
  const bool xml = options.elements || options.readable || options.enumNames || options.maskPasswords ||
                   options.noDeclaration;
  if (xml && options.to != "xml") {
    throw Failure(exitUsage,
                  "--elements, --readable, --enum-names, --mask-passwords and --no-declaration are for "
                  "the form xml, not " +
                      options.to);
  }
  if (options.binaryVersion != 2 && options.to != "binary") {
    throw Failure(exitUsage, "--binary-version is for the form binary, not " + options.to);
  }
}

void convert(const Options& options, LibraryLog& log)
{
  const Input input(options.inputFile);
  const Form& from = options.from.empty() ? guessForm(input) : *findForm(options.from);
  const Form& to = *findForm(options.to);
  refuseIdleOptions(options);
  if (options.maskPasswords) {
    log.hideDocuments();
  }
  WriteOptions how;
  how.flags.valuesAsElements = options.elements;
  how.flags.readableForm = options.readable;
  how.flags.enumsAsNames = options.enumNames;
  how.flags.maskPasswords = options.maskPasswords;
  how.xmlDeclaration = !options.noDeclaration;
  how.binaryVersion = options.binaryVersion;

  const auto source = from.source(input, {.passwordsAsReceived = options.maskPasswords}, log);
  Output output(options.outputFile);
  const auto sink = to.sink(output, how, log);
  unsigned long long records = 0;
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
    const int errors = log.errors();
    MessageSource::Next next;
    try {
      next = source->next();
    } catch (const Failure& failure) {
      if (!from.many || records == 0) {
        throw;
      }
      end = failure.what();  // what has been read is delivered
      break;
    }
    if (next.end) {
      break;
    }
    ++records;
    const std::string what = from.many ? input.name() + ": record " + std::to_string(records) : input.name();
    if (const std::string why = losses(log, errors, from, what, "reading");
        next.message == nullptr || !why.empty()) {
      lost(!why.empty() ? why : what + " cannot be read");
      continue;
    }
    if (next.message->getClass()
            ->isEnum()) {  // has a record like a message's, and a reader takes it for an empty one
      lost(what + ": " + next.message->getTagName() + " is an enumeration, not a message");
      continue;
    }
    sink->encode(*next.message);
    if (const std::string why = losses(log, errors, from, what, "writing"); !why.empty()) {
      lost(why);
      continue;
    }
    sink->write();
    progress(records, source->position(), input.size());
  }
  showProgress({});
  // A former output stays when there is nothing to replace it with.
  if (bad == 0 || bad < records) {
    sink->finish();
    output.commit();
  }
  if (!end.empty()) {
    throw Failure(exitData, end);
  }
  if (bad > 0) {
    throw Failure(exitData, input.name() + ": " + std::to_string(bad) + " of " + std::to_string(records) +
                                (records == 1 ? " record" : " records") + " left out");
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
  command
      .add_option("--binary-version", options->binaryVersion,
                  "Version of the form binary (default: 2; below 2 its end may be missing)")
      ->type_name("N")
      ->group("How binary is written");
  command.add_flag("--no-declaration", options->noDeclaration, "Without the XML declaration")->group(xml);
  command.callback(
      [options, &session] { session.run = [options](LibraryLog& log) { convert(*options, log); }; });
}

}  // namespace kwxml::tool
