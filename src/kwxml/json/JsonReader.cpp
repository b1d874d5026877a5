#include <kwxml/json/JsonReader.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/json/JsonNumbers.h>
#include <kwxml/json/JsonPlaces.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/NumberText.h>
#include <kwxml/text/Utf8.h>
#include <kwxml/xml/MessageReader.h>

#include <algorithm>
#include <charconv>
#include <exception>
#include <string>
#include <utility>
#include <vector>

// The parser is compiled into this file, which hides it: a program may have another version of its own. It
// keeps escaped texts in a buffer on the stack, which its recursion must not multiply to more than small
// stacks have.
#define BOOST_JSON_STACK_BUFFER_SIZE 256
#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/src.hpp>

namespace kwxml {

namespace {

namespace json = boost::json;

constexpr const char* function = "JSONDecoder::unSerialize";
constexpr int notWellFormed = 4;
constexpr int readingFailed = 5;

/// Arrays and objects within one another: three for a message in a map whose keys are messages, and as much
/// around and within what is passed over.
constexpr std::size_t maxJsonNesting = 3 * maxMessageNesting + 3;

constexpr const char* mapKeyName = "__mapKey__";
constexpr const char* mapValueName = "__mapValue__";
constexpr std::string_view itemName = "val";
constexpr const char* wideElement = "an element of a wide string is a number of 32 bits";

std::string_view view(json::string_view text)
{
  return {text.data(), text.size()};
}

/// How the value of a field is written.
enum class Shape
{
  Value,  ///< a text, a number, true or false
  Message,
  List,
  KeyedMap,  ///< an object, whose members are the entries
  EntryMap,  ///< an array of objects with a key and a value
};

Shape shapeOf(FieldDataType type)
{
  const FieldTypeInfo& info = fieldTypeInfo(type);
  return info.element != FIELD_UNSET   ? Shape::List
         : info.mapKey == FIELD_OBJECT ? Shape::EntryMap
         : info.mapKey != FIELD_UNSET  ? Shape::KeyedMap
         : type == FIELD_OBJECT        ? Shape::Message
                                       : Shape::Value;
}

const char* describe(Shape shape)
{
  switch (shape) {
    case Shape::Message:
      return "a message is an object";
    case Shape::List:
      return "a list is an array";
    case Shape::KeyedMap:
      return "a map is an object of its entries";
    case Shape::EntryMap:
      return "a map with messages as keys is an array of objects with key and value";
    case Shape::Value:
      break;
  }
  return "an object or an array stands where a text or a number belongs";
}

/// Whether a scalar is kept as whatever integer is given.
bool storesIntegers(FieldDataType type)
{
  return visitFieldType(type, []<class Tag>(Tag) {
    return IntegerSlot<Tag> && Tag::type != FIELD_BOOL && Tag::type != FIELD_ENUM;
  });
}

enum class Token
{
  Text,
  Number,
  True,
  False,
};

/// What the parser tells becomes what the rules are fed with.
class Feed : private XmlPlaces
{
public:
  using error_code = json::error_code;
  static constexpr std::size_t max_object_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_array_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_key_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_string_size = static_cast<std::size_t>(-1);

  Feed(MessageReader& rules, ReadObserver* observer, JsonPlaces& places)
      : rules_(rules), places_(places), isObserved_(observer != nullptr)
  {
    frames_.reserve(16);
    rules_.setFunction(function);
    rules_.expectPlainTexts();
    rules_.setObserver(observer, this);
  }
  Feed(const Feed&) = delete;
  Feed& operator=(const Feed&) = delete;

  ReadPlace place() const { return places_.ofToken(tokens_); }
  /// Whether the rules have ended the reading, which has been told.
  bool ended() const { return ended_; }

  // ---- What the parser calls. Parts of a text come before the rest of it.

  bool on_document_begin(error_code&) { return true; }
  bool on_document_end(error_code&) { return true; }
  bool on_object_begin(error_code& error)
  {
    ++tokens_;
    return goOn(beginObject(), error);
  }
  bool on_object_end(std::size_t, error_code& error)
  {
    ++tokens_;
    return goOn(endObject(), error);
  }
  bool on_array_begin(error_code& error)
  {
    ++tokens_;
    return goOn(beginArray(), error);
  }
  bool on_array_end(std::size_t, error_code&)
  {
    ++tokens_;
    endArray();
    return true;
  }
  bool on_key_part(json::string_view part, std::size_t, error_code&) { return addPart(part); }
  bool on_key(json::string_view last, std::size_t, error_code& error)
  {
    ++tokens_;
    const bool goesOn = key(whole(view(last)));
    part_.clear();
    return goOn(goesOn, error);
  }
  bool on_string_part(json::string_view part, std::size_t, error_code&) { return addPart(part); }
  bool on_string(json::string_view last, std::size_t, error_code& error)
  {
    return scalar(Token::Text, view(last), error);
  }
  bool on_number_part(json::string_view part, error_code&) { return addPart(part); }
  bool on_int64(std::int64_t number, json::string_view text, error_code& error)
  {
    if (!isObserved_ && part_.empty() && storedAsIs(number)) [[likely]] {
      ++tokens_;
      return true;
    }
    return scalar(Token::Number, view(text), error);
  }
  bool on_uint64(std::uint64_t, json::string_view text, error_code& error)
  {
    return scalar(Token::Number, view(text), error);
  }
  bool on_double(double, json::string_view text, error_code& error)
  {
    return scalar(Token::Number, view(text), error);
  }
  bool on_bool(bool value, error_code& error)
  {
    return value ? scalar(Token::True, "true", error) : scalar(Token::False, "false", error);
  }
  bool on_null(error_code& error)
  {
    ++tokens_;
    return goOn(null(), error);
  }
  bool on_comment_part(json::string_view, error_code&) { return true; }
  bool on_comment(json::string_view, error_code&) { return true; }

private:
  /// What an open object or array is.
  enum class Kind
  {
    Document,  ///< the object around the message
    Message,
    List,
    KeyedMap,
    EntryMap,
    Entry,         ///< of an EntryMap
    WideElements,  ///< an array in place of a wide string
    Passed,        ///< a message whose class is missing
    Skipped,
  };
  struct Frame
  {
    Kind kind;
    const FieldDef* def = nullptr;   ///< Message: of the member whose value comes next, null to skip that
    const char* name = "";           ///< Message, Passed: as it was told
    const FieldDef* next = nullptr;  ///< Message: behind the field that was met last
    bool isOpen = false;             ///< KeyedMap: an entry has begun. Entry: a key or a value comes next
    bool isKey = false;              ///< Entry: the key comes next
  };

  // XmlPlaces. All are where the parser is.
  ReadPlace ofAttribute(const XmlAttribute&) const override { return place(); }
  ReadPlace ofTag() const override { return place(); }
  ReadPlace ofText() const override { return place(); }

  bool addPart(json::string_view part)
  {
    part_.append(part.data(), part.size());
    return true;
  }
  std::string_view whole(std::string_view last)
  {
    return part_.empty() ? last : std::string_view(part_.append(last));
  }
  bool goOn(bool goesOn, error_code& error)
  {
    if (!goesOn) {
      ended_ = true;
      error = json::error::exception;
    }
    return goesOn;
  }
  /// Integers go where integers are kept without a text, when there is nothing to check. False elsewhere.
  bool storedAsIs(long long number)
  {
    if (frames_.empty() || frames_.back().def == nullptr) {
      return false;
    }
    const Frame& frame = frames_.back();
    return (frame.kind == Kind::Message && storesIntegers(frame.def->type) &&
            (rules_.storeNumber(*frame.def, number), true)) ||
           (frame.kind == Kind::List && rules_.addNumber(*frame.def, number));
  }
  bool scalar(Token token, std::string_view last, error_code& error)
  {
    ++tokens_;
    const bool goesOn = value(token, whole(last));
    part_.clear();
    return goOn(goesOn, error);
  }

  bool beginObject();
  bool endObject();
  bool beginArray();
  void endArray();
  bool key(std::string_view name);
  bool value(Token token, std::string_view text);
  bool null();

  const FieldDef* findMember(Frame& frame, std::string_view name) const;
  bool noMessage();
  bool startMessage(const char* name, std::uint32_t hash);
  bool partValue(const FieldDef& def, Token token, std::string_view text);
  void fieldValue(const FieldDef& def, Token token, std::string_view text);
  void enumValue(const FieldDef& def, Token token, std::string_view text);
  void itemValue(const FieldDef& def, Token token, std::string_view text);
  void enumItem(const FieldDef& def, Token token, std::string_view text);
  void addWideElement(const FieldDef& def, Token token, std::string_view text);
  static std::wstring toWide(std::string_view text);
  std::string_view numberText(FieldDataType type, Token token, std::string_view text);
  bool skip()
  {
    frames_.push_back({Kind::Skipped});
    return true;
  }
  /// An object or an array that the field does not have.
  bool misfit(const FieldDef& def, Shape wanted)
  {
    rules_.tell(ProblemKind::NotOfType, {.field = &def, .remark = describe(wanted)});
    return skip();
  }
  bool unreadable(const FieldDef& def, const char* why)
  {
    rules_.tell(ProblemKind::ItemUnreadable, {.field = &def, .remark = why});
    return skip();
  }

  MessageReader& rules_;
  JsonPlaces& places_;
  const bool isObserved_;
  std::vector<Frame> frames_;
  std::uint64_t tokens_ = 0;
  std::string part_;      ///< what has come of a text that comes in parts
  std::string rootName_;  ///< once its member has begun
  bool hasRoot_ = false;
  bool ended_ = false;
  std::wstring wide_;
  NumberBuffer digits_;
  std::string number_;
};

/// The document is none of a message.
bool Feed::noMessage()
{
  constexpr const char* words =
      "a document is an object with one member, a message under the name of its class";
  log().logError(function, "[%s]", words);
  rules_.tell(ProblemKind::ClassUnknown, {.remark = words});
  return false;
}

bool Feed::startMessage(const char* name, std::uint32_t hash)
{
  if (!rules_.startElement(name, hash, {})) {
    return false;
  }
  frames_.push_back({.kind = rules_.isSkipping() ? Kind::Passed : Kind::Message,
                     .name = name,
                     .next = rules_.beginOfFields()});
  return true;
}

bool Feed::beginObject()
{
  if (frames_.empty()) {
    frames_.push_back({Kind::Document});
    return true;
  }
  const Frame frame = frames_.back();
  const FieldDef* const def = frame.def;
  switch (frame.kind) {
    case Kind::Document:
      return startMessage(rootName_.c_str(), nameHash(rootName_.data(), rootName_.size()));
    case Kind::Message: {
      if (def == nullptr) {
        return skip();
      }
      const Shape shape = shapeOf(def->type);
      if (shape == Shape::Message) {
        return startMessage(def->getName(), def->hash);
      }
      if (shape != Shape::KeyedMap) {
        return misfit(*def, shape);
      }
      rules_.beginCollection(*def);
      frames_.push_back({Kind::KeyedMap, def});
      return true;
    }
    case Kind::List:
      return def->type == FIELD_LIST_OBJECT ? startMessage(def->getName(), def->hash)
                                            : unreadable(*def, describe(Shape::Value));
    case Kind::EntryMap:
      if (!rules_.startElement(def->getName(), def->hash, {})) {
        return false;
      }
      frames_.push_back({Kind::Entry, def});
      return true;
    case Kind::KeyedMap:
      return FieldDef::getMapValueType(def->type) == FIELD_OBJECT ? startMessage(mapValueName, 0)
                                                                  : misfit(*def, Shape::Value);
    case Kind::Entry:
      return frame.isOpen ? startMessage(frame.isKey ? mapKeyName : mapValueName, 0) : skip();
    case Kind::WideElements:
      return unreadable(*def, wideElement);
    case Kind::Passed:
    case Kind::Skipped:
      break;
  }
  return skip();
}

bool Feed::endObject()
{
  const Frame frame = frames_.back();
  frames_.pop_back();
  switch (frame.kind) {
    case Kind::Document:
      return hasRoot_ || noMessage();
    case Kind::Message:
    case Kind::Passed:
      rules_.endElement(frame.name);
      break;
    case Kind::Entry:
      rules_.endElement(frame.def->getName());
      break;
    case Kind::KeyedMap:
      if (frame.isOpen) {
        rules_.endElement(frame.def->getName());
      }
      break;
    default:
      break;
  }
  return true;
}

bool Feed::beginArray()
{
  if (frames_.empty() || frames_.back().kind == Kind::Document) {
    return noMessage();
  }
  const Frame frame = frames_.back();
  const FieldDef* const def = frame.def;
  const auto open = [&](Kind kind) {
    frames_.push_back({kind, def});
    return true;
  };
  switch (frame.kind) {
    case Kind::Message: {
      if (def == nullptr) {
        return skip();
      }
      const Shape shape = shapeOf(def->type);
      if (shape == Shape::List || shape == Shape::EntryMap) {
        rules_.beginCollection(*def);
        return open(shape == Shape::List ? Kind::List : Kind::EntryMap);
      }
      return def->type == FIELD_WSTRING ? open(Kind::WideElements) : misfit(*def, shape);
    }
    case Kind::List:
      return def->type == FIELD_LIST_WSTRING
                 ? open(Kind::WideElements)
                 : unreadable(*def, describe(def->type == FIELD_LIST_OBJECT ? Shape::Message : Shape::Value));
    case Kind::KeyedMap:
      return misfit(*def,
                    FieldDef::getMapValueType(def->type) == FIELD_OBJECT ? Shape::Message : Shape::Value);
    case Kind::EntryMap:
      return unreadable(*def, describe(Shape::EntryMap));
    case Kind::Entry:
      return frame.isOpen ? misfit(*def, Shape::Message) : skip();
    case Kind::WideElements:
      return unreadable(*def, wideElement);
    default:
      return skip();
  }
}

void Feed::endArray()
{
  const Frame frame = frames_.back();
  frames_.pop_back();
  if (frame.kind == Kind::WideElements) {
    rules_.storeWide(*frame.def, std::exchange(wide_, {}));
  }
}

/// Writers give members in the order of the fields: mostly the next one is met, which a comparison finds
/// sooner than the hash.
const FieldDef* Feed::findMember(Frame& frame, std::string_view name) const
{
  const FieldDef* found = frame.next;
  const bool isNext = found != nullptr && found != rules_.endOfFields() && name == found->getName() &&
                      rules_.field(found->hash) == found;
  if (!isNext) {
    found = rules_.field(nameHash(name.data(), name.size()));
  }
  frame.next = found != nullptr ? found + 1 : nullptr;
  return found;
}

bool Feed::key(std::string_view name)
{
  Frame& frame = frames_.back();
  switch (frame.kind) {
    case Kind::Document:
      if (hasRoot_) {
        return noMessage();
      }
      hasRoot_ = true;
      rootName_ = name;
      break;
    case Kind::Message:
      frame.def = findMember(frame, name);
      if (frame.def == nullptr) {
        rules_.tell(ProblemKind::MemberUnknown, {.text = name});
      }
      break;
    case Kind::KeyedMap: {
      if (std::exchange(frame.isOpen, true)) {
        rules_.endElement(frame.def->getName());
      }
      const XmlAttribute value{.name = itemName, .value = name, .hash = 0};
      if (!rules_.startElement(frame.def->getName(), frame.def->hash, {}) ||
          !rules_.startElement(mapKeyName, 0, {&value, 1})) {
        return false;
      }
      rules_.endElement(mapKeyName);
      break;
    }
    case Kind::Entry:
      frame.isKey = name == "key";
      frame.isOpen = frame.isKey || name == "value";
      if (!frame.isOpen) {
        rules_.tell(ProblemKind::MemberUnknown, {.text = name, .remark = "an entry has key and value"});
      }
      break;
    default:
      break;
  }
  return true;
}

bool Feed::null()
{
  if (frames_.empty() || frames_.back().kind == Kind::Document) {
    return noMessage();
  }
  const Frame& frame = frames_.back();
  if (frame.kind == Kind::List || frame.kind == Kind::EntryMap || frame.kind == Kind::WideElements) {
    rules_.tell(ProblemKind::ItemUnreadable, {.field = frame.def, .remark = "null is no item"});
  }
  return true;  // of a field: it is not set; of an entry: it lacks what is null
}

bool Feed::value(Token token, std::string_view text)
{
  if (frames_.empty() || frames_.back().kind == Kind::Document) {
    return noMessage();
  }
  const Frame& frame = frames_.back();
  switch (frame.kind) {
    case Kind::Message:
      if (frame.def != nullptr) {
        fieldValue(*frame.def, token, text);
      }
      break;
    case Kind::List:
      itemValue(*frame.def, token, text);
      break;
    case Kind::KeyedMap:
      return partValue(*frame.def, token, text);
    case Kind::EntryMap:
      rules_.tell(ProblemKind::ItemUnreadable,
                  {.field = frame.def, .text = text, .remark = describe(Shape::EntryMap)});
      break;
    case Kind::Entry:
      if (frame.isOpen) {
        rules_.tell(ProblemKind::NotOfType,
                    {.field = frame.def, .text = text, .remark = describe(Shape::Message)});
      }
      break;
    case Kind::WideElements:
      addWideElement(*frame.def, token, text);
      break;
    default:
      break;
  }
  return true;
}

/// The value of an entry that has its key. False ends the reading.
bool Feed::partValue(const FieldDef& def, Token token, std::string_view text)
{
  const FieldDataType type = FieldDef::getMapValueType(def.type);
  if (type == FIELD_OBJECT || (type == FIELD_STRING && token != Token::Text)) {
    rules_.tell(ProblemKind::NotOfType,
                {.field = &def,
                 .text = text,
                 .remark = type == FIELD_OBJECT ? describe(Shape::Message) : std::string_view(),
                 .type = type});
    return true;  // the entry lacks its value, which is told at its end
  }
  const XmlAttribute value{
      .name = itemName, .value = type == FIELD_STRING ? text : numberText(type, token, text), .hash = 0};
  if (!rules_.startElement(mapValueName, 0, {&value, 1})) {
    return false;
  }
  rules_.endElement(mapValueName);
  return true;
}

/// A number as the rules read it. Whole numbers may have a fraction of zeros and an exponent here, and the
/// upper half of the unsigned ones has the bits of negative ones in a message.
std::string_view Feed::numberText(FieldDataType type, Token token, std::string_view text)
{
  constexpr std::size_t safeDigits = 18;
  const bool isBare = text.find_first_of(".eE") == std::string_view::npos;
  const bool isUnsigned = type == FIELD_ULONG || type == FIELD_ULONGLONG;
  if ((token != Token::Number && token != Token::Text) ||
      (isBare && (text.size() <= safeDigits || !isUnsigned))) {
    return text;
  }
  if (!isBare && !writeWhole(text, number_)) {
    return text;
  }
  const std::string_view whole = isBare ? text : std::string_view(number_);
  std::uint64_t size = 0;
  const auto end = whole.data() + whole.size();
  const auto read = std::from_chars(whole.data(), end, size);
  return isUnsigned && read.ec == std::errc() && read.ptr == end
             ? formatInteger(static_cast<long long>(size), digits_)
             : whole;
}

void Feed::fieldValue(const FieldDef& def, Token token, std::string_view text)
{
  visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (ListValue<Tag> || MapValue<Tag> || MessageValue<Tag>) {
      rules_.tell(ProblemKind::NotOfType,
                  {.field = &def, .text = text, .remark = describe(shapeOf(Tag::type))});
    } else if constexpr (Tag::type == FIELD_STRING || Tag::type == FIELD_WSTRING || ByteString<Tag> ||
                         PasswordString<Tag>) {
      if (token != Token::Text) {
        rules_.tell(ProblemKind::NotOfType, {.field = &def, .text = text, .remark = "no text"});
      } else if constexpr (Tag::type == FIELD_WSTRING) {
        rules_.storeWide(def, toWide(text));
      } else {
        rules_.storeText(def, text);
      }
    } else if constexpr (Tag::type == FIELD_ENUM) {
      enumValue(def, token, text);
    } else if constexpr (Tag::type == FIELD_BOOL) {
      if (token == Token::True || token == Token::False) {
        rules_.storeNumber(def, token == Token::True ? 1 : 0);
      } else {
        rules_.storeText(def, text);
      }
    } else if constexpr (FloatingSlot<Tag>) {
      rules_.storeText(def, text);
    } else if constexpr (IntegerSlot<Tag>) {
      long long seconds = 0;
      if (token == Token::Text && def.annotations != nullptr && parseIsoDate(text, seconds) &&
          AnnotationRecord(def.annotations).dateForm() != 0) {
        rules_.storeNumber(def, seconds);
      } else {
        rules_.storeText(def, numberText(Tag::type, token, text));
      }
    } else {
      rules_.storeText(def, text);  // the rules know why there is no such value
    }
  });
}

/// The rules take for numbers what begins with a digit.
void Feed::enumValue(const FieldDef& def, Token token, std::string_view text)
{
  const std::string_view number = numberText(FIELD_ENUM, token, text);
  if (token != Token::Number || !number.starts_with('-')) {
    return rules_.storeText(def, number);
  }
  const long long value = parseInteger(std::string(number).c_str());
  if (findEnumerator(findClass(packedReference(def)), value) == nullptr) {
    rules_.tell(ProblemKind::EnumeratorUnknown, {.field = &def, .text = text});
  }
  rules_.storeNumber(def, value);
}

void Feed::itemValue(const FieldDef& def, Token token, std::string_view text)
{
  visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (Tag::info.element == FIELD_STRING || Tag::info.element == FIELD_BSTRING ||
                  Tag::info.element == FIELD_WSTRING) {
      if (token != Token::Text) {
        rules_.tell(ProblemKind::ItemUnreadable, {.field = &def, .text = text, .remark = "no text"});
      } else if constexpr (Tag::info.element == FIELD_WSTRING) {
        rules_.storeWide(def, toWide(text));
      } else {
        rules_.storeText(def, text);
      }
    } else if constexpr (Tag::info.element == FIELD_OBJECT) {
      rules_.tell(ProblemKind::ItemUnreadable,
                  {.field = &def, .text = text, .remark = describe(Shape::Message)});
    } else if constexpr (Tag::info.element == FIELD_ENUM) {
      enumItem(def, token, text);
    } else if constexpr (Tag::info.element == FIELD_BOOL) {
      const bool isTrue =
          token == Token::True || (token == Token::Text && asciiEqualsIgnoreCase(text, "true"));
      const bool isFalse =
          token == Token::False || (token == Token::Text && asciiEqualsIgnoreCase(text, "false"));
      rules_.storeText(def, isTrue ? "1" : isFalse ? "0" : numberText(FIELD_UINT, token, text));
    } else if constexpr (FloatingSlot<FieldTypeTag<Tag::info.element>>) {
      rules_.storeText(def, text);
    } else {
      rules_.storeText(def, numberText(def.type, token, text));
    }
  });
}

/// Lists keep enumerators by number.
void Feed::enumItem(const FieldDef& def, Token token, std::string_view text)
{
  const _ClassDef* cls = findClass(packedReference(def));
  if (token == Token::Text && cls != nullptr) {
    for (const FieldDef& enumerator : *cls) {
      if (asciiEqualsIgnoreCase(enumerator.getName(), text)) {
        return rules_.storeText(def, formatUnsigned(enumerator.hash, digits_));
      }
    }
  }
  const std::string_view number = numberText(FIELD_UINT, token, text);
  if (token != Token::Number && (number.empty() || number[0] < '0' || number[0] > '9')) {
    rules_.tell(ProblemKind::EnumeratorUnknown, {.field = &def, .text = text});
    return;
  }
  rules_.storeText(def, number);
}

void Feed::addWideElement(const FieldDef& def, Token token, std::string_view text)
{
  std::uint32_t element = 0;
  const std::string_view number = numberText(FIELD_UINT, token, text);
  const auto end = number.data() + number.size();
  const auto read = std::from_chars(number.data(), end, element);
  if (token != Token::Number || read.ec != std::errc() || read.ptr != end) {
    rules_.tell(ProblemKind::ItemUnreadable, {.field = &def, .text = text, .remark = wideElement});
    return;
  }
  wide_ += static_cast<wchar_t>(element);
}

std::wstring Feed::toWide(std::string_view text)
{
  std::wstring wide;
  std::uint32_t c = 0;
  for (std::size_t size = 0; !text.empty(); text.remove_prefix(size)) {
    size = utf8Character(text, c);  // the parser has seen to it that it is UTF-8
    wide += static_cast<wchar_t>(c);
  }
  return wide;
}

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

JsonRead readJson(std::string_view text, std::size_t begin, KwXMLContextInfo* context, ReadObserver* observer)
{
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (begin == 0 && text.starts_with(byteOrderMark)) {
    begin = byteOrderMark.size();
  }
  MessageReader rules;
  rules.setContext(context);
  JsonPlaces places(text, begin);
  Feed* feed = nullptr;
  json::parse_options options;
  options.max_depth = maxJsonNesting;
  const auto fail = [&](int result, ProblemKind kind, ReadPlace place, const std::string& words) {
    log().logError(function, "%s at line [%llu], column [%llu]", words.c_str(),
                   static_cast<unsigned long long>(place.line),
                   static_cast<unsigned long long>(place.column));
    if (observer != nullptr) {
      observer->met({.kind = kind, .place = place, .remark = words});
    }
    return JsonRead{.result = result, .message = nullptr, .end = text.size()};
  };
  try {
    json::basic_parser<Feed> parser(options, rules, observer, places);
    feed = &parser.handler();
    json::error_code error;
    const std::size_t size = parser.write_some(false, text.data() + begin, text.size() - begin, error);
    if (feed->ended()) {
      return {.result = readingFailed, .message = nullptr, .end = text.size()};
    }
    if (error == json::error::too_deep) {
      return fail(readingFailed, ProblemKind::TooDeep, feed->place(), "arrays and objects nest too deep");
    }
    if (error) {
      return fail(notWellFormed, ProblemKind::NotWellFormed, places.ofOffset(begin + size),
                  wordsOf(error, text.substr(begin + size)));
    }
    return {.result = 0,
            .message = std::unique_ptr<YMMessageBase>(rules.take()),
            .end = behindBlanks(text, begin + size)};
  } catch (const std::exception& exception) {
    log().logError(function, "[%s]", exception.what());
  } catch (...) {
    log().logError(function, "[%s]", "Unknown exception");
  }
  if (observer != nullptr) {
    observer->met({.kind = ProblemKind::NotWellFormed,
                   .remark = "reading failed: memory ran out, or an observer failed"});
  }
  return {.result = readingFailed, .message = nullptr, .end = text.size()};
}

ReadPlace placeInJson(std::string_view text, std::size_t offset)
{
  return JsonPlaces(text, 0).ofOffset(offset);
}

}  // namespace kwxml
