// The commands that receive messages from a stream: receive, and work, which sends them on in another form.
#include "Command.h"
#include "Messages.h"
#include "NatsTool.h"
#include "ReceivedFile.h"
#include "Report.h"

#include <commandline/Values.h>
#include <CLI/CLI.hpp>

#include <kwxml/binary/RecordPrefix.h>
#include <kwxml/nats/StoredMessages.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

namespace kwxml::tool {

namespace {

// ---- receive

struct ReceiveOptions
{
  std::string stream;
  std::string prefix{"kwxml"};
  std::string to{"records"};
  std::string outputFile;
  ReceiveChoices receive;
};

/// Throws where the message is not all that its bytes say, for its catalogue is another one: written anew it
/// would lose that.
void refuseLosses(const nats::Delivery& delivery)
{
  if (!delivery.problems.empty()) {
    const auto& entries = delivery.problems.entries();
    throw nats::Error("kwxml", "written anew it would lose something: " +
                                   (entries.empty() ? std::string("problems") : entries.front().text));
  }
}

/// What is appended for a message; the record of one in the binary form has its bytes as they came.
std::string appended(const nats::Delivery& delivery, const ReceiveOptions& options)
{
  if (options.to != "records" || !delivery.header(nats::formHeader).empty()) {
    refuseLosses(delivery);
  }
  if (options.to != "records") {
    return nats::pack(*delivery.message, options.prefix, bodyForm(options.to)).body + "\n";
  }
  std::string bytes;
  if (delivery.header(nats::formHeader).empty()) {
    const auto body = delivery.body();
    bytes.assign(reinterpret_cast<const char*>(body.data()), body.size());
  } else {
    bytes = nats::pack(*delivery.message, options.prefix, nats::Form::Binary).body;
  }
  const auto prefix = singlePrefix(static_cast<std::uint32_t>(bytes.size()));
  return std::string(prefix.data(), prefix.size()) + bytes;
}

/// Appends messages to a file, and acknowledges them once the file and the record of stored messages have
/// them.
class Receiving : private Receiver
{
public:
  explicit Receiving(const ReceiveOptions& options)
      : options_(options),
        file_(options.outputFile, {options.stream, options.prefix, options.receive.durable, options.to}),
        consumer_(connection_, how()),
        stored_(connection_, consumer_, file_.receiver(), file_.isNew())
  {
    if (const std::uint64_t gone = file_.begin(stored_.mark()); gone > 0) {
      report(inputName(options.outputFile) + ": " + std::to_string(gone) + (gone == 1 ? " byte" : " bytes") +
             " of an unfinished run are taken back; those messages come again");
    }
    isReady_ = true;
  }

  unsigned long long all() { return receiveAll(consumer_, options_.receive, *this); }
  const nats::Consumer& consumer() const { return consumer_; }

private:
  nats::ConsumerOptions how()
  {
    nats::ConsumerOptions how = consumerOptions(options_.receive, options_.stream, options_.prefix);
    how.isDone = [this](std::uint64_t sequence) { return isReady_ && stored_.isStored(sequence); };
    return how;
  }
  void take(nats::Delivery&& delivery) override
  {
    // What came late and was sent again stands twice in one batch.
    if (kept_.count(delivery.sequence) == 0) {
      try {
        pieces_.push_back({delivery.sequence, appended(delivery, options_)});
        kept_.insert(delivery.sequence);
        delivery.message.reset();
      } catch (const nats::Error& error) {
        static_cast<void>(consumer_.bury(delivery, error.what()));
        return;
      }
    }
    done_.push_back(std::move(delivery));
  }
  std::size_t begun() const override { return done_.size(); }
  unsigned long long finish(bool /*all*/) override
  {
    const unsigned long long count = store(std::exchange(pieces_, {}));
    // What is not confirmed comes again, and is known then.
    static_cast<void>(consumer_.acknowledge(std::exchange(done_, {})));
    kept_.clear();
    return count;
  }

  struct Piece
  {
    std::uint64_t sequence;
    std::string bytes;
  };
  unsigned long long store(std::vector<Piece> pieces)
  {
    while (!pieces.empty()) {
      const std::uint64_t before = file_.length();
      std::string bytes;
      std::vector<std::uint64_t> sequences;
      for (const Piece& piece : pieces) {
        bytes += piece.bytes;
        sequences.push_back(piece.sequence);
      }
      file_.append(bytes);
      if (stored_.record(sequences, file_.length())) {
        file_.agree();
        return pieces.size();
      }
      file_.cut(before);
      std::erase_if(pieces, [this](const Piece& piece) { return stored_.isStored(piece.sequence); });
    }
    return 0;
  }

  const ReceiveOptions& options_;
  ReceivedFile file_;
  nats::Connection connection_;
  nats::Consumer consumer_;
  nats::StoredMessages stored_;
  std::vector<Piece> pieces_;         ///< are appended next
  std::set<std::uint64_t> kept_;      ///< their places in the stream
  std::vector<nats::Delivery> done_;  ///< stored, here or elsewhere, once those are appended
  bool isReady_ = false;
};

void receive(const ReceiveOptions& options)
{
  const Interrupts interrupts;
  withServers([&] {
    Receiving receiving(options);
    const unsigned long long count = receiving.all();
    const std::uint64_t passed = receiving.consumer().counts().done;
    report(countedMessages(count) + " received from stream " + options.stream +
           (passed == 0 ? std::string()
                        : "; " + std::to_string(passed) + " passed over, which are stored already"));
    failOverDeadLetters(receiving.consumer());
  });
}

// ---- work

struct WorkOptions
{
  std::string fromStream;
  std::string fromPrefix{"kwxml"};
  Target target;
  std::string to;
  std::string outputFile;
  ReceiveChoices receive;
};

/// Sends what is received on in another form, and acknowledges it once the other stream has it. Meanwhile
/// other messages are received and converted.
class Working : private Receiver
{
public:
  explicit Working(const WorkOptions& options)
      : options_(options),
        consumer_(connection_, consumerOptions(options.receive, options.fromStream, options.fromPrefix)),
        publisher_(connection_, publisherOptions(options.target, connection_),
                   [this](const nats::Settled& settled) { failures_.add(settled); })
  {
    if (publisher_.duplicateWindow() < std::chrono::seconds(options.receive.ackWait)) {
      throw Failure(
          exitData,
          "stream " + options.target.stream +
              " forgets identifiers sooner than a message is delivered again: a shorter --ack-wait, or "
              "a longer duplicate window");
    }
  }

  unsigned long long all() { return receiveAll(consumer_, options_.receive, *this); }
  const nats::Consumer& consumer() const { return consumer_; }

private:
  void take(nats::Delivery&& delivery) override
  {
    try {
      refuseLosses(delivery);
      const nats::Packed packed =
          nats::pack(*delivery.message, options_.target.prefix, bodyForm(options_.to));
      // Of a message that comes twice the other stream stores one.
      std::uint64_t number = 0;
      static_cast<void>(publisher_.publish(packed, consumer_.identifierOf(delivery), &number));
      delivery.message.reset();
      sent_.push_back({number, std::move(delivery)});
    } catch (const nats::Error& error) {
      if (connection_.isClosed()) {
        throw;
      }
      static_cast<void>(consumer_.bury(delivery, error.what()));
    }
  }
  std::size_t begun() const override { return sent_.size(); }
  unsigned long long finish(bool all) override
  {
    // What is not acknowledged comes again, and the other stream knows for a while what it has.
    const bool isWhole = !all || waitFor(publisher_, connection_);
    const unsigned long long count = settle();
    if (!isWhole) {
      throw Failure(exitData, "interrupted; the messages that were worked on come again");
    }
    if (!gaveUp_.empty()) {
      static_cast<void>(waitFor(publisher_, connection_));
      static_cast<void>(settle());
      throw Failure(exitData, "stream " + options_.target.stream + " did not take a message: " + gaveUp_);
    }
    return count;
  }

  struct Sent
  {
    std::uint64_t number;
    nats::Delivery delivery;
  };
  /// Acknowledges what the other stream has, and buries what it refused. Gives how many it has.
  unsigned long long settle()
  {
    const std::uint64_t upTo = publisher_.settledUpTo();
    for (nats::Settled& failure : failures_.taken()) {
      failed_.emplace(failure.number, std::move(failure));
    }
    std::vector<nats::Delivery> done;
    for (; !sent_.empty() && sent_.front().number <= upTo; sent_.pop_front()) {
      const auto failure = failed_.extract(sent_.front().number);
      if (failure.empty()) {
        done.push_back(std::move(sent_.front().delivery));
      } else if (failure.mapped().refused) {
        static_cast<void>(consumer_.bury(sent_.front().delivery, "stream " + options_.target.stream +
                                                                     " refused it: " + failure.mapped().why));
      } else {
        gaveUp_ = failure.mapped().why;
      }
    }
    static_cast<void>(consumer_.acknowledge(done));
    return done.size();
  }

  const WorkOptions& options_;
  nats::Connection connection_;
  nats::Consumer consumer_;
  Failures failures_;
  nats::Publisher publisher_;
  std::deque<Sent> sent_;                          ///< and not acknowledged
  std::map<std::uint64_t, nats::Settled> failed_;  ///< of those
  std::string gaveUp_;                             ///< why the other stream did not take a message in time
};

void work(const WorkOptions& options)
{
  if (options.fromStream == options.target.stream) {
    throw Failure(exitUsage, "--from-stream and --to-stream name one stream");
  }
  const Interrupts interrupts;
  withServers([&] {
    Working working(options);
    const unsigned long long count = working.all();
    writeText(options.outputFile, countedMessages(count) + " sent on to stream " + options.target.stream);
    failOverDeadLetters(working.consumer());
  });
}

}  // namespace

void addReceiveCommands(CLI::App& app, Session& session)
{
  const auto options = std::make_shared<ReceiveOptions>();
  CLI::App& receiveCommand =
      addCommand(app, "receive", "Appends the messages of a stream of NATS JetStream to a file.",
                 "Each message is in the file once, also where the program is killed at any time and started "
                 "again, and where "
                 "several\n"
                 "receivers, with a file each, share a durable consumer: it is acknowledged when the file is "
                 "on the storage device, "
                 "and\n"
                 "the stream's own record of what is stored (subject PREFIX.stored.DURABLE.log) names it. "
                 "FILE.received says who "
                 "writes\n"
                 "FILE, and how long it was when the two last agreed; nobody else may write FILE. To "
                 "standard output, which cannot "
                 "be\n"
                 "taken back, a message may come twice.\n\n"
                 "Without --follow and --count it ends when the stream has no more messages. A message that "
                 "cannot be read goes to "
                 "the\n"
                 "subject PREFIX.dead, with the reason in a header.\n\n" +
                     std::string(natsSettings) +
                     "Exit status: 0 done, 1 something failed, or went to the dead letters, 2 usage.\n\n"
                     "Example:\n  kwxml receive --stream ORDERS --durable archive -o orders.dat\n"
                     "  kwxml receive --stream ORDERS --durable watch --class Order --to json --follow",
                 options->outputFile);
  addStreamOption(receiveCommand, "--stream", options->stream, "The stream that has the messages");
  addPrefixOption(receiveCommand, "--prefix", options->prefix);
  addReceiveOptions(receiveCommand, options->receive);
  receiveCommand.add_option("--to", options->to, "Form of the file (records, xml, json); default: records")
      ->check(formName({"records", "xml", "json"}))
      ->type_name("FORM");
  receiveCommand.callback(
      [options, &session] { session.run = [options](LibraryLog&) { receive(*options); }; });

  const auto working = std::make_shared<WorkOptions>();
  working->receive.durable = "work";
  CLI::App& workCommand =
      addCommand(app, "work", "Turns the messages of a stream into another form, as one of many workers.",
                 "All workers that name one durable consumer share its messages, on any number of machines. "
                 "A message is "
                 "acknowledged\n"
                 "when the other stream has it; of one that is worked on twice that stream keeps one, within "
                 "its duplicate "
                 "window.\n\n"
                 "Without --follow and --count a worker ends when the stream has no more messages. A message "
                 "that cannot be turned "
                 "into\n"
                 "the form goes to the subject PREFIX.dead, with the reason in a header.\n\n" +
                     std::string(natsSettings) +
                     "Exit status: 0 done, 1 something failed, or went to the dead letters, 2 usage.\n\n"
                     "Example:\n  kwxml work --from-stream ORDERS --to-stream ORDERS-XML --to xml --follow",
                 working->outputFile);
  addStreamOption(workCommand, "--from-stream", working->fromStream, "The stream that has the messages");
  addStreamOption(workCommand, "--to-stream", working->target.stream, "The stream that gets them");
  addPrefixOption(workCommand, "--from-prefix", working->fromPrefix);
  workCommand
      .add_option("--to-prefix", working->target.prefix,
                  "The same in the stream that gets them (default: FORM)")
      ->type_name("PREFIX");
  addReceiveOptions(workCommand, working->receive);
  addCreateOptions(workCommand, working->target);
  workCommand.add_option("--to", working->to, "Form of the bodies (binary, xml, json)")
      ->check(formName({"binary", "xml", "json"}))
      ->required()
      ->type_name("FORM");
  working->target.prefix.clear();
  workCommand.callback([working, &session] {
    if (working->target.prefix.empty()) {
      working->target.prefix = working->to;
    }
    session.run = [working](LibraryLog&) { work(*working); };
  });
}

}  // namespace kwxml::tool
