#include <kwxml/json/JsonReader.h>

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/json/JsonFeed.h>
#include <kwxml/json/JsonPlaces.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/xml/MessageReader.h>

#include <algorithm>
#include <exception>
#include <new>
#include <string>

// The parser is compiled into this file, which hides it: a program may have another version of its own. It
// keeps escaped texts in a buffer on the stack, which its recursion must not multiply to more than small
// stacks have.
#define BOOST_JSON_STACK_BUFFER_SIZE 256
#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/src.hpp>

namespace kwxml {

namespace {

namespace json = boost::json;

constexpr int notWellFormed = 4;
constexpr int readingFailed = 5;

/// Arrays and objects within one another: three for a message in a map whose keys are messages, and as much
/// around and within what is passed over.
constexpr std::size_t maxJsonNesting = 3 * maxMessageNesting + 3;

std::string_view view(json::string_view text)
{
  return {text.data(), text.size()};
}

/// What the parser calls. Parts of a text come before the rest of it.
class Handler
{
public:
  using error_code = json::error_code;
  static constexpr std::size_t max_object_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_array_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_key_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_string_size = static_cast<std::size_t>(-1);

  explicit Handler(JsonFeed& feed) : feed_(feed) {}

  /// Whether the feed has ended the reading, which has been told.
  bool ended() const { return ended_; }

  bool on_document_begin(error_code&) { return true; }
  bool on_document_end(error_code&) { return true; }
  bool on_object_begin(error_code& error) { return goOn(feed_.beginObject(), error); }
  bool on_object_end(std::size_t, error_code& error) { return goOn(feed_.endObject(), error); }
  bool on_array_begin(error_code& error) { return goOn(feed_.beginArray(), error); }
  bool on_array_end(std::size_t, error_code&)
  {
    feed_.endArray();
    return true;
  }
  bool on_key_part(json::string_view part, std::size_t, error_code&) { return addPart(part); }
  bool on_key(json::string_view last, std::size_t, error_code& error)
  {
    const bool goesOn = feed_.key(whole(view(last)));
    part_.clear();
    return goOn(goesOn, error);
  }
  bool on_string_part(json::string_view part, std::size_t, error_code&) { return addPart(part); }
  bool on_string(json::string_view last, std::size_t, error_code& error)
  {
    return scalar(JsonToken::Text, last, error);
  }
  bool on_number_part(json::string_view part, error_code&) { return addPart(part); }
  bool on_int64(std::int64_t number, json::string_view text, error_code& error)
  {
    return (part_.empty() && feed_.integer(number)) || scalar(JsonToken::Number, text, error);
  }
  bool on_uint64(std::uint64_t, json::string_view text, error_code& error)
  {
    return scalar(JsonToken::Number, text, error);
  }
  bool on_double(double, json::string_view text, error_code& error)
  {
    return scalar(JsonToken::Number, text, error);
  }
  bool on_bool(bool value, error_code& error)
  {
    return value ? scalar(JsonToken::True, "true", error) : scalar(JsonToken::False, "false", error);
  }
  bool on_null(error_code& error) { return goOn(feed_.null(), error); }
  bool on_comment_part(json::string_view, error_code&) { return true; }
  bool on_comment(json::string_view, error_code&) { return true; }

private:
  bool addPart(json::string_view part)
  {
    part_.append(part.data(), part.size());
    return true;
  }
  std::string_view whole(std::string_view last)
  {
    return part_.empty() ? last : std::string_view(part_.append(last));
  }
  bool scalar(JsonToken token, json::string_view last, error_code& error)
  {
    const bool goesOn = feed_.value(token, whole(view(last)));
    part_.clear();
    return goOn(goesOn, error);
  }
  bool goOn(bool goesOn, error_code& error)
  {
    if (!goesOn) {
      ended_ = true;
      error = json::error::exception;
    }
    return goesOn;
  }

  JsonFeed& feed_;
  std::string part_;  ///< what has come of a text that comes in parts
  bool ended_ = false;
};

/// The parser's words, where those say something. `rest` is what it did not read.
std::string wordsOf(const json::error_code& error, std::string_view rest)
{
  if (error == json::error::incomplete) {
    return "the text ends before the document does";
  }
  if (error == json::error::syntax) {
    return !rest.empty() && static_cast<unsigned char>(rest[0]) >= 0x80 ? "bytes that are no UTF-8"
                                                                        : "what stands here is no JSON";
  }
  return error.message();
}

/// Passes blanks.
std::size_t behindBlanks(std::string_view text, std::size_t at)
{
  return std::min(text.find_first_not_of(" \t\r\n", at), text.size());
}

}  // namespace

JsonRead readJson(std::string_view text, std::size_t begin, bool isLast, KwXMLContextInfo* context,
                  ReadObserver* observer)
{
  begin = std::min(begin, text.size());
  if (begin == 0 && text.starts_with(JsonPlaces::byteOrderMark)) {
    begin = JsonPlaces::byteOrderMark.size();
  }
  MessageReader rules;
  rules.setContext(context);
  rules.setBudget(MemoryBudget(text.size() - begin, context != nullptr ? context->getMemoryLimit() : 0));
  JsonPlaces places(text, begin);
  JsonFeed feed(rules, observer, places);
  json::parse_options options;
  options.max_depth = maxJsonNesting;
  const auto fail = [&](int result, ProblemKind kind, ReadPlace place, const std::string& words) {
    log().logError(JsonFeed::function, "%s at line [%llu], column [%llu]", words.c_str(),
                   static_cast<unsigned long long>(place.line),
                   static_cast<unsigned long long>(place.column));
    if (observer != nullptr) {
      observer->met({.kind = kind, .place = place, .remark = words});
    }
    return JsonRead{.result = result, .message = nullptr, .end = text.size()};
  };
  try {
    json::basic_parser<Handler> parser(options, feed);
    json::error_code error;
    const std::size_t size = parser.write_some(false, text.data() + begin, text.size() - begin, error);
    if (parser.handler().ended()) {
      return {.result = readingFailed, .message = nullptr, .end = text.size()};
    }
    if (error == json::error::too_deep) {
      return fail(readingFailed, ProblemKind::TooDeep, feed.place(), "arrays and objects nest too deep");
    }
    if (error) {
      return fail(notWellFormed, ProblemKind::NotWellFormed, places.ofOffset(begin + size),
                  wordsOf(error, text.substr(begin + size)));
    }
    const std::size_t end = behindBlanks(text, begin + size);
    if (isLast && end != text.size()) {
      return fail(notWellFormed, ProblemKind::NotWellFormed, places.ofOffset(end),
                  "text stands behind the document");
    }
    return {.result = 0, .message = std::unique_ptr<YMMessageBase>(rules.take()), .end = end};
  } catch (const std::bad_alloc& exception) {
    log().logError(JsonFeed::function, "[%s]", exception.what());
    if (observer != nullptr) {
      observer->met({.kind = ProblemKind::NoMemory, .remark = "there is no memory for the message"});
    }
    return {.result = readingFailed, .message = nullptr, .end = text.size()};
  } catch (const std::exception& exception) {
    log().logError(JsonFeed::function, "[%s]", exception.what());
  } catch (...) {
    log().logError(JsonFeed::function, "[%s]", "Unknown exception");
  }
  if (observer != nullptr) {
    observer->met({.kind = ProblemKind::NotWellFormed, .remark = "reading failed: the observer failed"});
  }
  return {.result = readingFailed, .message = nullptr, .end = text.size()};
}

}  // namespace kwxml
