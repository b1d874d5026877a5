// The command that sends messages to a stream: send.
#include "Command.h"
#include "Messages.h"
#include "NatsTool.h"
#include "Report.h"
#include "SideFile.h"

#include <commandline/Values.h>
#include <CLI/CLI.hpp>

#include <kwxml/platform/CYxCRC64.h>

#include <chrono>
#include <deque>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <thread>

namespace kwxml::tool {

namespace {

struct SendOptions
{
  std::string from;
  std::vector<std::string> inputFiles;
  std::string outputFile;
  Target target;
  std::size_t window = 1000;
  ReadChoices read;
};

/// Where a sending stands, in a file beside its input: what was stored, and the name of the run, with which
/// the messages' identifiers begin. So a repeat is known as such, and the same file sent another time is not.
struct Standing
{
  std::string run;
  std::string stream;
  std::string prefix;
  unsigned long long messages = 0;  ///< records of the file that need not be sent again
  unsigned long long sum = 0;       ///< CRC-64 of their bodies

  std::string text() const
  {
    return "run " + run + "\nstream " + stream + "\nprefix " + prefix + "\nmessages " +
           std::to_string(messages) + "\nsum " + std::to_string(sum) + "\n";
  }
};

std::optional<Standing> readStanding(const std::string& file)
{
  if (!std::filesystem::exists(file)) {
    return std::nullopt;
  }
  auto lines = readSideFile(file);
  Standing standing{.run = lines["run"], .stream = lines["stream"], .prefix = lines["prefix"]};
  if (!isRandomName(standing.run) || !sideNumber(lines, "messages", standing.messages) ||
      !sideNumber(lines, "sum", standing.sum)) {
    throw Failure(exitData, file + " does not say where a sending stands; without it all is sent anew");
  }
  return standing;
}

/// Sends the messages of one file after the other.
class Sending
{
public:
  Sending(const SendOptions& options, LibraryLog& log)
      : options_(options),
        log_(log),
        publisher_(connection_, how(options, connection_),
                   [this](const nats::Settled& settled) { failures_.add(settled); })
  {
  }

  void add(const std::string& file);
  void finish();

private:
  static nats::PublisherOptions how(const SendOptions& options, nats::Connection& connection)
  {
    nats::PublisherOptions how = publisherOptions(options.target, connection);
    how.window = options.window;
    how.waits = false;  // an interrupt is looked at meanwhile
    return how;
  }
  /// What publish() was given and where the file then stood.
  struct OnTheWay
  {
    std::uint64_t number;
    unsigned long long records;
    std::uint64_t sum;
  };
  void begin(const std::string& file);
  bool sendNext(MessageInput& input);
  void advance();
  void save();
  [[noreturn]] void failAsChanged(const MessageInput& input) const;
  void await(const std::string& file);
  void leaveOut(const std::string& why)
  {
    report(why);
    ++leftOut_;
  }

  const SendOptions& options_;
  LibraryLog& log_;
  nats::Connection connection_;
  Failures failures_;
  nats::Publisher publisher_;
  Standing standing_;
  std::string standingFile_;  ///< empty: standard input cannot be taken up again
  CYxCRC64 sum_;
  std::deque<OnTheWay> onTheWay_;
  std::uint64_t unsent_ =
      std::numeric_limits<std::uint64_t>::max();  ///< the first that no stream took in time
  std::vector<std::string> finished_;             ///< what says of files that they are sent
  std::chrono::steady_clock::time_point savedAt_;
  unsigned long long skip_ = 0;
  bool isSame_ = true;  ///< whether the file begins with what was sent of it
  unsigned long long saved_ = 0;
  unsigned long long passed_ = 0;
  unsigned long long leftOut_ = 0;
};

void Sending::begin(const std::string& file)
{
  // A pipe cannot be taken up again.
  standingFile_ = std::filesystem::is_regular_file(file) ? file + ".sending" : "";
  standing_ = {.run = randomName(), .stream = options_.target.stream, .prefix = options_.target.prefix};
  sum_.reset();
  skip_ = 0;
  isSame_ = true;
  if (standingFile_.empty()) {
    return;
  }
  if (const auto before = readStanding(standingFile_)) {
    if (before->stream != options_.target.stream || before->prefix != options_.target.prefix) {
      throw Failure(exitData, standingFile_ + ": a sending to stream " + before->stream + ", prefix " +
                                  before->prefix + ", was not finished; without that file all is sent anew");
    }
    standing_ = *before;
    skip_ = before->messages;
    isSame_ = skip_ == 0;
    report(inputName(file) + ": goes on behind " + countedMessages(skip_));
  }
  saved_ = standing_.messages;
  save();  // before the first message: a repeat must know the run
}

void Sending::save()
{
  if (!standingFile_.empty()) {
    writeOutput(standingFile_, standing_.text());
    saved_ = standing_.messages;
    savedAt_ = std::chrono::steady_clock::now();
  }
}

/// What the stream has by now. A message that the stream refuses is left out. Throws when no stream answers.
void Sending::advance()
{
  const std::uint64_t settled = publisher_.settledUpTo();
  std::string gaveUp;
  for (const nats::Settled& failure : failures_.taken()) {
    if (failure.refused) {
      leaveOut("stream " + options_.target.stream + " refused a message: " + failure.why +
               "; it is left out");
    } else {
      unsent_ = std::min(unsent_, failure.number);
      gaveUp = failure.why;
    }
  }
  for (; !onTheWay_.empty() && onTheWay_.front().number <= settled && onTheWay_.front().number < unsent_;
       onTheWay_.pop_front()) {
    standing_.messages = onTheWay_.front().records;
    standing_.sum = onTheWay_.front().sum;
  }
  if (!gaveUp.empty()) {
    save();
    throw Failure(exitData, "stream " + options_.target.stream + " did not take a message: " + gaveUp);
  }
  constexpr unsigned long long step = 5000;
  constexpr auto most = std::chrono::seconds(2);  // streams forget identifiers in time
  if (standing_.messages >= saved_ + step ||
      (standing_.messages > saved_ && std::chrono::steady_clock::now() >= savedAt_ + most)) {
    save();
  }
}

void Sending::failAsChanged(const MessageInput& input) const
{
  throw Failure(exitData, input.name() + " has changed since it was sent up to message " +
                              std::to_string(skip_) + "; without " + standingFile_ + " all is sent anew");
}

/// False at the end.
bool Sending::sendNext(MessageInput& input)
{
  MessageInput::Record record = input.next("it is left out");
  if (record.end) {
    return false;
  }
  if (record.message == nullptr) {
    leaveOut(record.why);
    return true;
  }
  const unsigned long long number = input.records();
  try {
    const nats::Packed packed = nats::pack(*record.message, options_.target.prefix, nats::Form::Binary);
    sum_.UpdateCRC64(packed.body.data(), packed.body.size());
    if (number <= skip_) {
      isSame_ = number == skip_ && sum_.value() == standing_.sum;
      ++passed_;
      return true;
    }
    if (!isSame_) {
      failAsChanged(input);
    }
    OnTheWay sent{.number = 0, .records = number, .sum = sum_.value()};
    const std::string id = standing_.run + "." + std::to_string(number);
    while (publisher_.publish(packed, id, &sent.number) == nats::Outcome::Full) {
      advance();
      if (Interrupts::come()) {
        return true;  // not sent: the same command begins with it
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    onTheWay_.push_back(sent);
  } catch (const nats::Error& error) {
    if (connection_.isClosed()) {
      throw;
    }
    leaveOut(input.recordName() + ": " + error.what() + "; it is left out");
  }
  return true;
}

void Sending::await(const std::string& file)
{
  static_cast<void>(waitFor(publisher_, connection_));
  advance();
  if (Interrupts::come()) {
    save();
    throw Failure(exitData, inputName(file) + ": interrupted behind " + countedMessages(standing_.messages) +
                                (standingFile_.empty() ? "" : "; the same command goes on there"));
  }
}

void Sending::add(const std::string& file)
{
  MessageInput input(file, options_.from, log_);
  ReadOptions how;
  how.strictness = strictness(options_.read);
  how.memoryLimit = memoryLimit(options_.read);
  input.open(how);
  begin(file);
  while (!Interrupts::come() && sendNext(input)) {
    constexpr unsigned long long step = 200;
    if (input.records() % step == 0) {
      advance();
      showProgress(countedMessages(input.records()) + ", " +
                   std::to_string(input.size() == 0 ? 100 : input.position() * 100 / input.size()) + " %");
    }
  }
  await(file);
  if (!isSame_) {
    failAsChanged(input);
  }
  // It stays until all files are sent: the same command would send this one again.
  if (!standingFile_.empty()) {
    save();
    finished_.push_back(standingFile_);
  }
}

void Sending::finish()
{
  showProgress({});
  for (const std::string& file : finished_) {
    std::filesystem::remove(file);
  }
  const nats::PublisherCounts counts = publisher_.counts();
  std::string text = countedMessages(counts.stored) + " stored in stream " + options_.target.stream;
  if (counts.duplicates > 0) {
    text += ", " + std::to_string(counts.duplicates) + " of them before";
  }
  if (passed_ > 0) {
    text += "; " + std::to_string(passed_) + " sent by the run before";
  }
  writeText(options_.outputFile, text);
  if (leftOut_ > 0) {
    throw Failure(exitData, countedMessages(leftOut_) + " left out");
  }
}

void send(const SendOptions& options, LibraryLog& log)
{
  const Interrupts interrupts;
  withServers([&] {
    Sending sending(options, log);
    if (options.inputFiles.empty()) {
      sending.add("");
    }
    for (const std::string& file : options.inputFiles) {
      sending.add(file);
    }
    sending.finish();
  });
}

}  // namespace

void addSendCommand(CLI::App& app, Session& session)
{
  const auto options = std::make_shared<SendOptions>();
  CLI::App& command = addCommand(
      app, "send", "Sends messages to a stream of NATS JetStream.",
      "A message counts as sent when the stream has it. How far FILE has been sent stands in FILE.sending, "
      "which "
      "goes when\n"
      "all is sent: the same command takes up an interrupted sending there. What the stream had already, and "
      "nobody "
      "could\n"
      "know of, it recognises within its duplicate window (two minutes where --create has made it).\n\n" +
          std::string(natsSettings) +
          "Exit status: 0 all messages are stored, 1 some are not, or it was interrupted, 2 usage.\n\n"
          "Example:\n  kwxml send orders.dat --stream ORDERS --create\n"
          "  generate | kwxml send --from json --stream ORDERS --prefix shop",
      options->outputFile);
  command.add_option("FILE", options->inputFiles, "The messages; - or nothing: standard input")
      ->check(commandline::ofKind(commandline::fileKind))
      ->type_name("");
  addStreamOption(command, "--stream", options->target.stream, "The stream that gets the messages");
  addPrefixOption(command, "--prefix", options->target.prefix);
  addCreateOptions(command, options->target);
  command.add_option("--window", options->window, "How many messages may be on their way (default: 1000)")
      ->check(CLI::Range(std::size_t{1}, std::size_t{1000000}).description(""))
      ->type_name("N");
  addFromOption(command, options->from, "the input");
  addReadOptions(command, options->read);
  command.callback(
      [options, &session] { session.run = [options](LibraryLog& log) { send(*options, log); }; });
}

}  // namespace kwxml::tool
