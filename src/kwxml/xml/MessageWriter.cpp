#include <kwxml/xml/MessageWriter.h>

#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/text/Base64.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/NumberText.h>
#include <kwxml/xml/Transcoding.h>
#include <kwxml/xml/XMLSerializationSupport.h>
#include <kwxml/xml/XMLSerializer.h>
#include <kwxml/xml/XmlCh.h>

#include <algorithm>
#include <climits>
#include <cstdio>

namespace kwxml {

namespace {

constexpr const char* function = "XMLSerializer::serializeXMLRecur";
constexpr int traceLevel = 15;

/// The text of a value that goes out as a CDATA section.
std::string cdataText(std::string text)
{
  parseStringForCDATAEndAndReplace(text);
  return text;
}

}  // namespace

MessageWriter::MessageWriter(XmlSink& sink, const EncodingFlags& flags,
                             const XMLSerializationSupport& listeners, KwXMLContextInfo* context)
    : sink_(sink),
      flags_(flags),
      listeners_(listeners),
      context_(context),
      trace_(XMLDebug::getInstance()->getDebugLevel() >= traceLevel)
{
}

bool MessageWriter::writeFields(YMMessageBase& message, int passwordMode)
{
  const _ClassDef* cls = message.getClass();
  if (cls == nullptr) {
    return true;
  }
  if (++depth_ > maxMessageNesting) {
    tooDeep_ = true;
    XMLDebug::getInstance()->logError(function, "Messages nest deeper than [%d]", maxMessageNesting);
  } else {
    const bool oldWay = YMMessageBase::isOldWay(message.getTagID());
    for (const FieldDef& def : *cls) {
      if (tooDeep_) {
        break;  // what was written is of no use
      }
      if (!oldWay && !MessageAccess::isSet(message, def)) {
        continue;
      }
      if (trace_) {
        XMLDebug::getInstance()->debug(function, traceLevel, "Writing [%s]:[%s]", cls->name, def.getName());
      }
      if (!listeners_.empty() && skippedByListener(message, def)) {
        continue;
      }
      const AnnotationRecord annotations(def.annotations);
      bool cdata = annotations.isCdata();
      switch (def.type) {  // objects, passwords and byte strings have no text of their own to protect
        case FIELD_UNSET:
        case FIELD_LIST_OBJECT:
        case FIELD_OBJECT:
        case FIELD_BSTRING:
        case FIELD_LIST_BSTRING:
        case FIELD_PSTRING:
          cdata = false;
          break;
        default:
          break;
      }
      writeField(message, {def, annotations, cdata}, passwordMode);
    }
  }
  --depth_;
  return !tooDeep_;
}

bool MessageWriter::skippedByListener(YMMessageBase& message, const FieldDef& def) const
{
  ListenerCbData data{def, &message, 0};
  listeners_.ProcessCallBack(message.getTagID(), data);
  if (data.result == XMLCB_SKIP_PROCESSING) {
    XMLDebug::getInstance()->debug(function, traceLevel,
                                   "Skipping field [%s] as XMLCB_SKIP_PROCESSING is set(On Tag ID)",
                                   def.getName());
    return true;
  }
  AnnotationRecord(def.annotations).forEachAttached([&](unsigned long tag, std::string_view) {
    if (data.result != XMLCB_SKIP_PROCESSING) {
      listeners_.ProcessCallBack(tag, data);
    }
  });
  if (data.result == XMLCB_SKIP_PROCESSING) {
    XMLDebug::getInstance()->debug(function, traceLevel,
                                   "Skipping field [%s] as XMLCB_SKIP_PROCESSING is set(On Annotation ID)",
                                   def.getName());
    return true;
  }
  return false;
}

/// Kept apart from the walk, and the branches for single types apart from each other, so that a level of
/// nesting costs little stack.
void MessageWriter::writeField(YMMessageBase& message, const Field& field, int passwordMode)
{
  visitFieldType(field.def.type, [&]<class Tag>(Tag tag) { writeValue(tag, message, field, passwordMode); });
}

// ---- Values by type

template <class Tag>
[[gnu::noinline]] void MessageWriter::writeValue(Tag, YMMessageBase& message, const Field& field,
                                                 int passwordMode)
{
  using Value = typename Tag::Value;
  const short slot = field.def.slot;
  if constexpr (Tag::type == FIELD_BOOL) {
    ascii(MessageAccess::raw(message, slot) != 0 ? "true" : "false");
    putScalar(field);
  } else if constexpr (Tag::type == FIELD_ENUM) {
    if (enumText(field, MessageAccess::raw(message, slot))) {
      putScalar(field);
    }
  } else if constexpr (IntegerSlot<Tag>) {
    if (integerText(field, MessageAccess::raw(message, slot))) {
      putScalar(field);
    }
  } else if constexpr (Tag::type == FIELD_DOUBLE) {
    number(message.getdouble(slot, message.getTagID(), field.def.hash));
    putScalar(field);
  } else if constexpr (Tag::type == FIELD_FLOAT) {
    number(static_cast<double>(message.getfloat(slot, message.getTagID(), field.def.hash)));
    putScalar(field);
  } else if constexpr (Tag::type == FIELD_STRING) {
    const std::string& value = MessageAccess::inPlace<std::string>(message, slot);
    field.cdata ? utf8(cdataText(value)) : utf8(value);
    putScalar(field);
  } else if constexpr (ByteString<Tag>) {
    if (const bstring* value = MessageAccess::pointer<bstring>(std::as_const(message), slot)) {
      base64(value->text());
      putScalar(field);
    }
  } else if constexpr (PasswordString<Tag>) {
    const pstring* value = MessageAccess::pointer<pstring>(std::as_const(message), slot);
    if (value != nullptr && passwordText(field, *value, passwordMode)) {
      putScalar(field);
    }
  } else if constexpr (MessageValue<Tag>) {
    YMMessageBase* value = MessageAccess::pointer<YMMessageBase>(message, slot);
    if (value == nullptr) {
      if (std::string_view(field.name()) != "processinginstructioninfo") {
        XMLDebug::getInstance()->logError(function, "[%s]", "Please check");
      }
    } else if (!sink_.open(field.name())) {
      XMLDebug::getInstance()->logError(function, "Error constructing subobject : [%s]", field.name());
    } else {
      writeNested(*value, passwordMode);
      sink_.close();
    }
  } else if constexpr (ListValue<Tag> && Tag::type != FIELD_LIST_WSTRING) {
    if (const Value* list = MessageAccess::pointer<Value>(std::as_const(message), slot)) {
      writeList<Tag>(field, *list, passwordMode);
    }
  } else if constexpr (MapValue<Tag>) {
    if (Value* map = MessageAccess::pointer<Value>(message, slot)) {
      writeMap<Tag>(field, *map, passwordMode);
    }
  }  // wide strings and types without storage have no XML form
}

void MessageWriter::writeNested(YMMessageBase& message, int passwordMode)
{
  (void)writeFields(message, passwordMode);  // tooDeep_ keeps the result
}

template <class Tag>
void MessageWriter::writeList(const Field& field, const typename Tag::Value& list, int passwordMode)
{
  for (const auto& item : list) {
    if (tooDeep_) {
      return;
    }
    if (!sink_.open(field.name())) {
      XMLDebug::getInstance()->logError(function, "Error constructing list object [%s].", field.name());
      return;
    }
    if constexpr (Tag::type == FIELD_LIST_OBJECT) {
      // The list belongs to a message that the caller may change; only listeners could, through their own
      // pointer.
      writeNested(const_cast<YMMessageBase&>(item), passwordMode);
    } else {
      if constexpr (Tag::type == FIELD_LIST_STRING) {
        field.cdata ? utf8(cdataText(item)) : utf8(item);
      } else if constexpr (Tag::type == FIELD_LIST_BSTRING) {
        base64(item.text());
      } else if constexpr (std::is_floating_point_v<std::decay_t<decltype(item)>>) {
        number(static_cast<double>(item));
      } else if constexpr (std::is_signed_v<std::decay_t<decltype(item)>>) {
        number(static_cast<long long>(item));
      } else {
        number(static_cast<unsigned long long>(item));
      }
      putItem(field.cdata);
    }
    sink_.close();
  }
}

template <class T>
void MessageWriter::writeMapPart(T& part, int passwordMode)
{
  if constexpr (std::is_same_v<T, YMMessageBase>) {
    writeNested(part, passwordMode);
  } else {
    if constexpr (std::is_same_v<T, std::string>) {
      utf8(part);
    } else {
      number(static_cast<long long>(part));
    }
    putItem(false);
  }
}

template <class Tag>
void MessageWriter::writeMap(const Field& field, typename Tag::Value& map, int passwordMode)
{
  for (auto& [key, value] : map) {
    if (tooDeep_) {
      return;
    }
    if (!sink_.openMapEntry(field.name())) {
      if constexpr (Tag::info.mapKey == FIELD_STRING) {
        XMLDebug::getInstance()->logError(function, "Error for map field [%s], key : [%s]", field.name(),
                                          key.c_str());
      } else if constexpr (Tag::info.mapKey == FIELD_INT64) {
        XMLDebug::getInstance()->logError(function, "Error for map field [%s], key : [%lld]", field.name(),
                                          key);
      }
      continue;
    }
    writeMapPart(const_cast<std::remove_const_t<std::remove_reference_t<decltype(key)>>&>(key), passwordMode);
    sink_.mapValue();
    writeMapPart(value, passwordMode);
    sink_.closeMapEntry();
  }
}

}  // namespace kwxml

void parseStringForCDATAEndAndReplace(std::string& text)
{
  auto at = text.find("]]>");
  if (at == std::string::npos) {
    return;
  }
  std::string out;
  std::size_t copied = 0;
  for (; at != std::string::npos; at = text.find("]]>", copied)) {
    out.append(text, copied, at - copied).append("]]]]>>");
    copied = at + 3;
  }
  text = out.append(text, copied);
}
