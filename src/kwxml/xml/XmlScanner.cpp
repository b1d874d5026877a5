// What a scanner tells of a document that it has accepted.
#include <kwxml/xml/XmlScanner.h>

#include <kwxml/text/TextPlace.h>

#include <kwxml/xml/XmlBytes.h>

#include <algorithm>

namespace kwxml {

using namespace xmlbytes;

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
  const bool goesOn = reader.startElement(open_[depth_ - 1], nameHash, attributes_);
  text_ = static_cast<std::size_t>(at - begin_);
  return goesOn;
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
  TextPlace at{place.line, place.column};
  at.pass({begin_, static_cast<std::size_t>(end_ - begin_)}, place.offset, offset);
  place = {.line = at.line, .column = at.column, .offset = std::max<std::size_t>(place.offset, offset)};
}

/// Problems come nearly in the order of the text: each byte is looked at once or twice.
ReadPlace XmlScanner::placeOf(std::size_t offset) const
{
  if (offset < reached_.offset) {
    advance(atTag_, std::min(tag_, offset));
    reached_ = atTag_;
  }
  advance(reached_, offset);
  return {.line = reached_.line, .column = reached_.column, .offset = offset};
}

}  // namespace kwxml
