// The values that the reader of JSON makes of texts and numbers.
#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/json/JsonFeed.h>
#include <kwxml/json/JsonNumbers.h>
#include <kwxml/json/JsonWords.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/Utf8.h>

#include <charconv>
#include <utility>

namespace kwxml {

namespace {

/// Whether a scalar is kept as whatever integer is given.
bool storesIntegers(FieldDataType type)
{
  return visitFieldType(type, []<class Tag>(Tag) {
    return IntegerSlot<Tag> && Tag::type != FIELD_BOOL && Tag::type != FIELD_ENUM;
  });
}

}  // namespace

/// Integers go where integers are kept without a text, when there is nothing to check. False elsewhere.
bool JsonFeed::storedAsIs(long long number)
{
  if (frames_.empty() || frames_.back().def == nullptr) {
    return false;
  }
  const Frame& frame = frames_.back();
  if (frame.kind == Kind::Message && frame.def->annotations == nullptr && storesIntegers(frame.def->type)) {
    rules_.storeNumber(*frame.def, number);
    return true;
  }
  return frame.kind == Kind::List && rules_.addNumber(*frame.def, number);
}

/// The value of an entry that has its key. False ends the reading.
bool JsonFeed::partValue(const FieldDef& def, JsonToken token, std::string_view text)
{
  const FieldDataType type = FieldDef::getMapValueType(def.type);
  if (type == FIELD_OBJECT || (type == FIELD_STRING && token != JsonToken::Text)) {
    rules_.tell(ProblemKind::NotOfType,
                {.field = &def,
                 .text = text,
                 .remark = type == FIELD_OBJECT ? describe(JsonForm::Object) : std::string_view(),
                 .type = type});
    return true;  // the entry lacks its value, which is told at its end
  }
  const XmlAttribute value{.name = MessageReader::itemAttribute,
                           .value = type == FIELD_STRING ? text : numberText(type, token, text),
                           .hash = 0};
  if (!rules_.startElement(MessageReader::mapValueName, 0, {&value, 1})) {
    return false;
  }
  rules_.endElement(MessageReader::mapValueName);
  return true;
}

/// A number as the rules read it. Whole numbers may have a fraction of zeros and an exponent here, and the
/// upper half of the unsigned ones has the bits of negative ones in a message.
std::string_view JsonFeed::numberText(FieldDataType type, JsonToken token, std::string_view text)
{
  constexpr std::size_t shortNumber = 18;
  const bool isBare = text.find_first_of(".eE") == std::string_view::npos;
  const bool isUnsigned = fieldTypeInfo(type).json == JsonForm::UnsignedNumber;
  if ((token != JsonToken::Number && token != JsonToken::Text) ||
      (isBare && (text.size() <= shortNumber || !isUnsigned))) {
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

void JsonFeed::fieldValue(const FieldDef& def, JsonToken token, std::string_view text)
{
  const FieldTypeInfo& info = fieldTypeInfo(def.type);
  const JsonForm form = info.storage != Storage::None ? info.json : JsonForm::None;
  switch (form) {
    case JsonForm::Object:
    case JsonForm::Array:
    case JsonForm::EntryObject:
    case JsonForm::EntryArray:
      return refuse(ProblemKind::NotOfType, def, describe(form), text);
    case JsonForm::Text:
    case JsonForm::WideText:
    case JsonForm::Bytes:
    case JsonForm::Password:
      if (token != JsonToken::Text) {
        return refuse(ProblemKind::NotOfType, def, "no text", text);
      }
      return form == JsonForm::WideText ? rules_.storeWide(def, toWide(text)) : rules_.storeText(def, text);
    case JsonForm::Enumerator:
      return enumValue(def, token, text);
    case JsonForm::Truth:
      if (token == JsonToken::True || token == JsonToken::False) {
        return rules_.storeNumber(def, token == JsonToken::True ? 1 : 0);
      }
      return rules_.storeText(def, text);
    case JsonForm::Number:
    case JsonForm::WideNumber:
    case JsonForm::UnsignedNumber: {
      long long seconds = 0;
      if (token == JsonToken::Text && def.annotations != nullptr && parseIsoDate(text, seconds) &&
          AnnotationRecord(def.annotations).dateForm() != 0) {
        return rules_.storeText(def, formatInteger(seconds, digits_));
      }
      return rules_.storeText(def, numberText(def.type, token, text));
    }
    case JsonForm::Real:
    case JsonForm::None:  // the rules know why there is no such value
      return rules_.storeText(def, text);
  }
}

/// The rules take for numbers what begins with a digit.
void JsonFeed::enumValue(const FieldDef& def, JsonToken token, std::string_view text)
{
  const std::string_view number = numberText(FIELD_ENUM, token, text);
  if (token != JsonToken::Number || !number.starts_with('-')) {
    return rules_.storeText(def, number);
  }
  const long long value = parseInteger(std::string(number).c_str());
  if (findEnumerator(findClass(packedReference(def)), value) == nullptr) {
    rules_.tell(ProblemKind::EnumeratorUnknown, {.field = &def, .text = text});
  }
  rules_.storeNumber(def, value);
}

void JsonFeed::itemValue(const FieldDef& def, JsonToken token, std::string_view text)
{
  const JsonForm form = fieldTypeInfo(fieldTypeInfo(def.type).element).json;
  switch (form) {
    case JsonForm::Object:
      return refuse(ProblemKind::ItemUnreadable, def, describe(form), text);
    case JsonForm::Text:
    case JsonForm::WideText:
    case JsonForm::Bytes:
      if (token != JsonToken::Text) {
        return refuse(ProblemKind::ItemUnreadable, def, "no text", text);
      }
      return form == JsonForm::WideText ? rules_.storeWide(def, toWide(text)) : rules_.storeText(def, text);
    case JsonForm::Enumerator:
      return enumItem(def, token, text);
    case JsonForm::Truth: {
      const auto is = [&](JsonToken word, std::string_view name) {
        return token == word || (token == JsonToken::Text && asciiEqualsIgnoreCase(text, name));
      };
      return rules_.storeText(def, is(JsonToken::True, "true")     ? "1"
                                   : is(JsonToken::False, "false") ? "0"
                                                                   : numberText(FIELD_UINT, token, text));
    }
    case JsonForm::Real:
      return rules_.storeText(def, text);
    default:
      return rules_.storeText(def, numberText(def.type, token, text));
  }
}

/// Lists keep enumerators by number.
void JsonFeed::enumItem(const FieldDef& def, JsonToken token, std::string_view text)
{
  if (token == JsonToken::Text) {
    if (const FieldDef* const enumerator = findEnumeratorNamed(packedReference(def), text)) {
      return rules_.storeText(def, formatUnsigned(enumerator->hash, digits_));
    }
  }
  const std::string_view number = numberText(FIELD_UINT, token, text);
  if (token != JsonToken::Number && (number.empty() || number[0] < '0' || number[0] > '9')) {
    return refuse(ProblemKind::EnumeratorUnknown, def, nullptr, text);
  }
  rules_.storeText(def, number);
}

void JsonFeed::addWideElement(const FieldDef& def, JsonToken token, std::string_view text)
{
  std::uint32_t element = 0;
  const std::string_view number = numberText(FIELD_UINT, token, text);
  const auto end = number.data() + number.size();
  const auto read = std::from_chars(number.data(), end, element);
  if (token != JsonToken::Number || read.ec != std::errc() || read.ptr != end) {
    refuse(ProblemKind::ItemUnreadable, def, describeWideElement, text);
    return;
  }
  wide_ += static_cast<wchar_t>(element);
}

std::wstring JsonFeed::toWide(std::string_view text)
{
  std::wstring wide;
  std::uint32_t c = 0;
  for (std::size_t size = 0; !text.empty(); text.remove_prefix(size)) {
    size = utf8Character(text, c);  // the parser has seen to it that it is UTF-8
    wide += static_cast<wchar_t>(c);
  }
  return wide;
}

}  // namespace kwxml
