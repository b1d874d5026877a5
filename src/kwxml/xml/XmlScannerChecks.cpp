// What a scanner accepts.
#include <kwxml/xml/XmlScanner.h>

#include <kwxml/xml/XmlBytes.h>

#include <algorithm>
#include <cstring>
#include <functional>

namespace kwxml {

using namespace xmlbytes;

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
  constexpr std::ptrdiff_t longest = 256;  // the parser gives up on long ones
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
  return take(p, end_, "?>") && p - begin_ <= longest;
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
  const auto add = [this](Name one) { many_.push_back({one, std::hash<std::string_view>()(one)}); };
  if (many_.empty()) {
    std::for_each(few_.begin(), few_.end(), add);
  }
  add(name);
  if (many_.size() * 2 >= seen_.size()) {
    seen_.assign(std::max<std::size_t>(64, seen_.size() * 2), Seen());
    tabled_ = 0;
  }
  while (tabled_ + 1 < many_.size()) {
    if (!insert(static_cast<std::uint32_t>(tabled_++))) {
      return false;
    }
  }
  return insert(static_cast<std::uint32_t>(tabled_++));
}

/// Puts a position into the table; false when its name is there, or no place near enough.
bool XmlScanner::insert(std::uint32_t position)
{
  const auto& [name, hash] = many_[position];
  const std::size_t mask = seen_.size() - 1;
  constexpr int mostSteps = 128;  // names that are made to meet in one place are left to the parser
  std::size_t at = hash & mask;
  for (int steps = 0; steps < mostSteps; ++steps, at = (at + 1) & mask) {
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
  return false;
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
  deepest_ = std::max(deepest_, depth_);
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

}  // namespace kwxml
