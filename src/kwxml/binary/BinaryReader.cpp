#include <kwxml/binary/BinaryReader.h>

#include <kwxml/binary/BodyReader.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/Limits.h>

#include <algorithm>
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

/// The same, of a hash that no record has, among the former names of the fields.
std::size_t searchFormer(const YMMessageBase& message, std::size_t count, std::uint32_t hash,
                         std::size_t& hint)
{
  const FieldDef* const found = MessageAccess::planOf(message).fieldOfFormerName(hash);
  if (found == nullptr) {
    return count;
  }
  const auto position = static_cast<std::size_t>(found - message.getClass()->fields);
  hint = position + 1;
  return position;
}

}  // namespace

/// In one piece, because the cursor stays in registers only as long as no other function has its address:
/// every scalar of every message passes here.
template <class Watch>
bool BodyReader<Watch>::readFields(YMMessageBase& message, std::uint64_t end)
{
  const _ClassDef* cls = message.getClass();
  if (cls == nullptr) {
    return false;
  }
  if (call_.depth >= maxMessageNesting) {
    log().logError(readerFunction, "Messages nest deeper than [%d]", maxMessageNesting);
    watch_.ended(in_.position(), ProblemKind::TooDeep, nullptr,
                 "messages nest deeper than " + std::to_string(maxMessageNesting));
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
  std::size_t hint = 0;
  Cursor in = in_;  // in registers, but while others read
  const char* const lastKey = in.from(bodyEnd_ - wire::keySize);
  bool good = true;
  while (good && in.at() <= lastKey) {
    const auto key = in.fixedInside<std::uint32_t>();
    std::size_t position = hint;
    if (plans[hint].key == key && key >= leastKey) [[likely]] {
      ++hint;
      watch_.key(in.position(), message, &fields[position], key);
    } else {
      if (key != wire::collectionMarker) {
        position = search(fields, count, key >> 3, hint);
        position = position < count ? position : searchFormer(message, count, key >> 3, hint);
      } else {
        position = count;
      }
      watch_.key(in.position(), message, position < count ? &fields[position] : nullptr, key);
      if (position == count) {
        if (in.position() < bodyEnd_) {
          in_ = in;
          good = skipUnknown(message, key);
          in = in_;
        }
        watch_.value();
        continue;
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
      if (Watch::follows && !in.failed()) {
        watch_.number(in.position(), message, fields[position], slot);
      }
    } else if (kind == wire::Kind::String) {
      const std::size_t size = in.varint();
      if (Watch::follows && !in.failed()) {
        watch_.length(in.position(), size);
      }
      if (in.failed() || size > in.left()) [[unlikely]] {
        in_ = in;
        good = in.failed() ? false : overruns(&fields[position], size, "string");
        continue;
      }
      std::launder(reinterpret_cast<std::string*>(&slot))->assign(in.at(), size);
      in.skip(size);
      watch_.string(in.position(), {in.at() - size, size});
    } else {
      in_ = in;
      good = readOther(message, fields[position]);
      in = in_;
      watch_.value();
      continue;
    }
    watch_.value();
    bits[position / 8] = static_cast<unsigned char>(bits[position / 8] | 1U << position % 8);
  }
  in_ = in;
  bodyEnd_ = outerEnd;
  pendingCount_ = outerCount;
  --call_.depth;
  if (in_.failed()) {
    watch_.ended(in_.position(), ProblemKind::BufferCut, nullptr, "the bytes end within a number");
  } else if (good && in_.position() == markerEnd_) {
    watch_.met(in_.position(), ProblemKind::BufferCut, nullptr,
               "the bytes end behind the marker of a collection");
  }
  good = good && !in_.failed();
  if (!good) {
    watch_.broken(*cls);
  }
  return good;
}

template <class Watch>
bool BodyReader<Watch>::skipUnknown(const YMMessageBase& message, std::uint32_t key)
{
  const auto pass = [this, key](std::size_t size) {
    in_.pass(size);
    if (!in_.failed()) {
      watch_.skipped(in_.position(), key, 0);
    } else {
      watch_.ended(in_.position(), ProblemKind::BufferCut, nullptr, "the bytes end within what is skipped");
    }
  };
  switch (key & 7) {
    case wire::codeVarint:
    case wire::codeZigzag: {
      const std::uint32_t value = in_.varint();
      if (key == wire::collectionMarker) {
        pendingCount_ = value;
        // An empty list of texts or messages is a marker and the count 0, and one of wide texts a marker
        // alone; of any other a key follows.
        if (value != 0) {
          markerEnd_ = in_.position();
        }
      }
      if (!Watch::explains || !in_.failed()) {
        watch_.skipped(in_.position(), key, value);
      }
      break;
    }
    case wire::codeFixed8:
      pass(8);
      break;
    case wire::codeFixed4:
      pass(4);
      break;
    case wire::codeLength: {
      const std::uint32_t size = in_.varint();
      if (Watch::follows && !in_.failed()) {
        watch_.length(in_.position(), size);
      }
      if (size > in_.left()) {
        log().logError(readerFunction,
                       "Error unserializing in binary mode. Specified string size [%d] > buffer size [%d]. "
                       "CurrentPosition : [%d]",
                       static_cast<int>(size), static_cast<int>(in_.size()),
                       static_cast<int>(in_.position()));
        watch_.ended(in_.position(), ProblemKind::BufferCut, nullptr,
                     tooLong("unknown value", size, in_.left()));
        return false;
      }
      in_.skip(size);
      if (Watch::follows && !in_.failed()) {
        watch_.unknown(in_.position(), {in_.at() - size, size}, *message.getClass());
      }
      break;
    }
    default:
      break;  // no encoding
  }
  return true;
}

template class BodyReader<Unwatched>;
template class BodyReader<Traced>;
template class BodyReader<Explaining>;

bool readBody(YMMessageBase& message, BinaryStream& in, std::uint64_t end, DecodeCall& call)
{
  const MessageReuse::Scope scope(call.reuses ? &message : nullptr);
  if (in.overrun()) {
    return false;
  }
  Cursor cursor(in);
  const auto read = [&](auto& watch) {
    return BodyReader(cursor, call, watch, call.reuses).readFields(message, end);
  };
  bool good = false;
  if (call.explaining != nullptr) {
    good = read(*call.explaining);
  } else if (call.trace || call.observer != nullptr) {
    Traced watch(call);
    good = read(watch);
  } else {
    Unwatched watch;
    good = read(watch);
  }
  in.setPosition(cursor.failed() ? in.size() + 1 : cursor.position());
  return good;
}

}  // namespace kwxml
