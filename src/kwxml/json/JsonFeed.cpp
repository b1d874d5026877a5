#include <kwxml/json/JsonFeed.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/json/JsonWords.h>
#include <kwxml/reading/Problems.h>

#include <utility>

namespace kwxml {

JsonFeed::JsonFeed(MessageReader& rules, ReadObserver* observer, JsonPlaces& places)
    : rules_(rules), places_(places), isObserved_(observer != nullptr)
{
  frames_.reserve(16);
  rules_.setFunction(function);
  rules_.expectPlainTexts();
  rules_.setObserver(observer, this);
}

/// A value, or an item, that is not stored.
void JsonFeed::refuse(ProblemKind kind, const FieldDef& def, const char* why, std::string_view text)
{
  log().logError(function, "Field [%s] does not hold what is given for it: [%s]", def.getName(),
                 why != nullptr ? why : nameOf(kind));
  rules_.tell(kind,
              {.field = &def,
               .text = text,
               .remark = why != nullptr ? why : std::string_view(),
               .isWhole = kind != ProblemKind::ItemUnreadable && kind != ProblemKind::EnumeratorUnknown});
}

/// An object or an array that the field does not have.
bool JsonFeed::misfit(const FieldDef& def, const char* why)
{
  refuse(ProblemKind::NotOfType, def, why);
  return skip();
}

bool JsonFeed::unreadable(const FieldDef& def, const char* why)
{
  refuse(ProblemKind::ItemUnreadable, def, why);
  return skip();
}

/// The document is none of a message.
bool JsonFeed::noMessage()
{
  constexpr const char* words =
      "a document is an object with one member, a message under the name of its class";
  log().logError(function, "[%s]", words);
  rules_.tell(ProblemKind::ClassUnknown, {.remark = words});
  return false;
}

bool JsonFeed::startMessage(std::string_view name, std::uint32_t hash)
{
  if (!rules_.startElement(name, hash, {})) {
    return false;
  }
  frames_.push_back({.kind = rules_.isSkipping() ? Kind::Passed : Kind::Message,
                     .name = name,
                     .next = rules_.beginOfFields()});
  return true;
}

bool JsonFeed::beginObject()
{
  ++tokens_;
  if (frames_.empty()) {
    frames_.push_back({Kind::Document});
    return true;
  }
  const Frame frame = frames_.back();
  const FieldDef* const def = frame.def;
  switch (frame.kind) {
    case Kind::Document:
      return startMessage(rootName_, nameHash(rootName_.data(), rootName_.size()));
    case Kind::Message: {
      if (def == nullptr) {
        return skip();
      }
      const JsonForm form = fieldTypeInfo(def->type).json;
      if (form == JsonForm::Object) {
        return startMessage(def->getName(), def->hash);
      }
      if (form != JsonForm::EntryObject) {
        return misfit(*def, describe(form));
      }
      rules_.beginCollection(*def);
      frames_.push_back({Kind::KeyedMap, def});
      return true;
    }
    case Kind::List:
      return def->type == FIELD_LIST_OBJECT ? startMessage(def->getName(), def->hash)
                                            : unreadable(*def, describe(JsonForm::Text));
    case Kind::EntryMap:
      if (!rules_.startElement(def->getName(), def->hash, {})) {
        return false;
      }
      frames_.push_back({Kind::Entry, def});
      return true;
    case Kind::KeyedMap:
      return FieldDef::getMapValueType(def->type) == FIELD_OBJECT
                 ? startMessage(MessageReader::mapValueName, 0)
                 : misfit(*def, describe(JsonForm::Text));
    case Kind::Entry:
      return frame.isOpen
                 ? startMessage(frame.isKey ? MessageReader::mapKeyName : MessageReader::mapValueName, 0)
                 : skip();
    case Kind::WideElements:
      return unreadable(*def, describeWideElement);
    case Kind::Passed:
    case Kind::Skipped:
      break;
  }
  return skip();
}

bool JsonFeed::endObject()
{
  ++tokens_;
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

bool JsonFeed::beginArray()
{
  ++tokens_;
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
      const JsonForm form = fieldTypeInfo(def->type).json;
      if (form == JsonForm::Array || form == JsonForm::EntryArray) {
        rules_.beginCollection(*def);
        return open(form == JsonForm::Array ? Kind::List : Kind::EntryMap);
      }
      return def->type == FIELD_WSTRING ? open(Kind::WideElements) : misfit(*def, describe(form));
    }
    case Kind::List:
      return def->type == FIELD_LIST_WSTRING
                 ? open(Kind::WideElements)
                 : unreadable(*def,
                              describe(def->type == FIELD_LIST_OBJECT ? JsonForm::Object : JsonForm::Text));
    case Kind::KeyedMap:
      return misfit(*def, describe(FieldDef::getMapValueType(def->type) == FIELD_OBJECT ? JsonForm::Object
                                                                                        : JsonForm::Text));
    case Kind::EntryMap:
      return unreadable(*def, describe(JsonForm::EntryArray));
    case Kind::Entry:
      return frame.isOpen ? misfit(*def, describe(JsonForm::Object)) : skip();
    case Kind::WideElements:
      return unreadable(*def, describeWideElement);
    default:
      return skip();
  }
}

void JsonFeed::endArray()
{
  ++tokens_;
  const Frame frame = frames_.back();
  frames_.pop_back();
  if (frame.kind == Kind::WideElements) {
    rules_.storeWide(*frame.def, std::exchange(wide_, {}));
  }
}

/// Writers give members in the order of the fields: mostly the next one is met, which a comparison finds
/// sooner than the hash.
const FieldDef* JsonFeed::findMember(Frame& frame, std::string_view name) const
{
  const FieldDef* found = frame.next;
  const bool isNext = found != nullptr && found != rules_.endOfFields() && name == found->getName() &&
                      found->hash != 0 && rules_.field(found->hash) == found;
  if (!isNext) {
    // Hidden fields have the hash 0, as the empty name has: no member names them.
    const std::uint32_t hash = nameHash(name.data(), name.size());
    found = hash != 0 ? rules_.field(hash) : nullptr;
  }
  frame.next = found != nullptr ? found + 1 : nullptr;
  return found;
}

bool JsonFeed::key(std::string_view name)
{
  ++tokens_;
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
      const XmlAttribute value{.name = MessageReader::itemAttribute, .value = name, .hash = 0};
      if (!rules_.startElement(frame.def->getName(), frame.def->hash, {}) ||
          !rules_.startElement(MessageReader::mapKeyName, 0, {&value, 1})) {
        return false;
      }
      rules_.endElement(MessageReader::mapKeyName);
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

bool JsonFeed::null()
{
  ++tokens_;
  if (frames_.empty() || frames_.back().kind == Kind::Document) {
    return noMessage();
  }
  const Frame& frame = frames_.back();
  if (frame.kind == Kind::List || frame.kind == Kind::EntryMap || frame.kind == Kind::WideElements) {
    refuse(ProblemKind::ItemUnreadable, *frame.def, "null is no item");
  }
  return true;  // of a field: it is not set; of an entry: it lacks what is null
}

bool JsonFeed::value(JsonToken token, std::string_view text)
{
  ++tokens_;
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
      refuse(ProblemKind::ItemUnreadable, *frame.def, describe(JsonForm::EntryArray), text);
      break;
    case Kind::Entry:
      if (frame.isOpen) {
        refuse(ProblemKind::NotOfType, *frame.def, describe(JsonForm::Object), text);
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

}  // namespace kwxml
