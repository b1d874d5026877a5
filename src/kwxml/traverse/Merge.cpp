#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/traverse/XmlTraverse.h>

using kwxml::MessageAccess;

namespace {

bool mergeMessages(YMMessageBase& from, YMMessageBase& into, int depth);

/// The lists whose elements a merge appends. That lists of uint, enumerations and bools are not among them is
/// part of what a merge is.
template <class Tag>
inline constexpr bool mergesElements = kwxml::ListValue<Tag>&& Tag::type != FIELD_LIST_UINT&& Tag::type !=
                                       FIELD_LIST_ENUM&& Tag::type != FIELD_LIST_BOOL;

template <class Tag>
[[gnu::noinline]] void mergeField(Tag, YMMessageBase& from, YMMessageBase& into, const FieldDef& def,
                                  int depth)
{
  using Value = typename Tag::Value;
  const short field = def.fieldNumber;
  const short slot = def.slot;
  const unsigned long tag = from.getTagID();
  if constexpr (Tag::type == FIELD_LIST_OBJECT) {
    // All are copied first: the list may be that of `into` as well.
    const std::vector<YMMessageBase>* source = MessageAccess::pointer<Value>(from, slot);
    const std::vector<YMMessageBase> copies = source != nullptr ? *source : std::vector<YMMessageBase>();
    for (const YMMessageBase& copy : copies) {
      MessageAccess::appendElement(into, def, &copy);
    }
  } else if constexpr (mergesElements<Tag>) {
    const Value* source = MessageAccess::pointer<Value>(from, slot);
    Value*& target = MessageAccess::pointer<Value>(into, slot);
    Value elements = source != nullptr ? *source : Value();
    if (target == nullptr) {
      target = new Value(std::move(elements));
    } else {
      target->insert(target->end(), std::make_move_iterator(elements.begin()),
                     std::make_move_iterator(elements.end()));
    }
    MessageAccess::mark(into, def);
  } else if constexpr (kwxml::MessageValue<Tag>) {
    YMMessageBase* source = MessageAccess::pointer<YMMessageBase>(from, slot);
    YMMessageBase* target =
        MessageAccess::isSet(into, def) ? MessageAccess::pointer<YMMessageBase>(into, slot) : nullptr;
    if (source == nullptr) {
      return;
    }
    if (target != nullptr) {
      mergeMessages(*source, *target, depth + 1);
    } else {
      into.setObject(field, slot, new YMMessageBase(*source), true, tag, def.hash, true);
    }
  } else if constexpr (kwxml::IntegerSlot<Tag> || kwxml::FloatingSlot<Tag>) {
    into.setint64(field, slot, from.getint64(slot, tag, def.hash), tag, def.hash);
  } else if constexpr (Tag::type == FIELD_STRING) {
    into.setstring(field, slot, from.getstring(field, slot, tag, def.hash), tag, def.hash);
  } else if constexpr (Tag::type == FIELD_WSTRING) {
    into.setwstring(field, slot, from.getwstring(field, slot, tag, def.hash), tag, def.hash);
  } else if constexpr (kwxml::ByteString<Tag>) {
    if (const bstring* text = from.getbstringobject_const(field, slot, tag, def.hash)) {
      into.setbstringobject(field, slot, bstring(*text), tag, def.hash);
    }
  } else if constexpr (kwxml::PasswordString<Tag>) {
    if (const pstring* text = from.getpstringobject_const(field, slot, tag, def.hash)) {
      into.setpstringobject(field, slot, pstring(*text),
                            static_cast<Annotation::PasswordEncryptType>(text->getEncryptionType()), tag,
                            def.hash);
    }
  }
}

bool mergeMessages(YMMessageBase& from, YMMessageBase& into, int depth)
{
  const _ClassDef* cls = from.getClass();
  if (cls == nullptr || from.getTagID() != into.getTagID() || into.getClass() != cls) {
    return false;
  }
  constexpr const char* function = "KwXmlMessageProcessor::merge";
  if (depth > kwxml::maxMessageNesting) {
    XMLDebug::getInstance()->logError(function, "Messages nest deeper than [%d]", kwxml::maxMessageNesting);
    return false;
  }
  XMLDebug::getInstance()->debug(function, 10, "Merging Objects [%ld] and [%ld]",
                                 static_cast<long>(from.getTagID()), static_cast<long>(into.getTagID()));
  for (const FieldDef& def : *cls) {
    if (def.hash != 0 && MessageAccess::isSet(from, def)) {
      kwxml::visitFieldType(def.type, [&](auto tag) { mergeField(tag, from, into, def, depth); });
    }
  }
  return true;
}

}  // namespace

// A part of `into` cannot be merged into it: growing lists move their messages. Only a copy of it can.
bool XmlTraverse::merge(YMMessageBase& from, YMMessageBase& into)
{
  return mergeMessages(from, into, 1);
}
