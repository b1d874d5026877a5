#include "Messages.h"

#include "Command.h"
#include "Names.h"
#include "Report.h"

#include <commandline/Values.h>
#include <CLI/CLI.hpp>

#include <kwxml/codec/StandInPasswords.h>

#include <algorithm>
#include <optional>

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

std::string counted(std::size_t number, const char* one)
{
  return std::to_string(number) + " " + one + (number == 1 ? "" : "s");
}

}  // namespace

// ---- Options

CLI::Validator formName(const std::vector<std::string>& names)
{
  return commandline::offering(commandline::wordsWithoutMeaning(names), [names](const std::string& value) {
    return std::find(names.begin(), names.end(), value) != names.end()
               ? std::string()
               : "unknown form '" + value + "', known: " + joined(names) + didYouMean(value, names);
  });
}

void addFromOption(CLI::App& command, std::string& from, const std::string& what)
{
  command
      .add_option("--from", from,
                  "Form of " + what + " (" + joined(formNames(true)) + "); guessed when absent")
      ->check(formName(formNames(true)))
      ->type_name("FORM");
}

void addReadOptions(CLI::App& command, ReadChoices& choices)
{
  const std::string reading = "What becomes of a message that is not just what its text or bytes say";
  auto* strict =
      command.add_flag("--strict", choices.strict, "Unknown names and other warnings are errors too");
  strict->group(reading);
  command.add_flag("--lenient", choices.lenient, "What the library reads is taken; problems are warnings")
      ->group(reading)
      ->excludes(strict);
  addMemoryOption(command, choices);
}

void addMemoryOption(CLI::App& command, ReadChoices& choices)
{
  constexpr std::uint64_t most = std::uint64_t{1} << 30;
  command
      .add_option("--memory-limit", choices.memoryLimit,
                  "What a message may take of memory when it is read (default: 256, and 64 times the input)")
      ->check(CLI::Range(std::uint64_t{1}, most).description(""))
      ->type_name("MIB");
}

void addWriteOptions(CLI::App& command, WriteChoices& choices)
{
  command
      .add_option("--to", choices.to, "Form of the output (" + joined(formNames(false)) + "); default: xml")
      ->check(formName(formNames(false)))
      ->type_name("FORM");
  const std::string xml = "How XML is written (JSON has all digits, and enumerations by name)";
  command.add_flag("--elements", choices.elements, "Values as elements instead of attributes")->group(xml);
  command.add_flag("--exact", choices.exact, "Floating numbers with all their digits, not six")->group(xml);
  command.add_flag("--enum-names", choices.enumNames, "Enumerations by name")->group(xml);
  command.add_flag("--no-declaration", choices.noDeclaration, "Without the XML declaration")->group(xml);
  const std::string texts = "How XML and JSON are written";
  command
      .add_flag("--readable", choices.readable,
                "Indented, dates and times as such; in XML enumerations by name")
      ->group(texts);
  command.add_flag("--mask-passwords", choices.maskPasswords, "Every password as *******; needs no key")
      ->group(texts);
  command
      .add_option("--binary-version", choices.binaryVersion,
                  "Version of the form binary (default: 2; below 2 its end may be missing)")
      ->type_name("N")
      ->group("How binary is written");
}

void refuseIdleOptions(const WriteChoices& choices)
{
  const bool isXml = choices.to == "xml";
  if ((choices.elements || choices.noDeclaration) && !isXml) {
    throw Failure(exitUsage, "--elements and --no-declaration are for the form xml, not " + choices.to);
  }
  // What --exact and --enum-names ask for, JSON has anyway.
  if ((choices.exact || choices.enumNames || choices.readable || choices.maskPasswords) && !isXml &&
      choices.to != "json") {
    throw Failure(
        exitUsage,
        "--exact, --enum-names, --readable and --mask-passwords are for the forms xml and json, not " +
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
  how.flags.exactNumbers = choices.exact;
  how.flags.enumsAsNames = choices.enumNames;
  how.flags.maskPasswords = choices.maskPasswords;
  how.xmlDeclaration = !choices.noDeclaration;
  how.binaryVersion = choices.binaryVersion;
  return how;
}

std::uint64_t memoryLimit(const ReadChoices& choices)
{
  return choices.memoryLimit << 20;
}

Strictness strictness(const ReadChoices& choices)
{
  return choices.strict ? Strictness::Strict : choices.lenient ? Strictness::Lenient : Strictness::Usual;
}

ReadOptions readOptions(const ReadChoices& reading, const WriteChoices& writing)
{
  return {.strictness = strictness(reading),
          .passwordsAsReceived = writing.maskPasswords || !findForm(writing.to)->hasPasswords,
          .memoryLimit = memoryLimit(reading)};
}

// ---- Messages

std::string losses(int errors, const std::string& what, const char* doing, const char* consequence)
{
  return errors == 0 ? std::string()
                     : what + ": " + doing + " met " + counted(static_cast<std::size_t>(errors), "error") +
                           "; " + consequence;
}

MessageInput::MessageInput(const std::string& file, const std::string& form, LibraryLog& log)
    : log_(log),
      file_(file),
      form_(form.empty() ? guessForm(file_.head(guessedBytes), file_.size()) : *findForm(form))
{
}

void MessageInput::open(const ReadOptions& options)
{
  options_ = options;
  source_ = form_.source(file_, options);
}

/// The problems say all that the library's lines say, and better. Its traces are shown where they are wanted,
/// unless they could show passwords.
MessageSource::Next MessageInput::read(Problems& problems)
{
  std::optional<LibraryLog::Silence> silence;
  if (log_.level() == 0 || options_.passwordsAsReceived) {
    silence.emplace(log_);
  }
  return source_->next(problems);
}

/// Shows the problems; why they forbid to hand the message on, or nothing.
std::string MessageInput::judge(const Problems& problems, bool isRead, const char* consequence) const
{
  const bool lenient = options_.strictness == Strictness::Lenient && isRead;
  const bool strict = options_.strictness == Strictness::Strict;
  const std::string record = form_.many ? "record " + std::to_string(records_) + ": " : "";
  for (Problems::Entry problem : problems.entries()) {
    problem.text.insert(0, record);
    reportPlace(toText(problem, name(),
                       lenient  ? Severity::Warning
                       : strict ? Severity::Error
                                : severityOf(problem.kind)));
  }
  if (problems.more() > 0) {
    reportPlace(recordName() + ": and " + std::to_string(problems.more()) + " more");
  }
  const std::size_t errors = lenient ? 0 : strict ? problems.count() : problems.count(Severity::Error);
  if (errors == 0) {
    return std::string();
  }
  const bool wantsKey = problems.has(ProblemKind::PasswordUnreadable) && !isPasswordKeyConfigured();
  return recordName() + ": reading met " + counted(errors, "error") + "; " + consequence +
         (wantsKey ? " (no password key is configured: see kwxml convert --help)" : "");
}

MessageInput::Record MessageInput::next(const char* consequence)
{
  Problems problems;
  MessageSource::Next next;
  ++records_;
  try {
    next = read(problems);
  } catch (const Failure&) {
    judge(problems, false, consequence);
    --records_;
    throw;
  }
  if (next.end) {
    --records_;
    return {.end = true};
  }
  std::string why = judge(problems, next.message != nullptr, consequence);
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
  Output output(file);
  const auto sink = findForm(choices.to)->sink(output, writeOptions(choices), log);
  sink->from(what);
  const int lost = sink->encode(message);
  if (const std::string why = losses(lost, what, "writing", "nothing is written"); !why.empty()) {
    throw Failure(exitData, why);
  }
  sink->write();
  sink->finish();
  output.commit();
}

}  // namespace kwxml::tool
