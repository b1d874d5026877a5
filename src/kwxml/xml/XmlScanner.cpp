#include <kwxml/xml/XmlScanner.h>

#include <kwxml/text/Utf8.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace kwxml {

namespace {

enum : std::uint8_t
{
  nameStart = 1,
  nameRest = 2,
  blank = 4,
  plainText = 8,           ///< stands for itself in a text, and nothing has to be looked at
  plainValue = 16,         ///< the same in a value in quotes, those that end it apart
  layoutOrReference = 32,  ///< does not stand for itself in a value that has been checked
};

constexpr std::array<std::uint8_t, 256> characters = [] {
  std::array<std::uint8_t, 256> table{};
  for (unsigned c = 0; c < 0x80; ++c) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    const bool digit = c >= '0' && c <= '9';
    const bool layout = c == ' ' || c == '\t' || c == '\n' || c == '\r';
    unsigned bits = letter ? nameStart | nameRest : 0;
    bits |= digit || c == '-' || c == '.' ? nameRest : 0;
    bits |= layout ? blank : 0;
    const bool character = c >= 0x20 || c == '\t' || c == '\n';  // "\r" is not itself: line ends become "\n"
    bits |= character && c != '<' && c != '&' && c != ']' ? plainText : 0;
    bits |= c >= 0x20 && c != '<' && c != '&' && c != '"' && c != '\'' ? plainValue : 0;
    bits |= c == '&' || (layout && c != ' ') ? layoutOrReference : 0;
    table[c] = static_cast<std::uint8_t>(bits);
  }
  return table;
}();

bool is(char c, std::uint8_t bits)
{
  return (characters[static_cast<unsigned char>(c)] & bits) != 0;
}

/// The zero byte behind the text ends every run. Four at a time: all bytes of a document pass here.
inline void skip(const char*& p, std::uint8_t bits)
{
  while (is(p[0], bits)) {
    if (!is(p[1], bits)) {
      p += 1;
      return;
    }
    if (!is(p[2], bits)) {
      p += 2;
      return;
    }
    if (!is(p[3], bits)) {
      p += 3;
      return;
    }
    p += 4;
  }
}

/// A name; its hash, as nameHash() gives it for ASCII.
std::uint32_t skipName(const char*& p)
{
  std::uint32_t hash = 0;
  for (; is(*p, nameRest); ++p) {
    hash = hash * 31 + static_cast<unsigned char>(*p);
  }
  return hash & 0xFFFFFF;
}

bool startsWith(const char* p, const char* end, std::string_view what)
{
  return static_cast<std::size_t>(end - p) >= what.size() && std::memcmp(p, what.data(), what.size()) == 0;
}

bool take(const char*& p, const char* end, std::string_view what)
{
  const bool there = startsWith(p, end, what);
  p += there ? what.size() : 0;
  return there;
}

const char* find(const char* p, const char* end, char c)
{
  return static_cast<const char*>(std::memchr(p, c, static_cast<std::size_t>(end - p)));
}

constexpr bool isXmlCharacter(std::uint32_t c)
{
  return c >= 0x20 ? isCharacter(c) && c != 0xFFFE && c != 0xFFFF : c == '\t' || c == '\n' || c == '\r';
}

/// The character of a reference, which begins at `p`; 0 for what is none. Goes on behind its semicolon.
std::uint32_t reference(const char*& p, const char* end)
{
  struct Entity
  {
    std::string_view name;
    char character;
  };
  constexpr Entity entities[] = {{"lt;", '<'}, {"gt;", '>'}, {"amp;", '&'}, {"quot;", '"'}, {"apos;", '\''}};
  ++p;
  if (!take(p, end, "#")) {
    for (const Entity& entity : entities) {
      if (take(p, end, entity.name)) {
        return static_cast<unsigned char>(entity.character);
      }
    }
    return 0;
  }
  const std::uint32_t base = take(p, end, "x") ? 16 : 10;
  std::uint32_t value = 0;
  const char* const digits = p;
  for (; p != end && *p != ';'; ++p) {
    const char c = *p;
    const int digit = c >= '0' && c <= '9'   ? c - '0'
                      : c >= 'a' && c <= 'f' ? c - 'a' + 10
                      : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                             : 16;
    if (digit >= static_cast<int>(base)) {
      return 0;
    }
    value = value * base + static_cast<std::uint32_t>(digit);
    if (value > 0x10FFFF) {
      return 0;
    }
  }
  if (p == digits || !take(p, end, ";") || !isXmlCharacter(value)) {
    return 0;
  }
  return value;
}

}  // namespace

// ---- Checking

bool XmlScanner::accepts()
{
  const char* p = begin_;
  return checkDocument(p) && p == end_;
}

std::size_t XmlScanner::firstDocument()
{
  const char* p = begin_;
  return static_cast<std::size_t>((checkDocument(p) ? p : end_) - begin_);
}

bool XmlScanner::checkDocument(const char*& p)
{
  depth_ = 0;
  if (!checkProlog(p) || !checkStartTag(p)) {
    return false;
  }
  while (depth_ > 0) {
    if (!checkContent(p)) {
      return false;
    }
  }
  return checkMiscellaneous(p);
}

bool XmlScanner::acceptsBeginning()
{
  const char* p = begin_;
  if (!checkProlog(p) || !checkStartTag(p)) {
    return false;
  }
  // The parser turns the text into UTF-16 some way ahead.
  constexpr std::ptrdiff_t ahead = 1 << 17;
  const char* const end = end_ - p > ahead ? p + ahead : end_;
  while (p < end) {
    if (!checkCharacter(p)) {
      return false;
    }
  }
  return true;
}

bool XmlScanner::checkProlog(const char*& p)
{
  return (!startsWith(p, end_, "<?xml") || checkDeclaration(p)) && checkMiscellaneous(p) && p != end_ &&
         *p == '<';
}

bool XmlScanner::checkDeclaration(const char*& p)
{
  p += 5;
  const auto setting = [&](std::string_view name, std::initializer_list<std::string_view> values) {
    const char* q = p;
    skip(q, blank);
    if (q == p || !take(q, end_, name)) {
      return false;
    }
    skip(q, blank);
    if (!take(q, end_, "=")) {
      return false;
    }
    skip(q, blank);
    for (const std::string_view value : values) {
      for (const std::string_view quote : {"\"", "'"}) {
        const char* r = q;
        if (take(r, end_, quote) && take(r, end_, value) && take(r, end_, quote)) {
          p = r;
          return true;
        }
      }
    }
    return false;
  };
  if (!setting("version", {"1.0"})) {
    return false;
  }
  setting("encoding", {"UTF-8", "utf-8"});
  setting("standalone", {"no", "yes"});
  skip(p, blank);
  return take(p, end_, "?>");
}

/// Layout and comments.
bool XmlScanner::checkMiscellaneous(const char*& p)
{
  for (;;) {
    skip(p, blank);
    if (!startsWith(p, end_, "<!")) {
      return true;
    }
    if (!checkComment(p)) {
      return false;
    }
  }
}

/// One character of several bytes, or one that is not plain.
bool XmlScanner::checkCharacter(const char*& p)
{
  std::uint32_t c = 0;
  const std::size_t length = utf8Character({p, static_cast<std::size_t>(end_ - p)}, c);
  p += length;
  return length != 0 && isXmlCharacter(c);
}

bool XmlScanner::checkReference(const char*& p)
{
  return reference(p, end_) != 0;
}

bool XmlScanner::checkComment(const char*& p)
{
  if (!take(p, end_, "<!--")) {
    return false;
  }
  while (p != end_) {
    if (*p == '-' && startsWith(p, end_, "--")) {
      return take(p, end_, "-->");
    }
    if (!checkCharacter(p)) {
      return false;
    }
  }
  return false;
}

bool XmlScanner::checkSection(const char*& p)
{
  if (!take(p, end_, "<![CDATA[")) {
    return false;
  }
  while (p != end_) {
    if (*p == ']' && take(p, end_, "]]>")) {
      return true;
    }
    if (!checkCharacter(p)) {
      return false;
    }
  }
  return false;
}

/// A value behind its first quote, up to the last; what stands behind that, or null.
inline const char* XmlScanner::checkValue(const char* p)
{
  const char quote = *p++;
  for (;;) {
    skip(p, plainValue);
    if (*p == quote) {
      return p + 1;
    }
    const char* other = p;
    if (p == end_ || *p == '<' || !checkInValue(other)) {
      return nullptr;
    }
    p = other;
  }
}

/// What does not simply stand for itself, or is the other quote.
bool XmlScanner::checkInValue(const char*& p)
{
  valuesAreThemselves_ = valuesAreThemselves_ && !is(*p, layoutOrReference);
  return *p == '&' ? checkReference(p) : checkCharacter(p);
}

/// Notes the name of an attribute; false when the tag has had it.
inline bool XmlScanner::checkNew(Name name)
{
  if (count_ == few_.size()) [[unlikely]] {
    return checkNewOfMany(name);
  }
  for (std::size_t i = 0; i < count_; ++i) {
    if (few_[i].size == name.size && *few_[i].data == *name.data &&
        std::memcmp(few_[i].data, name.data, name.size) == 0) {
      return false;
    }
  }
  few_[count_++] = name;
  return true;
}

bool XmlScanner::checkNewOfMany(Name name)
{
  const auto add = [this](Name one) { many_.push_back({one, nameHash(one.data, one.size)}); };
  if (many_.empty()) {
    std::for_each(few_.begin(), few_.end(), add);
  }
  add(name);
  if (many_.size() * 2 >= seen_.size()) {
    seen_.assign(std::max<std::size_t>(64, seen_.size() * 2), Seen());
    tabled_ = 0;
  }
  while (tabled_ + 1 < many_.size()) {
    insert(static_cast<std::uint32_t>(tabled_++));
  }
  return insert(static_cast<std::uint32_t>(tabled_++));
}

/// Puts a position into the table; false when its name is there.
bool XmlScanner::insert(std::uint32_t position)
{
  const auto& [name, hash] = many_[position];
  const std::size_t mask = seen_.size() - 1;
  for (std::size_t at = (hash * 0x9E3779B1U >> 8) & mask;; at = (at + 1) & mask) {
    Seen& place = seen_[at];
    if (place.tag != tagNumber_) {
      place = {tagNumber_, position};
      return true;
    }
    const Attribute& other = many_[place.position];
    if (other.hash == hash && std::string_view(other.name) == std::string_view(name)) {
      return false;
    }
  }
}

bool XmlScanner::checkStartTag(const char*& at)
{
  const char* const name = at + 1;
  if (!is(*name, nameStart) || depth_ == maxElementNesting) {
    return false;
  }
  const char* p = name;  // in a register: nobody else has its address
  skip(p, nameRest);
  open_[depth_++] = {name, static_cast<std::size_t>(p - name)};
  ++tagNumber_;
  count_ = 0;
  tabled_ = 0;
  many_.clear();
  for (;;) {
    const char* const before = p;
    skip(p, blank);
    if (*p == '>') {
      at = p + 1;
      return true;
    }
    if (*p == '/') {
      --depth_;
      at = p + 2;
      return p[1] == '>';
    }
    if (p == before || !is(*p, nameStart)) {
      return false;
    }
    const char* const attribute = p;
    skip(p, nameRest);
    const Name attributeName{attribute, static_cast<std::size_t>(p - attribute)};
    skip(p, blank);
    if (*p != '=') {
      return false;
    }
    skip(++p, blank);
    if (*p != '"' && *p != '\'') {
      return false;
    }
    p = checkValue(p);
    if (p == nullptr || std::string_view(attributeName) == "xmlns" || !checkNew(attributeName)) {
      return false;
    }
  }
}

bool XmlScanner::checkEndTag(const char*& p)
{
  p += 2;
  if (!take(p, end_, open_[depth_ - 1])) {
    return false;
  }
  skip(p, blank);
  --depth_;
  return take(p, end_, ">");
}

/// Text up to a tag, and the tag, or what else begins with its sign.
bool XmlScanner::checkContent(const char*& at)
{
  const char* p = at;
  for (skip(p, plainText); *p != '<'; skip(p, plainText)) {
    const char* other = p;
    if (p == end_ || (*p == ']' && startsWith(p, end_, "]]>")) ||
        !(*p == '&' ? checkReference(other) : checkCharacter(other))) {
      return false;
    }
    p = other;
  }
  at = p;
  switch (p[1]) {
    case '/':
      return checkEndTag(at);
    case '!':
      return startsWith(p, end_, "<!-") ? checkComment(at) : checkSection(at);
    default:
      return checkStartTag(at);
  }
}

// ---- Telling

namespace {

const char* behind(const char* p, const char* end, std::string_view what)
{
  const std::string_view rest(p, static_cast<std::size_t>(end - p));
  return p + rest.find(what) + what.size();
}

/// Line ends become "\n", or blanks, as all layout of a value does; references, outside of sections, their
/// characters.
template <bool isValue, bool hasReferences>
void appendResolved(std::string& out, const char* p, const char* end)
{
  while (p != end) {
    const char c = *p;
    if (hasReferences && c == '&') {
      putUtf8(reference(p, end), [&out](char byte) { out += byte; });
      continue;
    }
    ++p;
    if (c == '\r') {
      p += p != end && *p == '\n' ? 1 : 0;
      out += isValue ? ' ' : '\n';
    } else {
      out += isValue && (c == '\n' || c == '\t') ? ' ' : c;
    }
  }
}

}  // namespace

const char* XmlScanner::skipProlog() const
{
  const char* p = begin_;
  if (startsWith(p, end_, "<?")) {
    p = behind(p, end_, "?>");
  }
  for (;;) {
    skip(p, blank);
    if (!startsWith(p, end_, "<!")) {
      return p;
    }
    p = behind(p + 4, end_, "-->");
  }
}

bool XmlScanner::tellRoot(MessageReader& reader)
{
  const char* p = skipProlog();
  bool isEmpty = false;
  return tellStartTag(p, reader, isEmpty);
}

bool XmlScanner::tell(MessageReader& reader)
{
  const char* p = skipProlog();
  depth_ = 0;
  do {
    // At a tag, a comment or a section.
    if (p[1] == '/') {
      const std::string_view name = open_[--depth_];
      tag_ = static_cast<std::size_t>(p - begin_);
      reader.endElement(name);
      p += 2 + name.size();
      skip(p, blank);
      ++p;
      text_ = static_cast<std::size_t>(p - begin_);
    } else if (p[1] == '!') {
      if (p[2] == '-') {
        p = behind(p + 4, end_, "-->");
      } else {
        const char* const content = p + 9;
        const char* const end = behind(content, end_, "]]>") - 3;
        if (content != end && reader.usesText()) {
          text_ = static_cast<std::size_t>(content - begin_);
          tellText<false>(content, end, reader);
        }
        p = end + 3;
      }
    } else {
      bool isEmpty = false;
      if (!tellStartTag(p, reader, isEmpty)) {
        return false;
      }
      if (isEmpty) {
        reader.endElement(open_[--depth_]);
      }
    }
    if (depth_ > 0 && *p != '<') {
      const char* const tag = find(p, end_, '<');
      if (reader.usesText()) {
        text_ = static_cast<std::size_t>(p - begin_);
        tellText<true>(p, tag, reader);
      }
      p = tag;
    }
  } while (depth_ > 0);
  return true;
}

template <bool hasReferences>
void XmlScanner::tellText(const char* p, const char* end, MessageReader& reader)
{
  const std::string_view text(p, static_cast<std::size_t>(end - p));
  if (text.find('\r') == std::string_view::npos &&
      (!hasReferences || text.find('&') == std::string_view::npos)) {
    reader.characters(text);
    return;
  }
  values_.clear();
  appendResolved<false, hasReferences>(values_, p, end);
  reader.characters(values_);
}

bool XmlScanner::tellStartTag(const char*& at, MessageReader& reader, bool& isEmpty)
{
  tag_ = static_cast<std::size_t>(at - begin_);
  const char* const name = at + 1;
  const char* p = name;  // in a register: nobody else has its address
  const std::uint32_t nameHash = skipName(p);
  open_[depth_++] = {name, static_cast<std::size_t>(p - name)};
  attributes_.clear();
  for (;;) {
    skip(p, blank);
    if (*p == '>' || *p == '/') {
      break;
    }
    const char* const attribute = p;
    const std::uint32_t hash = skipName(p);
    const std::string_view attributeName(attribute, static_cast<std::size_t>(p - attribute));
    skip(p, blank);
    skip(++p, blank);  // behind =
    const char quote = *p++;
    const char* const end = find(p, end_, quote);
    attributes_.push_back(
        {attributeName, {p, static_cast<std::size_t>(end - p)}, hash, static_cast<std::size_t>(p - begin_)});
    p = end + 1;
  }
  isEmpty = *p == '/';
  at = p + (isEmpty ? 2 : 1);
  if (!valuesAreThemselves_) [[unlikely]] {
    resolveValues();
  }
  text_ = static_cast<std::size_t>(at - begin_);
  return reader.startElement(open_[depth_ - 1], nameHash, attributes_);
}

/// The values of those attributes whose text is not their value.
void XmlScanner::resolveValues()
{
  const auto isItself = [](std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char c) { return is(c, layoutOrReference); });
  };
  std::size_t size = 0;
  for (const XmlAttribute& attribute : attributes_) {
    size += attribute.value.size();
  }
  values_.clear();
  values_.reserve(size);  // a value is no longer than its text: nothing moves
  for (XmlAttribute& attribute : attributes_) {
    const std::string_view text = attribute.value;
    if (!isItself(text)) {
      const std::size_t at = values_.size();
      appendResolved<true, true>(values_, text.data(), text.data() + text.size());
      attribute.value = std::string_view(values_).substr(at);
    }
  }
}

// ---- Places

void XmlScanner::advance(ReadPlace& place, std::size_t offset) const
{
  for (; place.offset < offset; ++place.offset) {
    const char c = begin_[place.offset];
    const bool isLineEnd =
        c == '\n' || (c == '\r' && begin_ + place.offset + 1 != end_ && begin_[place.offset + 1] != '\n');
    if (isLineEnd) {
      ++place.line;
      place.column = 1;
    } else if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) {
      ++place.column;
    }
  }
}

/// Problems come nearly in the order of the text: each byte is looked at once or twice.
ReadPlace XmlScanner::placeOf(std::size_t offset) const
{
  if (offset < reached_.offset) {
    if (offset < atTag_.offset) {
      atTag_ = {1, 1, 0};
    }
    advance(atTag_, std::min(tag_, offset));
    reached_ = atTag_;
  }
  advance(reached_, offset);
  return {.line = reached_.line, .column = reached_.column, .offset = offset};
}

}  // namespace kwxml
