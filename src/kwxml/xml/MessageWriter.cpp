#include <kwxml/xml/MessageWriter.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/model/NumberText.h>
#include <kwxml/xml/Base64.h>
#include <kwxml/xml/Dates.h>
#include <kwxml/xml/PasswordFields.h>
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

std::string rootElementName(const YMMessageBase& message)
{
  constexpr int monitoringSystem = 119;
  if (message.getSubsysID() == monitoringSystem &&
      XMLSerializationSupport::checkIfSystemMonitoringMessage(message.getTagID() & 0xFFFFFF)) {
    const _ClassDef* cls = message.getClass();
    return std::string("SystemMonitoring_") + cls->name;
  }
  return message.getTagName();
}

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
      if (base64(value->text())) {
        putScalar(field);
      }
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
        if (!base64(item.text())) {
          sink_.close();
          continue;
        }
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

// ---- Texts

bool MessageWriter::integerText(const Field& field, long long value)
{
  constexpr int secondsPerDay = 86400;
  if (!flags_.readableForm || !field.annotations.present()) {
    number(value);
    return true;
  }
  if (field.annotations.isTimeOfDay()) {
    if (value > secondsPerDay || value < INT_MIN) {
      XMLDebug::getInstance()->logError(function, "Invalid time in seconds [%d]",
                                        static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX)));
      return false;
    }
    char clock[80];
    const auto seconds = static_cast<int>(value);
    ascii({clock, static_cast<std::size_t>(std::snprintf(clock, sizeof clock, "%02d:%02d:%02d",
                                                         seconds / 3600, seconds / 60 % 60, seconds % 60))});
    return true;
  }
  const int dateForm = field.annotations.dateForm();
  if (dateForm == 0) {
    number(value);
    return true;
  }
  if (value == 0) {
    return false;
  }
  char date[504];
  // Timestamps are 32-bit seconds; a larger value has no date and is not shown as another one.
  if (value != static_cast<int>(value) ||
      !writeXDate(static_cast<int>(value), static_cast<Annotation::DateType>(dateForm), date)) {
    XMLDebug::getInstance()->logError(function, "[%s]", "Unable to convert timestamp to date");
    return false;
  }
  ascii(date);
  return true;
}

bool MessageWriter::enumText(const Field& field, long long value)
{
  if (!flags_.readableForm && !flags_.enumsAsNames) {
    number(value);
    return true;
  }
  const _ClassDef* cls = YMMessageBase::GetClassDefFromClassID(field.def);
  const FieldDef* enumerator = cls != nullptr && value == static_cast<int>(value)
                                   ? findField(*cls, static_cast<std::uint32_t>(value))
                                   : nullptr;
  if (enumerator == nullptr) {
    XMLDebug::getInstance()->logError(function, "Field [%s] does not accept value [%lld]", field.name(),
                                      value);
    return false;
  }
  utf8(enumerator->getName());
  return true;
}

bool MessageWriter::passwordText(const Field& field, const pstring& value, int passwordMode)
{
  if (!field.annotations.present()) {
    XMLDebug::getInstance()->logError(function, "There are no annotations specified on this field : [%s]",
                                      field.name());
    return false;
  }
  const int type = field.annotations.passwordType();
  if (type == 0) {
    XMLDebug::getInstance()->logError(function, "Password annotation is not specified on this field : [%s]",
                                      field.name());
    return false;
  }
  if (flags_.maskPasswords) {
    ascii("*******");
    return true;
  }
  if (passwordMode <= 1) {
    return base64(value.text());
  }
  std::string text;
  if (encryptPassword({flags_, context_}, type, value, text) == passwordHandlerMissing) {
    XMLDebug::getInstance()->logError(
        function, "Password Handler Not Found while serializing bstring field [%s]", field.name());
    return false;
  }
  utf8(text);
  return true;
}

void MessageWriter::ascii(std::string_view text)
{
  buffer_.resize(text.size());
  std::copy(text.begin(), text.end(), buffer_.begin());
  text_ = buffer_.c_str();
}

void MessageWriter::number(long long value)
{
  NumberBuffer digits;
  ascii(formatInteger(value, digits));
}

void MessageWriter::number(unsigned long long value)
{
  NumberBuffer digits;
  ascii(formatUnsigned(value, digits));
}

void MessageWriter::number(double value)
{
  NumberBuffer digits;
  ascii(formatDouble(value, digits));
}

void MessageWriter::utf8(const std::string& value)
{
  // ASCII without forbidden control characters, as nearly every text is, needs no transcoder and no escaper:
  // widened while that is found out.
  bool plain = true;
  buffer_.resize(value.size());
  for (std::size_t i = 0; i < value.size(); ++i) {
    const auto c = static_cast<unsigned char>(value[i]);
    plain &= (c >= 0x20 && c < 0x80) || c == '\t' || c == '\n' || c == '\r';
    buffer_[i] = c;
  }
  if (plain) {
    text_ = buffer_.c_str();
    return;
  }
  XMLChstring wide;
  if (!XMLEncXStr::convertUTF8ToUTF16(value, wide)) {
    XMLEncXStr::convertUnformattedToUTF16(value, wide);
  }
  text_ = wide.length() == 0 ? u"" : toXmlCh(escaper_.encodeInvalidChars(wide.c_str(), wide.length()));
  if (text_ == toXmlCh(wide.c_str())) {  // nothing to escape: the text outlives `wide` in the buffer
    buffer_.assign(text_, wide.length());
    text_ = buffer_.c_str();
  }
}

bool MessageWriter::base64(const std::string& bytes)
{
  std::string text;
  if (!base64Encode(bytes, text)) {
    return false;  // logged
  }
  utf8(text);
  return true;
}

void MessageWriter::putScalar(const Field& field)
{
  if (field.cdata) {
    sink_.cdataElement(field.name(), text_);
  } else if (flags_.valuesAsElements) {
    sink_.textElement(field.name(), text_);
  } else {
    sink_.attribute(field.name(), text_);
  }
}

void MessageWriter::putItem(bool cdata)
{
  if (cdata) {
    sink_.cdata("val", text_);
  } else if (flags_.valuesAsElements) {
    sink_.text("val", text_);
  } else {
    sink_.itemAttribute("val", text_);
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
