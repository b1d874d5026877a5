#include <kwxml/nats/Pull.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace kwxml::nats {

namespace {

const char* textOf(Word word)
{
  return word == Word::Done ? "+ACK" : "-NAK";
}

bool readNumber(std::string_view text, std::uint64_t& number)
{
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

}  // namespace

// "$JS.ACK.STREAM.CONSUMER.DELIVERIES.PLACE.NUMBER.TIME.LEFT"; later servers put a domain and an account
// before the stream, and more at the end.
bool placeOf(const natsMsg* message, Place& place)
{
  constexpr std::size_t most = 12;
  const char* const reply = natsMsg_GetReply(message);
  std::string_view text = reply != nullptr ? reply : "";
  std::string_view tokens[most];
  std::size_t count = 0;
  while (count < most && !text.empty()) {
    const std::size_t end = std::min(text.find('.'), text.size());
    tokens[count++] = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  constexpr std::size_t plain = 9;
  const std::size_t first = count == plain ? 4 : 6;
  return count >= plain && tokens[0] == "$JS" && tokens[1] == "ACK" &&
         readNumber(tokens[first], place.deliveries) && readNumber(tokens[first + 1], place.sequence);
}

natsStatus say(Connection::State& connection, const natsMsg* message, Word word)
{
  return natsConnection_PublishString(connection.connection.get(), natsMsg_GetReply(message), textOf(word));
}

natsStatus confirm(Connection::State& connection, const natsMsg* message, Word word)
{
  natsMsg* answer = nullptr;
  const natsStatus status =
      natsConnection_RequestString(&answer, connection.connection.get(), natsMsg_GetReply(message),
                                   textOf(word), connection.settings.timeout.count());
  natsMsg_Destroy(answer);
  return status;
}

Pull::Pull(Connection::State& connection, std::string stream, std::string durable)
    : connection_(connection), subject_("$JS.API.CONSUMER.MSG.NEXT." + stream + "." + durable)
{
}

natsStatus Pull::open()
{
  natsInbox* inbox = nullptr;
  natsStatus status = natsInbox_Create(&inbox);
  const std::unique_ptr<natsInbox, Destroyer<natsInbox_Destroy>> owner(inbox);
  if (status != NATS_OK) {
    return status;
  }
  const std::string subject = std::string(inbox) + ".";
  natsSubscription* subscribed = nullptr;
  status = natsConnection_SubscribeSync(&subscribed, connection_.connection.get(), (subject + "*").c_str());
  SubscriptionOwner made(subscribed);
  if (status == NATS_OK) {
    // What one request may bring is the caller's choice.
    status = natsSubscription_SetPendingLimits(subscribed, -1, -1);
  }
  if (status == NATS_OK) {
    subscription_ = std::move(made);
    inbox_ = subject;
  }
  return status;
}

void Pull::begin(std::size_t most, std::chrono::milliseconds wait)
{
  until_ = Clock::now() + wait;
  status_ = NATS_OK;
  words_.clear();
  hasAny_ = false;
  if (natsConnection_IsClosed(connection_.connection.get())) {
    status_ = NATS_CONNECTION_CLOSED;
    return;
  }
  natsMsg* got = nullptr;
  natsStatus had = NATS_OK;
  do {
    got = nullptr;
    had = natsSubscription_NextMsg(&got, subscription_.get(), 0);
    MessageOwner message(got);
    if (got != nullptr && !isWord(got)) {
      early_.push_back({std::move(message), asked_});
    }
  } while (had == NATS_OK || had == NATS_NO_RESPONDERS);  // the latter is an old word
  if (coming_ > 0) {
    // Servers keep a request that they cannot answer yet, and would serve it when nobody waits any more. They
    // drop it when nobody listens.
    status_ = open();
    if (status_ != NATS_OK) {
      words_ = reason(status_);
      return;
    }
    coming_ = 0;
  }
  left_ = most;
  if (left_ > early_.size()) {
    ask(left_ - early_.size(), false);
  }
}

/// Servers that do not wait say at once when they have no more.
void Pull::ask(std::size_t count, bool waits)
{
  waits_ = waits;
  asked_ = Clock::now();
  coming_ = count;
  hasBegun_ = false;
  const auto wait = std::chrono::duration_cast<std::chrono::nanoseconds>(until_ - asked_);
  constexpr auto margin = std::chrono::milliseconds(10);  // the servers end before the time here does
  const std::int64_t expires = std::max<std::int64_t>((wait > 2 * margin ? wait - margin : wait).count(), 1);
  const std::string text = R"({"batch":)" + std::to_string(count) +
                           (waits ? R"(,"expires":)" + std::to_string(expires) : R"(,"no_wait":true)") + "}";
  status_ = natsConnection_PublishRequestString(connection_.connection.get(), subject_.c_str(),
                                                (inbox_ + std::to_string(++request_)).c_str(), text.c_str());
  words_ = status_ != NATS_OK ? reason(status_) : std::string();
}

/// Whether that is a word of the servers. Messages have the subjects under which they were sent.
bool Pull::isWord(const natsMsg* message) const
{
  return std::string_view(natsMsg_GetSubject(message)).starts_with(inbox_);
}

void Pull::takeWord(natsMsg* message)
{
  const char* const said = header(message, "Status");
  const std::string_view code = said != nullptr ? said : "";
  if (code == "100" || natsMsg_GetSubject(message) != inbox_ + std::to_string(request_)) {
    return;  // they are there; or it is about another request
  }
  coming_ = 0;
  if (code == "404" || code == "408") {
    if (!hasAny_ && !waits_ && Clock::now() < until_) {
      ask(1, true);
    } else {
      status_ = NATS_TIMEOUT;
    }
    return;
  }
  const char* const description = header(message, "Description");
  status_ = code == "503" ? NATS_NO_RESPONDERS : NATS_ERR;
  words_ = description != nullptr ? description : code.empty() ? "an answer without a status" : said;
}

Pull::Arrival Pull::next()
{
  Arrival arrival;
  while (status_ == NATS_OK && left_ > 0 && arrival.message == nullptr) {
    take(arrival);
  }
  return arrival;
}

void Pull::take(Arrival& arrival)
{
  if (!early_.empty()) {
    arrival = std::move(early_.front());
    early_.pop_front();
  } else {
    const Clock::time_point now = Clock::now();
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(until_ - now).count();
    natsMsg* got = nullptr;
    status_ = natsSubscription_NextMsg(&got, subscription_.get(), std::max<std::int64_t>(wait, 0));
    // What the servers have begun to send would be delivered for nothing. They say when that is all, and that
    // there was nothing, which may be late.
    constexpr std::int64_t look = 50;
    constexpr auto late = std::chrono::milliseconds(200);
    constexpr auto pause = std::chrono::seconds(1);
    // A request that does not wait is answered soon. And the caller may have been away for long.
    const Clock::time_point limit = hasBegun_ ? std::max(until_, now + pause)
                                    : waits_  ? std::max(until_, asked_) + late
                                              : std::max(until_ + late, asked_ + pause);
    while (status_ == NATS_TIMEOUT && coming_ > 0 && Clock::now() < limit &&
           natsConnection_Status(connection_.connection.get()) == NATS_CONN_STATUS_CONNECTED) {
      status_ = natsSubscription_NextMsg(&got, subscription_.get(), look);
    }
    MessageOwner message(got);
    if (status_ != NATS_OK) {
      words_ = reason(status_);
      return;
    }
    if (isWord(got)) {
      takeWord(got);
      return;
    }
    arrival = {std::move(message), asked_};
    hasBegun_ = true;
    coming_ -= std::min<std::size_t>(coming_, 1);
  }
  hasAny_ = true;
  --left_;
  // One that came late is alone, or the first of many.
  if (coming_ == 0 && left_ > early_.size()) {
    ask(left_ - early_.size(), false);
  }
}

}  // namespace kwxml::nats
