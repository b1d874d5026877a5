#include <kwxml/binary/BinaryWriter.h>

#include <kwxml/binary/BinaryParts.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/text/Base64.h>

#include <bit>

namespace kwxml {

namespace {

using wire::Kind;
using wire::NumberForm;

template <class Out>
Out writeFields(const YMMessageBase& message, Out out, EncodeCall& call);
BoundedOut writeFields(const YMMessageBase& message, BoundedOut out, EncodeCall& call);

template <class Out>
Out writeText(Out out, const char* bytes, std::size_t length)
{
  out.varint(low32(static_cast<long long>(length)));
  out.raw(bytes, length);
  return out;
}

template <class Out>
Out writeBytes(Out out, const std::string& bytes, const EncodeCall& call)
{
  if (call.version <= 1) {
    return writeText(out, bytes.data(), bytes.size());
  }
  out.varint(low32(static_cast<long long>(base64EncodedLength(bytes.size()))));
  out.base64(bytes);
  return out;
}

/// What `write` writes, behind its size in bytes. The size is known afterwards: room is left for the bytes of
/// `guess`, and what was written moves where the size needs more or fewer. Not for streams.
template <class Out, class Write>
Out writeBehindSize(Out out, std::uint32_t guess, Write write)
{
  const std::size_t guessed = varintSize(guess);
  if constexpr (isBounded<Out>) {
    if (!out.room(guessed)) {
      return out;
    }
  }
  char* const sizeAt = out.at;
  out.at += guessed;
  out = write(out);
  if (hasFailed(out)) {
    return out;
  }
  const auto size = static_cast<std::uint32_t>(out.at - sizeAt) - static_cast<std::uint32_t>(guessed);
  if (const std::size_t needed = varintSize(size); needed != guessed) {
    if constexpr (isBounded<Out>) {
      if (needed > guessed && !out.room(needed - guessed)) {
        return out;
      }
    }
    std::memmove(sizeAt + needed, sizeAt + guessed, size);
    out.at = sizeAt + needed + size;
  }
  putVarint(sizeAt, size);
  return out;
}

template <class Out>
Out writeNested(Out out, const YMMessageBase& message, EncodeCall& call)
{
  if constexpr (isBounded<Out>) {
    // Its size when it was written or read last is a good guess.
    return writeBehindSize(out, message.GetCachedSize(),
                           [&](Out to) { return writeFields(message, to, call); });
  } else {
    out.varint(call.keepSizes ? call.sizes[call.nextSize++] : message.GetCachedSize());
    return writeFields(message, out, call);
  }
}

template <NumberForm Form, class Out, class Number>
Out writeNumber(Out out, Number value)
{
  if constexpr (Form == NumberForm::Zigzag) {
    out.varint(zigzag(static_cast<std::int32_t>(value)));
  } else if constexpr (Form == NumberForm::Varint) {
    out.varint(static_cast<std::uint32_t>(value));
  } else if constexpr (std::is_same_v<Number, float>) {
    out.fixed(std::bit_cast<std::uint32_t>(value));
  } else {
    out.fixed(std::bit_cast<std::uint64_t>(value));
  }
  return out;
}

template <class Out, class Number>
Out writeElements(Out out, const std::vector<Number>& list)
{
  constexpr NumberForm form = wire::elementForm<Number>;
  const std::uint64_t count = list.size();
  if constexpr (form == NumberForm::Fixed8 || form == NumberForm::Fixed4) {
    out.varint(static_cast<std::uint32_t>(count * sizeof(Number)));
    if constexpr (std::endian::native == std::endian::little) {
      out.raw(reinterpret_cast<const char*>(list.data()), count * sizeof(Number));
      return out;
    }
  } else {
    const std::uint64_t longest = count * 5;
    if constexpr (isBounded<Out>) {
      if (!out.room(5 + longest)) {
        return out;
      }
      out.at = writeElements(DirectOut{out.at}, list).at;
      return out;
    }
    // Where every possible size takes as many bytes as the least, no walk need find it first.
    const std::size_t sizeBytes = varintSize(static_cast<std::uint32_t>(count));
    if constexpr (Out::direct) {
      if (count < 1U << 28 && sizeBytes == varintSize(static_cast<std::uint32_t>(longest))) {
        return writeBehindSize(out, static_cast<std::uint32_t>(count), [&](Out to) {
          for (const Number value : list) {
            to = writeNumber<form>(to, value);
          }
          return to;
        });
      }
    }
    out.varint(static_cast<std::uint32_t>(elementsSize(list)));
  }
  for (const Number value : list) {
    out = writeNumber<form>(out, value);
  }
  return out;
}

template <class Out, class T>
Out writeMapPart(Out out, const T& part, EncodeCall& call)
{
  if constexpr (std::is_same_v<T, YMMessageBase>) {
    return writeNested(out, part, call);
  } else if constexpr (std::is_same_v<T, std::string>) {
    return writeText(out, part.c_str(), cutLength(part));
  } else {
    out.fixed(static_cast<std::uint64_t>(part));
    return out;
  }
}

template <class T>
std::uint64_t mapPartSize(const T& part)
{
  if constexpr (std::is_same_v<T, YMMessageBase>) {
    return delimited(part.GetCachedSize());
  } else if constexpr (std::is_same_v<T, std::string>) {
    return delimited(cutLength(part));
  } else {
    return 8;
  }
}

template <class Tag, class Out, class Map>
Out writeEntries(Out out, const Map* map, EncodeCall& call)
{
  out.varint(wire::mapCode(Tag::info.mapKey));
  out.varint(wire::mapCode(Tag::info.mapValue));
  if (map != nullptr) {
    for (auto& [key, value] : *map) {
      out = writeMapPart(out, key, call);
      out = writeMapPart(out, value, call);
      if (hasFailed(out)) {
        break;
      }
    }
  }
  return out;
}

template <class Tag, class Out, class Map>
Out writeMap(Out out, const Map* map, EncodeCall& call)
{
  const std::size_t kept = call.nextSize;
  if (call.keepSizes && map != nullptr) {
    ++call.nextSize;
  }
  if constexpr (Out::direct) {
    const std::uint64_t least = 2 + (map != nullptr ? map->size() * 2 : 0);
    return writeBehindSize(out, low32(static_cast<long long>(least)),
                           [&](Out to) { return writeEntries<Tag>(to, map, call); });
  } else {
    std::uint64_t size = 2;
    if (call.keepSizes && map != nullptr) {
      size = call.sizes[kept];
    } else if (map != nullptr) {
      for (const auto& [key, value] : *map) {
        size += mapPartSize(key) + mapPartSize(value);
      }
    }
    out.varint(low32(static_cast<long long>(size)));
    return writeEntries<Tag>(out, map, call);
  }
}

template <class Out>
Out writePassword(Out out, const FieldDef& def, const pstring* value, EncodeCall& call)
{
  if constexpr (isBounded<Out>) {  // encrypted once, and by whoever is sure to write it
    return BoundedOut::failure();
  }
  PasswordText password{PasswordText::NoAnnotation, {}};
  if (call.keepPasswords && def.annotations != nullptr) {
    auto& kept = call.passwordTexts[call.nextPassword++];
    password.kind = kept ? PasswordText::Written : PasswordText::Refused;
    if (kept) {
      password.text = std::move(*kept);
    }
  } else {
    password = passwordText(def, value, call);
  }
  switch (password.kind) {
    case PasswordText::NoAnnotation:
      out.fixed(wire::fieldKey(def));
      ++call.lost;
      log().logError(writerFunction, "No Password annotation found on member : %s", def.getName());
      break;
    case PasswordText::Refused:  // not even its key: a reader would take the next key for the value
      ++call.lost;
      log().logError(writerFunction, "Password Handler Not Found while serializing pstring field [%s]",
                     def.getName());
      break;
    case PasswordText::Written:
      out.fixed(wire::fieldKey(def));
      out = writeText(out, password.text.data(), password.text.size());
      break;
  }
  return out;
}

template <class Tag, class Out>
[[gnu::noinline]] Out writeValue(Tag, const YMMessageBase& message, const FieldDef& def, Out out,
                                 EncodeCall& call)
{
  using Value = typename Tag::Value;
  const short slot = def.slot;
  const std::uint32_t key = def.hash << 3 | Tag::info.wireCode;
  const std::uint32_t first = isCollectionType(Tag::type) ? wire::collectionMarker : key;
  if constexpr (Tag::type == FIELD_ULONGLONG) {
    out.fixed(first);
    out.fixed(static_cast<std::uint64_t>(MessageAccess::raw(message, slot)));
    return out;
  } else if constexpr (ByteString<Tag>) {
    out.fixed(first);
    const bstring* value = MessageAccess::pointer<bstring>(message, slot);
    static const std::string none;
    return writeBytes(out, value != nullptr ? value->text() : none, call);
  } else if constexpr (PasswordString<Tag>) {
    return writePassword(out, def, MessageAccess::pointer<pstring>(message, slot), call);
  } else if constexpr (MessageValue<Tag>) {
    const YMMessageBase* value = MessageAccess::pointer<YMMessageBase>(message, slot);
    if (value == nullptr) {
      return out;
    }
    out.fixed(first);
    return writeNested(out, *value, call);
  } else if constexpr (ListValue<Tag> && Tag::type != FIELD_LIST_WSTRING) {
    out.fixed(first);
    const Value* list = MessageAccess::pointer<Value>(message, slot);
    const std::size_t count = list != nullptr ? list->size() : 0;
    out.varint(low32(static_cast<long long>(count)));
    if constexpr (std::is_arithmetic_v<typename Value::value_type>) {
      out.fixed(key);
      if (list != nullptr) {
        return writeElements(out, *list);
      }
      out.varint(0);
    } else {
      for (std::size_t i = 0; i < count; ++i) {
        out.fixed(key);
        if (hasFailed(out)) {
          break;
        }
        auto& item = (*list)[i];
        if constexpr (Tag::type == FIELD_LIST_OBJECT) {
          out = writeNested(out, item, call);
        } else if constexpr (Tag::type == FIELD_LIST_STRING) {
          out = writeText(out, item.c_str(), cutLength(item));
        } else {
          out = writeBytes(out, item.text(), call);
        }
      }
    }
    return out;
  } else if constexpr (MapValue<Tag>) {
    out.fixed(first);
    const Value* map = MessageAccess::pointer<Value>(message, slot);
    out.varint(map != nullptr ? low32(static_cast<long long>(map->size())) : 0);
    out.fixed(key);
    return writeMap<Tag>(out, map, call);
  } else {
    out.fixed(first);  // wide strings and types without storage have no value
    return out;
  }
}

/// A value of the other kinds but texts.
template <class Out>
[[gnu::always_inline]] inline Out writeScalar(Out out, Kind kind, long long value)
{
  if (kind == Kind::Zigzag) {
    out.varint(zigzag(static_cast<std::int32_t>(low32(value))));
  } else if (kind == Kind::Fixed8) {
    out.fixed(static_cast<std::uint64_t>(value));
  } else if (kind == Kind::Varint) {
    out.varint(low32(value));
  } else {
    out.fixed(low32(value));
  }
  return out;
}

template <class Out>
[[gnu::noinline]] Out writeOther(const YMMessageBase& message, const FieldDef& def, Out out, EncodeCall& call)
{
  return visitFieldType(def.type, [&](auto tag) { return writeValue(tag, message, def, out, call); });
}

void traceField(const YMMessageBase& message, const FieldDef& def, std::uint64_t position)
{
  log().debug(writerFunction, 15, "Writing field [%s]:[%s] at buffer position : [%d]",
              message.getClass()->name, def.getName(), static_cast<int>(position));
}

template <class Out>
Out writeFields(const YMMessageBase& message, Out out, EncodeCall& call)
{
  if (enterMessage(call) && message.getClass() != nullptr) {
    const ConstSlots slots = MessageAccess::slots(message);
    const bool trace = call.trace;
    const FieldDef* const fields = message.getClass()->fields;
    MessageAccess::forEachSetPlan(
        message, [&](const FieldPlan& plan, std::size_t position) __attribute__((always_inline)) {
          if (trace) [[unlikely]] {
            traceField(message, fields[position], out.position(call));
          }
          if (plan.kind == Kind::Other) {
            out = writeOther(message, fields[position], out, call);
            return;
          }
          const long long* const value = &slots[plan];
          out.fixed(plan.key);
          if (plan.kind == Kind::String) {
            out = writeText(out, stringAt(value).data(), stringAt(value).size());
          } else {
            out = writeScalar(out, plan.kind, *value);
          }
        });
  }
  --call.depth;
  return out;
}

/// The most that key and value of a scalar take, or those of a text before its first character.
constexpr std::ptrdiff_t longestScalar = wire::keySize + 8;

/// This is where small messages spend their time: a scalar needs no look at the bound, since room for one of
/// each field is set apart before.
[[gnu::always_inline]] inline BoundedOut writeBoundedFields(const YMMessageBase& message, BoundedOut out,
                                                            EncodeCall& call)
{
  const _ClassDef& cls = *message.getClass();
  const ConstSlots slots = MessageAccess::slots(message);
  const std::ptrdiff_t apart = longestScalar * cls.numberOfFields;
  if (out.end - out.at < apart) {
    return BoundedOut::failure();
  }
  char* const end = out.end - apart;
  DirectOut to{out.at};
  bool good = true;
  MessageAccess::forEachSetPlan(
      message, [&](const FieldPlan& plan, std::size_t position) __attribute__((always_inline)) {
        const Kind kind = plan.kind;
        const long long* const value = &slots[plan];
        DirectOut next = to;
        next.fixed(plan.key);
        if (kind < Kind::String) [[likely]] {
          to = writeScalar(next, kind, *value);
        } else if (kind == Kind::String) {
          const std::string& text = stringAt(value);
          if (end - to.at >= static_cast<std::ptrdiff_t>(text.size())) [[likely]] {
            to = writeText(next, text.data(), text.size());
          } else {
            good = false;
          }
        } else {
          const BoundedOut behind =
              to.at <= end ? writeOther(message, cls.fields[position], BoundedOut{to.at, end}, call)
                           : BoundedOut::failure();
          good = good && !behind.failed();
          to.at = behind.failed() ? to.at : behind.at;
        }
      });
  return good ? BoundedOut{to.at, out.end} : BoundedOut::failure();
}

BoundedOut writeFields(const YMMessageBase& message, BoundedOut out, EncodeCall& call)
{
  const char* const begin = out.at;
  if (out.failed()) {
    return out;
  }
  if (enterMessage(call) && message.getClass() != nullptr) {
    out = writeBoundedFields(message, out, call);
  }
  --call.depth;
  if (!out.failed()) {
    message.SetCachedSize(static_cast<std::uint32_t>(out.at - begin));
  }
  return out;
}

}  // namespace

char* writeBodyWithin(const YMMessageBase& message, char* to, char* end, EncodeCall& call)
{
  return writeFields(message, BoundedOut{to, end}, call).at;
}

char* writeBody(const YMMessageBase& message, char* to, const char* begin, EncodeCall& call)
{
  call.begin = begin;
  call.nextSize = 1;  // behind the message's own
  return writeFields(message, DirectOut{to}, call).at;
}

void writeBody(const YMMessageBase& message, BinaryStream& out, EncodeCall& call)
{
  call.nextSize = 1;
  writeFields(message, StreamOut{&out}, call);
}

}  // namespace kwxml
