// The values of a body by their types, collections among them.
#include <kwxml/binary/BodyReader.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/MessageLife.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace kwxml {

using wire::NumberForm;

template <class Watch>
bool BodyReader<Watch>::readNested(YMMessageBase& owner, YMMessageBase& nested, bool reused,
                                   const FieldDef& def, std::uint32_t index, const char* part)
{
  const std::uint32_t size = in_.varint();
  owner.SetCachedSize(size);
  if (reused) {
    MessageReuse::begin(nested);
  } else {
    nested.wipeBitset();
    if (!call_.budget.take(nested)) {
      const std::string why = call_.budget.explain();
      log().logError(readerFunction, "%s", why.c_str());
      watch_.ended(in_.position(), ProblemKind::NoMemory, &def, why);
      return false;
    }
  }
  const bool opened = Watch::follows && !in_.failed();
  if (opened) {
    watch_.open(in_.position(), def, nested, size, bodyEnd_, index, part);
  }
  const MessageReuse::Scope scope(reused ? &nested : nullptr);
  const bool outer = std::exchange(reused_, reused);
  const bool good = readFields(nested, in_.position() + size);
  reused_ = outer;
  if (opened) {
    watch_.close(in_.position(), good);
  }
  return good;
}

template <class Watch>
template <class Tag>
bool BodyReader<Watch>::readValue(Tag, YMMessageBase& message, const FieldDef& def)
{
  using Value = typename Tag::Value;
  if constexpr (Tag::type == FIELD_ULONGLONG) {
    long long& slot = MessageAccess::raw(message, def.slot);
    slot = static_cast<long long>(in_.fixed<std::uint64_t>());
    MessageAccess::mark(message, def);
    if (Watch::follows && !in_.failed()) {
      watch_.number(in_.position(), message, def, slot);
    }
  } else if constexpr (ByteString<Tag>) {
    std::string_view value;
    if (!text(value, def, "bstring")) {
      return false;
    }
    message.setbstringobject(def.fieldNumber, def.slot, bstring(bytes(value, def)), message.getTagID(),
                             def.hash);
  } else if constexpr (PasswordString<Tag>) {
    return readPassword(message, def);
  } else if constexpr (MessageValue<Tag>) {
    return readObject(message, def);
  } else if constexpr (ListValue<Tag> && Tag::type != FIELD_LIST_WSTRING) {
    Value*& list = MessageAccess::pointer<Value>(message, def.slot);
    if (list == nullptr) {
      list = new Value;
    } else if (std::is_arithmetic_v<typename Value::value_type> && isStale(message, def)) {
      list->clear();
    }
    MessageAccess::mark(message, def);
    if constexpr (std::is_arithmetic_v<typename Value::value_type>) {
      return readNumbers(*list, def);
    } else if constexpr (Tag::type == FIELD_LIST_OBJECT) {
      return readObjects(message, def, *list);
    } else {
      return readTexts(*list, def);
    }
  } else if constexpr (MapValue<Tag>) {
    return readMap<Tag>(message, def);
  }  // wide strings and types without storage have no value
  return true;
}

template <class Watch>
template <class Item>
bool BodyReader<Watch>::readTexts(std::vector<Item>& list, const FieldDef& def)
{
  constexpr bool isString = std::is_same_v<Item, std::string>;
  constexpr const char* kind = isString ? "list<string>" : "list<bstring>";
  constexpr std::size_t smallest = wire::keySize + 1;
  const std::uint32_t count = pendingCount_;
  ListFilling filling(list);
  list.reserve(std::min<std::size_t>(count, in_.left() / smallest + 1));
  if (count == 0) {
    watch_.noElements();
  }
  for (std::uint32_t i = 0; i < count; ++i) {
    if (i > 0 && !passKey(def)) {
      return false;
    }
    watch_.place(i, nullptr);
    std::string_view item;
    if constexpr (isString) {
      if (!string(item, def, kind)) {
        return false;
      }
      if (std::string* const old = filling.old()) {
        old->assign(item);
      } else {
        list.emplace_back(item);
      }
    } else {
      if (!text(item, def, kind)) {
        return false;
      }
      if (bstring* const old = filling.old()) {
        *old = bstring(bytes(item, def));
      } else {
        list.emplace_back(bytes(item, def));
      }
    }
    filling.next();
  }
  return true;
}

/// The key again, whatever it is. False when the bytes end within it.
template <class Watch>
bool BodyReader<Watch>::passKey(const FieldDef& def)
{
  in_.pass(wire::keySize);
  if (in_.failed()) {
    watch_.ended(in_.position(), ProblemKind::BufferCut, &def,
                 "the bytes end within the key before an element");
    return false;
  }
  watch_.nextElement(in_.position());
  return true;
}

template <class Watch>
template <class Number>
bool BodyReader<Watch>::readNumbers(std::vector<Number>& list, const FieldDef& def)
{
  constexpr NumberForm form = wire::elementForm<Number>;
  const std::uint32_t size = in_.varint();  // of all elements: the count says it too
  const std::size_t count = pendingCount_;
  if (Watch::follows && !in_.failed()) {
    watch_.count(in_.position(), def, pendingCount_, size);
  }
  if (count > in_.left() / wire::smallest(form)) {
    watch_.ended(in_.position(), ProblemKind::BufferCut, &def,
                 "the bytes that are left cannot hold " + std::to_string(count) + " elements");
    in_.pass(in_.left() + 1);
    return false;
  }
  list.resize(count);
  if constexpr (Watch::explains) {
    for (std::uint32_t i = 0; i < count; ++i) {
      if constexpr (form == NumberForm::Fixed8 || form == NumberForm::Fixed4) {
        using Bits = std::conditional_t<form == NumberForm::Fixed8, std::uint64_t, std::uint32_t>;
        list[i] = std::bit_cast<Number>(in_.fixed<Bits>());
      } else {
        const std::uint32_t bits = in_.varint();
        list[i] =
            form == NumberForm::Zigzag ? static_cast<Number>(unzigzag(bits)) : static_cast<Number>(bits);
      }
      if (in_.failed()) {
        break;
      }
      watch_.place(i, nullptr);
      watch_.element(in_.position(), def, list[i]);
    }
  } else if constexpr (form == NumberForm::Fixed8 || form == NumberForm::Fixed4) {
    if constexpr (std::endian::native == std::endian::little) {
      if (count != 0) {
        std::memcpy(list.data(), in_.at(), count * sizeof(Number));
        in_.skip(count * sizeof(Number));
      }
    } else {
      using Bits = std::conditional_t<form == NumberForm::Fixed8, std::uint64_t, std::uint32_t>;
      for (Number& item : list) {
        item = std::bit_cast<Number>(in_.fixed<Bits>());
      }
    }
  } else {
    const auto store = [](Number& item, std::uint32_t bits) {
      if constexpr (form == NumberForm::Zigzag) {
        item = unzigzag(bits);
      } else {
        item = bits;
      }
    };
    std::size_t i = 0;
    constexpr std::size_t longest = 5;
    for (; i < count && in_.left() >= longest; ++i) {
      store(list[i], in_.varintInside());
    }
    for (; i < count; ++i) {
      store(list[i], in_.varint());
    }
  }
  return true;
}

template <class Watch>
bool BodyReader<Watch>::readObject(YMMessageBase& message, const FieldDef& def)
{
  const PackedReference reference = MessageAccess::reference(message, def);
  YMMessageBase*& nested = MessageAccess::pointer<YMMessageBase>(message, def.slot);
  if (reference.system == 0) {
    log().logError(readerFunction, "Error unserializing on field [%s]", def.getName());
    watch_.ended(in_.position(), ProblemKind::ClassUnknown, &def, missingClass);
    return false;
  }
  const _ClassDef* const cls = findClass(reference);
  const bool stale = nested != nullptr && isStale(message, def);
  const bool reused = stale && MessageReuse::canBegin(*nested, cls);
  if (stale && !reused) {
    delete std::exchange(nested, nullptr);
  }
  if (nested == nullptr) {
    if (cls == nullptr) {
      log().logError(readerFunction, "Error instantiating member : [%s]::[%s]", message.getClass()->name,
                     def.getName());
      watch_.ended(in_.position(), ProblemKind::ClassUnknown, &def, missingClass);
      return false;
    }
    nested = new YMMessageBase(*reference.registry, reference.system, reference.classIndex);
  }
  MessageAccess::mark(message, def);
  if (!readNested(message, *nested, reused, def)) {
    log().logError(readerFunction, "Error unserializing on field [%s]", def.getName());
    return false;
  }
  return true;
}

template <class Watch>
bool BodyReader<Watch>::readObjects(YMMessageBase& message, const FieldDef& def,
                                    std::vector<YMMessageBase>& list)
{
  const PackedReference reference = MessageAccess::reference(message, def);
  if (reference.system == 0) {
    log().logError(readerFunction, "Error unserializing on field [%s]", def.getName());
    watch_.ended(in_.position(), ProblemKind::ClassUnknown, &def, missingClass);
    return false;
  }
  constexpr std::size_t smallest = wire::keySize + 1;
  const std::uint32_t count = pendingCount_;
  const _ClassDef* const cls = findClass(reference);
  ListFilling filling(list);
  if (count == 0) {
    watch_.noElements();
  }
  // Lists nest: each level could set memory apart for all the bytes that are left.
  constexpr std::uint64_t mostAtOnce = 4096;
  list.reserve(std::min<std::uint64_t>({count, in_.left() / smallest + 1, mostAtOnce}));
  for (std::uint32_t i = 0; i < count; ++i) {
    if ((i > 0 && !passKey(def)) || in_.failed()) {
      return false;
    }
    if (cls == nullptr) {
      log().logError(readerFunction, "Error instantiating member : [%s]::[%s]", message.getClass()->name,
                     def.getName());
      watch_.ended(in_.position(), ProblemKind::ClassUnknown, &def, missingClass);
      return false;
    }
    YMMessageBase* item = filling.old();
    const bool reused = item != nullptr && MessageReuse::canBegin(*item, cls);
    if (item == nullptr) {
      item = &list.emplace_back(*reference.registry, reference.system, reference.classIndex);
    } else if (!reused) {
      MessageLife::restart(*item, reference);
    }
    filling.next();
    if (!readNested(message, *item, reused, def, i)) {
      log().logError(readerFunction, "Error unserializing on field [%s]", def.getName());
      return false;
    }
  }
  return true;
}

/// A key or a value; `what` is its kind, or of a message what the line about it adds to the field.
template <class Watch>
template <class T>
bool BodyReader<Watch>::readMapPart(YMMessageBase& message, const FieldDef& def, T& part, const char* what,
                                    std::uint32_t index, const char* role)
{
  if constexpr (std::is_same_v<T, YMMessageBase>) {
    if (readNested(message, part, false, def, index, role)) {
      return true;
    }
    log().logError(readerFunction, "Error unserializing on field [%s]%s", def.getName(), what);
    return false;
  } else if constexpr (std::is_same_v<T, std::string>) {
    watch_.place(index, role);
    std::string_view raw;
    if (!string(raw, def, what)) {
      return false;
    }
    part.assign(raw);
    return true;
  } else {
    watch_.place(index, role);
    part = static_cast<long long>(in_.fixed<std::uint64_t>());
    if (Watch::follows && !in_.failed()) {
      watch_.partNumber(in_.position(), part);
    }
    return !in_.failed();
  }
}

/// A new message for a map, of the first or second class that the field's name begins with; none, logged,
/// where there is no such class.
template <class Watch>
std::optional<YMMessageBase> BodyReader<Watch>::makeMapPart(const FieldDef& def, int which)
{
  const PackedReference reference = packedReference(def, which);
  if (reference.system == 0 || findClass(reference) == nullptr) {
    log().logError(readerFunction, "Error constructing map object : [%s]", def.getName());
    watch_.ended(in_.position(), ProblemKind::ClassUnknown, &def, missingClass);
    return std::nullopt;
  }
  return std::optional<YMMessageBase>(std::in_place, *reference.registry, reference.system,
                                      reference.classIndex);
}

template <class Watch>
template <class Tag>
bool BodyReader<Watch>::readEntry(YMMessageBase& message, const FieldDef& def, typename Tag::Value& map,
                                  std::uint32_t index)
{
  using Key = typename Tag::Value::key_type;
  using Value = typename Tag::Value::mapped_type;
  constexpr bool objectKey = std::is_same_v<Key, YMMessageBase>;
  constexpr bool objectValue = std::is_same_v<Value, YMMessageBase>;
  constexpr const char* ofKey = objectKey ? "  (map key)" : "map<string> (key)";
  constexpr const char* ofValue = objectKey                          ? " (map value)"
                                  : objectValue                      ? ""
                                  : std::is_same_v<Key, std::string> ? "map<string> (Value)"
                                                                     : "map<string> (value)";
  const auto read = [&](Key& key, Value& value) {
    if (!readMapPart(message, def, key, ofKey, index, ".key") ||
        !readMapPart(message, def, value, ofValue, index, ".value")) {
      return false;
    }
    const std::size_t before = map.size();
    // A writer puts the entries in the map's own order.
    map.emplace_hint(map.end(), std::move(key), std::move(value));
    if (map.size() == before) {
      watch_.met(in_.position(), ProblemKind::GivenTwice, &def,
                 "a key is given more than once; its first value counts");
    }
    return true;
  };
  if constexpr (objectValue) {
    auto value = makeMapPart(def, objectKey ? 1 : 0);
    if (!value) {
      return false;
    }
    if constexpr (objectKey) {
      auto key = makeMapPart(def, 0);
      return key && read(*key, *value);
    } else {
      Key key{};
      return read(key, *value);
    }
  } else {
    Key key{};
    Value value{};
    return read(key, value);
  }
}

template <class Watch>
template <class Tag>
bool BodyReader<Watch>::readMap(YMMessageBase& message, const FieldDef& def)
{
  using Map = typename Tag::Value;
  const auto varint = [this](auto told) {
    const std::uint32_t value = in_.varint();
    if (Watch::follows && !in_.failed()) {
      told(value);
    }
    return value;
  };
  varint([&](std::uint32_t size) {  // of all entries: the count says it too
    watch_.count(in_.position(), def, pendingCount_, size);
  });
  const std::uint32_t keyCode =
      varint([&](std::uint32_t code) { watch_.mapCode(in_.position(), "keys", code); });
  const std::uint32_t valueCode =
      varint([&](std::uint32_t code) { watch_.mapCode(in_.position(), "values", code); });
  if (in_.failed()) {
    return false;
  }
  constexpr int ownKeyCode = wire::mapCode(Tag::info.mapKey);
  constexpr int ownValueCode = wire::mapCode(Tag::info.mapValue);
  if (keyCode != ownKeyCode || valueCode != ownValueCode) {
    log().logError(readerFunction,
                   "Map member [%s] has key/value encoding type mismatch\nkey type = [%d]; received key type "
                   "= [%d]\nValue type = [%d]; received value type = [%d] ",
                   def.getName(), ownKeyCode, static_cast<int>(keyCode), ownValueCode,
                   static_cast<int>(valueCode));
    watch_.ended(in_.position(), ProblemKind::BufferCut, &def,
                 "keys or values are not coded as those of the map");
    return false;
  }
  Map*& map = MessageAccess::pointer<Map>(message, def.slot);
  if (map == nullptr) {
    map = new Map;
  } else if (isStale(message, def)) {
    map->clear();
  }
  MessageAccess::mark(message, def);
  const std::uint32_t count = pendingCount_;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (in_.left() == 0) {
      watch_.ended(in_.position(), ProblemKind::BufferCut, &def, "the bytes end before an entry");
      in_.pass(1);  // fails
      return false;
    }
    if (!readEntry<Tag>(message, def, *map, i)) {
      return false;
    }
  }
  return true;
}

template <class Watch>
bool BodyReader<Watch>::readOther(YMMessageBase& message, const FieldDef& def)
{
  return visitFieldType(def.type, [&](auto tag) { return readValue(tag, message, def); });
}

template class BodyReader<Unwatched>;
template class BodyReader<Traced>;
template class BodyReader<Explaining>;

}  // namespace kwxml
