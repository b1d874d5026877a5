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

// Not nameless: the state that the header declares holds them.
namespace stored {

using Clock = std::chrono::steady_clock;
constexpr auto patience = std::chrono::minutes(1);
constexpr auto pause = std::chrono::milliseconds(100);

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

}  // namespace stored

using namespace stored;

// The entries form a chain: each names the one before, and the entry behind one is the first in the stream
// that names it. Servers let two entries that expect the same last one both in where a cluster has them at a
// time; of these the first counts, and the others are void. So whoever writes an entry looks what stands
// behind the one before, and what `after` names always counts.
struct StoredMessages::State
{
  /// Takes in an entry that counts.
  void take(const Entry& entry);
  /// An entry by its place; false, with the status, when it cannot be had.
  bool get(std::uint64_t place, Entry& entry, natsStatus& status);
  /// The place of the next entry, void or not, behind a place: 0 for none.
  natsStatus next(std::uint64_t place, std::uint64_t& found);
  /// The entry behind `last`; a place of 0 when there is none.
  natsStatus successor(std::uint64_t& place, Entry& entry);
  /// Takes in what stands behind `last`.
  natsStatus refresh();
  /// Takes in what the stream has, from its end back to where nothing is delivered any more.
  natsStatus begin();
  bool record(std::span<const std::uint64_t> sequences, std::uint64_t newMark);
  std::string what() const { return "cannot keep the record " + subject + " in stream " + stream; }
  /// Goes on with what may pass for a minute.
  template <class Ask>
  void insist(const char* function, Ask ask);

  Connection::State& connection;
  std::string stream;
  std::string subject;
  std::string receiver;
  std::uint64_t floor = 0;  ///< messages up to it are acknowledged: nobody delivers them again
  std::uint64_t last = 0;   ///< the last entry that is known and counts
  std::uint64_t tail = 0;   ///< the last one that is known, from `last` on
  Places stored{};
  std::optional<std::uint64_t> mark{};
  bool isNew = false;      ///< the receiver has never been one
  bool isBroken = false;   ///< behind `last` are entries that count, and the one that joins them is gone
  std::string writing{};   ///< the entry that is being written, by its id
  bool isWritten = false;  ///< whether that counts
  jsErrCode code{};
  std::string said{};  ///< by the servers, where there is no code for it
};

template <class Ask>
void StoredMessages::State::insist(const char* function, Ask ask)
{
  const auto until = Clock::now() + patience;
  while (true) {
    code = static_cast<jsErrCode>(0);
    said.clear();
    const natsStatus status = ask();
    if (status == NATS_OK) {
      return;
    }
    if (natsConnection_IsClosed(connection.connection.get()) || Clock::now() > until ||
        !isPassing(status, code)) {
      check(status, function, what() + (said.empty() ? "" : ": " + said));
    }
    std::this_thread::sleep_for(pause);
  }
}

void StoredMessages::State::take(const Entry& entry)
{
  for (const auto& [first, end] : entry.stored.stretches()) {
    stored.add(first, end);
  }
  if (entry.receiver == receiver) {
    mark = entry.mark;
  }
  isWritten = isWritten || entry.id == writing;
}

bool StoredMessages::State::get(std::uint64_t place, Entry& entry, natsStatus& status)
{
  natsMsg* got = nullptr;
  status = js_GetMsg(&got, connection.context.get(), stream.c_str(), place, nullptr, &code);
  if (status != NATS_OK) {
    return false;
  }
  const MessageOwner message(got);
  entry = Entry::read({natsMsg_GetData(got), static_cast<std::size_t>(natsMsg_GetDataLength(got))});
  // What is stored, and what was written, lies before. Anybody can send to the subject.
  const auto& stretches = entry.stored.stretches();
  if (subject != natsMsg_GetSubject(got) || entry.after >= place ||
      (!stretches.empty() && stretches.rbegin()->second >= place)) {
    throw Error("StoredMessages", what() + ": message " + std::to_string(place) + " is no entry of it");
  }
  return true;
}

/// The client has no call for this question, which servers answer from 2.9 on.
natsStatus StoredMessages::State::next(std::uint64_t place, std::uint64_t& found)
{
  found = 0;
  const std::string api = "$JS.API.STREAM.MSG.GET." + stream;
  const std::string question =
      R"({"seq":)" + std::to_string(place + 1) + R"(,"next_by_subj":")" + subject + "\"}";
  natsMsg* got = nullptr;
  const natsStatus status = natsConnection_RequestString(
      &got, connection.connection.get(), api.c_str(), question.c_str(), connection.settings.timeout.count());
  if (status != NATS_OK) {
    return status;
  }
  const MessageOwner message(got);
  std::string_view answer(natsMsg_GetData(got), static_cast<std::size_t>(natsMsg_GetDataLength(got)));
  const std::string begin = R"("message":{"subject":")" + subject + R"(","seq":)";  // names hold no quotes
  if (const std::size_t at = answer.find(begin); at != std::string_view::npos) {
    answer.remove_prefix(at + begin.size());
    found = takeNumber(answer);
    return NATS_OK;
  }
  constexpr std::string_view none = R"("err_code":10037)";
  if (answer.find(none) != std::string_view::npos) {
    return NATS_OK;
  }
  // It may pass: servers that have just begun may not know their streams.
  constexpr std::size_t longest = 500;
  said = shown(answer.substr(0, longest));
  return NATS_TIMEOUT;
}

natsStatus StoredMessages::State::successor(std::uint64_t& place, Entry& entry)
{
  place = last;
  isBroken = false;
  while (true) {
    natsStatus status = next(place, place);
    tail = std::max(tail, place);
    if (status != NATS_OK || place == 0 || !get(place, entry, status)) {
      return status;
    }
    if (entry.after == last) {
      isBroken = false;
      return NATS_OK;
    }
    isBroken = isBroken || entry.after > last;
  }
}

natsStatus StoredMessages::State::refresh()
{
  while (true) {
    std::uint64_t place = 0;
    Entry entry;
    const natsStatus status = successor(place, entry);
    if (status != NATS_OK || place == 0) {
      return status;
    }
    take(entry);
    last = place;
  }
}

natsStatus StoredMessages::State::begin()
{
  bool hasMark = isNew || mark.has_value();
  last = tail = 0;
  natsMsg* got = nullptr;
  natsStatus status =
      js_GetLastMsg(&got, connection.context.get(), stream.c_str(), subject.c_str(), nullptr, &code);
  if (status == NATS_NOT_FOUND && code != JSStreamNotFoundErr) {
    return NATS_OK;  // no entry yet
  }
  if (status != NATS_OK) {
    return status;
  }
  const MessageOwner message(got);
  // Whether this one counts is not known here; the one that it names does.
  Entry tip;
  if (!get(natsMsg_GetSequence(got), tip, status)) {
    return status;
  }
  const std::uint64_t end = tip.after;
  std::vector<Entry> entries;
  // Entries before the floor name nothing that is delivered again; the own mark is wanted from wherever it
  // is.
  for (std::uint64_t place = end; place > floor || (place > 0 && !hasMark);) {
    Entry entry;
    if (!get(place, entry, status)) {
      if (status == NATS_NOT_FOUND) {
        break;  // the stream has dropped it and those before
      }
      return status;
    }
    hasMark = hasMark || entry.receiver == receiver;
    place = entry.after;
    entries.push_back(std::move(entry));
  }
  std::for_each(entries.rbegin(), entries.rend(), [this](const Entry& entry) { take(entry); });
  last = end;
  return refresh();
}

bool StoredMessages::State::record(std::span<const std::uint64_t> sequences, std::uint64_t newMark)
{
  constexpr const char* function = "StoredMessages::record";
  Entry entry{.receiver = receiver, .id = uniqueText(), .mark = newMark};
  for (const std::uint64_t sequence : sequences) {
    entry.stored.add(sequence, sequence);
  }
  writing = entry.id;
  isWritten = false;
  const auto until = Clock::now() + patience;
  while (true) {
    // By whatever was learned meanwhile: the entry may be among it, sent before and never answered.
    if (isWritten) {
      return true;
    }
    if (std::any_of(sequences.begin(), sequences.end(),
                    [this](std::uint64_t sequence) { return stored.has(sequence); })) {
      return false;
    }
    if (sequences.empty()) {  // says nothing new: the mark is that of the last entry, which may have come
                              // meanwhile
      entry.mark = mark.value_or(newMark);
    }
    entry.after = last;
    bool isGone = false;
    const std::string text = entry.text();
    Entry behind;
    std::uint64_t place = 0;
    insist(function, [&] {
      natsMsg* made = nullptr;
      check(natsMsg_Create(&made, subject.c_str(), nullptr, text.data(), static_cast<int>(text.size())),
            function, what());
      const MessageOwner message(made);
      std::uint64_t own = 0;
      natsStatus status = publishNow(connection, made, std::max(last, tail), code, own);
      // Whatever the answer, or without one: what stands behind the last entry counts.
      if (status == NATS_OK || code == JSStreamWrongLastSequenceErr || isPassing(status, code)) {
        const bool isRefused = code == JSStreamWrongLastSequenceErr;
        code = static_cast<jsErrCode>(0);
        const natsStatus asked = successor(place, behind);
        // The stream may have dropped entries: then what stands behind the last one is not to be found.
        isGone = (isRefused || isBroken) && asked == NATS_OK && place == 0;
        status = asked != NATS_OK ? asked : place != 0 || isGone ? NATS_OK : NATS_TIMEOUT;
      }
      return status;
    });
    if (isGone) {
      if (Clock::now() > until) {
        throw Error(function, what() + ": its servers do not agree about the last entry");
      }
      std::this_thread::sleep_for(pause);
      insist(function, [this] { return begin(); });
      continue;
    }
    take(behind);
    last = place;
    if (!isWritten) {
      insist(function, [this] { return refresh(); });
      if (isBroken) {  // once: what is broken then is of entries that nobody could have written
        insist(function, [this] { return begin(); });
      }
    }
  }
}

StoredMessages::StoredMessages(Connection& connection, Consumer& consumer, std::string receiver, bool isNew)
    : state_(
          new State{.connection = connection.state(),
                    .stream = consumer.options().stream,
                    .subject = consumer.options().prefix + ".stored." + consumer.options().durable + ".log",
                    .receiver = std::move(receiver)})
{
  checkName("a receiver", state_->receiver);
  state_->isNew = isNew;
  state_->floor = consumer.acknowledgedUpTo();
  if (state_->floor > 0) {
    state_->stored.add(1, state_->floor);
  }
  state_->insist("StoredMessages::StoredMessages", [this] { return state_->begin(); });
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
