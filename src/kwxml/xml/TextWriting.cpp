#include <kwxml/xml/TextWriting.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/xml/MessageWriter.h>
#include <kwxml/xml/TextSink.h>
#include <kwxml/xml/XMLSerializationSupport.h>

#include <algorithm>
#include <vector>

namespace kwxml {

namespace {

/// A message that is still to be looked at.
struct Pending
{
  const YMMessageBase* message;
  int depth;
};

/// Adds the messages in a field's value; false where one is missing, which is logged when it is written.
[[gnu::noinline]] bool addNested(std::vector<Pending>& pending, const YMMessageBase& message,
                                 const FieldDef& def, int depth)
{
  const auto add = [&]<class Part>(const Part& part) {
    if constexpr (std::is_same_v<Part, YMMessageBase>) {
      pending.push_back({&part, depth});
    }
  };
  return visitFieldType(def.type, [&]<class Tag>(Tag) {
    using Value = typename Tag::Value;
    if constexpr (MessageValue<Tag> || Tag::type == FIELD_LIST_OBJECT || MapValue<Tag>) {
      const Value* value = MessageAccess::pointer<Value>(message, def.slot);
      if (value == nullptr) {
        return !MessageValue<Tag>;
      }
      if constexpr (MessageValue<Tag>) {
        add(*value);
      } else if constexpr (Tag::type == FIELD_LIST_OBJECT) {
        std::for_each(value->begin(), value->end(), add);
      } else {
        for (const auto& [key, mapped] : *value) {
          add(key);
          add(mapped);
        }
      }
    }
    return true;
  });
}

bool isWritten(const YMMessageBase& message, std::uint16_t position)
{
  return YMMessageBase::isOldWay(message.getTagID()) ||
         MessageAccess::isSet(message, message.getClass()->fields[position]);
}

/// Calls `accepts(const YMMessageBase&, const WritePlan&)` for each message that would be written. False as
/// soon as that says so, or one nests deeper than a reader accepts, or a message is missing and `missing` is
/// false. Looks at messages alone, not at the values that they hold. No recursion: stacks may be small.
template <class Accepts>
bool acceptsAll(const YMMessageBase& root, bool missing, Accepts accepts)
{
  std::vector<Pending> pending{{&root, 1}};
  while (!pending.empty()) {
    const auto [message, depth] = pending.back();
    pending.pop_back();
    const _ClassDef* cls = message->getClass();
    if (cls == nullptr) {
      continue;
    }
    const WritePlan& plan = writePlan(MessageAccess::planOf(*message), message->getSubsysID(), *cls);
    if (depth > maxMessageNesting || !accepts(*message, plan)) {
      return false;
    }
    for (const std::uint16_t position : plan.nested) {
      if (isWritten(*message, position) && !addNested(pending, *message, cls->fields[position], depth + 1) &&
          !missing) {
        return false;
      }
    }
  }
  return true;
}

bool isUsual(const YMMessageBase& root, const EncodingFlags& flags)
{
  return acceptsAll(root, false, [&flags](const YMMessageBase& message, const WritePlan& plan) {
    return plan.plainNames &&
           (flags.maskPasswords || std::none_of(plan.secrets.begin(), plan.secrets.end(),
                                                [&](std::uint16_t at) { return isWritten(message, at); }));
  });
}

}  // namespace

bool nestsTooDeep(const YMMessageBase& root)
{
  return !acceptsAll(root, true, [](const YMMessageBase&, const WritePlan&) { return true; });
}

TextWritten writeText(const YMMessageBase& message, TextOutput& out, const EncodingFlags& flags,
                      const XMLSerializationSupport& listeners, KwXMLContextInfo* context, bool elementOnly)
{
  constexpr int traceLevel = 15;
  constexpr int topLevelPasswordMode = 2;
  const _ClassDef* cls = message.getClass();
  if (cls == nullptr || !listeners.empty() || log().getDebugLevel() >= traceLevel ||
      !isUsual(message, flags)) {
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
