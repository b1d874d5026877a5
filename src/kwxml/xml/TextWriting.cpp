#include <kwxml/xml/TextWriting.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/xml/MessageWriter.h>
#include <kwxml/xml/TextSink.h>
#include <kwxml/xml/XMLSerializationSupport.h>

#include <algorithm>

namespace kwxml {

namespace {

bool isUsual(const YMMessageBase& message, const EncodingFlags& flags, int depth);

template <class T>
bool isUsualPart(const T& part, const EncodingFlags& flags, int depth)
{
  if constexpr (std::is_same_v<T, YMMessageBase>) {
    return isUsual(part, flags, depth);
  } else {
    return true;
  }
}

template <class Tag>
bool isUsualValue(Tag, const YMMessageBase& message, const FieldDef& def, const EncodingFlags& flags,
                  int depth)
{
  using Value = typename Tag::Value;
  if constexpr (MessageValue<Tag> || Tag::type == FIELD_LIST_OBJECT || MapValue<Tag>) {
    const Value* value = MessageAccess::pointer<Value>(message, def.slot);
    if (value == nullptr) {
      return !MessageValue<Tag>;  // a message that is missing is logged
    }
    if constexpr (MessageValue<Tag>) {
      return isUsual(*value, flags, depth);
    } else if constexpr (Tag::type == FIELD_LIST_OBJECT) {
      return std::all_of(value->begin(), value->end(),
                         [&](const YMMessageBase& item) { return isUsual(item, flags, depth); });
    } else {
      return std::all_of(value->begin(), value->end(), [&](const auto& entry) {
        return isUsualPart(entry.first, flags, depth) && isUsualPart(entry.second, flags, depth);
      });
    }
  } else {
    return true;
  }
}

/// Looks at messages alone, not at the values that they hold.
bool isUsual(const YMMessageBase& message, const EncodingFlags& flags, int depth)
{
  const _ClassDef* cls = message.getClass();
  if (cls == nullptr) {
    return true;
  }
  const WritePlan& plan = writePlan(MessageAccess::planOf(message), message.getSubsysID(), *cls);
  if (!plan.plainNames || depth > maxMessageNesting) {
    return false;
  }
  if (plan.nested.empty() && plan.secrets.empty()) [[likely]] {
    return true;
  }
  const bool oldWay = YMMessageBase::isOldWay(message.getTagID());
  const auto isWritten = [&](std::uint16_t position) {
    return oldWay || MessageAccess::isSet(message, cls->fields[position]);
  };
  return (flags.maskPasswords || std::none_of(plan.secrets.begin(), plan.secrets.end(), isWritten)) &&
         std::all_of(plan.nested.begin(), plan.nested.end(), [&](std::uint16_t position) {
           const FieldDef& def = cls->fields[position];
           return !isWritten(position) || visitFieldType(def.type, [&](auto tag) {
             return isUsualValue(tag, message, def, flags, depth + 1);
           });
         });
}

}  // namespace

TextWritten writeText(YMMessageBase& message, TextOutput& out, const EncodingFlags& flags,
                      const XMLSerializationSupport& listeners, KwXMLContextInfo* context, bool elementOnly)
{
  constexpr int traceLevel = 15;
  constexpr int topLevelPasswordMode = 2;
  const _ClassDef* cls = message.getClass();
  if (cls == nullptr || !listeners.empty() || log().getDebugLevel() >= traceLevel ||
      !isUsual(message, flags, 1)) {
    return {};
  }
  const WritePlan& plan = writePlan(MessageAccess::planOf(message), message.getSubsysID(), *cls);
  if (!plan.plainRoot) {
    return {};
  }
  TextSink sink(out, flags.readableForm != 0);
  if (!elementOnly) {
    sink.declaration();
  }
  sink.open({plan.root.c_str(), plan.root.size()});
  MessageWriter<TextSink> writer(sink, flags, listeners, context);
  writer.giveUpOnLoss(out);
  if (!writer.writeFields(message, topLevelPasswordMode) && !out.isUnderWay()) {
    return {};
  }
  sink.close();
  if (!elementOnly) {
    sink.endDocument();
  }
  return {.done = true, .lost = writer.lost()};
}

}  // namespace kwxml
