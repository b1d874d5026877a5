#include "NatsTool.h"

#include "Command.h"
#include "Messages.h"
#include "Report.h"

#include <commandline/Values.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <limits>
#include <new>
#include <utility>

namespace kwxml::tool {

const char* const natsSettings =
    "The servers stand in the settings, the INI file that the environment variable KWXML_SETTINGS names:\n\n"
    "  [Nats]\n"
    "  Servers = nats://host1:4222, nats://host2:4222\n"
    "  CredentialsFile = /etc/kwxml/user.creds\n\n"
    "or User and Password; TLS = 1, CAFile, CertificateFile, KeyFile and HostName; Timeout, ReconnectFirst "
    "and\n"
    "ReconnectMost in milliseconds. Without them the server is nats://127.0.0.1:4222.\n\n";

namespace {

std::atomic<int> interrupts{0};

void onInterrupt(int signal)
{
  if (interrupts.fetch_add(1) > 0) {
    std::signal(signal, SIG_DFL);
    std::raise(signal);
  }
}

}  // namespace

void addStreamOption(CLI::App& command, const std::string& name, std::string& stream, const std::string& what)
{
  command.add_option(name, stream, what)->required()->type_name("STREAM");
}

void addPrefixOption(CLI::App& command, const std::string& name, std::string& prefix)
{
  command.add_option(name, prefix, "What subjects begin with: PREFIX.System.Class (default: kwxml)")
      ->type_name("PREFIX");
}

void addCreateOptions(CLI::App& command, Target& target)
{
  CLI::Option* const wanted = command.add_flag(
      "--create", target.create,
      "Make the stream that is sent to, with all subjects of the prefix, when it is missing");
  command
      .add_option("--replicas", target.replicas, "How many servers keep the stream that is made (default: 1)")
      ->check(CLI::Range(1, 5).description(""))
      ->needs(wanted)
      ->type_name("N");
}

void addReceiveOptions(CLI::App& command, ReceiveChoices& choices)
{
  CLI::Option* const durable = command.add_option(
      "--durable", choices.durable,
      "The durable consumer, which all who share the work name alike" +
          (choices.durable.empty() ? std::string() : " (default: " + choices.durable + ")"));
  durable->type_name("NAME");
  if (choices.durable.empty()) {
    durable->required();
  }
  command.add_option("--system", choices.system, "Messages of this system alone")->type_name("SYSTEM");
  command.add_option("--class", choices.cls, "Messages of this class alone")->type_name("CLASS");
  CLI::Option* const follow =
      command.add_flag("--follow", choices.follow, "Wait for more when the stream has no more messages");
  command.add_option("--count", choices.count, "End after this many messages")
      ->check(CLI::Range(1LL, std::numeric_limits<long long>::max()).description(""))
      ->excludes(follow)
      ->type_name("N");
  command
      .add_option(
          "--ack-wait", choices.ackWait,
          "After how many seconds a message that nobody has finished goes to another one (default: 30)")
      ->check(CLI::Range(1U, 86400U).description(""))
      ->type_name("SECONDS");
  command
      .add_option(
          "--deliveries", choices.maxDeliveries,
          "How often a message is delivered before it goes to the dead letters (default: without end, for a "
          "full disk is no message's fault)")
      ->check(CLI::Range(1, 1000000).description(""))
      ->type_name("N");
}

nats::Form bodyForm(const std::string& name)
{
  return name == "xml" ? nats::Form::Xml : name == "json" ? nats::Form::Json : nats::Form::Binary;
}

void withServers(const std::function<void()>& run)
{
  try {
    run();
  } catch (const nats::Error& error) {
    throw Failure(exitData, error.what());
  }
}

void Failures::add(const nats::Settled& settled)
{
  if (settled.sequence == 0) {
    const std::lock_guard lock(mutex_);
    try {
      failures_.push_back(settled);
    } catch (const std::bad_alloc&) {
      isUntold_ = true;
    }
  }
}

std::vector<nats::Settled> Failures::taken()
{
  const std::lock_guard lock(mutex_);
  if (isUntold_) {
    throw Failure(exitData, "there was no memory to note a message that no stream has taken");
  }
  return std::exchange(failures_, {});
}

nats::PublisherOptions publisherOptions(const Target& target, nats::Connection& connection)
{
  if (target.create) {
    nats::StreamSettings settings;
    settings.name = target.stream;
    settings.prefix = target.prefix;
    settings.replicas = target.replicas;
    if (connection.makeStream(settings)) {
      report("stream " + target.stream + " is made, for the subjects " + target.prefix + ".>");
    }
  }
  nats::PublisherOptions options;
  options.stream = target.stream;
  options.prefix = target.prefix;
  return options;
}

nats::ConsumerOptions consumerOptions(const ReceiveChoices& choices, const std::string& stream,
                                      const std::string& prefix)
{
  nats::ConsumerOptions options;
  options.stream = stream;
  options.durable = choices.durable;
  options.prefix = prefix;
  options.system = choices.system;
  options.cls = choices.cls;
  options.ackWait = std::chrono::seconds(choices.ackWait);
  options.maxDeliveries = choices.maxDeliveries;
  return options;
}

Interrupts::Interrupts()
{
  interrupts = 0;
  struct sigaction action
  {
  };
  action.sa_handler = onInterrupt;
  sigaction(SIGINT, &action, &before_[0]);
  sigaction(SIGTERM, &action, &before_[1]);
}

Interrupts::~Interrupts()
{
  sigaction(SIGINT, &before_[0], nullptr);
  sigaction(SIGTERM, &before_[1], nullptr);
}

bool Interrupts::come()
{
  return interrupts > 0;
}

unsigned long long receiveAll(nats::Consumer& consumer, const ReceiveChoices& choices, Receiver& receiver)
{
  constexpr std::size_t batch = 500;
  constexpr std::size_t atATime = 2 * batch;  // one receiver keeps no more from the others
  constexpr auto wait = std::chrono::milliseconds(1000);
  const auto most = choices.count == 0 ? std::numeric_limits<unsigned long long>::max()
                                       : static_cast<unsigned long long>(choices.count);
  unsigned long long finished = 0;
  while (!Interrupts::come() && finished < most) {
    // Others are fetched while those that are begun are finished by themselves, but not waited for.
    const bool isIdle = receiver.begun() == 0;
    const std::size_t wanted =
        std::min<unsigned long long>({batch, atATime - receiver.begun(), most - finished - receiver.begun()});
    const std::size_t had =
        wanted == 0 ? 0
                    : consumer.fetch(wanted, isIdle ? wait : std::chrono::milliseconds(0),
                                     [&](nats::Delivery&& delivery) { receiver.take(std::move(delivery)); });
    finished += receiver.finish(had == 0);
    showProgress(countedMessages(finished));
    const bool hadAll = had < wanted && receiver.begun() == 0;
    if (hadAll && !choices.follow && choices.count == 0) {
      // Those that another one has, and has not finished, may come here yet.
      const auto left = consumer.left();
      // What finds no place among the dead letters would come again for ever.
      if (left.has_value() && left->undelivered == 0 &&
          (left->unacknowledged == 0 || consumer.counts().unburied > 0)) {
        break;
      }
    }
  }
  finished += receiver.finish(true);
  showProgress({});
  return finished;
}

bool waitFor(nats::Publisher& publisher, const nats::Connection& connection)
{
  constexpr auto look = std::chrono::milliseconds(200);
  constexpr int looksWhenInterrupted = 15;
  for (int interrupted = 0; interrupted < looksWhenInterrupted;) {
    if (publisher.flush(look)) {
      return true;
    }
    if (connection.isClosed()) {
      throw Failure(exitData, "the connection has ended; the log says why");
    }
    interrupted += Interrupts::come() ? 1 : 0;
  }
  return false;
}

void failOverDeadLetters(const nats::Consumer& consumer)
{
  if (const std::uint64_t unburied = consumer.counts().unburied; unburied > 0) {
    throw Failure(exitData, "dead letters could not be stored " + std::to_string(unburied) +
                                " times: their messages stay in stream " + consumer.options().stream);
  }
  if (const std::uint64_t dead = consumer.counts().dead; dead > 0) {
    throw Failure(exitData, countedMessages(dead) + " went to the dead letters, subject " +
                                nats::deadSubject(consumer.options().prefix) +
                                "; kwxml dead shows what lies there");
  }
}

std::string countedMessages(unsigned long long number)
{
  return std::to_string(number) + (number == 1 ? " message" : " messages");
}

}  // namespace kwxml::tool
