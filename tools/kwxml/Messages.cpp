#include "Messages.h"

#include "Command.h"
#include "Names.h"
#include "Report.h"

#include <kwxml/codec/StandInPasswords.h>

namespace kwxml::tool {

namespace {

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

}  // namespace

// ---- Options

void addFromOption(CLI::App& command, std::string& from, const std::string& what)
{
  command
      .add_option("--from", from,
                  "Form of " + what + " (" + joined(formNames(true)) + "); guessed when absent")
      ->check(formName(true))
      ->type_name("FORM");
}

void addWriteOptions(CLI::App& command, WriteChoices& choices)
{
  command
      .add_option("--to", choices.to, "Form of the output (" + joined(formNames(false)) + "); default: xml")
      ->check(formName(false))
      ->type_name("FORM");
  const std::string xml = "How XML is written";
  command.add_flag("--elements", choices.elements, "Values as elements instead of attributes")->group(xml);
  command.add_flag("--readable", choices.readable, "Indented, enumerations by name, dates and times as such")
      ->group(xml);
  command.add_flag("--enum-names", choices.enumNames, "Enumerations by name")->group(xml);
  command.add_flag("--mask-passwords", choices.maskPasswords, "Every password as *******; needs no key")
      ->group(xml);
  command
      .add_option("--binary-version", choices.binaryVersion,
                  "Version of the form binary (default: 2; below 2 its end may be missing)")
      ->type_name("N")
      ->group("How binary is written");
  command.add_flag("--no-declaration", choices.noDeclaration, "Without the XML declaration")->group(xml);
}

void refuseIdleOptions(const WriteChoices& choices)
{
  const bool xml = choices.elements || choices.readable || choices.enumNames || choices.maskPasswords ||
                   choices.noDeclaration;
  if (xml && choices.to != "xml") {
    throw Failure(exitUsage,
                  "--elements, --readable, --enum-names, --mask-passwords and --no-declaration are for "
                  "the form xml, not " +
                      choices.to);
  }
  if (choices.binaryVersion != 2 && choices.to != "binary") {
    throw Failure(exitUsage, "--binary-version is for the form binary, not " + choices.to);
  }
}

WriteOptions writeOptions(const WriteChoices& choices)
{
  WriteOptions how;
  how.flags.valuesAsElements = choices.elements;
  how.flags.readableForm = choices.readable;
  how.flags.enumsAsNames = choices.enumNames;
  how.flags.maskPasswords = choices.maskPasswords;
  how.xmlDeclaration = !choices.noDeclaration;
  how.binaryVersion = choices.binaryVersion;
  return how;
}

ReadOptions readOptions(const WriteChoices& choices)
{
  return {.passwordsAsReceived = choices.maskPasswords || !findForm(choices.to)->hasPasswords};
}

// ---- Messages

std::string losses(const LibraryLog& log, int before, const std::string& what, const char* doing,
                   const char* consequence)
{
  const int errors = log.errors() - before;
  if (errors == 0) {
    return std::string();
  }
  const bool wantsKey = log.wantedKey() && !isPasswordKeyConfigured();
  return what + ": " + doing + " met " + std::to_string(errors) + (errors == 1 ? " error; " : " errors; ") +
         consequence + (wantsKey ? " (no password key is configured: see kwxml convert --help)" : "");
}

MessageInput::MessageInput(const std::string& file, const std::string& form, LibraryLog& log)
    : log_(log), file_(file), form_(form.empty() ? guessForm(file_) : *findForm(form))
{
}

void MessageInput::open(const ReadOptions& options)
{
  source_ = form_.source(file_, options, log_);
}

MessageInput::Record MessageInput::next(const char* consequence)
{
  const int errors = log_.errors();
  MessageSource::Next next = source_->next();
  if (next.end) {
    return {.end = true};
  }
  ++records_;
  std::string why = losses(log_, errors, recordName(), "reading", consequence);
  if (why.empty() && next.message == nullptr) {
    why = recordName() + " cannot be read";
  }
  // An enumeration has a record like a message's, and a reader takes it for an empty one.
  if (why.empty() && next.message->getClass()->isEnum()) {
    why = recordName() + ": " + next.message->getTagName() + " is an enumeration, not a message";
  }
  if (!why.empty()) {
    return {.why = std::move(why)};
  }
  return {.message = std::move(next.message)};
}

std::string MessageInput::recordName() const
{
  return form_.many ? name() + ": record " + std::to_string(records_) : name();
}

std::unique_ptr<YMMessageBase> onlyMessage(MessageInput& input, const char* command)
{
  constexpr const char* consequence = "nothing is written";
  MessageInput::Record record = input.next(consequence);
  if (record.end) {
    throw Failure(exitData, input.name() + ": there is no message in it");
  }
  if (record.message == nullptr) {
    throw Failure(exitData, record.why);
  }
  if (!input.next(consequence).end) {
    throw Failure(exitData, input.name() + ": holds more than one message; " + command + " takes one");
  }
  return std::move(record.message);
}

void writeMessage(YMMessageBase& message, const WriteChoices& choices, const std::string& file,
                  const std::string& what, LibraryLog& log)
{
  const int errors = log.errors();
  Output output(file);
  const auto sink = findForm(choices.to)->sink(output, writeOptions(choices), log);
  sink->encode(message);
  if (const std::string why = losses(log, errors, what, "writing", "nothing is written"); !why.empty()) {
    throw Failure(exitData, why);
  }
  sink->write();
  sink->finish();
  output.commit();
}

}  // namespace kwxml::tool
