#include "Inspect.h"

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/binary/BinaryProblems.h>
#include <kwxml/binary/BinaryStream.h>
#include <kwxml/binary/WireFormat.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/text/Base64.h>
#include <kwxml/text/ShownText.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

namespace kwxml::tool {

namespace {

using wire::NumberForm;

constexpr std::size_t prefixSize = 4;
constexpr std::size_t longestShown = 64;  // bytes of a string

std::string hex(std::uint64_t number, int digits)
{
  char text[24];
  std::snprintf(text, sizeof text, "0x%0*llX", digits, static_cast<unsigned long long>(number));
  return text;
}

std::string counted(std::uint64_t number, const char* one)
{
  return std::to_string(number) + " " + one + (number == 1 ? "" : "s");
}

/// In quotes, as people are shown it, and not more than is good for a line.
std::string quoted(std::string_view text)
{
  const std::size_t size = text.size();
  std::string out = "\"";
  while (!text.empty() && size - text.size() < longestShown) {
    text.remove_prefix(appendShownCharacter(out, text, "\"\\"));
  }
  return out + "\"" + (text.empty() ? "" : "..+" + std::to_string(text.size()));
}

std::string keyText(std::uint32_t hash, std::uint32_t code)
{
  return "(hash " + hex(hash, 6) + ", " + wireCodeName(code) + ")";
}

/// The value of a scalar field, of a list's element or of a map's part.
template <class T>
std::string numberText(FieldDataType type, const FieldDef& def, T value)
{
  char text[64];
  std::string decimal(text, std::to_chars(text, text + sizeof text, value).ptr);
  if constexpr (std::is_integral_v<T>) {
    if (type == FIELD_BOOL && (value == 0 || value == 1)) {
      return value == 1 ? "true" : "false";
    }
    if (type == FIELD_ENUM) {
      const PackedReference reference = packedReference(def);
      const _ClassDef* cls = findClass(reference);
      for (const FieldDef* record = cls != nullptr ? cls->begin() : nullptr;
           cls != nullptr && record != cls->end(); ++record) {
        if (record->hash == static_cast<std::uint32_t>(value)) {
          return decimal + " " + record->getName();
        }
      }
      return decimal + ", no enumerator";
    }
  }
  return decimal;
}

bool hasPassword(const _ClassDef& cls)
{
  return std::any_of(cls.begin(), cls.end(), [](const FieldDef& def) { return def.type == FIELD_PSTRING; });
}

/// Walks through one message.
class Walker
{
public:
  using Show = std::function<void(const InspectLine&)>;

  /// The message lies in the input at `offset`.
  Walker(std::string_view bytes, std::size_t offset, const Show& show)
      : in_(const_cast<char*>(bytes.data()), bytes.size()),  // a stream that is read writes nothing
        offset_(offset),
        show_(show)
  {
  }

  bool message()
  {
    if (header() && body(*cls_, system_, in_.size())) {
      if (in_.remaining() > 0) {
        secret_ = hasPassword(*cls_);
        in_.setPosition(in_.size());
        show("too few bytes for a key: not read");
      }
      return true;
    }
    const std::size_t point = shown_;
    depth_ = 0;
    if (shown_ < in_.size()) {
      in_.setPosition(in_.size());
      show("not read");
    }
    remark("damaged at " + hex(offset_ + point, 8) + ": " + reason_);
    return false;
  }

private:
  /// The message whose fields are read.
  struct Body
  {
    const _ClassDef& cls;
    std::uint64_t end;
    std::uint32_t count = 0;   ///< what the last collection marker announced
    int hint = 0;              ///< where the search for the next field begins
    std::vector<bool> made{};  ///< by position: the nested message exists
  };

  // ---- Lines

  /// Shows what has been read since the last line.
  void show(const std::string& text)
  {
    show_({offset_ + shown_,
           {in_.data() + shown_, static_cast<std::size_t>(in_.position()) - shown_},
           secret_,
           depth_,
           text});
    shown_ = in_.position();
  }
  void remark(const std::string& text) { show_({offset_ + shown_, {}, false, depth_, text}); }
  bool fail(const std::string& reason)
  {
    reason_ = reason;
    return false;
  }
  /// Goes on by `size` bytes, or fails.
  bool pass(std::size_t size, const char* what)
  {
    if (size > in_.remaining()) {
      return fail(std::string("the bytes end within ") + what);
    }
    in_.setPosition(in_.position() + size);
    return true;
  }

  // ---- Numbers and texts

  template <NumberForm form, class T>
  bool number(T& value)
  {
    if constexpr (form == NumberForm::Zigzag) {
      int bits = 0;
      in_.ReadSVarInt(bits);
      value = bits;
    } else if constexpr (form == NumberForm::Varint) {
      unsigned bits = 0;
      in_.ReadVarInt(bits);
      value = bits;
    } else if constexpr (std::is_same_v<T, float>) {
      in_.ReadFloat(value);
    } else if constexpr (std::is_same_v<T, double>) {
      in_.ReadDouble(value);
    } else {
      long long bits = 0;
      in_.ReadInt64(bits);
      value = static_cast<T>(bits);
    }
    return !in_.overrun() || fail("the bytes end within a number");
  }
  bool varint(std::uint32_t& value) { return number<NumberForm::Varint>(value); }

  /// A length, shown behind `label`, and what it counts, which is not shown yet.
  bool text(std::string_view& out, const std::string& label, const char* what)
  {
    std::uint32_t size = 0;
    if (!varint(size)) {
      return false;
    }
    show(label + "length " + std::to_string(size));
    if (size > in_.remaining()) {
      return fail(std::string(what) + " of " + counted(size, "byte") + " where " +
                  std::to_string(in_.remaining()) + (in_.remaining() == 1 ? " is left" : " are left"));
    }
    out = {in_.data() + in_.position(), size};
    in_.setPosition(in_.position() + size);
    return true;
  }
  bool stringValue(const std::string& label)
  {
    std::string_view value;
    if (!text(value, label, "a string")) {
      return false;
    }
    showContent(value, quoted(value));
    return true;
  }
  /// What a length counted, one level below it.
  void showContent(std::string_view content, const std::string& what)
  {
    if (!content.empty()) {
      ++depth_;
      show(what);
      --depth_;
    }
  }
  bool byteString(const std::string& label)
  {
    std::string_view value;
    if (!text(value, label, "a byte string")) {
      return false;
    }
    const std::string raw(value.data(), strnlen(value.data(), value.size()));
    std::string decoded;
    std::string what = counted(value.size(), "byte");
    if (raw.size() != value.size()) {
      what += ", read up to the zero byte behind " + std::to_string(raw.size());
    }
    if (version_ > 1) {
      what += base64Decode(raw, decoded) ? ", base64 of " + counted(decoded.size(), "byte")
                                         : ", no base64: kept as it is";
    }
    showContent(value, what);
    return true;
  }
  bool password(const FieldDef& def)
  {
    std::string_view value;
    if (!text(value, "", "a password")) {
      return false;
    }
    const AnnotationRecord annotations(def.annotations);
    if (!annotations.present()) {
      return fail("the field has no annotation that says how its password is protected");
    }
    secret_ = true;
    showContent(value, "password of " + counted(value.size(), "byte") + ", type " +
                           std::to_string(annotations.passwordType()));
    secret_ = false;
    return true;
  }

  // ---- The message

  bool header()
  {
    if (in_.size() < wire::headerSize) {
      return fail("shorter than a header");
    }
    unsigned word = 0;
    in_.ReadUInt32(word);
    const bool flagged = (word & wire::versionFlag) != 0;
    version_ = static_cast<int>(word);
    if (flagged) {
      version_ %= static_cast<int>(wire::versionFlag);
    }
    show("version " + std::to_string(version_) + (flagged ? " (flagged)" : " (not flagged)"));
    unsigned tag = 0;
    in_.ReadUInt32(tag);
    short system = 0;
    int index = 0;
    if (YMMessageBase::getIndicesFromTagID(system, index, tag)) {
      system_ = system;
      cls_ = findClass(system_, index);
    }
    show("tag " + hex(tag, 8) + (cls_ != nullptr ? " " + tagNameOf(system_, *cls_) : ", no class"));
    return cls_ != nullptr || fail("no class has this tag");
  }

  bool body(const _ClassDef& cls, int system, std::uint64_t end)
  {
    if (nesting_ >= maxMessageNesting) {
      return fail("messages nest deeper than " + std::to_string(maxMessageNesting));
    }
    ++nesting_;
    Body body{cls, end};
    if (isEager(system)) {
      makeNested(body);
    }
    while (in_.position() + wire::keySize <= end) {
      unsigned key = 0;
      in_.ReadUInt32(key);
      const FieldDef* def = find(body, key);
      if (!(def != nullptr ? known(body, *def, key) : unknown(body, key))) {
        secret_ = secret_ || hasPassword(cls);
        return false;
      }
    }
    --nesting_;
    return true;
  }

  /// The nested messages with which a message of an old-way system is born.
  static void makeNested(Body& body)
  {
    body.made.resize(static_cast<std::size_t>(body.cls.numberOfFields));
    for (std::size_t i = 0; i < body.made.size(); ++i) {
      const FieldDef& def = body.cls.fields[i];
      if (def.type == FIELD_OBJECT) {
        const PackedReference reference = packedReference(def);
        const _ClassDef* cls = findClass(reference);
        body.made[i] = cls != nullptr && tagOf(reference.system, *cls) != processingInstructionTag;
      }
    }
  }

  /// The field of a key: behind the one found last, then from the first.
  static const FieldDef* find(Body& body, std::uint32_t key)
  {
    const std::uint32_t hash = key >> 3;
    if (key == wire::collectionMarker || hash == 0) {
      return nullptr;
    }
    const auto matches = [hash](const FieldDef& def) { return def.hash == hash; };
    const FieldDef* const begin = body.cls.begin() + body.hint;
    const FieldDef* found = std::find_if(begin, body.cls.end(), matches);
    if (found == body.cls.end()) {
      found = std::find_if(body.cls.begin(), begin, matches);
      if (found == begin) {
        return nullptr;
      }
    }
    body.hint = static_cast<int>(found - body.cls.begin()) + 1;
    return found;
  }

  bool known(Body& body, const FieldDef& def, std::uint32_t key)
  {
    const FieldTypeInfo& info = fieldTypeInfo(def.type);
    show(std::string(def.getName()) + " " + (info.text != nullptr ? info.text : "without a type") + " " +
         keyText(key >> 3, key & 7) +
         ((key & 7) == info.wireCode ? "" : ", read as " + wireCodeName(info.wireCode)));
    ++depth_;
    if (!visitFieldType(def.type, [&](auto tag) { return value(tag, body, def); })) {
      return false;
    }
    --depth_;
    return true;
  }

  bool unknown(Body& body, std::uint32_t key)
  {
    const bool isMarker = key == wire::collectionMarker;
    const std::uint32_t code = key & 7;
    show(isMarker ? "collection marker" : "unknown field " + keyText(key >> 3, code));
    if (in_.position() >= body.end) {
      return true;  // the reader skips no value there
    }
    ++depth_;
    std::uint32_t value = 0;
    std::string_view content;
    bool good = true;
    if (code == wire::codeVarint && (good = varint(value))) {
      body.count = isMarker ? value : body.count;
      show((isMarker ? "count " : "skipped: ") + std::to_string(value));
    } else if (code == wire::codeZigzag && (good = varint(value))) {
      show("skipped: " + std::to_string(unzigzag(value)));
    } else if (code == wire::codeFixed8 && (good = pass(8, "what is skipped"))) {
      show("skipped: 8 bytes");
    } else if (code == wire::codeFixed4 && (good = pass(4, "what is skipped"))) {
      show("skipped: 4 bytes");
    } else if (code == wire::codeLength && (good = text(content, "", "an unknown value"))) {
      secret_ = hasPassword(body.cls);  // of another version, or after bytes that are read unlike written
      showContent(content, "skipped: " + counted(content.size(), "byte"));
      secret_ = false;
    }
    --depth_;
    return good;
  }

  // ---- Values by type

  template <class Tag>
  bool value(Tag, Body& body, const FieldDef& def)
  {
    using Value = typename Tag::Value;
    if constexpr (IntegerSlot<Tag> || FloatingSlot<Tag>) {
      Value value{};
      if (!number<wire::scalarForm<Tag>>(value)) {
        return false;
      }
      show(numberText(Tag::type, def, value));
      return true;
    } else if constexpr (Tag::type == FIELD_STRING) {
      return stringValue("");
    } else if constexpr (ByteString<Tag>) {
      return byteString("");
    } else if constexpr (PasswordString<Tag>) {
      return password(def);
    } else if constexpr (MessageValue<Tag>) {
      const auto position = static_cast<std::size_t>(&def - body.cls.fields);
      if (body.made.empty()) {
        body.made.resize(static_cast<std::size_t>(body.cls.numberOfFields));
      }
      if (!body.made[position] && !hasClass(packedReference(def))) {
        return false;
      }
      body.made[position] = true;
      return nested(body, def, 0, "");
    } else if constexpr (ListValue<Tag> && Tag::type != FIELD_LIST_WSTRING) {
      using Item = typename Value::value_type;
      if constexpr (std::is_arithmetic_v<Item>) {
        return numbers<Item>(Tag::info.element, body, def);
      } else {
        return items<Item>(body, def);
      }
    } else if constexpr (MapValue<Tag>) {
      return map<Tag>(body, def);
    } else {
      remark("no value travels");
      return true;
    }
  }

  static std::string label(std::uint32_t index) { return "[" + std::to_string(index) + "] "; }

  template <class Item>
  bool numbers(FieldDataType type, const Body& body, const FieldDef& def)
  {
    constexpr NumberForm form = wire::elementForm<Item>;
    std::uint32_t size = 0;
    if (!varint(size)) {
      return false;
    }
    show(counted(body.count, "element") + ", said to take " + counted(size, "byte"));
    if (body.count > in_.remaining() / wire::smallest(form)) {
      return fail("the bytes that are left cannot hold " + counted(body.count, "element"));
    }
    for (std::uint32_t i = 0; i < body.count; ++i) {
      Item item{};
      if (!number<form>(item)) {
        return false;
      }
      show(label(i) + numberText(type, def, item));
    }
    return true;
  }

  template <class Item>
  bool items(const Body& body, const FieldDef& def)
  {
    constexpr bool objects = std::is_same_v<Item, YMMessageBase>;
    if (body.count == 0) {
      remark("0 elements");
    }
    for (std::uint32_t i = 0; i < body.count; ++i) {
      if (i > 0) {
        if (!pass(wire::keySize, "the key before an element")) {
          return false;
        }
        show("next element");
      }
      if constexpr (objects) {
        if (!hasClass(packedReference(def)) || !nested(body, def, 0, label(i))) {
          return false;
        }
      } else if (!(std::is_same_v<Item, std::string> ? stringValue(label(i)) : byteString(label(i)))) {
        return false;
      }
    }
    return true;
  }

  template <class Tag>
  bool map(const Body& body, const FieldDef& def)
  {
    using Key = typename Tag::Value::key_type;
    using Mapped = typename Tag::Value::mapped_type;
    constexpr bool objectKeys = std::is_same_v<Key, YMMessageBase>;
    constexpr std::uint32_t keyCode = wire::mapCode(Tag::info.mapKey);
    constexpr std::uint32_t valueCode = wire::mapCode(Tag::info.mapValue);
    std::uint32_t number = 0;
    if (!varint(number)) {
      return false;
    }
    show(std::to_string(body.count) + (body.count == 1 ? " entry" : " entries") + ", said to take " +
         counted(number, "byte"));
    std::uint32_t keys = 0;
    std::uint32_t values = 0;
    if (!varint(keys)) {
      return false;
    }
    show("keys: " + wireCodeName(keys));
    if (!varint(values)) {
      return false;
    }
    show("values: " + wireCodeName(values));
    if (keys != keyCode || values != valueCode) {
      return fail("keys or values are not coded as those of the map");
    }
    for (std::uint32_t i = 0; i < body.count; ++i) {
      if (in_.remaining() == 0) {
        return fail("the bytes end before an entry");
      }
      if constexpr (std::is_same_v<Mapped, YMMessageBase>) {
        if (!hasClass(packedReference(def, objectKeys ? 1 : 0)) ||
            (objectKeys && !hasClass(packedReference(def)))) {
          return false;
        }
      }
      if (!mapPart<Key>(body, def, 0, label(i) + "key ") ||
          !mapPart<Mapped>(body, def, objectKeys ? 1 : 0, label(i) + "value ")) {
        return false;
      }
    }
    return true;
  }

  template <class Part>
  bool mapPart(const Body& body, const FieldDef& def, int which, const std::string& label)
  {
    if constexpr (std::is_same_v<Part, YMMessageBase>) {
      return nested(body, def, which, label);
    } else if constexpr (std::is_same_v<Part, std::string>) {
      return stringValue(label);
    } else {
      Part value{};
      if (!number<NumberForm::Fixed8>(value)) {
        return false;
      }
      show(label + std::to_string(value));
      return true;
    }
  }

  /// Whether the reader would build a message of the class.
  bool hasClass(const PackedReference& reference)
  {
    return (reference.system != 0 && findClass(reference) != nullptr) ||
           fail("the class of the nested message is missing from the catalogue");
  }

  /// Size and body of a message whose class hasClass() has found, or that has been there from the start.
  bool nested(const Body& outer, const FieldDef& def, int which, const std::string& label)
  {
    const PackedReference reference = packedReference(def, which);
    const _ClassDef* cls = reference.system != 0 ? findClass(reference) : nullptr;
    if (cls == nullptr) {
      return fail("the class of the nested message is missing from the catalogue");
    }
    std::uint32_t size = 0;
    if (!varint(size)) {
      return false;
    }
    const std::uint64_t end = in_.position() + size;
    show(label + tagNameOf(reference.system, *cls) + ", size " + std::to_string(size) +
         (end > outer.end ? ", cut to that of the message around" : ""));
    ++depth_;
    if (!body(*cls, reference.system, std::min(end, outer.end))) {
      return false;
    }
    --depth_;
    // The message around goes on where this one stopped, wherever its size says.
    const std::uint64_t position = in_.position();
    if (end <= outer.end && position != end) {
      remark("ends " +
             (position < end ? counted(end - position, "byte") + " before"
                             : counted(position - end, "byte") + " behind") +
             " its size");
    }
    return true;
  }

  BinaryStream in_;
  const std::size_t offset_;
  const Show& show_;
  std::size_t shown_ = 0;  ///< the bytes before it are in lines
  int depth_ = 0;          ///< of the lines
  int nesting_ = 0;        ///< of the messages
  bool secret_ = false;
  std::string reason_;
  int version_ = 0;
  int system_ = 0;
  const _ClassDef* cls_ = nullptr;
};

// ---- Files of messages

std::uint32_t bigEndian(std::string_view bytes)
{
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < prefixSize; ++i) {
    value = value << 8 | static_cast<unsigned char>(bytes[i]);
  }
  return value;
}

/// As the reader of a batch takes it: what follows the number does not matter.
unsigned long decimal(std::string_view bytes)
{
  char text[prefixSize + 1] = {};
  bytes.copy(text, prefixSize);
  return std::strtoul(text, nullptr, 10);
}

class FileWalker
{
public:
  FileWalker(std::string_view bytes, const Walker::Show& show) : bytes_(bytes), show_(show) {}

  bool records()
  {
    bool good = true;
    for (std::uint64_t n = 1; at_ < bytes_.size(); ++n) {
      if (bytes_.size() - at_ < prefixSize) {
        return stop("record " + std::to_string(n) + " is torn: the bytes end within its length");
      }
      const std::uint32_t length = bigEndian(bytes_.substr(at_));
      line(prefixSize, title(n, length));
      good = record(n, length) && good;
    }
    return good;
  }

  bool batch()
  {
    const unsigned long version = decimal(bytes_);
    if (version != 1) {
      return stop("the version of the batch is not 1");
    }
    line(std::min(prefixSize, bytes_.size()), "batch, version 1");
    bool good = true;
    for (std::uint64_t n = 1; at_ < bytes_.size(); ++n) {
      const unsigned long length = decimal(bytes_.substr(at_));
      constexpr unsigned long longest = 9999;  // four digits; only a sign makes more of them
      if (length == 0 || length > longest) {
        return stop("record " + std::to_string(n) + " has no length, so that none behind it is found");
      }
      line(std::min(prefixSize, bytes_.size() - at_), title(n, length));
      good = record(n, length) && good;
    }
    return good;
  }

private:
  static std::string title(std::uint64_t n, std::uint64_t length)
  {
    return "record " + std::to_string(n) + ", length " + std::to_string(length);
  }
  void line(std::size_t size, const std::string& text)
  {
    show_({at_, bytes_.substr(at_, size), false, 0, text});
    at_ += size;
  }
  bool stop(const std::string& reason)
  {
    const std::size_t point = at_;
    if (at_ < bytes_.size()) {
      line(bytes_.size() - at_, "not read");
    }
    line(0, "damaged at " + hex(point, 8) + ": " + reason);
    return false;
  }
  /// What is there of a torn record is explained all the same.
  bool record(std::uint64_t n, std::uint64_t length)
  {
    const std::string_view message = bytes_.substr(at_, length);
    const bool whole = message.size() == length;
    bool good = true;
    if (!message.empty() || whole) {
      good = Walker(message, at_, [this](const InspectLine& line) {
               InspectLine deeper = line;
               ++deeper.depth;
               show_(deeper);
             }).message();
      at_ += message.size();
    }
    return whole ? good
                 : stop("record " + std::to_string(n) + " is torn: " + std::to_string(message.size()) +
                        " of its " + counted(length, "byte") + (message.size() == 1 ? " is" : " are") +
                        " there");
  }

  const std::string_view bytes_;
  const Walker::Show& show_;
  std::size_t at_ = 0;
};

}  // namespace

bool inspect(std::string_view bytes, InspectForm form, const std::function<void(const InspectLine&)>& show)
{
  switch (form) {
    case InspectForm::Binary:
      return Walker(bytes, 0, show).message();
    case InspectForm::Records:
      return FileWalker(bytes, show).records();
    case InspectForm::Batch:
      return FileWalker(bytes, show).batch();
  }
  return false;
}

std::optional<InspectForm> guessInspectForm(std::string_view head, std::uint64_t size)
{
  if (head.starts_with(std::string_view("1\0\0\0", prefixSize))) {
    return InspectForm::Batch;
  }
  const auto isVersionWord = [head](std::size_t at) {
    return head.size() >= at + wire::headerSize && head[at + 2] == 1 && head[at + 3] == 0;
  };
  if (isVersionWord(prefixSize)) {
    const std::uint32_t length = bigEndian(head);
    if (length >= wire::headerSize && length <= size - prefixSize) {
      return InspectForm::Records;
    }
  }
  return isVersionWord(0) ? std::optional(InspectForm::Binary) : std::nullopt;
}

std::string toText(const InspectLine& line)
{
  constexpr std::size_t longest = 16;
  constexpr std::size_t column = 25;  // of the bytes; more of them push the text aside
  char offset[24];
  std::snprintf(offset, sizeof offset, "%08zX  ", line.offset);
  std::string shown;
  const std::size_t count = line.secret ? 0 : std::min(line.bytes.size(), longest);
  for (std::size_t i = 0; i < count; ++i) {
    char digits[8];
    std::snprintf(digits, sizeof digits, "%02X ", static_cast<unsigned char>(line.bytes[i]));
    shown += digits;
  }
  if (line.bytes.size() > count) {
    shown += "..+" + std::to_string(line.bytes.size() - count) + " ";
  }
  shown.resize(std::max(column, shown.size() + 1), ' ');
  return offset + shown + std::string(2 * static_cast<std::size_t>(line.depth), ' ') + line.text + "\n";
}

}  // namespace kwxml::tool
