// The values that the reader makes of texts.
#include <kwxml/xml/MessageReader.h>

#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/text/Base64.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/NumberText.h>
#include <kwxml/xml/Transcoding.h>
#include <kwxml/xml/XmlCh.h>
#include <kwxml/xml/XmlText.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>

namespace kwxml {

namespace {

/// A text that holds a date or a time, for those who read and log it: what is not ASCII is part of none.
std::string narrow(std::string_view text)
{
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      out += c;
    } else if (byte >= 0xC0) {
      out += byte < 0xF0 ? "?" : "??";  // as many as it has units in UTF-16
    }
  }
  return out;
}

/// Reads a run of decimal digits at the front of `text` into `value` and drops it from the text; the count of
/// digits.
std::size_t readDigits(std::string_view& text, std::uint64_t& value)
{
  std::size_t count = 0;
  for (; count < text.size() && text[count] >= '0' && text[count] <= '9'; ++count) {
    value = value * 10 + (text[count] - '0');
  }
  text.remove_prefix(count);
  return count;
}

bool readMinus(std::string_view& text)
{
  const bool negative = !text.empty() && text.front() == '-';
  text.remove_prefix(negative ? 1 : 0);
  return negative;
}

/// parseInteger() of a text. Whatever does not look as the writer puts it goes there.
long long integerOf(std::string_view text)
{
  constexpr std::size_t safeDigits = 18;
  std::string_view rest = text;
  const bool negative = readMinus(rest);
  std::uint64_t value = 0;
  if (rest.size() > safeDigits || readDigits(rest, value) == 0 || !rest.empty()) {
    return parseInteger(std::string(text).c_str());
  }
  return negative ? -static_cast<long long>(value) : static_cast<long long>(value);
}

unsigned long long unsignedOf(std::string_view text)
{
  constexpr std::size_t safeDigits = 19;
  std::string_view rest = text;
  std::uint64_t value = 0;
  if (rest.size() > safeDigits || readDigits(rest, value) == 0 || !rest.empty()) {
    return parseUnsigned(std::string(text).c_str());
  }
  return value;
}

/// parseDouble() of a text. A short plain decimal is the quotient of two integers that a double holds
/// exactly, and a division rounds as the conversion does; every other form goes there.
double doubleOf(std::string_view text)
{
  constexpr double powersOfTen[] = {1,   1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                    1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  constexpr std::size_t exactDigits = std::size(powersOfTen) - 1;
  std::string_view rest = text;
  const bool negative = readMinus(rest);
  std::uint64_t digits = 0;
  std::size_t fraction = 0;
  if (rest.size() <= exactDigits && readDigits(rest, digits) != 0) {
    if (!rest.empty() && rest.front() == '.') {
      rest.remove_prefix(1);
      fraction = readDigits(rest, digits);
    }
    if (rest.empty()) {
      const double value = static_cast<double>(digits) / powersOfTen[fraction];
      return negative ? -value : value;
    }
  }
  return parseDouble(std::string(text).c_str());
}

long long truthOf(std::string_view text)
{
  return asciiEqualsIgnoreCase(text, "false") ? 0 : asciiEqualsIgnoreCase(text, "true") ? 1 : integerOf(text);
}

constexpr std::string_view loneSurrogate = "the text holds a half of a surrogate pair";

/// With "?" for halves of surrogate pairs.
std::string withoutSurrogates(std::string_view text)
{
  return toUtf8(looseUtf16(text));
}

}  // namespace

bool MessageReader::unescape(std::string_view text, std::string& out)
{
  if (isItself(text)) [[likely]] {
    out = text;
    return true;
  }
  const std::u16string wide = looseUtf16(text);
  const unsigned short* units = escaper_.decodeInvalidChars(fromXmlCh(wide.data()), wide.size());
  return XMLEncXStr::convertUTF16ToUTF8(units, units != nullptr ? escaper_.resultLength() : 0, out);
}

/// Escapes undone, then base64.
bool MessageReader::unescapeBytes(std::string_view text, std::string& out)
{
  std::string encoded;
  return unescape(text, encoded) && base64Decode(encoded, out);
}

void MessageReader::storeMapPart(Entry& entry, bool isKey, std::string_view text)
{
  const FieldDataType type =
      isKey ? FieldDef::getMapKeyType(entry.def->type) : FieldDef::getMapValueType(entry.def->type);
  if (type == FIELD_STRING) {
    if (!unescape(text, isKey ? entry.stringKey : entry.stringValue)) {
      (isKey ? entry.keySeen : entry.valueSeen) = false;
      tell(ProblemKind::NotOfType, {.field = entry.def, .remark = loneSurrogate, .type = type});
    }
  } else {
    checkFit(*entry.def, type, text);
    (isKey ? entry.intKey : entry.intValue) = integerOf(text);
  }
}

bool MessageReader::storeInteger(const FieldDef& def, std::string_view text, const char* function)
{
  if (def.annotations == nullptr && observer_ == nullptr) [[likely]] {
    MessageAccess::raw(*current_, def.slot) = integerOf(text);
    MessageAccess::mark(*current_, def);
    return true;
  }
  const AnnotationRecord annotations(def.annotations);
  const int form = annotations.isTimeOfDay() ? 0 : annotations.dateForm();
  int seconds = 0;
  long long value = 0;
  if (annotations.isTimeOfDay() && text.find(':') != std::string_view::npos) {
    if (!processKWTime(narrow(text).c_str(), seconds)) {
      log().logError(function, "Error in KWTime representation");
      tell(ProblemKind::NotOfType, {.field = &def, .text = text});
      return false;
    }
    value = seconds;
    checkTime(def, text, "dd:dd:dd");
  } else if (form != 0 &&
             processXDate(narrow(text).c_str(), seconds, static_cast<Annotation::DateType>(form))) {
    value = seconds;
    checkTime(def, text, form == Annotation::DATE ? "dddd-dd-dd" : "dddd-dd-dd dd:dd:dd");
  } else {
    if (form != 0) {
      log().debug(function, 25, "Error in XDate representation");
    }
    checkFit(def, def.type, text);
    value = integerOf(text);
  }
  MessageAccess::raw(*current_, def.slot) = value;
  MessageAccess::mark(*current_, def);
  return true;
}

bool MessageReader::storeEnum(const FieldDef& def, std::string_view text, const char* function)
{
  long long value = 0;
  if (observer_ != nullptr) {
    reportEnumerator(def, text);
  }
  if (!text.empty() && text.front() >= '0' && text.front() <= '9') {
    value = integerOf(text);
  } else {
    const std::string name = mayHoldSurrogates_ ? withoutSurrogates(text) : std::string(text);
    const _ClassDef* cls = YMMessageBase::GetClassDefFromClassID(def);
    if (cls == nullptr) {
      log().logError(function, "Error identifying %s as an enum value", name.c_str());
      return false;
    }
    const FieldDef* const found = findEnumeratorNamed(packedReference(def), name);
    if (found == nullptr) {
      log().logError(function, "Enum [%s] does not have enum value [%s]",
                     cls->name != nullptr ? cls->name : "", name.c_str());
      return false;
    }
    value = static_cast<std::int32_t>(found->hash);
  }
  MessageAccess::raw(*current_, def.slot) = value;
  MessageAccess::mark(*current_, def);
  return true;
}

bool MessageReader::store(const FieldDef& def, std::string_view text, const char* function)
{
  YMMessageBase& message = *current_;
  const unsigned long tag = message.getTagID();
  checkGiven(def);
  return visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (Tag::type == FIELD_BOOL) {
      checkFit(def, def.type, text);
      message.setint64(def.fieldNumber, def.slot, truthOf(text), tag, def.hash);
    } else if constexpr (Tag::type == FIELD_ENUM) {
      return storeEnum(def, text, function);
    } else if constexpr (IntegerSlot<Tag>) {
      return storeInteger(def, text, function);
    } else if constexpr (Tag::type == FIELD_DOUBLE) {
      checkFit(def, def.type, text);
      message.setdouble(def.fieldNumber, def.slot, doubleOf(text), tag, def.hash);
    } else if constexpr (Tag::type == FIELD_FLOAT) {
      checkFit(def, def.type, text);
      message.setfloat(def.fieldNumber, def.slot, static_cast<float>(doubleOf(text)), tag, def.hash);
    } else if constexpr (Tag::type == FIELD_STRING) {
      if (isItself(text)) [[likely]] {
        MessageAccess::inPlace<std::string>(message, def.slot).assign(text);
      } else {
        std::string value;
        if (!unescape(text, value)) {
          tell(ProblemKind::NotOfType, {.field = &def, .remark = loneSurrogate});
          return false;
        }
        MessageAccess::inPlace<std::string>(message, def.slot) = std::move(value);
      }
      MessageAccess::mark(message, def);
    } else if constexpr (ByteString<Tag>) {
      std::string bytes;
      if (!unescapeBytes(text, bytes)) {
        tell(ProblemKind::NotOfType, {.field = &def, .text = text, .remark = "no base64"});
        return false;
      }
      message.setbstringobject(def.fieldNumber, def.slot, bstring(std::move(bytes)), tag, def.hash);
    } else if constexpr (PasswordString<Tag>) {
      std::string received;
      const auto password =
          unescape(text, received) ? decryptPassword({flags_, context_}, def, received) : std::nullopt;
      if (!password) {
        log().logError(function, "Password Handler Not Found while serializing bstring field [%s]",
                       def.getName());
        tell(ProblemKind::PasswordUnreadable,
             {.field = &def, .remark = passwordObstacle({flags_, context_}, def)});
        return false;
      }
      message.setpstringobject(def.fieldNumber, def.slot, *password,
                               static_cast<Annotation::PasswordEncryptType>(password->getEncryptionType()),
                               tag, def.hash);
    } else if constexpr (ListValue<Tag> && Tag::type != FIELD_LIST_OBJECT &&
                         Tag::type != FIELD_LIST_WSTRING) {
      return appendItem<Tag>(def, text);
    } else {  // wide strings, maps and nested messages have no form as one text
      tell(ProblemKind::NotOfType, {.field = &def, .text = text});
    }
    return true;
  });
}

/// The list of a field, made where there is none.
template <class Tag>
typename Tag::Value& MessageReader::listOf(const FieldDef& def)
{
  using Item = typename Tag::Value::value_type;
  auto*& list = MessageAccess::pointer<typename Tag::Value>(*current_, def.slot);
  if (list == nullptr) {
    // A list that has one item mostly has more: the first memory is for as many as a cache line or two hold.
    auto made = std::make_unique<typename Tag::Value>();
    made->reserve(128 / sizeof(Item));
    list = made.release();
  } else if (!std::is_same_v<Item, std::string> && isStale(def)) {
    list->clear();
  }
  return *list;
}

template <class Tag>
bool MessageReader::appendItem(const FieldDef& def, std::string_view text)
{
  using Item = typename Tag::Value::value_type;
  auto* const list = &listOf<Tag>(def);
  if constexpr (std::is_same_v<Item, std::string>) {
    if (isItself(text)) [[likely]] {
      if (std::string* const old = oldItem(def, *list)) {
        old->assign(text);
      } else {
        list->emplace_back(text);
      }
    } else if (std::string item; unescape(text, item)) {
      if (std::string* const old = oldItem(def, *list)) {
        *old = std::move(item);
      } else {
        list->push_back(std::move(item));
      }
    } else {
      tell(ProblemKind::ItemUnreadable, {.field = &def, .remark = loneSurrogate});
      return false;
    }
  } else if constexpr (std::is_same_v<Item, bstring>) {
    std::string bytes;
    if (!unescapeBytes(text, bytes)) {
      tell(ProblemKind::ItemUnreadable, {.field = &def, .text = text, .remark = "no base64"});
      return false;
    }
    list->emplace_back(std::move(bytes));
  } else {
    checkFit(def, def.type, text);
    if constexpr (std::is_floating_point_v<Item>) {
      list->push_back(static_cast<Item>(doubleOf(text)));
    } else if constexpr (std::is_signed_v<Item>) {
      list->push_back(static_cast<Item>(integerOf(text)));
    } else {
      list->push_back(static_cast<Item>(unsignedOf(text)));
    }
  }
  MessageAccess::mark(*current_, def);
  return true;
}

void MessageReader::storeNumber(const FieldDef& def, long long value)
{
  checkGiven(def);
  MessageAccess::raw(*current_, def.slot) = value;
  MessageAccess::mark(*current_, def);
}

bool MessageReader::addNumber(const FieldDef& def, long long value)
{
  return visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (ListValue<Tag>) {
      using Item = typename Tag::Value::value_type;
      if constexpr (std::is_integral_v<Item>) {
        listOf<Tag>(def).push_back(static_cast<Item>(value));
        MessageAccess::mark(*current_, def);
        return true;
      }
    }
    return false;
  });
}

void MessageReader::storeWide(const FieldDef& def, std::wstring&& value)
{
  if (def.type == FIELD_WSTRING) {
    checkGiven(def);
    MessageAccess::inPlace<std::wstring>(*current_, def.slot) = std::move(value);
  } else {
    MessageAccess::pointer<std::vector<std::wstring>>(*current_, def.slot)->push_back(std::move(value));
  }
  MessageAccess::mark(*current_, def);
}

void MessageReader::beginCollection(const FieldDef& def)
{
  const bool again = MessageAccess::isSet(*current_, def);
  visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (ListValue<Tag> || MapValue<Tag>) {
      auto*& value = MessageAccess::pointer<typename Tag::Value>(*current_, def.slot);
      if (value == nullptr) {
        value = new typename Tag::Value;
      } else {
        value->clear();
      }
    }
  });
  MessageAccess::mark(*current_, def);
  if (again) {
    tell(ProblemKind::GivenTwice, {.field = &def, .isWhole = true});
  }
}

void MessageReader::processMapEnd(const FieldDef& field)
{
  if (entries_.empty() || current_ == nullptr) {
    return;  // no entry is open
  }
  Entry entry = std::move(entries_.back());
  entries_.pop_back();
  visitFieldType(field.type, [&]<class Tag>(Tag) {
    if constexpr (MapValue<Tag>) {
      auto*& map = MessageAccess::pointer<typename Tag::Value>(*current_, field.slot);
      if (map == nullptr) {
        map = new typename Tag::Value;
      } else if (isStale(field)) {
        map->clear();
      }
      MessageAccess::mark(*current_, field);
      // An entry without its key or its value is none.
      if (!entry.keySeen || !entry.valueSeen ||
          (Tag::info.mapKey == FIELD_OBJECT && entry.objectKey == nullptr) ||
          (Tag::info.mapValue == FIELD_OBJECT && entry.objectValue == nullptr)) {
        if (observer_ != nullptr) {
          reportIncomplete(entry);
        }
        return;
      }
      const std::size_t before = map->size();
      const std::string keyForObserver = observer_ != nullptr ? keyText(entry) : std::string();
      const auto insert = [&](auto&& key) {  // a writer puts the entries in the map's own order
        if constexpr (Tag::info.mapValue == FIELD_OBJECT) {
          map->emplace_hint(map->end(), std::forward<decltype(key)>(key), std::move(*entry.objectValue));
        } else if constexpr (Tag::info.mapValue == FIELD_STRING) {
          map->emplace_hint(map->end(), std::forward<decltype(key)>(key), std::move(entry.stringValue));
        } else {
          map->emplace_hint(map->end(), std::forward<decltype(key)>(key), entry.intValue);
        }
      };
      if constexpr (Tag::info.mapKey == FIELD_OBJECT) {
        insert(std::move(*entry.objectKey));
      } else if constexpr (Tag::info.mapKey == FIELD_STRING) {
        insert(std::move(entry.stringKey));
      } else {
        insert(entry.intKey);
      }
      if (map->size() == before) {
        tell(ProblemKind::GivenTwice, {.field = &field, .text = keyForObserver});
      }
    }
  });
}

}  // namespace kwxml
