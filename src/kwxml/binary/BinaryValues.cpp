// The values of a body by their types.
#include <kwxml/binary/BodyReader.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/text/Base64.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace kwxml {

using wire::NumberForm;

namespace {

constexpr std::string_view noClass = "the catalogue lacks the class of a nested message";

}  // namespace

bool BodyReader::overruns(const FieldDef& def, std::size_t size, const char* kind)
{
  log().logError(
      readerFunction,
      "Error constructing %s field [%s]. Specified string size [%d] causes a buffer overrun. Buffer size "
      ": [%d]. CurrentPosition : [%d]",
      kind, def.getName(), static_cast<int>(size), static_cast<int>(in_.size()),
      static_cast<int>(in_.position()));
  if (call_.problems != nullptr) {
    const std::string remark = std::string("a ") + kind + " of " + std::to_string(size) + " bytes where " +
                               std::to_string(in_.left()) + " are left";
    tellEnd(ProblemKind::BufferCut, &def, remark);
  }
  return false;
}

bool BodyReader::text(Text& out, const FieldDef& def, const char* kind)
{
  out.size = in_.varint();
  if (in_.failed()) {
    tellEnd(ProblemKind::BufferCut, &def, "the bytes end within a length");
    return false;
  }
  if (out.size > in_.left()) {
    return overruns(def, out.size, kind);
  }
  out.data = in_.at();
  in_.skip(out.size);
  return true;
}

std::string BodyReader::bytes(const Text& text, const FieldDef& def)
{
  std::string raw(text.data, strnlen(text.data, text.size));
  if (raw.size() < text.size) {
    tell(ProblemKind::TextRescued, &def, "bytes are read up to the first zero among them");
  }
  if (std::string decoded; call_.version > 1) {
    if (base64Decode(raw, decoded)) {
      return decoded;
    }
    tell(ProblemKind::TextRescued, &def, "bytes that are no base64 are kept as they are");
  }
  return raw;
}

bool BodyReader::readNested(YMMessageBase& owner, YMMessageBase& nested, const FieldDef& def,
                            std::uint32_t index, const char* part)
{
  const std::uint32_t size = in_.varint();
  owner.SetCachedSize(size);
  nested.wipeBitset();
  if (call_.problems == nullptr) [[likely]] {
    return readFields(nested, in_.position() + size);
  }
  call_.problems->enter(def, index, part);
  if (in_.position() + size > bodyEnd_) {  // it is read as far as it goes
    const std::string remark = "a message of " + std::to_string(size) + " bytes where " +
                               std::to_string(bodyEnd_ - std::min(bodyEnd_, in_.position())) + " are left";
    tell(ProblemKind::BufferCut, nullptr, remark);
  }
  const bool good = readFields(nested, in_.position() + size);
  call_.problems->leave();
  return good;
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
    }
    MessageAccess::mark(message, def);
    if constexpr (std::is_arithmetic_v<typename Value::value_type>) {
      return readNumbers(*list, def);
    } else if constexpr (Tag::type == FIELD_LIST_OBJECT) {
      return readObjects(message, def, *list);
    } else {
      constexpr const char* kind = Tag::type == FIELD_LIST_STRING ? "list<string>" : "list<bstring>";
      constexpr std::size_t smallest = wire::keySize + 1;
      const std::uint32_t count = pendingCount_;
      list->clear();
      list->reserve(std::min<std::size_t>(count, in_.left() / smallest + 1));
      for (std::uint32_t i = 0; i < count; ++i) {
        Text item;
        if (i > 0) {
          in_.pass(wire::keySize);  // the key again, whatever it is
        }
        if (!text(item, def, kind)) {
          return false;
        }
        if constexpr (Tag::type == FIELD_LIST_STRING) {
          list->emplace_back(item.data, item.size);
        } else {
          list->emplace_back(bytes(item, def));
        }
      }
    }
  } else if constexpr (MapValue<Tag>) {
    return readMap<Tag>(message, def);
  }  // wide strings and types without storage have no value
  return true;
}

template <class Number>
bool BodyReader::readNumbers(std::vector<Number>& list, const FieldDef& def)
{
  constexpr NumberForm form = wire::elementForm<Number>;
  in_.varint();  // the size of all elements: the count says it too
  const std::size_t count = pendingCount_;
  if (count > in_.left() / wire::smallest(form)) {
    tellEnd(ProblemKind::BufferCut, &def, "the bytes that are left cannot hold so many elements");
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
  if (!text(raw, def, "pstring")) {
    return false;
  }
  const AnnotationRecord annotations(def.annotations);
  if (!annotations.present()) {
    log().logError(readerFunction, "No Password annotation found on member : %s", def.getName());
    tellEnd(ProblemKind::PasswordUnreadable, &def, "has no annotation that says how it is protected");
    return false;
  }
  const std::string received(raw.data, raw.size);
  std::optional<pstring> password;
  if (annotations.passwordType() != Annotation::UNKNOWN && call_.version >= 2) {
    const EncodingFlags flags;
    password = decryptPassword({flags, call_.context}, def, received);
    if (!password) {
      log().logError(readerFunction, "Password Handler Not Found while serializing pstring field [%s]",
                     def.getName());
      tell(ProblemKind::PasswordUnreadable, &def, passwordObstacle({flags, call_.context}, def));
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
    log().logError(readerFunction, "Error unserializing on field [%s]", def.getName());
    tellEnd(ProblemKind::ClassUnknown, &def, noClass);
    return false;
  }
  if (nested == nullptr) {
    nested = findClass(reference) != nullptr ? new (std::nothrow)
                                                   YMMessageBase(reference.system, reference.classIndex)
                                             : nullptr;
    if (nested == nullptr) {
      log().logError(readerFunction, "Error instantiating member : [%s]::[%s]", message.getClass()->name,
                     def.getName());
      tellEnd(ProblemKind::ClassUnknown, &def, noClass);
      return false;
    }
  }
  MessageAccess::mark(message, def);
  if (!readNested(message, *nested, def)) {
    log().logError(readerFunction, "Error unserializing on field [%s]", def.getName());
    return false;
  }
  return true;
}

bool BodyReader::readObjects(YMMessageBase& message, const FieldDef& def, std::vector<YMMessageBase>& list)
{
  const PackedReference reference = packedReference(def);
  if (reference.system == 0) {
    log().logError(readerFunction, "Error unserializing on field [%s]", def.getName());
    tellEnd(ProblemKind::ClassUnknown, &def, noClass);
    return false;
  }
  constexpr std::size_t smallest = wire::keySize + 1;
  const std::uint32_t count = pendingCount_;
  list.clear();
  // Lists nest: each level could set memory apart for all the bytes that are left.
  constexpr std::uint64_t mostAtOnce = 4096;
  list.reserve(std::min<std::uint64_t>({count, in_.left() / smallest + 1, mostAtOnce}));
  for (std::uint32_t i = 0; i < count; ++i) {
    if (i > 0) {
      in_.pass(wire::keySize);  // the key again, whatever it is
    }
    if (in_.failed()) {
      return false;
    }
    if (findClass(reference) == nullptr) {
      log().logError(readerFunction, "Error instantiating member : [%s]::[%s]", message.getClass()->name,
                     def.getName());
      tellEnd(ProblemKind::ClassUnknown, &def, noClass);
      return false;
    }
    YMMessageBase& item = list.emplace_back(reference.system, reference.classIndex);
    if (!readNested(message, item, def, i)) {
      log().logError(readerFunction, "Error unserializing on field [%s]", def.getName());
      return false;
    }
  }
  return true;
}

/// A key or a value; `what` is its kind, or of a message what the line about it adds to the field.
template <class T>
bool BodyReader::readMapPart(YMMessageBase& message, const FieldDef& def, T& part, const char* what,
                             std::uint32_t index, const char* role)
{
  if constexpr (std::is_same_v<T, YMMessageBase>) {
    if (readNested(message, part, def, index, role)) {
      return true;
    }
    log().logError(readerFunction, "Error unserializing on field [%s]%s", def.getName(), what);
    return false;
  } else if constexpr (std::is_same_v<T, std::string>) {
    Text raw;
    if (!text(raw, def, what)) {
      return false;
    }
    part.assign(raw.data, raw.size);
    return true;
  } else {
    part = static_cast<long long>(in_.fixed<std::uint64_t>());
    return !in_.failed();
  }
}

/// A new message for a map, of the first or second class that the field's name begins with; none, logged,
/// where there is no such class.
std::optional<YMMessageBase> BodyReader::makeMapPart(const FieldDef& def, int which)
{
  const PackedReference reference = packedReference(def, which);
  if (reference.system == 0 || findClass(reference) == nullptr) {
    log().logError(readerFunction, "Error constructing map object : [%s]", def.getName());
    tellEnd(ProblemKind::ClassUnknown, &def, noClass);
    return std::nullopt;
  }
  return std::optional<YMMessageBase>(std::in_place, reference.system, reference.classIndex);
}

template <class Tag>
bool BodyReader::readEntry(YMMessageBase& message, const FieldDef& def, typename Tag::Value& map,
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
      tell(ProblemKind::GivenTwice, &def, "a key is given more than once; its first value counts");
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

template <class Tag>
bool BodyReader::readMap(YMMessageBase& message, const FieldDef& def)
{
  using Map = typename Tag::Value;
  in_.varint();  // the size of all entries: the count says it too
  const std::uint32_t keyCode = in_.varint();
  const std::uint32_t valueCode = in_.varint();
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
    tellEnd(ProblemKind::BufferCut, &def, "keys or values are not coded as those of the map");
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
      tellEnd(ProblemKind::BufferCut, &def, "the bytes end before an entry");
      in_.pass(1);  // fails
      return false;
    }
    if (!readEntry<Tag>(message, def, *map, i)) {
      return false;
    }
  }
  return true;
}

bool BodyReader::readOther(YMMessageBase& message, const FieldDef& def)
{
  return visitFieldType(def.type, [&](auto tag) { return readValue(tag, message, def); });
}

}  // namespace kwxml
