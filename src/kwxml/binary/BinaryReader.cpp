#include <kwxml/binary/BinaryReader.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/binary/BinaryCursor.h>
#include <kwxml/binary/WireFormat.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/xml/Base64.h>
#include <kwxml/xml/PasswordFields.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

namespace kwxml {

namespace {

using wire::NumberForm;

constexpr const char* function = "BinarySerializer::unserializeBinaryRecur";

XMLDebug& log()
{
  return *XMLDebug::getInstance();
}

/// The error line of a length-delimited value of a kind.
#define KWXML_OVERRUN(kind)                                                                               \
  "Error constructing " kind                                                                              \
  " field [%s]. Specified string size [%d] causes a buffer overrun. Buffer size : [%d]. CurrentPosition " \
  ": [%d]"

class BodyReader
{
public:
  BodyReader(Cursor& in, DecodeCall& call) : in_(in), call_(call), bodyEnd_(in.size()) {}

  bool readFields(YMMessageBase& message, std::uint64_t end);

private:
  struct Text
  {
    const char* data = nullptr;
    std::size_t size = 0;
  };

  bool skipUnknown(std::uint32_t key);
  [[gnu::noinline]] bool readOther(YMMessageBase& message, const FieldDef& def);
  template <class Tag>
  [[gnu::noinline]] bool readValue(Tag, YMMessageBase& message, const FieldDef& def);
  bool readPassword(YMMessageBase& message, const FieldDef& def);

  /// A length and what it counts. False, logged by `format`, when that does not lie in the stream.
  bool text(Text& out, const FieldDef& def, const char* format);
  /// The error line of a length that is none; false.
  bool overruns(const FieldDef& def, std::size_t size, const char* format);
  /// What a byte string's text stands for.
  std::string bytes(const Text& text) const;

  template <class Number>
  bool readNumbers(std::vector<Number>& list);
  bool readObjects(YMMessageBase& message, const FieldDef& def, std::vector<YMMessageBase>& list);
  bool readObject(YMMessageBase& message, const FieldDef& def);
  template <class Tag>
  bool readMap(YMMessageBase& message, const FieldDef& def);
  template <class T>
  bool readMapPart(YMMessageBase& message, const FieldDef& def, T& part, const char* format);

  /// Size and body of a message that has just been built, or is read anew.
  bool readNested(YMMessageBase& owner, YMMessageBase& nested);

  Cursor& in_;
  DecodeCall& call_;
  std::uint64_t bodyEnd_;           ///< of the body that is being read
  std::uint32_t pendingCount_ = 0;  ///< what the last collection marker of this body announced
};

/// Whether there is a class at the reference before a field's name.
bool hasClass(const PackedReference& reference)
{
  return findClass(reference.system, reference.classIndex) != nullptr;
}

/// Keys below carry the hash 0, which is no field's.
constexpr std::uint32_t leastKey = 1 << 3;

/// The position of the field with that hash, `count` without one: from the hint to the last, then from the
/// first. The hint goes behind it.
std::size_t search(const FieldDef* fields, std::size_t count, std::uint32_t hash, std::size_t& hint)
{
  for (const auto& [begin, end] : {std::pair(hint, count), std::pair(std::size_t{0}, hint)}) {
    for (std::size_t i = begin; i < end && hash != 0; ++i) {
      if (fields[i].hash == hash) {
        hint = i + 1;
        return i;
      }
    }
  }
  return count;
}

bool BodyReader::readFields(YMMessageBase& message, std::uint64_t end)
{
  const _ClassDef* cls = message.getClass();
  if (cls == nullptr) {
    return false;
  }
  if (call_.depth >= maxMessageNesting) {
    log().logError(function, "Messages nest deeper than [%d]", maxMessageNesting);
    return false;
  }
  if (std::min(end, bodyEnd_) < wire::keySize) {
    return !in_.failed();  // no room for a key
  }
  ++call_.depth;
  const std::uint64_t outerEnd = std::exchange(bodyEnd_, std::min(end, bodyEnd_));
  const std::uint32_t outerCount = std::exchange(pendingCount_, 0);
  const FieldDef* const fields = cls->fields;
  const FieldPlan* const plans = MessageAccess::planOf(message).fields.data();
  const auto count = static_cast<std::size_t>(cls->numberOfFields);
  const Slots slots = MessageAccess::slots(message);
  unsigned char* const bits = MessageAccess::bits(message);
  const std::uint64_t leastQuickKey = call_.trace ? ~std::uint64_t{0} : leastKey;
  std::size_t hint = 0;
  Cursor in = in_;  // in registers, but while others read
  const char* const lastKey = in.from(bodyEnd_ - wire::keySize);
  bool good = true;
  while (good && in.at() <= lastKey) {
    const std::uint64_t keyPosition = in.position();
    const auto key = in.fixedInside<std::uint32_t>();
    std::size_t position = hint;
    if (plans[hint].key == key && key >= leastQuickKey) [[likely]] {
      ++hint;
    } else {
      position = key != wire::collectionMarker ? search(fields, count, key >> 3, hint) : count;
      if (position == count) {
        if (in.position() < bodyEnd_) {
          in_ = in;
          good = skipUnknown(key);
          in = in_;
        }
        continue;
      }
      if (call_.trace) {
        log().debug(function, 15, "Identified  [%s] : [%s] at buffer position : [%d]", cls->name,
                    fields[position].getName(), static_cast<int>(keyPosition));
      }
    }
    const wire::Kind kind = plans[position].kind;
    long long& slot = slots[plans[position]];
    if (kind < wire::Kind::String) [[likely]] {
      if (kind == wire::Kind::Zigzag) {
        slot = unzigzag(in.varint());
      } else if (kind == wire::Kind::Varint) {
        slot = in.varint();
      } else if (kind == wire::Kind::Fixed8) {
        slot = static_cast<long long>(in.fixed<std::uint64_t>());
      } else {
        slot = in.fixed<std::uint32_t>();
      }
    } else if (kind == wire::Kind::String) {
      const std::size_t size = in.varint();
      if (in.failed() || size > in.left()) [[unlikely]] {
        in_ = in;
        good = in.failed() ? false : overruns(fields[position], size, KWXML_OVERRUN("string"));
        continue;
      }
      std::launder(reinterpret_cast<std::string*>(&slot))->assign(in.at(), size);
      in.skip(size);
    } else {
      in_ = in;
      good = readOther(message, fields[position]);
      in = in_;
      continue;
    }
    bits[position / 8] = static_cast<unsigned char>(bits[position / 8] | 1U << position % 8);
  }
  in_ = in;
  bodyEnd_ = outerEnd;
  pendingCount_ = outerCount;
  --call_.depth;
  return good && !in_.failed();
}

bool BodyReader::skipUnknown(std::uint32_t key)
{
  switch (key & 7) {
    case wire::codeVarint: {
      const std::uint32_t value = in_.varint();
      if (key == wire::collectionMarker) {
        pendingCount_ = value;
        if (call_.trace) {
          log().debug(function, 15, "Cached collection(list/map) size is : [%d]", static_cast<int>(value));
        }
      }
      break;
    }
    case wire::codeZigzag:
      in_.varint();
      break;
    case wire::codeFixed8:
      in_.pass(8);
      break;
    case wire::codeFixed4:
      in_.pass(4);
      break;
    case wire::codeLength: {
      const std::uint32_t size = in_.varint();
      if (size > in_.left()) {
        log().logError(function,
                       "Error unserializing in binary mode. Specified string size [%d] > buffer size [%d]. "
                       "CurrentPosition : [%d]",
                       static_cast<int>(size), static_cast<int>(in_.size()),
                       static_cast<int>(in_.position()));
        return false;
      }
      in_.skip(size);
      break;
    }
    default:
      break;  // no encoding
  }
  return true;
}

bool BodyReader::overruns(const FieldDef& def, std::size_t size, const char* format)
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  log().logError(function, format, def.getName(), static_cast<int>(size), static_cast<int>(in_.size()),
                 static_cast<int>(in_.position()));
#pragma GCC diagnostic pop
  return false;
}

bool BodyReader::readOther(YMMessageBase& message, const FieldDef& def)
{
  return visitFieldType(def.type, [&](auto tag) { return readValue(tag, message, def); });
}

bool BodyReader::text(Text& out, const FieldDef& def, const char* format)
{
  out.size = in_.varint();
  if (in_.failed()) {
    return false;
  }
  if (out.size > in_.left()) {
    return overruns(def, out.size, format);
  }
  out.data = in_.at();
  in_.skip(out.size);
  return true;
}

std::string BodyReader::bytes(const Text& text) const
{
  std::string raw(text.data, strnlen(text.data, text.size));
  std::string decoded;
  return call_.version > 1 && base64Decode(raw, decoded) ? decoded : raw;
}

bool BodyReader::readNested(YMMessageBase& owner, YMMessageBase& nested)
{
  const std::uint32_t size = in_.varint();
  owner.SetCachedSize(size);
  nested.wipeBitset();
  return readFields(nested, in_.position() + size);
}

// ---- Values by type

template <class Tag>
bool BodyReader::readValue(Tag, YMMessageBase& message, const FieldDef& def)
{
  using Value = typename Tag::Value;
  if constexpr (Tag::type == FIELD_ULONGLONG) {
    MessageAccess::raw(message, def.slot) = static_cast<long long>(in_.fixed<std::uint64_t>());
    MessageAccess::mark(message, def);
  } else if constexpr (ByteString<Tag>) {
    Text value;
    if (!text(value, def, KWXML_OVERRUN("bstring"))) {
      return false;
    }
    message.setbstringobject(def.fieldNumber, def.slot, bstring(bytes(value)), message.getTagID(), def.hash);
  } else if constexpr (PasswordString<Tag>) {
    return readPassword(message, def);
  } else if constexpr (MessageValue<Tag>) {
    return readObject(message, def);
  } else if constexpr (ListValue<Tag> && Tag::type != FIELD_LIST_WSTRING) {
    Value*& list = MessageAccess::pointer<Value>(message, def.slot);
    if (list == nullptr) {
      list = new Value;
    }
    MessageAccess::mark(message, def);
    if constexpr (std::is_arithmetic_v<typename Value::value_type>) {
      return readNumbers(*list);
    } else if constexpr (Tag::type == FIELD_LIST_OBJECT) {
      return readObjects(message, def, *list);
    } else {
      constexpr const char* overrun =
          Tag::type == FIELD_LIST_STRING ? KWXML_OVERRUN("list<string>") : KWXML_OVERRUN("list<bstring>");
      constexpr std::size_t smallest = wire::keySize + 1;
      const std::uint32_t count = pendingCount_;
      list->clear();
      list->reserve(std::min<std::size_t>(count, in_.left() / smallest + 1));
      for (std::uint32_t i = 0; i < count; ++i) {
        Text item;
        if (i > 0) {
          in_.pass(wire::keySize);  // the key again, whatever it is
        }
        if (!text(item, def, overrun)) {
          return false;
        }
        if constexpr (Tag::type == FIELD_LIST_STRING) {
          list->emplace_back(item.data, item.size);
        } else {
          list->emplace_back(bytes(item));
        }
      }
    }
  } else if constexpr (MapValue<Tag>) {
    return readMap<Tag>(message, def);
  }  // wide strings and types without storage have no value
  return true;
}

template <class Number>
bool BodyReader::readNumbers(std::vector<Number>& list)
{
  constexpr NumberForm form = wire::elementForm<Number>;
  in_.varint();  // the size of all elements: the count says it too
  const std::size_t count = pendingCount_;
  if (count > in_.left() / wire::smallest(form)) {
    in_.pass(in_.left() + 1);
    return false;
  }
  list.resize(count);
  if constexpr (form == NumberForm::Fixed8 || form == NumberForm::Fixed4) {
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

bool BodyReader::readPassword(YMMessageBase& message, const FieldDef& def)
{
  Text raw;
  if (!text(raw, def, KWXML_OVERRUN("pstring"))) {
    return false;
  }
  const AnnotationRecord annotations(def.annotations);
  if (!annotations.present()) {
    log().logError(function, "No Password annotation found on member : %s", def.getName());
    return false;
  }
  const std::string received(raw.data, raw.size);
  std::optional<pstring> password;
  if (annotations.passwordType() != Annotation::UNKNOWN && call_.version >= 2) {
    const EncodingFlags flags;
    password = decryptPassword({flags, call_.context}, def, received);
    if (!password) {
      log().logError(function, "Password Handler Not Found while serializing pstring field [%s]",
                     def.getName());
      return true;  // the field stays unset
    }
  } else {
    password.emplace(received);
  }
  message.setpstringobject(def.fieldNumber, def.slot, *password,
                           static_cast<Annotation::PasswordEncryptType>(password->getEncryptionType()),
                           message.getTagID(), def.hash);
  return true;
}

bool BodyReader::readObject(YMMessageBase& message, const FieldDef& def)
{
  const PackedReference reference = packedReference(def);
  YMMessageBase*& nested = MessageAccess::pointer<YMMessageBase>(message, def.slot);
  if (reference.system == 0) {
    log().logError(function, "Error unserializing on field [%s]", def.getName());
    return false;
  }
  if (nested == nullptr) {
    nested = hasClass(reference) ? new (std::nothrow) YMMessageBase(static_cast<int>(reference.system),
                                                                    static_cast<int>(reference.classIndex))
                                 : nullptr;
    if (nested == nullptr) {
      log().logError(function, "Error instantiating member : [%s]::[%s]", message.getClass()->name,
                     def.getName());
      return false;
    }
  }
  MessageAccess::mark(message, def);
  if (!readNested(message, *nested)) {
    log().logError(function, "Error unserializing on field [%s]", def.getName());
    return false;
  }
  return true;
}

bool BodyReader::readObjects(YMMessageBase& message, const FieldDef& def, std::vector<YMMessageBase>& list)
{
  const PackedReference reference = packedReference(def);
  if (reference.system == 0) {
    log().logError(function, "Error unserializing on field [%s]", def.getName());
    return false;
  }
  constexpr std::size_t smallest = wire::keySize + 1;
  const std::uint32_t count = pendingCount_;
  list.clear();
  list.reserve(std::min<std::uint64_t>(count, in_.left() / smallest + 1));
  for (std::uint32_t i = 0; i < count; ++i) {
    if (i > 0) {
      in_.pass(wire::keySize);  // the key again, whatever it is
    }
    if (in_.failed()) {
      return false;
    }
    if (!hasClass(reference)) {
      log().logError(function, "Error instantiating member : [%s]::[%s]", message.getClass()->name,
                     def.getName());
      return false;
    }
    YMMessageBase& item =
        list.emplace_back(static_cast<int>(reference.system), static_cast<int>(reference.classIndex));
    if (!readNested(message, item)) {
      log().logError(function, "Error unserializing on field [%s]", def.getName());
      return false;
    }
  }
  return true;
}

/// A key or a value; `format` is the line of one that cannot be read.
template <class T>
bool BodyReader::readMapPart(YMMessageBase& message, const FieldDef& def, T& part, const char* format)
{
  if constexpr (std::is_same_v<T, YMMessageBase>) {
    if (readNested(message, part)) {
      return true;
    }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    log().logError(function, format, def.getName());
#pragma GCC diagnostic pop
    return false;
  } else if constexpr (std::is_same_v<T, std::string>) {
    Text raw;
    if (!text(raw, def, format)) {
      return false;
    }
    part.assign(raw.data, raw.size);
    return true;
  } else {
    part = static_cast<long long>(in_.fixed<std::uint64_t>());
    return !in_.failed();
  }
}

template <class Tag>
bool BodyReader::readMap(YMMessageBase& message, const FieldDef& def)
{
  using Map = typename Tag::Value;
  using Key = typename Map::key_type;
  using Value = typename Map::mapped_type;
  constexpr bool objectKeys = std::is_same_v<Key, YMMessageBase>;
  constexpr bool objectValues = std::is_same_v<Value, YMMessageBase>;
  constexpr const char* keyFailure =
      objectKeys ? "Error unserializing on field [%s]  (map key)" : KWXML_OVERRUN("map<string> (key)");
  constexpr const char* valueFailure = objectKeys     ? "Error unserializing on field [%s] (map value)"
                                       : objectValues ? "Error unserializing on field [%s]"
                                       : std::is_same_v<Key, std::string>
                                           ? KWXML_OVERRUN("map<string> (Value)")
                                           : KWXML_OVERRUN("map<string> (value)");

  in_.varint();  // the size of all entries: the count says it too
  const std::uint32_t keyCode = in_.varint();
  const std::uint32_t valueCode = in_.varint();
  if (in_.failed()) {
    return false;
  }
  constexpr int ownKeyCode = wire::mapCode(Tag::info.mapKey);
  constexpr int ownValueCode = wire::mapCode(Tag::info.mapValue);
  if (keyCode != ownKeyCode || valueCode != ownValueCode) {
    log().logError(function,
                   "Map member [%s] has key/value encoding type mismatch\nkey type = [%d]; received key type "
                   "= [%d]\nValue type = [%d]; received value type = [%d] ",
                   def.getName(), ownKeyCode, static_cast<int>(keyCode), ownValueCode,
                   static_cast<int>(valueCode));
    return false;
  }
  Map*& map = MessageAccess::pointer<Map>(message, def.slot);
  if (map == nullptr) {
    map = new Map;
  }
  MessageAccess::mark(message, def);
  const std::uint32_t count = pendingCount_;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (in_.left() == 0) {
      in_.pass(1);  // fails
      return false;
    }
    // A writer puts the entries in the map's own order.
    const auto read = [&](Key& key, Value& value) {
      if (!readMapPart(message, def, key, keyFailure) || !readMapPart(message, def, value, valueFailure)) {
        return false;
      }
      map->emplace_hint(map->end(), std::move(key), std::move(value));
      return true;
    };
    if constexpr (objectValues) {
      const auto make = [&](int which) -> std::optional<YMMessageBase> {
        const PackedReference reference = packedReference(def, which);
        if (reference.system == 0 || !hasClass(reference)) {
          log().logError(function, "Error constructing map object : [%s]", def.getName());
          return std::nullopt;
        }
        return std::optional<YMMessageBase>(std::in_place, static_cast<int>(reference.system),
                                            static_cast<int>(reference.classIndex));
      };
      auto value = make(objectKeys ? 1 : 0);
      if (!value) {
        return false;
      }
      if constexpr (objectKeys) {
        auto key = make(0);
        if (!key || !read(*key, *value)) {
          return false;
        }
      } else {
        Key key{};
        if (!read(key, *value)) {
          return false;
        }
      }
    } else {
      Key key{};
      Value value{};
      if (!read(key, value)) {
        return false;
      }
    }
  }
  return true;
}

#undef KWXML_OVERRUN

}  // namespace

bool readBody(YMMessageBase& message, BinaryStream& in, std::uint64_t end, DecodeCall& call)
{
  if (in.overrun()) {
    return false;
  }
  Cursor cursor(in);
  const bool good = BodyReader(cursor, call).readFields(message, end);
  in.setPosition(cursor.failed() ? in.size() + 1 : cursor.position());
  return good;
}

}  // namespace kwxml
