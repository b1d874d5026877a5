#include <kwxml/nats/StoredMessages.h>

#include <kwxml/nats/NatsInternal.h>
#include <kwxml/text/ShownText.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <map>
#include <thread>
#include <vector>

namespace kwxml::nats {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto patience = std::chrono::minutes(1);

/// Places of a stream, as stretches.
class Places
{
public:
  void add(std::uint64_t first, std::uint64_t last)
  {
    auto next = stretches_.upper_bound(first);
    if (next != stretches_.begin()) {
      const auto before = std::prev(next);
      if (before->second + 1 >= first) {
        first = before->first;
        last = std::max(last, before->second);
        next = stretches_.erase(before);
      }
    }
    while (next != stretches_.end() && next->first <= last + 1) {
      last = std::max(last, next->second);
      next = stretches_.erase(next);
    }
    stretches_.emplace(first, last);
  }
  bool has(std::uint64_t place) const
  {
    const auto next = stretches_.upper_bound(place);
    return next != stretches_.begin() && std::prev(next)->second >= place;
  }
  const std::map<std::uint64_t, std::uint64_t>& stretches() const { return stretches_; }

private:
  std::map<std::uint64_t, std::uint64_t> stretches_;  ///< first to last
};

/// An entry of the record, as text: "receiver R", "id I", "mark M", "after S" (the entry before) and "stored
/// F-L", one for each stretch, a line each.
struct Entry
{
  std::string receiver;
  std::string id;
  std::uint64_t mark = 0;
  std::uint64_t after = 0;
  Places stored{};

  std::string text() const;
  static Entry read(std::string_view text);
};

std::string Entry::text() const
{
  std::string text = "receiver " + receiver + "\nid " + id + "\nmark " + std::to_string(mark) + "\nafter " +
                     std::to_string(after) + "\n";
  for (const auto& [first, last] : stored.stretches()) {
    text += "stored " + std::to_string(first) + "-" + std::to_string(last) + "\n";
  }
  return text;
}

/// A number at the beginning of a text, which loses it.
std::uint64_t takeNumber(std::string_view& text)
{
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) {
    throw Error("StoredMessages",
                "an entry of the record has no number at \"" + shown(text.substr(0, 40)) + "\"");
  }
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

Entry Entry::read(std::string_view text)
{
  Entry entry;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::size_t blank = line.find(' ');
    const std::string_view word = line.substr(0, blank);
    std::string_view value = blank == std::string_view::npos ? std::string_view() : line.substr(blank + 1);
    if (word == "receiver") {
      entry.receiver = value;
    } else if (word == "id") {
      entry.id = value;
    } else if (word == "mark") {
      entry.mark = takeNumber(value);
    } else if (word == "after") {
      entry.after = takeNumber(value);
    } else if (word == "stored") {
      const std::uint64_t first = takeNumber(value);
      if (value.empty() || value.front() != '-') {
        throw Error("StoredMessages",
                    "an entry of the record has no stretch in \"" + shown(line.substr(0, 80)) + "\"");
      }
      value.remove_prefix(1);
      const std::uint64_t last = takeNumber(value);
      if (last < first || last == ~std::uint64_t{0}) {
        throw Error("StoredMessages",
                    "an entry of the record has no stretch in \"" + shown(line.substr(0, 80)) + "\"");
      }
      entry.stored.add(first, last);
    }  // later versions may say more
  }
  if (entry.id.empty()) {
    throw Error("StoredMessages", "an entry of the record is none");
  }
  return entry;
}

}  // namespace

struct StoredMessages::State
{
  /// Takes in the entries since the last call. False when the servers do not answer.
  bool refresh();
  bool record(std::span<const std::uint64_t> sequences, std::uint64_t newMark);
  std::string what() const { return "cannot keep the record " + subject + " in stream " + stream; }

  Connection::State& connection;
  std::string stream;
  std::string subject;
  std::string receiver;
  std::uint64_t floor = 0;  ///< messages up to it are acknowledged: nobody delivers them again
  std::uint64_t last = 0;   ///< the last entry that is known
  Places stored{};
  std::optional<std::uint64_t> mark{};
  std::string trying{};  ///< the entry that may be recorded or not
  bool tried = false;    ///< whether it was found
};

bool StoredMessages::State::refresh()
{
  natsMsg* got = nullptr;
  jsErrCode code{};
  jsCtx* const context = connection.context.get();
  natsStatus status = js_GetLastMsg(&got, context, stream.c_str(), subject.c_str(), nullptr, &code);
  const std::uint64_t known = last;
  bool ownSeen = false;
  for (bool isFirst = true; status == NATS_OK; isFirst = false) {
    const MessageOwner message(got);
    const std::uint64_t at = natsMsg_GetSequence(got);
    const Entry entry =
        Entry::read({natsMsg_GetData(got), static_cast<std::size_t>(natsMsg_GetDataLength(got))});
    if (isFirst) {
      last = at;
    }
    if (at <= known) {
      return true;
    }
    for (const auto& [first, end] : entry.stored.stretches()) {
      stored.add(first, end);
    }
    if (entry.receiver == receiver && !ownSeen) {  // the newest comes first
      ownSeen = true;
      mark = entry.mark;
    }
    tried = tried || entry.id == trying;
    // Of what the entries before the floor name nothing is delivered again; the own mark is wanted from
    // wherever it is.
    if (entry.after <= known || (entry.after <= floor && mark.has_value())) {
      return true;
    }
    status = js_GetMsg(&got, context, stream.c_str(), entry.after, nullptr, &code);
  }
  // No entry, or the stream has dropped those before.
  return status == NATS_NOT_FOUND;
}

bool StoredMessages::State::record(std::span<const std::uint64_t> sequences, std::uint64_t newMark)
{
  constexpr const char* function = "StoredMessages::record";
  const auto until = Clock::now() + patience;
  Entry entry{.receiver = receiver, .id = uniqueText(), .mark = newMark};
  for (const std::uint64_t sequence : sequences) {
    entry.stored.add(sequence, sequence);
  }
  trying = entry.id;
  tried = false;
  while (true) {
    entry.after = last;
    const std::string text = entry.text();
    natsMsg* made = nullptr;
    check(natsMsg_Create(&made, subject.c_str(), nullptr, text.data(), static_cast<int>(text.size())),
          function, what());
    const MessageOwner message(made);
    jsErrCode code{};
    std::uint64_t place = 0;
    const natsStatus status = publishNow(connection, made, &last, code, place);
    if (status == NATS_OK) {
      last = place;
      break;
    }
    if (natsConnection_IsClosed(connection.connection.get()) || Clock::now() > until) {
      check(status, function, what());
    }
    if (code != JSStreamWrongLastSequenceErr) {  // whether it was taken, the next attempt tells
      constexpr auto pause = std::chrono::milliseconds(100);
      std::this_thread::sleep_for(pause);
      continue;
    }
    if (!refresh()) {
      continue;
    }
    if (tried) {
      break;
    }
    if (std::any_of(sequences.begin(), sequences.end(),
                    [this](std::uint64_t place) { return stored.has(place); })) {
      return false;
    }
  }
  for (const auto& [first, end] : entry.stored.stretches()) {
    stored.add(first, end);
  }
  mark = newMark;
  return true;
}

StoredMessages::StoredMessages(Connection& connection, Consumer& consumer, std::string receiver)
    : state_(
          new State{.connection = connection.state(),
                    .stream = consumer.options().stream,
                    .subject = consumer.options().prefix + ".stored." + consumer.options().durable + ".log",
                    .receiver = std::move(receiver)})
{
  checkName("a receiver", state_->receiver);
  state_->floor = consumer.acknowledgedUpTo();
  if (state_->floor > 0) {
    state_->stored.add(1, state_->floor);
  }
  if (!state_->refresh()) {
    check(NATS_TIMEOUT, "StoredMessages::StoredMessages", state_->what());
  }
  // An entry without messages: the stream takes it only when nothing was recorded that is not known here.
  static_cast<void>(state_->record({}, state_->mark.value_or(0)));
}

StoredMessages::~StoredMessages() = default;

bool StoredMessages::isStored(std::uint64_t sequence) const
{
  return state_->stored.has(sequence);
}

std::optional<std::uint64_t> StoredMessages::mark() const
{
  return state_->mark;
}

bool StoredMessages::record(std::span<const std::uint64_t> sequences, std::uint64_t mark)
{
  return state_->record(sequences, mark);
}

}  // namespace kwxml::nats
