#include <kwxml/nats/Pull.h>

#include <algorithm>
#include <charconv>
#include <string_view>
#include <vector>

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

void Pull::open()
{
  constexpr const char* function = "Consumer::Consumer";
  natsInbox* inbox = nullptr;
  check(natsInbox_Create(&inbox), function, "cannot make an inbox");
  const std::unique_ptr<natsInbox, Destroyer<natsInbox_Destroy>> owner(inbox);
  inbox_ = std::string(inbox) + ".";
  natsSubscription* subscribed = nullptr;
  check(natsConnection_SubscribeSync(&subscribed, connection_.connection.get(), (inbox_ + "*").c_str()),
        function, "cannot listen for messages");
  subscription_.reset(subscribed);
  // No more come than were asked for.
  check(natsSubscription_SetPendingLimits(subscribed, -1, -1), function, "cannot listen for messages");
}

void Pull::begin(std::size_t most, std::chrono::milliseconds wait)
{
  until_ = Clock::now() + wait;
  status_ = NATS_OK;
  words_.clear();
  hasAny_ = false;
  waits_ = true;
  natsMsg* got = nullptr;
  while (early_.size() < most && natsSubscription_NextMsg(&got, subscription_.get(), 0) == NATS_OK) {
    MessageOwner message(got);
    if (header(got, "Status") == nullptr) {
      early_.push_back(std::move(message));
    }
  }
  left_ = most;
  if (left_ > early_.size()) {
    ask(false);
  }
}

/// Servers that do not wait say at once when they have no more.
void Pull::ask(bool waits)
{
  waits_ = waits;
  const auto wait = std::chrono::duration_cast<std::chrono::nanoseconds>(until_ - Clock::now());
  constexpr auto margin = std::chrono::milliseconds(10);  // the servers end before the time here does
  const std::int64_t expires = std::max<std::int64_t>((wait > 2 * margin ? wait - margin : wait).count(), 1);
  const std::string text = R"({"batch":)" + std::to_string(left_ - early_.size()) +
                           (waits ? R"(,"expires":)" + std::to_string(expires) : R"(,"no_wait":true)") + "}";
  status_ = natsConnection_PublishRequestString(connection_.connection.get(), subject_.c_str(),
                                                (inbox_ + std::to_string(++request_)).c_str(), text.c_str());
  words_ = status_ != NATS_OK ? reason(status_) : std::string();
}

/// Whether that is a message, and no word of the servers, which is taken in.
bool Pull::isMessage(natsMsg* message)
{
  const char* const said = natsMsg_GetDataLength(message) > 0 ? nullptr : header(message, "Status");
  if (said == nullptr) {
    return true;
  }
  const std::string_view code = said;
  if (code == "100" || natsMsg_GetSubject(message) != inbox_ + std::to_string(request_)) {
    return false;  // they are there; or it is about another request
  }
  if (code == "404" || code == "408") {
    if (!hasAny_ && !waits_) {
      ask(true);
    } else {
      status_ = NATS_TIMEOUT;
    }
    return false;
  }
  const char* const description = header(message, "Description");
  status_ = code == "503" ? NATS_NO_RESPONDERS : NATS_ERR;
  words_ = description != nullptr ? description : said;
  return false;
}

MessageOwner Pull::next()
{
  while (status_ == NATS_OK && left_ > 0) {
    MessageOwner message;
    if (!early_.empty()) {
      message = std::move(early_.front());
      early_.pop_front();
    } else {
      const auto wait = std::chrono::ceil<std::chrono::milliseconds>(until_ - Clock::now()).count();
      natsMsg* got = nullptr;
      status_ = natsSubscription_NextMsg(&got, subscription_.get(), std::max<std::int64_t>(wait, 0));
      message.reset(got);
      if (status_ != NATS_OK) {
        words_ = reason(status_);
        break;
      }
      if (!isMessage(got)) {
        continue;
      }
    }
    hasAny_ = true;
    --left_;
    return message;
  }
  return nullptr;
}

}  // namespace kwxml::nats
