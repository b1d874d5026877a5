// The walk that measures a message's body before it is written.
#include <kwxml/binary/BinaryParts.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/text/Base64.h>

namespace kwxml {

PasswordText passwordText(const FieldDef& def, const pstring* value, const EncodeCall& call)
{
  const AnnotationRecord annotations(def.annotations);
  if (!annotations.present()) {
    return {PasswordText::NoAnnotation, {}};
  }
  static const pstring none;
  const pstring& password = value != nullptr ? *value : none;
  const int type = annotations.passwordType();
  if (type == Annotation::UNKNOWN || call.version < 2) {
    return {PasswordText::Written, password.text()};
  }
  PasswordText result{PasswordText::Written, {}};
  if (encryptPassword(call.passwords, type, password, result.text) == passwordHandlerMissing) {
    return {PasswordText::Refused, {}};
  }
  return result;
}

bool refuseDepth(EncodeCall& call)
{
  if (!call.tooDeep) {
    log().logError(writerFunction, "Messages nest deeper than [%d]", maxMessageNesting);
    call.tooDeep = true;
  }
  return false;
}

namespace {

template <class T>
std::uint64_t measureMapPart(const T& part, EncodeCall& call)
{
  if constexpr (std::is_same_v<T, YMMessageBase>) {
    return delimited(measureBody(part, call));
  } else if constexpr (std::is_same_v<T, std::string>) {
    return delimited(cutLength(part));
  } else {
    return 8;
  }
}

template <class Map>
std::uint64_t measureMapBody(const Map& map, EncodeCall& call)
{
  const std::size_t reserved = reserveSize(call);
  std::uint64_t size = 2;
  for (const auto& [key, value] : map) {
    size += measureMapPart(key, call) + measureMapPart(value, call);
  }
  storeSize(call, reserved, size);
  return size;
}

// Functions of their own for each type keep a level of nesting small on the stack.

template <class Tag>
[[gnu::noinline]] std::uint64_t measureValue(Tag, const YMMessageBase& message, const FieldDef& def,
                                             EncodeCall& call)
{
  using Value = typename Tag::Value;
  constexpr std::uint64_t key = wire::keySize;
  const short slot = def.slot;
  if constexpr (Tag::type == FIELD_ULONGLONG) {
    return key + 8;
  } else if constexpr (ByteString<Tag>) {
    const bstring* value = MessageAccess::pointer<bstring>(message, slot);
    const std::size_t size = value != nullptr ? value->size() : 0;
    return key + delimited(call.version > 1 ? base64EncodedLength(size) : size);
  } else if constexpr (PasswordString<Tag>) {
    PasswordText password = passwordText(def, MessageAccess::pointer<pstring>(message, slot), call);
    const std::size_t size = password.text.size();
    if (call.keepPasswords && password.kind != PasswordText::NoAnnotation) {
      call.passwordTexts.push_back(
          password.kind == PasswordText::Written ? std::optional(std::move(password.text)) : std::nullopt);
    }
    return password.kind == PasswordText::Refused        ? 0
           : password.kind == PasswordText::NoAnnotation ? key
                                                         : key + delimited(size);
  } else if constexpr (MessageValue<Tag>) {
    const YMMessageBase* value = MessageAccess::pointer<YMMessageBase>(message, slot);
    return value != nullptr ? key + delimited(measureBody(*value, call)) : 0;
  } else if constexpr (ListValue<Tag> && Tag::type != FIELD_LIST_WSTRING) {
    const Value* list = MessageAccess::pointer<Value>(message, slot);
    const std::size_t count = list != nullptr ? list->size() : 0;
    std::uint64_t size = key + varintSize(low32(static_cast<long long>(count)));
    if constexpr (std::is_arithmetic_v<typename Value::value_type>) {
      return size + key + delimited(list != nullptr ? elementsSize(*list) : 0);
    } else {
      for (std::size_t i = 0; i < count; ++i) {
        auto& item = (*list)[i];
        if constexpr (Tag::type == FIELD_LIST_OBJECT) {
          size += key + delimited(measureBody(item, call));
        } else if constexpr (Tag::type == FIELD_LIST_STRING) {
          size += key + delimited(cutLength(item));
        } else {
          size += key + delimited(call.version > 1 ? base64EncodedLength(item.size()) : item.size());
        }
      }
      return size;
    }
  } else if constexpr (MapValue<Tag>) {
    const Value* map = MessageAccess::pointer<Value>(message, slot);
    return key + varintSize(map != nullptr ? low32(static_cast<long long>(map->size())) : 0) + key +
           delimited(map != nullptr ? measureMapBody(*map, call) : 2);
  } else {
    return key;
  }
}

[[gnu::noinline]] std::uint64_t measureOther(const YMMessageBase& message, const FieldDef& def,
                                             EncodeCall& call)
{
  return visitFieldType(def.type, [&](auto tag) { return measureValue(tag, message, def, call); });
}

}  // namespace

std::uint64_t measureBody(const YMMessageBase& message, EncodeCall& call)
{
  const std::size_t reserved = reserveSize(call);
  std::uint64_t size = 0;
  if (enterMessage(call) && message.getClass() != nullptr) {
    const ConstSlots slots = MessageAccess::slots(message);
    const FieldDef* const fields = message.getClass()->fields;
    MessageAccess::forEachSetPlan(
        message, [&](const FieldPlan& plan, std::size_t position) __attribute__((always_inline)) {
          const wire::Kind kind = plan.kind;
          if (kind == wire::Kind::Other) {
            size += measureOther(message, fields[position], call);
            return;
          }
          size += wire::keySize;
          const long long* const value = &slots[plan];
          if (kind == wire::Kind::Zigzag) {
            size += varintSize(zigzag(static_cast<std::int32_t>(low32(*value))));
          } else if (kind == wire::Kind::Varint) {
            size += varintSize(low32(*value));
          } else if (kind == wire::Kind::Fixed8) {
            size += 8;
          } else if (kind == wire::Kind::String) {
            size += delimited(stringAt(value).size());
          } else {
            size += 4;
          }
        });
  }
  --call.depth;
  storeSize(call, reserved, size);
  message.SetCachedSize(low32(static_cast<long long>(size)));
  return size;
}

}  // namespace kwxml
