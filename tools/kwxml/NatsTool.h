// What the commands for streams of messages share: their options, the connection, and how they are
// interrupted.
#pragma once

#include <kwxml/nats/Connection.h>
#include <kwxml/nats/Consumer.h>
#include <kwxml/nats/Publisher.h>

#include <csignal>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kwxml::tool {

/// A stream that is sent to.
struct Target
{
  std::string stream;
  std::string prefix{"kwxml"};
  bool create = false;
  int replicas = 1;
};

/// The messages that no stream has stored, as a publisher tells of them.
class Failures
{
public:
  void add(const nats::Settled& settled);
  /// Those since the last call. Throws Failure when there was no memory for one.
  std::vector<nats::Settled> taken();

private:
  std::mutex mutex_;
  std::vector<nats::Settled> failures_;
  bool isUntold_ = false;
};

/// Options of those who receive.
struct ReceiveChoices
{
  std::string durable;
  std::string system;
  std::string cls;
  bool follow = false;
  long long count = 0;    ///< 0: no limit
  unsigned ackWait = 30;  ///< seconds
  int maxDeliveries = 0;  ///< 0: no limit
};

/// The option that names a stream.
void addStreamOption(CLI::App& command, const std::string& name, std::string& stream,
                     const std::string& what);
/// The option that names a prefix of subjects.
void addPrefixOption(CLI::App& command, const std::string& name, std::string& prefix);
/// The options by which a stream is made when it is missing.
void addCreateOptions(CLI::App& command, Target& target);
void addReceiveOptions(CLI::App& command, ReceiveChoices& choices);
/// What ends the help of each of these commands: where the servers are.
extern const char* const natsSettings;

/// The form of a body by its name: binary, xml, json.
nats::Form bodyForm(const std::string& name);

/// Runs what may throw an error of the servers; it ends the command as a failure.
void withServers(const std::function<void()>& run);

/// How that stream is sent to; makes the stream where the command line wants that, and says so.
nats::PublisherOptions publisherOptions(const Target& target, nats::Connection& connection);

nats::ConsumerOptions consumerOptions(const ReceiveChoices& choices, const std::string& stream,
                                      const std::string& prefix);

/// While it lives, an interrupt (SIGINT, SIGTERM) lets the command end with what it has begun; a second one
/// ends the process.
class Interrupts
{
public:
  Interrupts();
  ~Interrupts();
  Interrupts(const Interrupts&) = delete;
  Interrupts& operator=(const Interrupts&) = delete;
  static bool come();

private:
  struct sigaction before_[2];
};

/// What a command does with the messages that it receives.
class Receiver
{
public:
  virtual ~Receiver() = default;
  /// Begins with a message.
  virtual void take(nats::Delivery&& delivery) = 0;
  /// How many are begun and not finished.
  virtual std::size_t begun() const = 0;
  /// Finishes those that can be finished without waiting, or `all`. Gives how many it has finished, without
  /// those for the dead letters.
  virtual unsigned long long finish(bool all) = 0;
};

/// Receives until the command line's end. Gives how many messages were finished.
unsigned long long receiveAll(nats::Consumer& consumer, const ReceiveChoices& choices, Receiver& receiver);

/// Waits until nothing is on its way, or a few seconds from an interrupt on: then false. Throws Failure when
/// the connection ends.
[[nodiscard]] bool waitFor(nats::Publisher& publisher, const nats::Connection& connection);

/// What the dead letters got, as the command's failure; nothing where there are none.
void failOverDeadLetters(const nats::Consumer& consumer);

std::string countedMessages(unsigned long long number);

}  // namespace kwxml::tool
