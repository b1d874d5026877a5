#include <kwxml/xml/MessageReader.h>

#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageReuse.h>
#include <kwxml/platform/KwException.h>
#include <kwxml/text/Base64.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/NumberText.h>
#include <kwxml/text/ShownText.h>
#include <kwxml/xml/RootName.h>
#include <kwxml/xml/Transcoding.h>
#include <kwxml/xml/XmlCh.h>
#include <kwxml/xml/XmlText.h>

#include <utility>

namespace kwxml {

namespace {

constexpr const char* endFunction = "MySAX2Handler::endElement";
constexpr const char* attributesFunction =
    "MySAZ2Handler::processAttributes";  // the name that log readers know

bool traces(int level)
{
  return log().getDebugLevel() >= level;
}

}  // namespace

MessageReader::MessageReader()
{
  frames_.reserve(16);
}

MessageReader::~MessageReader()
{
  while (!reuses_.empty()) {  // memory ran out while the root was read
    endReuse();
  }
  if (ownsRoot_) {
    delete root_;
  }
}

YMMessageBase* MessageReader::take()
{
  ownsRoot_ = false;
  return root_;
}

bool MessageReader::moveInto(YMMessageBase& message, YMMessageBase&& read, ReadObserver* observer)
{
  try {
    if (message.getClass() == read.getClass() && !MessageAccess::buffer(message).isExternal()) {
      message = std::move(read);
    } else {
      message = read;  // keeps the caller's storage, and refuses another class
    }
    return true;
  } catch (const KwException&) {
    if (observer != nullptr) {
      const std::string name = read.getTagName();
      observer->met({.kind = ProblemKind::ClassUnknown,
                     .text = name,
                     .remark = "a message of another class is read into"});
    }
    return false;
  }
}

// ---- Start tags

bool MessageReader::startElement(std::string_view name, std::uint32_t hash, XmlAttributes attributes)
{
  if (frames_.size() >= static_cast<std::size_t>(maxElementNesting)) {
    log().logError(startFunction(), "Elements nest deeper than [%d]", maxElementNesting);
    tell(ProblemKind::TooDeep, {.text = name, .remark = "elements nest too deep"});
    return false;
  }
  if (frames_.empty()) {
    return startRoot(name, attributes);
  }
  if (skipping_) {
    if (traces(10)) {
      log().debug(startFunction(), 10, "Skipping element [%s]", std::string(name).c_str());
    }
    frames_.push_back({Kind::Skipped});
    return true;
  }
  if (observer_ != nullptr && !text_.empty()) {
    reportText(text_);  // the value is what stands behind the last element within
  }
  text_.clear();
  const bool isKey = name == mapKeyName;
  if (isKey || name == mapValueName) {
    return startMapPart(isKey, name, attributes);
  }
  const FieldDef* def = findField(hash);
  if (def == nullptr) {
    startSkipping(name);
    return true;
  }
  return startField(*def, name, attributes);
}

void MessageReader::setObserver(ReadObserver* observer, const XmlPlaces* places)
{
  observer_ = observer;
  places_ = places;
}

void MessageReader::startSkipping(std::string_view name, const FieldDef* missing)
{
  if (traces(10)) {
    log().debug(startFunction(), 10, "Skipping member : [%s]", std::string(name).c_str());
  }
  if (missing != nullptr) {
    tell(ProblemKind::ClassUnknown, {.field = missing, .remark = missingClass, .isWhole = true});
  } else {
    tell(ProblemKind::ElementUnknown, {.text = name});
  }
  skippedName_ = name;
  skipping_ = true;
  frames_.push_back({Kind::Skipped});
}

bool MessageReader::startRoot(std::string_view name, XmlAttributes attributes)
{
  started_ = true;
  short system = 0;
  int index = 0;
  const Registry& registry = target_ != nullptr ? Registry::of(*target_) : Registry::current();
  const bool found = findRoot(registry, name, system, index);
  if (!found || (target_ != nullptr && target_->getClass() != registry.findClass(system, index))) {
    log().logError(startFunction(), "Unable to construct object out of tag : [%s]", shown(name).c_str());
    if (!found) {
      Registry::tellLoadedOnce();
    }
    if (observer_ != nullptr) {
      const std::string why =
          found ? "a message of another class is read into" : describeUnknownRoot(registry, name);
      tell(ProblemKind::ClassUnknown, {.text = name, .remark = why});
    }
    return false;
  }
  if (target_ != nullptr) {
    root_ = target_;
  } else if (reusable_ != nullptr && reusable_->getClass() == registry.findClass(system, index)) {
    root_ = reusable_;
    beginReuse(root_);
  } else {
    root_ = new YMMessageBase(registry, system, index);
    ownsRoot_ = true;
    prepare(*root_);
  }
  current_ = root_;
  given_.resize(observer_ != nullptr ? 1 : 0);
  messageDepth_ = 1;
  frames_.push_back({Kind::Message});
  if (!processAttributes(attributes)) {
    log().logError(startFunction(), "Error while parsing attributes for tag : [%s] ",
                   std::string(name).c_str());
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

/// Whether a message that has just been made may stay; logged and told when not.
bool MessageReader::takesMemoryFor(const YMMessageBase& made)
{
  if (budget_.take(made)) {
    return true;
  }
  const std::string why = budget_.explain();
  log().logError(startFunction(), "%s", why.c_str());
  tell(ProblemKind::NoMemory, {.remark = why});
  return false;
}

bool MessageReader::enterMessage(YMMessageBase* message, const FieldDef* def, XmlAttributes attributes,
                                 bool isKey, bool reused)
{
  if (!reuses_.empty()) {
    beginReuse(reused ? message : nullptr);
  }
  if (++messageDepth_ > maxMessageNesting) {
    log().logError(startFunction(), "Messages nest deeper than [%d]", maxMessageNesting);
    tell(ProblemKind::TooDeep, {.remark = "messages nest too deep"});
    return false;
  }
  if (!reused && !takesMemoryFor(*message)) {
    return false;
  }
  frames_.push_back({Kind::Message, def, current_, isKey});
  current_ = message;
  if (observer_ != nullptr) {
    given_.emplace_back();
  }
  processAttributes(attributes);  // what cannot be stored is logged and left unset
  return true;
}

bool MessageReader::startField(const FieldDef& def, std::string_view name, XmlAttributes attributes)
{
  return visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (Tag::type == FIELD_LIST_OBJECT) {
      const auto reference = MessageAccess::reference(*current_, def);
      if (findClass(reference) == nullptr) {
        delete createReferenced(reference);  // null, with the line that says so
        startSkipping(name, &def);
        return true;
      }
      auto*& list = MessageAccess::pointer<std::vector<YMMessageBase>>(*current_, def.slot);
      if (list == nullptr) {
        list = new std::vector<YMMessageBase>;
      }
      bool reused = false;
      YMMessageBase& message = addMessage(def, *list, reference, reused);
      MessageAccess::mark(*current_, def);
      return enterMessage(&message, &def, attributes, false, reused);
    } else if constexpr (MessageValue<Tag>) {
      auto*& stored = MessageAccess::pointer<YMMessageBase>(*current_, def.slot);
      const bool stale = stored != nullptr && isStale(def);
      const bool reused =
          stale && MessageReuse::canBegin(*stored, findClass(MessageAccess::reference(*current_, def)));
      if (stale && !reused) {
        delete std::exchange(stored, nullptr);
      }
      if (stored == nullptr) {
        stored = createReferenced(MessageAccess::reference(*current_, def));
        if (stored == nullptr) {
          startSkipping(name, &def);
          return true;
        }
        prepare(*stored);
      } else if (target_ == nullptr && !reused) {
        prepare(*stored);
      }
      checkGiven(def);
      MessageAccess::mark(*current_, def);
      return enterMessage(stored, &def, attributes, false, reused);
    } else if constexpr (MapValue<Tag>) {
      entries_.emplace_back(&def);
      lastMapName_ = def.getName();
      frames_.push_back({Kind::MapEntry, &def});
      checkOthers(def, attributes, false);
      return true;
    } else {
      bool hasValue = false;
      if constexpr (ListValue<Tag> && Tag::type != FIELD_LIST_WSTRING) {
        for (const XmlAttribute& attribute : attributes) {
          if (attribute.name == itemAttribute) {
            attribute_ = &attribute;
            store(def, attribute.value, startFunction());
            attribute_ = nullptr;
            hasValue = true;
            break;
          }
        }
      }
      checkOthers(def, attributes, hasValue);
      frames_.push_back({hasValue ? Kind::Done : Kind::Scalar, &def});
      return true;
    }
  });
}

bool MessageReader::startMapPart(bool isKey, std::string_view name, XmlAttributes attributes)
{
  if (frames_.back().kind != Kind::MapEntry) {
    tell(ProblemKind::ElementUnknown, {.text = name, .remark = "it stands outside of a map's entry"});
    frames_.push_back({Kind::StrayMapPart, nullptr, nullptr, isKey});
    return true;
  }
  const FieldDef& def = *frames_.back().def;
  Entry& entry = entries_.back();
  if (observer_ != nullptr && (isKey ? entry.keySeen : entry.valueSeen)) {
    tell(ProblemKind::EntryIncomplete,
         {.field = &def,
          .remark = isKey ? "an entry with more than one key" : "an entry with more than one value"});
  }
  (isKey ? entry.keySeen : entry.valueSeen) = true;
  const FieldDataType partType =
      isKey ? FieldDef::getMapKeyType(def.type) : FieldDef::getMapValueType(def.type);
  if (partType == FIELD_OBJECT) {
    auto& holder = isKey ? entry.objectKey : entry.objectValue;
    // In a map from message to message the second reference names the value's class.
    holder.reset(
        createReferenced(packedReference(def, FieldDef::packedReferences(def.type) == 2 && !isKey ? 1 : 0)));
    if (holder == nullptr) {
      startSkipping(name, &def);
      return true;
    }
    prepare(*holder);
    return enterMessage(holder.get(), &def, attributes, isKey);
  }
  frames_.push_back({Kind::MapPart, &def, nullptr, isKey});
  for (const XmlAttribute& attribute : attributes) {
    if (attribute.name == itemAttribute) {
      attribute_ = &attribute;
      storeMapPart(entry, isKey, attribute.value);
      attribute_ = nullptr;
      frames_.back().hasValue = true;
    }
  }
  checkOthers(def, attributes, frames_.back().hasValue);
  return true;
}

bool MessageReader::processAttributes(XmlAttributes attributes)
{
  bool stored = current_ != nullptr;
  for (const XmlAttribute& attribute : stored ? attributes : XmlAttributes()) {
    attribute_ = &attribute;
    const FieldDef* def = findField(attribute.hash);
    if (def == nullptr) {
      if (traces(15)) {
        log().debug(attributesFunction, 15, "No such field : [%s] in message : [%s] ",
                    std::string(attribute.name).c_str(), current_->getTagName().c_str());
      }
      tell(ProblemKind::AttributeUnknown, {.text = attribute.name});
    } else if (fieldTypeInfo(def->type).element == FIELD_UNSET) {  // an attribute holds no list
      stored &= store(*def, attribute.value, attributesFunction);
    } else
      tell(ProblemKind::NotOfType, {.field = def, .text = attribute.value});
  }
  attribute_ = nullptr;
  return stored;
}

// ---- Text and end tags

bool MessageReader::usesText() const
{
  if (skipping_ || frames_.empty()) {
    return false;
  }
  const Kind kind = frames_.back().kind;
  return kind == Kind::Scalar || kind == Kind::MapPart || observer_ != nullptr;
}

void MessageReader::characters(std::string_view text)
{
  if (!usesText()) {
    return;  // the text between other tags is layout
  }
  const Kind kind = frames_.back().kind;
  if (kind == Kind::Scalar || kind == Kind::MapPart) {
    text_.append(text);
  } else {
    reportText(text);
  }
}

void MessageReader::endElement(std::string_view name)
{
  if (frames_.empty()) {
    return;  // no element is open
  }
  const Frame frame = frames_.back();
  inText_ = true;
  switch (frame.kind) {
    case Kind::Skipped:
      if (!skipping_) {
        if (traces(15)) {
          log().debug(endFunction, 15, "Unidentified message : [%s]", std::string(name).c_str());
        }
      } else if (name == skippedName_) {  // also an inner element of that name: the rule is that simple
        skipping_ = false;
      }
      break;
    case Kind::Message:
      if (!reuses_.empty()) {
        endReuse();
      }
      current_ = frame.enclosing;
      --messageDepth_;
      if (!given_.empty()) {
        given_.pop_back();
      }
      break;
    case Kind::Scalar:
      endScalar(frame);
      break;
    case Kind::MapPart:
      if (!frame.hasValue) {
        storeMapPart(entries_.back(), frame.isKey, text_);
      } else if (observer_ != nullptr) {
        reportText(text_);
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
  inText_ = false;
  frames_.pop_back();
  text_.clear();
}

void MessageReader::endScalar(const Frame& frame)
{
  if (text_.empty()) {
    if (traces(15)) {
      log().debug(endFunction, 15, "Skipping member [%s] as it has empty value", frame.def->getName());
    }
    if (fieldTypeInfo(frame.def->type).element != FIELD_UNSET) {
      tell(ProblemKind::ItemUnreadable, {.field = frame.def, .remark = "an empty element is no item"});
    }
    return;
  }
  store(*frame.def, text_, endFunction);
}

}  // namespace kwxml
