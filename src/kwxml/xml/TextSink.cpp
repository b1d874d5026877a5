#include <kwxml/xml/TextSink.h>

#include <algorithm>
#include <array>

namespace kwxml {

namespace {

constexpr XmlName keyName{"__mapKey__", 10};
constexpr XmlName valueName{"__mapValue__", 12};
constexpr XmlName itemName{"val", 3};

/// What is written for a character of attributes, and for one of texts; null: itself.
constexpr const char* escapeOf(unsigned char c, bool isAttribute)
{
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return isAttribute ? nullptr : "&gt;";
    case '"':
      return isAttribute ? "&quot;" : nullptr;
    case '\t':
      return isAttribute ? "&#x9;" : nullptr;
    case '\n':
      return isAttribute ? "&#xA;" : nullptr;
    case '\r':
      return "&#xD;";
    default:
      return nullptr;
  }
}

template <bool isAttribute>
constexpr std::array<bool, 256> hasEscape = [] {
  std::array<bool, 256> table{};
  for (unsigned c = 0; c < 128; ++c) {
    table[c] = escapeOf(static_cast<unsigned char>(c), isAttribute) != nullptr;
  }
  return table;
}();

char* append(char* to, std::string_view text)
{
  std::copy(text.begin(), text.end(), to);
  return to + text.size();
}

char* append(char* to, XmlName name)
{
  return append(to, std::string_view(name.text, name.size));
}

/// Names of more bytes are written in parts.
constexpr std::size_t shortName = 256;
constexpr std::size_t shortText = 1024;

}  // namespace

void TextSink::declaration()
{
  out_.put(R"(<?xml version="1.0" encoding="UTF-8" standalone="no" ?>)");
}

// ---- Elements

bool TextSink::open(XmlName name)
{
  content();
  if (readable_) {
    beforeElement();
  }
  out_.put('<');
  out_.put({name.text, name.size});
  open_[depth_++] = {name, line_};
  inTag_ = true;
  return true;
}

void TextSink::close()
{
  const Element& element = open_[--depth_];
  if (inTag_) {
    out_.put("/>");
    inTag_ = false;
    return;
  }
  if (readable_) {
    beforeEnd(element);
  }
  out_.put("</");
  out_.put({element.name.text, element.name.size});
  out_.put('>');
}

bool TextSink::openMapEntry(XmlName name)
{
  return open(name) && open(keyName);
}

void TextSink::mapValue()
{
  close();
  open(valueName);
}

void TextSink::closeMapEntry()
{
  close();
  close();
}

// ---- Values

void TextSink::attribute(XmlName name, const XmlValue& value)
{
  if (name.size <= shortName && value.plain && value.text.size() <= shortText) [[likely]] {
    char* to = out_.room(shortName + shortText + 4);
    *to++ = ' ';
    to = append(to, name);
    *to++ = '=';
    *to++ = '"';
    to = append(to, value.text);
    *to++ = '"';
    out_.advance(to);
    return;
  }
  out_.put(' ');
  out_.put({name.text, name.size});
  out_.put("=\"");
  value.plain ? out_.put(value.text) : escaped<true>(value.text);
  out_.put('"');
}

void TextSink::textElement(XmlName name, const XmlValue& value)
{
  open(name);
  text(value);
  close();
}

void TextSink::sectionElement(XmlName name, const XmlValue& value)
{
  open(name);
  section(value.text);
  close();
}

void TextSink::itemValue(ItemForm form, const XmlValue& value)
{
  switch (form) {
    case ItemForm::Attribute:
      return attribute(itemName, value);
    case ItemForm::Text:
      return text(value);
    case ItemForm::Section:
      return section(value.text);
  }
}

bool TextSink::item(XmlName name, ItemForm form, const XmlValue& value)
{
  if (form == ItemForm::Attribute && !readable_ && name.size <= shortName && value.plain &&
      value.text.size() <= shortText) [[likely]] {
    content();
    char* to = out_.room(shortName + shortText + 10);
    *to++ = '<';
    to = append(to, name);
    to = append(to, " val=\"");
    to = append(to, value.text);
    to = append(to, "\"/>");
    out_.advance(to);
    return true;
  }
  open(name);
  itemValue(form, value);
  close();
  return true;
}

void TextSink::text(const XmlValue& value)
{
  content();
  if (readable_) {
    noteText(value.text);
  }
  value.plain ? out_.put(value.text) : escaped<false>(value.text);
}

template <bool isAttribute>
void TextSink::escaped(std::string_view text)
{
  constexpr std::size_t part = 512;
  constexpr std::size_t longest = 6;
  while (!text.empty()) {
    char* to = out_.room(part * longest);
    const std::size_t size = std::min(part, text.size());
    for (const char c : text.substr(0, size)) {
      const auto byte = static_cast<unsigned char>(c);
      if (!hasEscape<isAttribute>[byte]) [[likely]] {
        *to++ = c;
      } else {
        to = append(to, std::string_view(escapeOf(byte, isAttribute)));
      }
    }
    out_.advance(to);
    text.remove_prefix(size);
  }
}

/// A section cannot hold its own end: the text is split there, and the end is lost.
void TextSink::section(std::string_view text)
{
  constexpr std::string_view end = "]]>";
  content();
  for (;;) {
    const std::size_t at = text.find(end);
    out_.put("<![CDATA[");
    out_.put(text.substr(0, at));
    out_.put(end);
    if (at == std::string_view::npos) {
      return;
    }
    text.remove_prefix(at + end.size());
  }
}

// ---- The readable form

void TextSink::beforeElement()
{
  if (lineEndInText_) {
    lineEndInText_ = false;
  } else {
    if (depth_ == 1) {
      newLine();
    }
    newLine();
  }
  indent(depth_);
}

void TextSink::beforeEnd(const Element& element)
{
  if (element.line == line_) {
    return;
  }
  if (lineEndInText_) {
    lineEndInText_ = false;
  } else {
    newLine();
  }
  if (depth_ == 0) {
    newLine();
  }
  indent(depth_);
}

void TextSink::noteText(std::string_view text)
{
  lineEndInText_ = false;
  blanksInText_ = 0;
  if (text.find_first_not_of(" \t\r\n") != std::string_view::npos) {
    return;
  }
  std::size_t last = text.rfind('\n');
  last = last == std::string_view::npos ? text.rfind('\r') : last;
  if (last != std::string_view::npos) {
    lineEndInText_ = true;
    blanksInText_ = text.size() - last;
  }
}

void TextSink::indent(std::size_t level)
{
  level -= std::min(level, blanksInText_ / 2);
  blanksInText_ = 0;
  for (std::size_t i = 0; i < level; ++i) {
    out_.put("  ");
  }
}

}  // namespace kwxml
