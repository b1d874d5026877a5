// Receives messages from a stream, and loses none.
//
// A durable consumer is a reader of a stream whose place the servers keep. Any number of Consumer objects, in
// any processes, may share one by its name: each message goes to one of them. A message that is not
// acknowledged in time is delivered again, to any of them. So a program that must not do a thing twice has to
// know what was done; StoredMessages.h helps those that store messages.
#pragma once

#include <kwxml/nats/Connection.h>
#include <kwxml/nats/Wire.h>
#include <kwxml/platform/Export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class KwXMLContextInfo;
class YMMessageBase;

namespace kwxml::nats {

/// What is received, and how.
struct ConsumerOptions
{
  std::string stream{};         ///< where the messages are
  std::string durable{};        ///< name of the consumer, which is made when the stream has none of that name
  std::string prefix{"kwxml"};  ///< what subjects begin with
  std::string system{};         ///< messages of this system alone; empty: of all
  std::string cls{};            ///< messages of this class alone; empty: of all
  /// How long a message may be worked on before it is delivered again. Of a consumer that exists this and the
  /// filter must be the same.
  std::chrono::milliseconds ackWait{30000};
  /// How often a message is delivered before it goes to the dead letters; 0: without end. Servers count a
  /// delivery whatever becomes of it, also where the receiver has no disk space left.
  int maxDeliveries = 5;
  /// Whether the message at a place of the stream is done already, so that it is acknowledged and not
  /// delivered; empty: none is. Called by fetch().
  std::function<bool(std::uint64_t sequence)> isDone{};
  /// What messages are decoded with; null: the catalogue in use where the consumer is made. Outlives the
  /// consumer.
  const Registry* catalogue = nullptr;
  /// For passwords, and the limit of memory; null: none. Outlives the consumer.
  KwXMLContextInfo* context = nullptr;
};

/// A message that was delivered. It lives no longer than its consumer.
class KWXML_API Delivery
{
public:
  /// Takes over what `other` was; that one must not be used any more, but for its end or an assignment.
  Delivery(Delivery&& other) noexcept;
  /// The same.
  Delivery& operator=(Delivery&& other) noexcept;
  /// Without an acknowledgement the message is delivered again.
  ~Delivery();

  /// The message. Never null, unless it was moved out.
  std::unique_ptr<YMMessageBase> message;
  /// What was met while it was read: warnings alone.
  Problems problems;
  /// Its place in the stream.
  std::uint64_t sequence = 0;
  /// How often it has been delivered, this time included.
  std::uint64_t deliveries = 0;
  /// When it was first asked for; another receiver may have it when the time for acknowledging is over.
  std::chrono::steady_clock::time_point asked;

  /// The bytes as they came; valid as long as the delivery.
  std::span<const std::byte> body() const;
  /// The subject.
  std::string subject() const;
  /// A header's value; empty without it.
  std::string header(const char* name) const;

private:
  friend class Consumer;
  struct Native;
  explicit Delivery(std::unique_ptr<Native> native);
  std::unique_ptr<Native> native_;
};

/// What a consumer has done so far.
struct ConsumerCounts
{
  std::uint64_t delivered = 0;     ///< to the caller
  std::uint64_t acknowledged = 0;  ///< by the caller's word
  std::uint64_t dead = 0;          ///< sent to the dead letters
  std::uint64_t unburied = 0;      ///< could not be sent there: they are delivered again
  std::uint64_t done = 0;          ///< acknowledged without delivery: isDone said so
  std::uint64_t redelivered = 0;   ///< of `delivered`, not for the first time
};

/// A reader of a durable consumer over a connection, which outlives the reader. Belongs to one thread at a
/// time.
class KWXML_API Consumer
{
public:
  /// Takes part in the durable consumer, and makes it where there is none. Throws Error when the stream is
  /// missing, when no stream keeps all dead letters, and when a consumer of that name receives something
  /// else, or leaves messages behind.
  Consumer(Connection& connection, ConsumerOptions options);
  /// What was not acknowledged is delivered again.
  ~Consumer();
  Consumer(const Consumer&) = delete;
  Consumer& operator=(const Consumer&) = delete;

  /// Up to `most` messages; waits up to `wait` for the first, a second where the servers do not answer
  /// sooner, and up to a second for each that the servers have begun to send. Messages that cannot be used go
  /// to the dead letters, each with a line in the log. While there is no connection the result is empty,
  /// after `wait`. Throws Error when the connection has ended or the consumer is gone.
  std::vector<Delivery> fetch(std::size_t most, std::chrono::milliseconds wait);
  /// The same, but hands each message to `take` as soon as it has come, so that it need not stay in memory
  /// with the others. Gives how many were handed over. What `take` throws leaves at once; messages that have
  /// come and were not handed over come with the next call, those on their way after the time for
  /// acknowledging.
  std::size_t fetch(std::size_t most, std::chrono::milliseconds wait,
                    const std::function<void(Delivery&&)>& take);
  /// Acknowledges messages. True once the servers have confirmed it; false when they did not in time: the
  /// messages may be delivered again.
  [[nodiscard]] bool acknowledge(std::span<const Delivery> deliveries);
  [[nodiscard]] bool acknowledge(const Delivery& delivery) { return acknowledge({&delivery, 1}); }
  /// Sends a message to the dead letters, with the reason in a header, and acknowledges it. False when no
  /// stream took it: it will be delivered again.
  [[nodiscard]] bool bury(const Delivery& delivery, std::string_view why);
  /// Gives messages back before their time: they are delivered again at once.
  void giveBack(std::span<const Delivery> deliveries);

  /// Fetches up to `most` messages and hands each to `handler` as soon as it has come; a message is
  /// acknowledged when the handler has returned, and the last acknowledgement is confirmed before this
  /// returns. A handler that throws leaves its message for another delivery, after the time for
  /// acknowledging; the log says why. Gives how many messages were fetched.
  std::size_t process(std::size_t most, std::chrono::milliseconds wait,
                      const std::function<void(const Delivery&)>& handler);

  /// What is left of the stream for all who share the durable consumer.
  struct Left
  {
    std::uint64_t undelivered;     ///< messages that nobody has had
    std::uint64_t unacknowledged;  ///< messages that somebody has, and has not finished
  };
  /// How many messages are left; nullopt when the servers do not answer.
  std::optional<Left> left();
  /// Up to this place of the stream all messages are acknowledged. Throws Error.
  std::uint64_t acknowledgedUpTo();

  /// Says which message it is, as nothing else does: the stream and when it was made, the durable, and the
  /// place. For identifiers of what is made of the message.
  std::string identifierOf(const Delivery& delivery) const;

  /// What was done so far.
  const ConsumerCounts& counts() const;
  /// What the consumer was made with.
  const ConsumerOptions& options() const;

  struct State;

private:
  std::unique_ptr<State> state_;
};

}  // namespace kwxml::nats
