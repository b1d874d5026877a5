#include <kwxml/binary/BinaryExplain.h>

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/binary/BinaryStream.h>
#include <kwxml/binary/BodyReader.h>
#include <kwxml/text/ShownText.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdio>
#include <memory>

namespace kwxml {

namespace {

std::string hex(std::uint64_t number, int digits)
{
  char text[24];
  std::snprintf(text, sizeof text, "0x%0*llX", digits, static_cast<unsigned long long>(number));
  return text;
}

std::string counted(std::uint64_t number, const char* one, const char* many)
{
  return std::to_string(number) + " " + (number == 1 ? one : many);
}
std::string countedBytes(std::uint64_t number)
{
  return counted(number, "byte", "bytes");
}

/// In quotes, as people are shown it, and not more than is good for a line.
std::string quoted(std::string_view text)
{
  constexpr std::size_t longest = 64;  // bytes
  const std::size_t size = text.size();
  std::string out = "\"";
  while (!text.empty() && size - text.size() < longest) {
    text.remove_prefix(appendShownCharacter(out, text, "\"\\"));
  }
  return out + "\"" + (text.empty() ? "" : "..+" + std::to_string(text.size()));
}

std::string keyText(std::uint32_t key)
{
  return "(hash " + hex(key >> 3, 6) + ", " + wireCodeName(key & 7) + ")";
}

bool hasPassword(const _ClassDef& cls)
{
  return std::any_of(cls.begin(), cls.end(), [](const FieldDef& def) { return def.type == FIELD_PSTRING; });
}

}  // namespace

std::string wireCodeName(std::uint32_t code)
{
  switch (code) {
    case wire::codeVarint:
      return "varint";
    case wire::codeFixed8:
      return "fixed 8";
    case wire::codeLength:
      return "length-delimited";
    case wire::codeFixed4:
      return "fixed 4";
    case wire::codeZigzag:
      return "zigzag";
    case wire::codeNone:
      return "no encoding";
    default:
      return "code " + std::to_string(code) + ", which is none";
  }
}

// ---- Lines

void Explaining::show(std::uint64_t at, const std::string& text)
{
  show_({.offset = offset_ + shown_,
         .bytes = bytes_.substr(shown_, at - shown_),
         .secret = secret_,
         .depth = depth_,
         .text = text});
  shown_ = at;
}

void Explaining::showContent(std::uint64_t at, std::string_view content, const std::string& text, bool secret)
{
  if (!content.empty()) {
    ++depth_;
    secret_ = secret;
    show(at, text);
    secret_ = false;
    --depth_;
  }
}

void Explaining::showNumber(std::uint64_t at, const FieldDef& def, FieldDataType type, Number number)
{
  char text[64];
  std::string shown(
      text,
      std::visit([&](auto value) { return std::to_chars(text, text + sizeof text, value).ptr; }, number));
  const long long whole = std::visit(
      [](auto value) {
        if constexpr (std::is_integral_v<decltype(value)>) {
          return static_cast<long long>(value);
        } else {
          return -1LL;  // no truth value, no enumerator
        }
      },
      number);
  if (type == FIELD_BOOL && (whole == 0 || whole == 1)) {
    shown = whole == 1 ? "true" : "false";
  } else if (type == FIELD_ENUM) {
    const FieldDef* enumerator =
        findEnumerator(findClass(packedReference(def)), static_cast<std::int32_t>(whole));
    shown += enumerator != nullptr ? std::string(" ") + enumerator->getName() : ", no enumerator";
  }
  show(at, label() + shown);
}

std::string Explaining::label()
{
  return std::exchange(label_, {});
}

// ---- What the walk tells

void Explaining::header(int version, bool flagged, unsigned tag, const YMMessageBase* message)
{
  show(wire::headerSize / 2,
       "version " + std::to_string(version) + (flagged ? " (flagged)" : " (not flagged)"));
  show(wire::headerSize,
       "tag " + hex(tag, 8) + (message != nullptr ? " " + message->getTagName() : ", no class"));
  if (message == nullptr) {
    reason_ = "no class has this tag";
  }
}

void Explaining::rest(const std::string& text)
{
  if (shown_ < bytes_.size()) {
    show(bytes_.size(), text);
  }
}

void Explaining::damage()
{
  const std::uint64_t point = shown_;
  depth_ = 0;
  rest("not read");
  remark("damaged at " + hex(offset_ + point, 8) + ": " + reason_);
}

void Explaining::key(std::uint64_t at, const YMMessageBase&, const FieldDef* def, std::uint32_t key)
{
  if (def == nullptr) {
    show(at, key == wire::collectionMarker ? "collection marker" : "unknown field " + keyText(key));
  } else {
    const FieldTypeInfo& info = fieldTypeInfo(def->type);
    show(at, std::string(def->getName()) + " " + (info.text != nullptr ? info.text : "without a type") + " " +
                 keyText(key) +
                 ((key & 7) == info.wireCode ? "" : ", read as " + wireCodeName(info.wireCode)));
    if (info.storage == Storage::None || def->type == FIELD_WSTRING || def->type == FIELD_LIST_WSTRING) {
      ++depth_;
      remark("no value travels");
      --depth_;
    }
  }
  ++depth_;
}

void Explaining::skipped(std::uint64_t at, std::uint32_t key, std::uint32_t number)
{
  const std::uint32_t code = key & 7;
  show(at, key == wire::collectionMarker ? "count " + std::to_string(number)
           : code == wire::codeZigzag    ? "skipped: " + std::to_string(unzigzag(number))
           : code == wire::codeVarint    ? "skipped: " + std::to_string(number)
           : code == wire::codeFixed8    ? "skipped: 8 bytes"
                                         : "skipped: 4 bytes");
}

void Explaining::number(std::uint64_t at, const YMMessageBase&, const FieldDef& def, long long slot)
{
  visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (Tag::type == FIELD_FLOAT) {
      showNumber(at, def, def.type, std::bit_cast<float>(static_cast<std::uint32_t>(slot)));
    } else if constexpr (FloatingSlot<Tag>) {
      showNumber(at, def, def.type, std::bit_cast<double>(slot));
    } else if constexpr (IntegerSlot<Tag>) {
      using Value = typename Tag::Value;
      using Wide = std::conditional_t<std::is_signed_v<Value>, long long, unsigned long long>;
      showNumber(at, def, def.type, static_cast<Wide>(static_cast<Value>(slot)));
    }
  });
}

void Explaining::place(std::uint32_t index, const char* part)
{
  label_ = "[" + std::to_string(index) + "] ";
  if (part != nullptr) {
    label_ += part + 1;  // without the dot
    label_ += " ";
  }
}

void Explaining::length(std::uint64_t at, std::size_t size)
{
  show(at, label() + "length " + std::to_string(size));
}

void Explaining::string(std::uint64_t at, std::string_view text)
{
  showContent(at, text, quoted(text), false);
}

void Explaining::bytes(std::uint64_t at, const FieldDef&, const BytesRead& read)
{
  std::string what = countedBytes(read.text.size());
  if (read.used != read.text.size()) {
    what += ", read up to the zero byte behind " + std::to_string(read.used);
  }
  if (read.encoded) {
    what += read.decoded ? ", base64 of " + countedBytes(read.size) : ", no base64: kept as it is";
  }
  showContent(at, read.text, what, false);
}

/// Of another version, or behind bytes that are read unlike written: it may be anything.
void Explaining::unknown(std::uint64_t at, std::string_view text, const _ClassDef& owner)
{
  showContent(at, text, "skipped: " + countedBytes(text.size()), hasPassword(owner));
}

void Explaining::password(std::uint64_t at, std::string_view text, int type)
{
  showContent(at, text, "password of " + countedBytes(text.size()) + ", type " + std::to_string(type), true);
}

void Explaining::count(std::uint64_t at, const FieldDef& def, std::uint32_t count, std::uint32_t size)
{
  const bool isMap = fieldTypeInfo(def.type).mapKey != FIELD_UNSET;
  show(at, (isMap ? counted(count, "entry", "entries") : counted(count, "element", "elements")) +
               ", said to take " + countedBytes(size));
}

void Explaining::mapCode(std::uint64_t at, const char* what, std::uint32_t code)
{
  show(at, std::string(what) + ": " + wireCodeName(code));
}

void Explaining::partNumber(std::uint64_t at, long long number)
{
  show(at, label() + std::to_string(number));
}

void Explaining::open(std::uint64_t at, const FieldDef& def, const YMMessageBase& nested, std::uint32_t size,
                      std::uint64_t bodyEnd, std::uint32_t index, const char* part)
{
  if (part != nullptr || def.type == FIELD_LIST_OBJECT) {
    place(index, part);
  }
  const bool cut = at + size > bodyEnd;
  show(at, label() + nested.getTagName() + ", size " + std::to_string(size) +
               (cut ? ", cut to that of the message around" : ""));
  ends_.push_back(cut ? 0 : at + size);
  ++depth_;
}

void Explaining::close(std::uint64_t at, bool good)
{
  const std::uint64_t end = ends_.back();
  ends_.pop_back();
  --depth_;
  // The message around goes on where this one stopped, wherever its size says.
  if (good && end != 0 && at != end) {
    remark("ends " + countedBytes(at < end ? end - at : at - end) + (at < end ? " before" : " behind") +
           " its size");
  }
}

void Explaining::ended(std::uint64_t, ProblemKind, const FieldDef*, std::string_view remark)
{
  if (reason_.empty()) {
    reason_ = remark;
  }
}

void Explaining::broken(const _ClassDef& cls)
{
  secret_ = secret_ || hasPassword(cls);
}

bool explainBinary(std::string_view bytes, std::uint64_t offset, const ShowPiece& show)
{
  // A stream that is read writes nothing.
  BinaryStream in(const_cast<char*>(bytes.data()), bytes.size());
  Explaining explaining(bytes, offset, show);
  int version = 0;
  int tag = 0;
  int hasFlag = 0;
  if (!BinarySerializer::getVersionAndTagIDFromBuffer(in, version, tag, hasFlag)) {
    explaining.ended(0, ProblemKind::BufferCut, nullptr, "shorter than a header");
    explaining.damage();
    return false;
  }
  std::unique_ptr<YMMessageBase> message(
      YMMessageBase::createObject(static_cast<unsigned long>(static_cast<long>(tag)), false));
  if (message != nullptr && message->getClass() == nullptr) {
    message.reset();
  }
  explaining.header(version, hasFlag != 0, static_cast<unsigned>(tag), message.get());
  DecodeCall call{version, nullptr, false};
  call.explaining = &explaining;
  if (message != nullptr) {
    message->wipeBitset();
  }
  if (message == nullptr || !readBody(*message, in, bytes.size(), call)) {
    explaining.damage();
    return false;
  }
  if (hasPassword(*message->getClass())) {
    explaining.broken(*message->getClass());
  }
  explaining.rest("too few bytes for a key: not read");
  return true;
}

std::string toText(const BinaryPiece& piece, std::uint64_t more)
{
  constexpr std::size_t longest = 16;
  constexpr std::size_t column = 25;  // of the bytes; more of them push the text aside
  char offset[24];
  std::snprintf(offset, sizeof offset, "%08llX  ", static_cast<unsigned long long>(piece.offset));
  std::string shown;
  const std::size_t count = piece.secret ? 0 : std::min(piece.bytes.size(), longest);
  for (std::size_t i = 0; i < count; ++i) {
    char digits[8];
    std::snprintf(digits, sizeof digits, "%02X ", static_cast<unsigned char>(piece.bytes[i]));
    shown += digits;
  }
  if (const std::uint64_t left = piece.bytes.size() - count + more; left > 0) {
    shown += "..+" + std::to_string(left) + " ";
  }
  shown.resize(std::max(column, shown.size() + 1), ' ');
  return offset + shown + std::string(2 * static_cast<std::size_t>(piece.depth), ' ') + piece.text + "\n";
}

}  // namespace kwxml
