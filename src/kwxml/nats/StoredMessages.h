// Which messages of a durable consumer have been stored, among all who receive from it.
//
// A message may be delivered twice: its receiver was killed before the servers had its acknowledgement, or
// the servers lost that. The second time it may come to another receiver, who cannot know what the first one
// did. So receivers that store messages keep a record in the stream itself, under the subject
// PREFIX.stored.DURABLE.log.
// Each entry names messages that one receiver has stored, and the entry that was the last one for this
// receiver. Of two entries behind one the first counts: of two receivers with the same message one reads the
// other's entry, and drops the message. No clock matters, and the entries live as long as the messages around
// them.
//
// A receiver stores messages where it can take them back (at the end of a file), records them, and only then
// acknowledges them. After a crash it takes back what it had stored behind its last entry's mark.
#pragma once

#include <kwxml/nats/Consumer.h>
#include <kwxml/platform/Export.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace kwxml::nats {

/// The view that one receiver has of the record. Belongs to one thread at a time.
class KWXML_API StoredMessages
{
public:
  /// Joins those who receive by `consumer`, which outlives the object. `receiver` names the receiver, the
  /// same after each start and different from all others; letters, digits, "-" and "_". `isNew`: the receiver
  /// has never been one, so that the record is not searched to its beginning for its mark. Throws Error: the
  /// stream keeps no such subject, or the servers do not answer for a minute.
  StoredMessages(Connection& connection, Consumer& consumer, std::string receiver, bool isNew = false);
  ~StoredMessages();
  StoredMessages(const StoredMessages&) = delete;
  StoredMessages& operator=(const StoredMessages&) = delete;

  /// Whether anybody has stored the message at that place of the stream, as far as is known here.
  bool isStored(std::uint64_t sequence) const;
  /// The mark of this receiver's last entry; nullopt when it has none that the stream still holds.
  std::optional<std::uint64_t> mark() const;

  /// Records that this receiver has stored the messages, and its mark, such as the length of its file with
  /// them. False when some of them are stored already, mostly by others meanwhile: isStored() tells which;
  /// nothing is recorded then. Throws Error when the servers do not answer for a minute: the messages may be
  /// recorded or not, and mark() of the next object tells.
  [[nodiscard]] bool record(std::span<const std::uint64_t> sequences, std::uint64_t mark);

private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace kwxml::nats
