#include <kwxml/xml/MessageReader.h>

#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/text/Base64.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/NumberText.h>
#include <kwxml/xml/RootName.h>
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

bool traces(int level)
{
  return log().getDebugLevel() >= level;
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
  short system = 0;
  int index = 0;
  const bool found = findRoot(tagName, system, index);
  if (!found || (target_ != nullptr && target_->getClass() != findClass(system, index))) {
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
      if (findClass(reference) == nullptr) {
        delete createReferenced(def);  // null, with the line that says so
        startSkipping(name);
        return true;
      }
      auto*& list = MessageAccess::pointer<std::vector<YMMessageBase>>(*current_, def.slot);
      if (list == nullptr) {
        list = new std::vector<YMMessageBase>;
      }
      MessageAccess::mark(*current_, def);
      list->emplace_back(reference.system, reference.classIndex);
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
          store(def, attribute.value, startFunction);
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

}  // namespace kwxml
