#include <kwxml/binary/BinaryReader.h>

#include <kwxml/binary/BodyReader.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/Limits.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

namespace kwxml {

namespace {

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

}  // namespace

/// In one piece, because the cursor stays in registers only as long as no other function has its address:
/// every scalar of every message passes here.
bool BodyReader::readFields(YMMessageBase& message, std::uint64_t end)
{
  const _ClassDef* cls = message.getClass();
  if (cls == nullptr) {
    return false;
  }
  if (call_.depth >= maxMessageNesting) {
    log().logError(readerFunction, "Messages nest deeper than [%d]", maxMessageNesting);
    tellEnd(ProblemKind::TooDeep, nullptr, "messages nest too deep");
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
      if (call_.problems != nullptr) [[unlikely]] {
        checkKey(message, position < count ? &fields[position] : nullptr, key, keyPosition);
      }
      if (position == count) {
        if (in.position() < bodyEnd_) {
          in_ = in;
          good = skipUnknown(key);
          in = in_;
        }
        continue;
      }
      if (call_.trace) {
        log().debug(readerFunction, 15, "Identified  [%s] : [%s] at buffer position : [%d]", cls->name,
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
        good = in.failed() ? false : overruns(fields[position], size, "string");
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
  if (in_.failed()) {
    tellEnd(ProblemKind::BufferCut, nullptr, "the bytes end within a value");
  } else if (good && in_.position() == markerEnd_) {
    tell(ProblemKind::BufferCut, nullptr, "the bytes end behind the marker of a collection");
  }
  return good && !in_.failed();
}

/// A key that does not stand where the last one's successor is expected.
void BodyReader::checkKey(const YMMessageBase& message, const FieldDef* def, std::uint32_t key,
                          std::uint64_t position)
{
  const std::uint32_t code = key & 7;
  if (key == wire::collectionMarker) {
    return;
  }
  if (def == nullptr) {
    char hash[16];
    std::snprintf(hash, sizeof hash, "0x%06X", key >> 3);
    const std::string text = std::string("with the hash ") + hash + " (" + wireCodeName(code) + ")";
    call_.problems->tell(ProblemKind::FieldUnknown, position, {.owner = message.getClass(), .text = text});
    return;
  }
  const std::uint32_t own = fieldTypeInfo(def->type).wireCode;
  if (code != own) {
    const std::string remark = "coded as " + wireCodeName(code) + ", read as " + wireCodeName(own);
    call_.problems->tell(ProblemKind::WireCodeOther, position, {.field = def, .remark = remark});
  }
  if (!call_.merges &&
      contains(scalarTypes | stringSlots | typesHolding<bstring> | typesHolding<YMMessageBase>, def->type) &&
      MessageAccess::isSet(message, *def)) {
    call_.problems->tell(ProblemKind::GivenTwice, position, {.field = def});
  }
}

bool BodyReader::skipUnknown(std::uint32_t key)
{
  switch (key & 7) {
    case wire::codeVarint: {
      const std::uint32_t value = in_.varint();
      if (key == wire::collectionMarker) {
        pendingCount_ = value;
        markerEnd_ = in_.position();
        if (call_.trace) {
          log().debug(readerFunction, 15, "Cached collection(list/map) size is : [%d]",
                      static_cast<int>(value));
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
        log().logError(readerFunction,
                       "Error unserializing in binary mode. Specified string size [%d] > buffer size [%d]. "
                       "CurrentPosition : [%d]",
                       static_cast<int>(size), static_cast<int>(in_.size()),
                       static_cast<int>(in_.position()));
        tellEnd(ProblemKind::BufferCut, nullptr, "an unknown value is longer than the bytes that are left");
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
