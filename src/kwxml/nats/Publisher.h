// Sends messages to a stream.
//
// Sending does not wait for the servers: up to a number of messages, the window, are on their way at a time.
// A message counts as sent when the stream has said that it is stored. Until then the publisher keeps the
// message, and sends it again when the servers are silent, have no leader, or were gone; its identifier keeps
// it from being stored twice.
#pragma once

#include <kwxml/nats/Connection.h>
#include <kwxml/nats/Wire.h>
#include <kwxml/platform/Export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

class YMMessageBase;

namespace kwxml::nats {

/// How messages are sent.
struct PublisherOptions
{
  std::string stream{};         ///< where messages must end up; empty: in any stream that takes the subject
  std::string prefix{"kwxml"};  ///< what subjects begin with
  Form form = Form::Binary;     ///< of the bodies
  std::size_t window = 1000;    ///< how many messages may be on their way
  /// How many bytes they may have together; one message is always let through.
  std::size_t windowBytes = std::size_t{64} << 20;
  /// What publish() does when the window is full: waits, or gives Outcome::Full.
  bool waits = true;
  /// How long the stream's word is waited for. Then the message is sent again, with all that is on its way.
  std::chrono::milliseconds ackWait{5000};
  /// How long sending is tried. A message that no stream has taken by then has failed. Shorter than the
  /// stream's duplicate window, so that no repeat is stored again.
  std::chrono::milliseconds giveUpAfter{60000};
};

/// What became of a call of publish().
enum class Outcome : std::uint8_t
{
  Taken,  ///< the message is on its way
  Full,   ///< the window is full: nothing was done
};

/// What became of a message.
struct Settled
{
  std::uint64_t number;    ///< of the message, as publish() gave it
  std::uint64_t sequence;  ///< in the stream; 0 when the message has failed
  bool duplicate = false;  ///< whether the stream had it before
  std::string why{};       ///< of a failure, in words; else empty
  /// Of a failure: whether the stream refused this message. Otherwise no stream answered in time.
  bool refused = false;
};

/// How many messages were sent so far.
struct PublisherCounts
{
  std::uint64_t taken = 0;       ///< by publish()
  std::uint64_t stored = 0;      ///< in the stream, those of `duplicates` too
  std::uint64_t duplicates = 0;  ///< the stream had them before
  std::uint64_t failed = 0;      ///< are in no stream
  std::uint64_t repeats = 0;     ///< how often a message was sent again
};

/// Sends messages over a connection, which outlives the publisher. All members may be called from any thread.
class KWXML_API Publisher
{
public:
  /// `settled` (empty: none) is called for each message once it is stored or has failed, one call at a time,
  /// by a thread of the client or the publisher, or by the one that publishes; it must not throw, must not
  /// call the publisher, but for settledUpTo(), and is not called any more when the publisher has ended.
  /// Throws Error for options that make no sense, when there is no stream of the name, and when that forgets
  /// identifiers sooner than `giveUpAfter`.
  Publisher(Connection& connection, PublisherOptions options,
            std::function<void(const Settled&)> settled = {});
  /// Does not wait for messages on their way: they may be stored or not. Call flush() before. Takes as long
  /// as a question to the servers that has begun.
  ~Publisher();
  Publisher(const Publisher&) = delete;
  Publisher& operator=(const Publisher&) = delete;

  /// Sends a message. `id` is what repeats are told by: the same for the same message, also after a crash of
  /// the program, such as a file's name and an offset; empty: one that no other message has. `number` (null:
  /// not asked) gets the message's number, 1, 2, 3 and so on. Throws Error, and sends nothing, when the
  /// message cannot be encoded whole, is larger than the server takes, or the connection has ended.
  [[nodiscard]] Outcome publish(const YMMessageBase& message, std::string_view id = {},
                                std::uint64_t* number = nullptr);
  /// The same with a message that pack() made.
  [[nodiscard]] Outcome publish(const Packed& packed, std::string_view id, std::uint64_t* number = nullptr);

  /// Waits until nothing is on its way. False when that was not so in time.
  [[nodiscard]] bool flush(std::chrono::milliseconds wait);
  /// The number up to which all messages are settled, stored or failed, and the caller has been told of each.
  std::uint64_t settledUpTo() const;
  /// How long the stream knows identifiers; 0 where the options name no stream.
  std::chrono::nanoseconds duplicateWindow() const;
  /// What was sent so far.
  PublisherCounts counts() const;
  /// Why the first of the failed messages failed; empty while none has.
  std::string firstFailure() const;

  struct State;

private:
  std::shared_ptr<State> state_;
};

}  // namespace kwxml::nats
