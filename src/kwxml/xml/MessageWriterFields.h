// The members of MessageWriter, for the sources that instantiate it with a sink. Not installed.
#pragma once

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/Limits.h>
#include <kwxml/xml/MessageWriter.h>
#include <kwxml/xml/XMLSerializationSupport.h>

#include <bit>
#include <utility>

namespace kwxml {

/// From which level on each field that is written is traced.
inline constexpr int writerTraceLevel = 15;

template <class Sink>
MessageWriter<Sink>::MessageWriter(Sink& sink, const EncodingFlags& flags,
                                   const XMLSerializationSupport& listeners, KwXMLContextInfo* context)
    : Texts(flags, context),
      sink_(sink),
      listeners_(listeners),
      trace_(log().getDebugLevel() >= writerTraceLevel)
{
}

template <class Sink>
bool MessageWriter<Sink>::writeFields(const YMMessageBase& message, int passwordMode)
{
  const _ClassDef* cls = message.getClass();
  if (cls == nullptr) {
    return true;
  }
  if (++depth_ > maxMessageNesting) {
    this->tooDeep_ = true;
    log().logError(writerFunction, "Messages nest deeper than [%d]", maxMessageNesting);
  } else {
    const WritePlan& plan = writePlan(MessageAccess::planOf(message), message.getSubsysID(), *cls);
    if constexpr (Sink::order == FieldOrder::OfRecordsTold) {
      writeAll(message, plan, passwordMode);
    } else if constexpr (Sink::order == FieldOrder::AttributesFirst) {
      if (!flags_.valuesAsElements) {
        writeAttributes(message, plan, passwordMode);
      }
      writeChildren(message, plan, passwordMode);
    } else {
      writeSet(message, plan, passwordMode);
    }
  }
  --depth_;
  return !ends();
}

/// In the order of the records, with traces and listeners.
template <class Sink>
void MessageWriter<Sink>::writeAll(const YMMessageBase& message, const WritePlan& plan, int passwordMode)
{
  const _ClassDef& cls = *message.getClass();
  const bool oldWay = YMMessageBase::isOldWay(message.getTagID());
  for (const FieldDef& def : cls) {
    if (ends()) {
      break;  // what was written is of no use
    }
    if (!oldWay && !MessageAccess::isSet(message, def)) {
      continue;
    }
    if (trace_) {
      log().debug(writerFunction, writerTraceLevel, "Writing [%s]:[%s]", cls.name, def.getName());
    }
    if (!listeners_.empty() && skippedByListener(message, def)) {
      continue;
    }
    writeField(message, plan, static_cast<std::size_t>(&def - cls.fields), passwordMode);
  }
}

/// Calls `visit(std::size_t)` with the positions of the fields that are written.
template <class Visit>
void forEachWritten(const YMMessageBase& message, Visit visit)
{
  if (YMMessageBase::isOldWay(message.getTagID())) {
    const auto count = static_cast<std::size_t>(message.getClass()->numberOfFields);
    for (std::size_t i = 0; i < count; ++i) {
      visit(i);
    }
  } else {
    forEachSetPosition(MessageAccess::buffer(message), MessageAccess::planOf(message), visit);
  }
}

/// In the order of the records.
template <class Sink>
void MessageWriter<Sink>::writeSet(const YMMessageBase& message, const WritePlan& plan, int passwordMode)
{
  forEachWritten(message, [&](std::size_t position) {
    if (!ends()) {
      writeField(message, plan, position, passwordMode);
    }
  });
}

/// Their ranks are sorted by setting a bit for each.
template <class Sink>
void MessageWriter<Sink>::writeAttributes(const YMMessageBase& message, const WritePlan& plan,
                                          int passwordMode)
{
  ranks_.assign((plan.byRank.size() + 63) / 64, 0);
  forEachWritten(message, [&](std::size_t position) {
    if (const WritePlan::Field& field = plan.fields[position]; field.place == WritePlan::Place::Attribute) {
      ranks_[field.rank / 64] |= std::uint64_t{1} << field.rank % 64;
    }
  });
  for (std::size_t i = 0; i < ranks_.size(); ++i) {
    for (std::uint64_t word = ranks_[i]; word != 0 && !ends(); word &= word - 1) {
      const auto rank = i * 64 + static_cast<std::size_t>(std::countr_zero(word));
      writeField(message, plan, plan.byRank[rank], passwordMode);
    }
  }
}

template <class Sink>
void MessageWriter<Sink>::writeChildren(const YMMessageBase& message, const WritePlan& plan, int passwordMode)
{
  forEachWritten(message, [&](std::size_t position) {
    const WritePlan::Place place = plan.fields[position].place;
    if ((place == WritePlan::Place::Child ||
         (flags_.valuesAsElements && place == WritePlan::Place::Attribute)) &&
        !ends()) {
      writeField(message, plan, position, passwordMode);
    }
  });
}

template <class Sink>
bool MessageWriter<Sink>::skippedByListener(const YMMessageBase& message, const FieldDef& def) const
{
  // Listeners may change the message, which belongs to their caller.
  ListenerCbData data{def, const_cast<YMMessageBase*>(&message), 0};
  listeners_.ProcessCallBack(message.getTagID(), data);
  if (data.result == XMLCB_SKIP_PROCESSING) {
    log().debug(writerFunction, writerTraceLevel,
                "Skipping field [%s] as XMLCB_SKIP_PROCESSING is set(On Tag ID)", def.getName());
    return true;
  }
  AnnotationRecord(def.annotations).forEachAttached([&](unsigned long tag, std::string_view) {
    if (data.result != XMLCB_SKIP_PROCESSING) {
      listeners_.ProcessCallBack(tag, data);
    }
  });
  if (data.result == XMLCB_SKIP_PROCESSING) {
    log().debug(writerFunction, writerTraceLevel,
                "Skipping field [%s] as XMLCB_SKIP_PROCESSING is set(On Annotation ID)", def.getName());
    return true;
  }
  return false;
}

/// Kept apart from the walk, and the branches for single types apart from each other, so that a level of
/// nesting costs little stack.
template <class Sink>
void MessageWriter<Sink>::writeField(const YMMessageBase& message, const WritePlan& plan,
                                     std::size_t position, int passwordMode)
{
  const FieldDef& def = message.getClass()->fields[position];
  const Field field{def, plan.fields[position], AnnotationRecord(def.annotations)};
  visitFieldType(def.type, [&](auto tag) { writeValue(tag, message, field, passwordMode); });
}

// ---- Values by type

template <class Sink>
template <class Tag>
[[gnu::noinline]] void MessageWriter<Sink>::writeValue(Tag, const YMMessageBase& message, const Field& field,
                                                       int passwordMode)
{
  using Value = typename Tag::Value;
  const short slot = field.def.slot;
  if constexpr (Tag::type == FIELD_BOOL) {
    this->boolText(MessageAccess::raw(message, slot));
    putScalar(field);
  } else if constexpr (Tag::type == FIELD_ENUM) {
    if (this->enumText(field, MessageAccess::raw(message, slot))) {
      putScalar(field);
    }
  } else if constexpr (IntegerSlot<Tag>) {
    if (this->integerText(field, MessageAccess::raw(message, slot))) {
      putScalar(field);
    }
  } else if constexpr (Tag::type == FIELD_DOUBLE) {
    this->real(message.getdouble(slot, message.getTagID(), field.def.hash));
    putScalar(field);
  } else if constexpr (Tag::type == FIELD_FLOAT) {
    this->real(message.getfloat(slot, message.getTagID(), field.def.hash));
    putScalar(field);
  } else if constexpr (Tag::type == FIELD_STRING) {
    this->fieldText(field, MessageAccess::inPlace<std::string>(message, slot));
    putScalar(field);
  } else if constexpr (Tag::type == FIELD_WSTRING && Sink::hasWideTexts) {
    this->wideText(MessageAccess::inPlace<std::wstring>(message, slot));
    putScalar(field);
  } else if constexpr (ByteString<Tag>) {
    if (const bstring* value = MessageAccess::pointer<bstring>(message, slot)) {
      this->base64(value->text());
      putScalar(field);
    }
  } else if constexpr (PasswordString<Tag>) {
    const pstring* value = MessageAccess::pointer<pstring>(message, slot);
    if (value != nullptr && passwordText(field, *value, passwordMode)) {
      putScalar(field);
    }
  } else if constexpr (MessageValue<Tag>) {
    const YMMessageBase* value = MessageAccess::pointer<YMMessageBase>(message, slot);
    if (value == nullptr) {
      if (std::string_view(field.name()) != "processinginstructioninfo") {
        tellOfNull();
      }
    } else if (!sink_.open(Sink::nameOf(field.plan))) {
      lose([&] { log().logError(writerFunction, "Error constructing subobject : [%s]", field.name()); });
    } else {
      writeNested(*value, passwordMode);
      sink_.close();
    }
  } else if constexpr (ListValue<Tag> && (Tag::type != FIELD_LIST_WSTRING || Sink::hasWideTexts)) {
    if (const Value* list = MessageAccess::pointer<Value>(message, slot)) {
      writeList<Tag>(field, *list, passwordMode);
    }
  } else if constexpr (MapValue<Tag>) {
    if (const Value* map = MessageAccess::pointer<Value>(message, slot)) {
      writeMap<Tag>(field, *map, passwordMode);
    }
  }  // types without storage have no value, and XML has no form of wide strings
}

template <class Sink>
bool MessageWriter<Sink>::passwordText(const Field& field, const pstring& value, int passwordMode)
{
  using Form = ValueTexts::PasswordForm;
  switch (this->passwordForm(field, value, passwordMode)) {
    case Form::None:
      return false;
    case Form::Masked:
      this->ascii("*******");
      return true;
    case Form::Bytes:
      this->base64(value.text());
      return true;
    case Form::Text:
      break;
  }
  this->utf8(this->buffer_);
  return true;
}

template <class Sink>
void MessageWriter<Sink>::writeNested(const YMMessageBase& message, int passwordMode)
{
  (void)writeFields(message, passwordMode);  // tooDeep_ keeps the result
}

/// Nothing is lost.
template <class Sink>
void MessageWriter<Sink>::tellOfNull()
{
  if (!this->giveUp()) {
    log().logError(writerFunction, "[%s]", "Please check");
  }
}

template <class Sink>
template <class Tag>
void MessageWriter<Sink>::writeList(const Field& field, const typename Tag::Value& list, int passwordMode)
{
  sink_.beginList(Sink::nameOf(field.plan));
  for (const auto& item : list) {
    if (!writeItem<Tag>(field, item, passwordMode)) {
      return lose(
          [&] { log().logError(writerFunction, "Error constructing list object [%s].", field.name()); });
    }
    if (ends()) {
      return;
    }
  }
  sink_.endList();
}

/// False when no item can be made of that name.
template <class Sink>
template <class Tag>
bool MessageWriter<Sink>::writeItem(const Field& field, const typename Tag::Value::value_type& item,
                                    int passwordMode)
{
  using Item = typename Tag::Value::value_type;
  const XmlName name = Sink::nameOf(field.plan);
  if constexpr (std::is_same_v<Item, YMMessageBase>) {
    if (!sink_.openItem(name)) {
      return false;
    }
    writeNested(item, passwordMode);
    sink_.close();
    return true;
  } else {
    if constexpr (std::is_same_v<Item, std::string>) {
      this->fieldText(field, item);
    } else if constexpr (std::is_same_v<Item, std::wstring>) {
      this->wideText(item);
    } else if constexpr (std::is_same_v<Item, bstring>) {
      this->base64(item.text());
    } else if constexpr (std::is_floating_point_v<Item>) {
      this->real(item);
    } else {
      this->template numberItem<Tag>(field, item);
    }
    return sink_.item(name, itemForm(field.plan.cdata), value_);
  }
}

template <class Sink>
template <class T>
void MessageWriter<Sink>::writeMapPart(const T& part, int passwordMode)
{
  if constexpr (std::is_same_v<T, YMMessageBase>) {
    sink_.beginPart();
    writeNested(part, passwordMode);
    sink_.endPart();
  } else {
    if constexpr (std::is_same_v<T, std::string>) {
      this->utf8(part);
    } else {
      this->number(static_cast<long long>(part));
    }
    sink_.itemValue(itemForm(false), value_);
  }
}

template <class Sink>
template <class Tag>
void MessageWriter<Sink>::writeMap(const Field& field, const typename Tag::Value& map, int passwordMode)
{
  const XmlName mapName = Sink::nameOf(field.plan);
  sink_.beginMap(mapName, Tag::info.mapKey != FIELD_OBJECT);
  for (const auto& [key, value] : map) {
    if (ends()) {
      return;
    }
    if (!sink_.openMapEntry(mapName)) {
      [[maybe_unused]] const auto& name = key;  // clang captures no structured binding
      lose([&] {
        if constexpr (Tag::info.mapKey == FIELD_STRING) {
          log().logError(writerFunction, "Error for map field [%s], key : [%s]", field.name(), name.c_str());
        } else if constexpr (Tag::info.mapKey == FIELD_INT64) {
          log().logError(writerFunction, "Error for map field [%s], key : [%lld]", field.name(), name);
        }
      });
      continue;
    }
    writeMapPart(key, passwordMode);
    sink_.mapValue();
    writeMapPart(value, passwordMode);
    sink_.closeMapEntry();
  }
  sink_.endMap();
}

/// Nothing, where the walk has been given up.
template <class Sink>
void MessageWriter<Sink>::putScalar(const Field& field)
{
  if (this->gaveUp_) {
    return;
  }
  const XmlName name = Sink::nameOf(field.plan);
  if (field.plan.cdata) {
    sink_.sectionElement(name, value_);
  } else if (flags_.valuesAsElements) {
    sink_.textElement(name, value_);
  } else {
    sink_.attribute(name, value_);
  }
}

}  // namespace kwxml
