#include <kwxml/xml/MessageReader.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/model/NumberText.h>
#include <kwxml/xml/Base64.h>
#include <kwxml/xml/Dates.h>
#include <kwxml/xml/PasswordFields.h>
#include <kwxml/xml/Transcoding.h>
#include <kwxml/xml/XmlCh.h>
#include <kwxml/xml/XmlText.h>

#include <cstdlib>

namespace kwxml {

namespace {

constexpr const char* startFunction = "MySAX2Handler::startElement";
constexpr const char* endFunction = "MySAX2Handler::endElement";
constexpr const char* attributesFunction =
    "MySAZ2Handler::processAttributes";  // the name that log readers know

constexpr std::u16string_view mapKeyName = u"__mapKey__";
constexpr std::u16string_view mapValueName = u"__mapValue__";
constexpr std::u16string_view itemAttribute = u"val";

XMLDebug& log()
{
  return *XMLDebug::getInstance();
}

bool traces(int level)
{
  return log().getDebugLevel() >= level;
}

/// Narrow form of a text that holds a number, a truth value or a name: what is not ASCII never matches any of
/// them.
std::string narrow(std::u16string_view text)
{
  std::string out(text.size(), '\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    out[i] = text[i] < 0x80 ? static_cast<char>(text[i]) : '?';
  }
  return out;
}

/// nameHash() of a wide name.
std::uint32_t hashOf(std::u16string_view name)
{
  std::uint32_t h = 0;
  for (const char16_t c : name) {
    if (c >= 0x80) [[unlikely]] {
      return nameHash(name);
    }
    h = h * 31 + c;
  }
  return h & 0xFFFFFF;
}

/// Reads a run of decimal digits at the front of `text` into `value` and drops it from the text; the count of
/// digits.
std::size_t readDigits(std::u16string_view& text, std::uint64_t& value)
{
  std::size_t count = 0;
  for (; count < text.size() && text[count] >= u'0' && text[count] <= u'9'; ++count) {
    value = value * 10 + (text[count] - u'0');
  }
  text.remove_prefix(count);
  return count;
}

bool readMinus(std::u16string_view& text)
{
  const bool negative = !text.empty() && text.front() == u'-';
  text.remove_prefix(negative ? 1 : 0);
  return negative;
}

/// parseInteger() of a wide text. Whatever does not look as the writer puts it goes there.
long long integerOf(std::u16string_view text)
{
  constexpr std::size_t safeDigits = 18;
  std::u16string_view rest = text;
  const bool negative = readMinus(rest);
  std::uint64_t value = 0;
  if (rest.size() > safeDigits || readDigits(rest, value) == 0 || !rest.empty()) {
    return parseInteger(narrow(text).c_str());
  }
  return negative ? -static_cast<long long>(value) : static_cast<long long>(value);
}

unsigned long long unsignedOf(std::u16string_view text)
{
  constexpr std::size_t safeDigits = 19;
  std::u16string_view rest = text;
  std::uint64_t value = 0;
  if (rest.size() > safeDigits || readDigits(rest, value) == 0 || !rest.empty()) {
    return parseUnsigned(narrow(text).c_str());
  }
  return value;
}

/// parseDouble() of a wide text. A short plain decimal is the quotient of two integers that a double holds
/// exactly, and a division rounds as the conversion does; every other form goes there.
double doubleOf(std::u16string_view text)
{
  constexpr double powersOfTen[] = {1,   1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                    1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  constexpr std::size_t exactDigits = std::size(powersOfTen) - 1;
  std::u16string_view rest = text;
  const bool negative = readMinus(rest);
  std::uint64_t digits = 0;
  std::size_t fraction = 0;
  if (rest.size() <= exactDigits && readDigits(rest, digits) != 0) {
    if (!rest.empty() && rest.front() == u'.') {
      rest.remove_prefix(1);
      fraction = readDigits(rest, digits);
    }
    if (rest.empty()) {
      const double value = static_cast<double>(digits) / powersOfTen[fraction];
      return negative ? -value : value;
    }
  }
  return parseDouble(narrow(text).c_str());
}

long long truthOf(std::u16string_view text)
{
  const std::string word = narrow(text);
  return asciiEqualsIgnoreCase(word, "false") ? 0 : asciiEqualsIgnoreCase(word, "true") ? 1 : integerOf(text);
}

/// The packed reference of a field's class, which = 1 for the value class of a map from message to message.
YMMessageBase* createReferenced(const FieldDef& def, int which = 0)
{
  return YMMessageBase::createObjectFromClassID(reinterpret_cast<const unsigned long*>(def.name + which * 4));
}

}  // namespace

MessageReader::MessageReader()
{
  frames_.reserve(16);
}

MessageReader::~MessageReader()
{
  if (ownsRoot_) {
    delete root_;
  }
}

YMMessageBase* MessageReader::take()
{
  ownsRoot_ = false;
  return root_;
}

// ---- Start tags

bool MessageReader::startElement(std::u16string_view name, XmlAttributes attributes)
{
  if (frames_.size() >= static_cast<std::size_t>(maxElementNesting)) {
    log().logError(startFunction, "Elements nest deeper than [%d]", maxElementNesting);
    return false;
  }
  if (frames_.empty()) {
    return startRoot(name, attributes);
  }
  if (skipping_) {
    if (traces(10)) {
      log().debug(startFunction, 10, "Skipping element [%s]", toUtf8(name).c_str());
    }
    frames_.push_back({Kind::Skipped});
    return true;
  }
  text_.clear();
  const bool isKey = name == mapKeyName;
  if (isKey || name == mapValueName) {
    return startMapPart(isKey, name, attributes);
  }
  const FieldDef* def = findField(*current_->getClass(), hashOf(name));
  if (def == nullptr) {
    startSkipping(name);
    return true;
  }
  return startField(*def, name, attributes);
}

void MessageReader::startSkipping(std::u16string_view name)
{
  if (traces(10)) {
    log().debug(startFunction, 10, "Skipping member : [%s]", toUtf8(name).c_str());
  }
  skippedName_ = name;
  skipping_ = true;
  frames_.push_back({Kind::Skipped});
}

bool MessageReader::startRoot(std::u16string_view name, XmlAttributes attributes)
{
  started_ = true;
  const std::string tagName = toUtf8(name);
  const auto split = tagName.find('_');
  std::string systemName = tagName.substr(0, split);
  if (systemName == "SystemMonitoring") {
    systemName = "MonitoringHost";
  }
  short system = 0;
  int index = 0;
  const bool found = split != std::string::npos &&
                     YMMessageBase::getMessageSystemIndexFromName(systemName.c_str(), system) &&
                     YMMessageBase::getMessageIndexFromName(tagName.c_str() + split + 1, system, index);
  if (!found || (target_ != nullptr && target_->getClass() != findClass(static_cast<unsigned>(system),
                                                                        static_cast<unsigned>(index)))) {
    log().logError(startFunction, "Unable to construct object out of tag : [%s]", tagName.c_str());
    return false;
  }
  if (target_ != nullptr) {
    root_ = target_;
  } else {
    root_ = new YMMessageBase(system, index);
    ownsRoot_ = true;
    prepare(*root_);
  }
  current_ = root_;
  messageDepth_ = 1;
  frames_.push_back({Kind::Message});
  if (!processAttributes(attributes)) {
    log().logError(startFunction, "Error while parsing attributes for tag : [%s] ", tagName.c_str());
  }
  return true;
}

void MessageReader::prepare(YMMessageBase& message) const
{
  message.wipeBitset();
  if (keepDefaults_) {
    message.setDefaults(-1);
  }
}

bool MessageReader::enterMessage(YMMessageBase* message, const FieldDef* def, XmlAttributes attributes)
{
  if (++messageDepth_ > maxMessageNesting) {
    log().logError(startFunction, "Messages nest deeper than [%d]", maxMessageNesting);
    return false;
  }
  frames_.push_back({Kind::Message, def, current_});
  current_ = message;
  processAttributes(attributes);  // what cannot be stored is logged and left unset
  return true;
}

bool MessageReader::startField(const FieldDef& def, std::u16string_view name, XmlAttributes attributes)
{
  return visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (Tag::type == FIELD_LIST_OBJECT) {
      const auto reference = packedReference(def);
      if (findClass(reference.system, reference.classIndex) == nullptr) {
        delete createReferenced(def);  // null, with the line that says so
        startSkipping(name);
        return true;
      }
      auto*& list = MessageAccess::pointer<std::vector<YMMessageBase>>(*current_, def.slot);
      if (list == nullptr) {
        list = new std::vector<YMMessageBase>;
      }
      MessageAccess::mark(*current_, def);
      list->emplace_back(static_cast<int>(reference.system), static_cast<int>(reference.classIndex));
      prepare(list->back());
      return enterMessage(&list->back(), &def, attributes);
    } else if constexpr (MessageValue<Tag>) {
      auto*& stored = MessageAccess::pointer<YMMessageBase>(*current_, def.slot);
      if (stored == nullptr) {
        stored = createReferenced(def);
        if (stored == nullptr) {
          startSkipping(name);
          return true;
        }
        prepare(*stored);
      } else if (target_ == nullptr) {
        prepare(*stored);
      }
      MessageAccess::mark(*current_, def);
      return enterMessage(stored, &def, attributes);
    } else if constexpr (MapValue<Tag>) {
      entries_.emplace_back(&def);
      lastMapName_ = def.getName();
      frames_.push_back({Kind::MapEntry, &def});
      return true;
    } else if constexpr (ListValue<Tag> && Tag::type != FIELD_LIST_WSTRING) {
      for (const XmlAttribute& attribute : attributes) {
        if (attribute.name == itemAttribute) {
          appendItem<Tag>(def, attribute.value);
          frames_.push_back({Kind::Done, &def});
          return true;
        }
      }
      frames_.push_back({Kind::Scalar, &def});
      return true;
    } else {
      frames_.push_back({Kind::Scalar, &def});
      return true;
    }
  });
}

bool MessageReader::startMapPart(bool isKey, std::u16string_view name, XmlAttributes attributes)
{
  if (frames_.back().kind != Kind::MapEntry) {
    frames_.push_back({Kind::StrayMapPart, nullptr, nullptr, isKey});
    return true;
  }
  const FieldDef& def = *frames_.back().def;
  Entry& entry = entries_.back();
  (isKey ? entry.keySeen : entry.valueSeen) = true;
  const FieldDataType partType =
      isKey ? FieldDef::getMapKeyType(def.type) : FieldDef::getMapValueType(def.type);
  if (partType == FIELD_OBJECT) {
    auto& holder = isKey ? entry.objectKey : entry.objectValue;
    // In a map from message to message the second reference names the value's class.
    holder.reset(createReferenced(def, FieldDef::packedReferences(def.type) == 2 && !isKey ? 1 : 0));
    if (holder == nullptr) {
      startSkipping(name);
      return true;
    }
    prepare(*holder);
    return enterMessage(holder.get(), &def, attributes);
  }
  frames_.push_back({Kind::MapPart, &def, nullptr, isKey});
  for (const XmlAttribute& attribute : attributes) {
    if (attribute.name == itemAttribute) {
      storeMapPart(entry, isKey, attribute.value);
      frames_.back().hasValue = true;
    }
  }
  return true;
}

bool MessageReader::processAttributes(XmlAttributes attributes)
{
  bool stored = current_ != nullptr;
  for (const auto& [name, value] : stored ? attributes : XmlAttributes()) {
    const FieldDef* def = findField(*current_->getClass(), hashOf(name));
    if (def == nullptr) {
      if (traces(15)) {
        log().debug(attributesFunction, 15, "No such field : [%s] in message : [%s] ", toUtf8(name).c_str(),
                    current_->getTagName().c_str());
      }
    } else if (fieldTypeInfo(def->type).element == FIELD_UNSET) {  // an attribute holds no list
      stored &= store(*def, value, attributesFunction);
    }
  }
  return stored;
}

// ---- Text and end tags

void MessageReader::characters(const char16_t* text, std::size_t length)
{
  if (!skipping_ && !frames_.empty()) {
    const Kind kind = frames_.back().kind;
    if (kind == Kind::Scalar || kind == Kind::MapPart) {  // the text between other tags is layout
      text_.append(text, length);
    }
  }
}

void MessageReader::endElement(std::u16string_view name)
{
  if (frames_.empty()) {
    return;  // no element is open
  }
  const Frame frame = frames_.back();
  frames_.pop_back();
  switch (frame.kind) {
    case Kind::Skipped:
      if (!skipping_) {
        if (traces(15)) {
          log().debug(endFunction, 15, "Unidentified message : [%s]", toUtf8(name).c_str());
        }
      } else if (name == skippedName_) {  // also an inner element of that name: the rule is that simple
        skipping_ = false;
      }
      break;
    case Kind::Message:
      current_ = frame.enclosing;
      --messageDepth_;
      break;
    case Kind::Scalar:
      endScalar(frame);
      break;
    case Kind::MapPart:
      if (!frame.hasValue) {
        storeMapPart(entries_.back(), frame.isKey, text_);
      }
      break;
    case Kind::MapEntry:
      processMapEnd(*frame.def);
      break;
    case Kind::StrayMapPart:
      if (frame.isKey) {
        log().logError(endFunction, "Encountered wrong map[key] tag usage. Cached map name is : [%s]",
                       lastMapName_);
      } else {
        log().logError(endFunction, "Encountered wrong map[value] tag usage. Cached map name is : [%s]",
                       lastMapName_);
      }
      break;
    case Kind::Done:
      break;
  }
  text_.clear();
}

void MessageReader::endScalar(const Frame& frame)
{
  if (text_.empty()) {
    if (traces(15)) {
      log().debug(endFunction, 15, "Skipping member [%s] as it has empty value", frame.def->getName());
    }
    return;
  }
  store(*frame.def, text_, endFunction);
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
      }
      MessageAccess::mark(*current_, field);
      // An entry without its key or its value is none.
      if (!entry.keySeen || !entry.valueSeen ||
          (Tag::info.mapKey == FIELD_OBJECT && entry.objectKey == nullptr) ||
          (Tag::info.mapValue == FIELD_OBJECT && entry.objectValue == nullptr)) {
        return;
      }
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
    }
  });
}

// ---- Values

bool MessageReader::unescape(std::u16string_view text, std::string& out)
{
  // Nearly every text is ASCII without escapes: copied while that is found out.
  char16_t seen = 0;
  out.resize(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    seen |= text[i];
    out[i] = static_cast<char>(text[i]);
  }
  if (seen < 0x80 && (text.empty() || text.front() != u'|')) {
    return true;
  }
  const unsigned short* units = escaper_.decodeInvalidChars(fromXmlCh(text.data()), text.size());
  return XMLEncXStr::convertUTF16ToUTF8(units, units != nullptr ? escaper_.resultLength() : 0, out);
}

void MessageReader::storeMapPart(Entry& entry, bool isKey, std::u16string_view text)
{
  const FieldDataType type =
      isKey ? FieldDef::getMapKeyType(entry.def->type) : FieldDef::getMapValueType(entry.def->type);
  if (type == FIELD_STRING) {
    if (!unescape(text, isKey ? entry.stringKey : entry.stringValue)) {
      (isKey ? entry.keySeen : entry.valueSeen) = false;
    }
  } else {
    (isKey ? entry.intKey : entry.intValue) = integerOf(text);
  }
}

bool MessageReader::storeInteger(const FieldDef& def, std::u16string_view text, const char* function)
{
  const AnnotationRecord annotations(def.annotations);
  const int form = annotations.isTimeOfDay() ? 0 : annotations.dateForm();
  int seconds = 0;
  long long value = 0;
  if (annotations.isTimeOfDay() && text.find(u':') != std::u16string_view::npos) {
    if (!processKWTime(narrow(text).c_str(), seconds)) {
      log().logError(function, "Error in KWTime representation");
      return false;
    }
    value = seconds;
  } else if (form != 0 &&
             processXDate(narrow(text).c_str(), seconds, static_cast<Annotation::DateType>(form))) {
    value = seconds;
  } else {
    if (form != 0) {
      log().debug(function, 25, "Error in XDate representation");
    }
    value = integerOf(text);
  }
  MessageAccess::raw(*current_, def.slot) = value;
  MessageAccess::mark(*current_, def);
  return true;
}

bool MessageReader::storeEnum(const FieldDef& def, std::u16string_view text, const char* function)
{
  long long value = 0;
  if (!text.empty() && text.front() >= u'0' && text.front() <= u'9') {
    value = integerOf(text);
  } else {
    const std::string name = toUtf8(text);
    const _ClassDef* cls = YMMessageBase::GetClassDefFromClassID(def);
    if (cls == nullptr) {
      log().logError(function, "Error identifying %s as an enum value", name.c_str());
      return false;
    }
    const FieldDef* found = nullptr;
    for (const FieldDef& enumerator : *cls) {
      if (asciiEqualsIgnoreCase(enumerator.getName(), name)) {
        found = &enumerator;
        break;
      }
    }
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

bool MessageReader::store(const FieldDef& def, std::u16string_view text, const char* function)
{
  YMMessageBase& message = *current_;
  const unsigned long tag = message.getTagID();
  return visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (Tag::type == FIELD_BOOL) {
      message.setint64(def.fieldNumber, def.slot, truthOf(text), tag, def.hash);
    } else if constexpr (Tag::type == FIELD_ENUM) {
      return storeEnum(def, text, function);
    } else if constexpr (IntegerSlot<Tag>) {
      return storeInteger(def, text, function);
    } else if constexpr (Tag::type == FIELD_DOUBLE) {
      message.setdouble(def.fieldNumber, def.slot, doubleOf(text), tag, def.hash);
    } else if constexpr (Tag::type == FIELD_FLOAT) {
      message.setfloat(def.fieldNumber, def.slot, static_cast<float>(doubleOf(text)), tag, def.hash);
    } else if constexpr (Tag::type == FIELD_STRING) {
      std::string value;
      if (!unescape(text, value)) {
        return false;
      }
      MessageAccess::inPlace<std::string>(message, def.slot) = std::move(value);
      MessageAccess::mark(message, def);
    } else if constexpr (ByteString<Tag>) {
      std::string encoded;
      std::string bytes;
      if (!unescape(text, encoded) || !base64Decode(encoded, bytes)) {
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
        return false;
      }
      message.setpstringobject(def.fieldNumber, def.slot, *password,
                               static_cast<Annotation::PasswordEncryptType>(password->getEncryptionType()),
                               tag, def.hash);
    } else if constexpr (ListValue<Tag> && Tag::type != FIELD_LIST_OBJECT &&
                         Tag::type != FIELD_LIST_WSTRING) {
      return appendItem<Tag>(def, text);
    }  // wide strings, maps and nested messages have no form as one text
    return true;
  });
}

template <class Tag>
bool MessageReader::appendItem(const FieldDef& def, std::u16string_view text)
{
  using Item = typename Tag::Value::value_type;
  auto*& list = MessageAccess::pointer<typename Tag::Value>(*current_, def.slot);
  if (list == nullptr) {
    // A list that has one item mostly has more: the first memory is for as many as a cache line or two hold.
    auto made = std::make_unique<typename Tag::Value>();
    made->reserve(128 / sizeof(Item));
    list = made.release();
  }
  if constexpr (std::is_same_v<Item, std::string>) {
    if (!unescape(text, list->emplace_back())) {
      list->pop_back();
      return false;
    }
  } else if constexpr (std::is_same_v<Item, bstring>) {
    std::string encoded;
    std::string bytes;
    if (!unescape(text, encoded) || !base64Decode(encoded, bytes)) {
      return false;
    }
    list->emplace_back(std::move(bytes));
  } else {
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

}  // namespace kwxml
