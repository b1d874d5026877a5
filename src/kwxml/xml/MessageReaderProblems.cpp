// What an observer of the reading is told, and the checks that are made for it alone.
#include <kwxml/xml/MessageReader.h>

#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/text/NumberText.h>
#include <kwxml/text/ShownText.h>
#include <kwxml/xml/RootName.h>
#include <kwxml/xml/TextFit.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace kwxml {

namespace {

/// Then text in a wrong place may be a secret too.
bool holdsSecrets(const _ClassDef* cls)
{
  return cls != nullptr && std::any_of(cls->begin(), cls->end(), isSecret);
}

void appendPosition(std::string& path, std::size_t position)
{
  path += '[';
  path += std::to_string(position);
  path += ']';
}

/// Elements of the list or entries of the map in a slot; 0 while there is none, and for other types.
std::size_t sizeOf(const YMMessageBase& message, const FieldDef& def)
{
  return visitFieldType(def.type, [&]<class Tag>(Tag) -> std::size_t {
    if constexpr (ListValue<Tag> || MapValue<Tag>) {
      const auto* value = MessageAccess::pointer<typename Tag::Value>(message, def.slot);
      return value != nullptr ? value->size() : 0;
    } else {
      return 0;
    }
  });
}

}  // namespace

/// The way down the open elements, and the field at its end.
std::string MessageReader::pathTo(const FieldDef* field, bool isWhole) const
{
  std::string path;
  const auto step = [&path](const FieldDef& def) {
    path += path.empty() ? "" : ".";
    path += def.getName();
  };
  const FieldDef* map = nullptr;  // the one whose part the way leads into
  std::size_t open = 0;
  for (std::size_t i = 0; i < frames_.size(); ++i) {
    const Frame& frame = frames_[i];
    if (frame.kind == Kind::MapEntry && open < entries_.size()) {
      map = frame.def;
      step(*map);
      appendEntry(path, entries_[open++], i);
    } else if (frame.kind == Kind::MapPart || (frame.kind == Kind::Message && map != nullptr)) {
      path += frame.isKey ? ".key" : ".value";
      map = frame.kind == Kind::MapPart ? map : nullptr;
    } else if (frame.kind == Kind::Message && frame.def != nullptr) {
      step(*frame.def);
      if (frame.def->type == FIELD_LIST_OBJECT) {
        appendPosition(path, sizeOf(*frame.enclosing, *frame.def) - 1);
      }
    }
  }
  if (field != nullptr && field != map) {
    step(*field);
    if (fieldTypeInfo(field->type).element != FIELD_UNSET && !isWhole) {
      const bool isStored = frames_.back().kind == Kind::Done && frames_.back().def == field;
      const std::size_t size = sizeOf(*current_, *field);
      appendPosition(path, isStored && size > 0 ? size - 1 : size);
    }
  }
  return path;
}

/// The entry of a map by its key, once that has been read; otherwise by the place that it would get.
void MessageReader::appendEntry(std::string& path, const Entry& entry, std::size_t frame) const
{
  const FieldDataType keyType = FieldDef::getMapKeyType(entry.def->type);
  const bool inKey = frame + 1 < frames_.size() && frames_[frame + 1].isKey;
  if (!entry.keySeen || inKey || keyType == FIELD_OBJECT || isInSecret()) {
    const auto inner = std::find_if(frames_.begin() + static_cast<std::ptrdiff_t>(frame), frames_.end(),
                                    [](const Frame& later) { return later.kind == Kind::Message; });
    path += "[#" +
            std::to_string(sizeOf(inner != frames_.end() ? *inner->enclosing : *current_, *entry.def)) + "]";
  } else {
    path += "[" + keyText(entry) + "]";
  }
}

/// As paths and people have it.
std::string MessageReader::keyText(const Entry& entry)
{
  switch (FieldDef::getMapKeyType(entry.def->type)) {
    case FIELD_STRING:
      return '"' + shown(entry.stringKey, "\"\\") + '"';
    case FIELD_OBJECT:
      return "(any message)";  // all of them count as one key
    default:
      return std::to_string(entry.intKey);
  }
}

/// Whether the open elements lead into a field whose values are for nobody's eyes.
bool MessageReader::isInSecret() const
{
  return std::any_of(frames_.begin(), frames_.end(),
                     [](const Frame& frame) { return frame.def != nullptr && isSecret(*frame.def); });
}

bool MessageReader::knowsName(std::string_view name) const
{
  const auto has = [name](const YMMessageBase* message) {
    return message != nullptr && std::any_of(message->getClass()->begin(), message->getClass()->end(),
                                             [name](const FieldDef& def) { return name == def.getName(); });
  };
  short system = 0;
  int index = 0;
  const Registry& registry = root_ != nullptr ? Registry::of(*root_) : Registry::current();
  return findRoot(registry, name, system, index) || has(current_) ||
         std::any_of(frames_.begin(), frames_.end(),
                     [&](const Frame& frame) { return has(frame.enclosing); });
}

void MessageReader::report(ProblemKind kind, const Met& met)
{
  const std::string path = pathTo(met.field, met.isWhole);
  const _ClassDef* owner = current_ != nullptr ? current_->getClass() : nullptr;
  const bool isValue = kind != ProblemKind::AttributeUnknown && kind != ProblemKind::ElementUnknown &&
                       kind != ProblemKind::MemberUnknown && kind != ProblemKind::ClassUnknown &&
                       kind != ProblemKind::TooDeep && kind != ProblemKind::NoMemory;
  const bool secret =
      isValue && (isInSecret() || (met.field != nullptr ? isSecret(*met.field) : holdsSecrets(owner)));
  const FieldDataType type = met.type != FIELD_UNSET ? met.type
                             : met.field != nullptr  ? met.field->type
                                                     : FIELD_UNSET;
  observer_->met({.kind = kind,
                  .place = attribute_ != nullptr ? places_->ofAttribute(*attribute_)
                           : inText_             ? places_->ofText()
                                                 : places_->ofTag(),
                  .path = path,
                  .field = met.field,
                  .owner = owner,
                  .type = type,
                  .text = secret ? std::string_view() : met.text,
                  .remark = met.remark});
}

void MessageReader::reportUnfit(const FieldDef& def, FieldDataType type, std::string_view text)
{
  const std::string_view value = type == FIELD_BOOL ? text : withoutBlanks(text);
  const TextFit fit = fitOf(type, text);
  const FieldDataType element = fieldTypeInfo(type).element;
  type = element != FIELD_UNSET ? element : type;
  switch (fit) {
    case TextFit::Whole:
      if (def.type == FIELD_LIST_ENUM) {
        reportEnumerator(def, text);
      }
      break;
    case TextFit::NotOfType:
      tell(ProblemKind::NotOfType, {.field = &def, .text = value, .type = type});
      break;
    case TextFit::OutOfRange:
      tell(ProblemKind::OutOfRange, {.field = &def,
                                     .text = value,
                                     .remark = (def.type == FIELD_ULONG || def.type == FIELD_ULONGLONG) &&
                                                       fitOf(FIELD_LIST_ULONGLONG, value) == TextFit::Whole
                                                   ? "the greatest value that is kept is 9223372036854775807"
                                                   : "",
                                     .type = type});
      break;
    case TextFit::PrecisionLost:
      tell(ProblemKind::PrecisionLost, {.field = &def, .text = value, .type = type});
      break;
  }
}

void MessageReader::reportTime(const FieldDef& def, std::string_view text, std::string_view form)
{
  const std::string_view value = withoutBlanks(text);
  if (!isTimeOfForm(value, form)) {
    tell(ProblemKind::NotOfType, {.field = &def, .text = value, .remark = "no such date or time"});
  }
}

void MessageReader::reportEnumerator(const FieldDef& def, std::string_view text)
{
  const std::string_view value = withoutBlanks(text);
  const PackedReference enumeration = packedReference(def);
  // Only what begins with a digit is read as a number; lists read nothing else.
  const bool isNumber = def.type == FIELD_LIST_ENUM || (!text.empty() && text[0] >= '0' && text[0] <= '9');
  if (!isNumber) {
    if (findEnumeratorNamed(enumeration, text) == nullptr) {
      tell(ProblemKind::EnumeratorUnknown, {.field = &def, .text = text});
    }
    return;
  }
  if (def.type == FIELD_ENUM && fitOf(FIELD_INT, value) != TextFit::Whole) {
    tell(ProblemKind::NotOfType, {.field = &def, .text = value});
    return;
  }
  // A list keeps its items unsigned. Messages of old systems are written whole, and an enumeration that
  // nobody has set is 0 then.
  const auto number = static_cast<std::int32_t>(std::strtoll(std::string(value).c_str(), nullptr, 10));
  const bool unsetIsWritten = number == 0 && isEager(static_cast<int>(current_->getTagID() >> 24 & 0xFF));
  if (findEnumerator(findClass(enumeration), number) == nullptr && !unsetIsWritten) {
    tell(ProblemKind::EnumeratorUnknown, {.field = &def, .text = value});
  }
}

void MessageReader::reportGiven(const FieldDef& def)
{
  if (fieldTypeInfo(def.type).element != FIELD_UNSET || given_.empty()) {
    return;
  }
  std::vector<bool>& given = given_.back();
  const auto position = static_cast<std::size_t>(&def - current_->getClass()->fields);
  if (given.size() <= position) {
    given.resize(position + 1);
  }
  if (given[position]) {
    tell(ProblemKind::GivenTwice, {.field = &def});
  }
  given[position] = true;
}

void MessageReader::reportOthers(const FieldDef& def, XmlAttributes attributes, bool valueIsRead)
{
  for (const XmlAttribute& attribute : attributes) {
    const bool isValue = attribute.name == "val";
    if (isValue && valueIsRead) {
      continue;
    }
    attribute_ = &attribute;
    if (isValue) {
      tell(ProblemKind::StrayText, {.field = &def, .text = attribute.value});
    } else {
      tell(ProblemKind::AttributeUnknown, {.text = attribute.name});
    }
    attribute_ = nullptr;
  }
}

void MessageReader::reportText(std::string_view text)
{
  Frame& frame = frames_.back();
  const std::string_view value = withoutBlanks(text);
  if (!value.empty() && !std::exchange(frame.toldOfText, true)) {
    const bool wasInText = std::exchange(inText_, true);
    const bool isValue =
        frame.kind == Kind::Scalar || frame.kind == Kind::MapPart || frame.kind == Kind::Done;
    tell(ProblemKind::StrayText, {.field = isValue ? frame.def : nullptr, .text = value});
    inText_ = wasInText;
  }
}

void MessageReader::reportIncomplete(const Entry& entry)
{
  tell(ProblemKind::EntryIncomplete,
       {.field = entry.def,
        .remark = entry.keySeen && entry.valueSeen ? "an entry whose message cannot be read"
                  : entry.keySeen                  ? "an entry without its value"
                  : entry.valueSeen                ? "an entry without its key"
                                                   : "an entry without its key and its value"});
}

}  // namespace kwxml
