// A schema file in its one layout:
//
//   <?xml version="1.0" encoding="UTF-8"?>
//   <!-- A comment stands where it stood: on a line of its own, or behind what it was behind. -->
//   <catalogue>
//     <system name="Demo" index="1">
//       <enum name="Color" id="0x13">
//         <enumerator name="GREEN" value="2"><annotation name="Text" text="Bright green"/></enumerator>
//       </enum>
//
//       <message name="Item" id="0x20">
//         <field name="tags" type="list" of="string" cdata="true"/>
//       </message>
//     </system>
//   </catalogue>
//
// An element is a line, two blanks further in than the one around it. A field or enumerator with a single
// annotation or doc stays on one line where it fits. Of blank lines between elements one is kept. Attributes
// come in one order, and their values are what was written, references included. A long doc text is wrapped.
//
// What comes in has been validated: it is well-formed, has no document type and nests no deeper than the
// grammar does. So this scans without looking for mistakes, but never beyond the text.
#include "Stages.h"

#include <kwxml/text/Utf8.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

namespace kwxml::catalogue {
namespace {

constexpr std::size_t lineWidth = 120;
constexpr std::string_view blanks = " \t\n";

/// Attributes in the order in which they are written; others follow as they came.
constexpr std::string_view attributeOrder[] = {
    "name",   "type",  "of",        "key",   "class",    "keyClass", "id",
    "index",  "value", "message",   "path",  "formerly", "default",  "slot",
    "hidden", "date",  "timeOfDay", "cdata", "xpath",    "password", "doc"};

struct Node
{
  bool isElement = false;
  bool isDoc = false;
  bool blankBefore = false;    ///< an empty line, or more
  bool behindTheLast = false;  ///< on the line on which the token before it ends
  std::size_t column = 0;      ///< of a comment
  std::string text;            ///< the comment; the start tag without its end
  std::string content;         ///< of a doc: its text, blanks collapsed
  std::string_view name;       ///< of an element
  std::vector<Node> children;
};

std::size_t width(std::string_view text)
{
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

/// The text with LF at the ends of its lines.
std::string withLineFeeds(std::string_view text)
{
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r') {
      out += text[i];
    } else if (i + 1 == text.size() || text[i + 1] != '\n') {
      out += '\n';
    }
  }
  return out;
}

class Scanner
{
public:
  explicit Scanner(std::string_view text) : text_(text) {}

  /// All that stands in the text, below a node for the document.
  Node scan()
  {
    Node document;
    std::vector<Node*> open{&document};
    while (at_ < text_.size()) {
      Node& top = *open.back();
      if (starts("<!--")) {
        addRemark(top, through("-->", 4));
      } else if (starts("<![CDATA[")) {
        std::string_view section = through("]]>", 9);
        section.remove_prefix(9);
        section.remove_suffix(std::min<std::size_t>(section.size(), 3));
        addText(top, escaped(section));
      } else if (starts("<?")) {
        addRemark(top, through("?>", 2));
      } else if (starts("</")) {
        through(">");
        collapseEnd(top);
        if (open.size() > 1) {
          open.pop_back();
        }
        endToken();
      } else if (text_[at_] == '<') {
        const bool isEmpty = addElement(top);
        if (!isEmpty) {
          open.push_back(&top.children.back());
        }
        endToken();
      } else {
        const std::size_t end = std::min(text_.find('<', at_), text_.size());
        const std::string_view between = text_.substr(at_, end - at_);
        lineEnds_ += std::count(between.begin(), between.end(), '\n');
        addText(top, std::string(between));
        at_ = end;
      }
    }
    return document;
  }

private:
  bool starts(std::string_view word) const { return text_.substr(at_).starts_with(word); }

  /// From here through the next `end` behind the first `begin` bytes: "<!-->" does not end a comment.
  std::string_view through(std::string_view end, std::size_t begin = 0)
  {
    const std::size_t found = text_.find(end, at_ + begin);
    const std::size_t next = found == std::string_view::npos ? text_.size() : found + end.size();
    const std::string_view token = text_.substr(at_, next - at_);
    at_ = next;
    return token;
  }

  void endToken() { lineEnds_ = 0; }

  static std::string escaped(std::string_view section)
  {
    std::string out;
    for (const char c : section) {
      out += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
    }
    return out;
  }

  Node& addChild(Node& parent)
  {
    Node& node = parent.children.emplace_back();
    node.blankBefore = lineEnds_ > 1;
    return node;
  }

  /// A comment or processing instruction. In a doc it is as part of a word.
  void addRemark(Node& top, std::string_view remark)
  {
    if (top.isDoc) {
      top.content += remark;
      return;
    }
    // Behind the start tag, or behind another child.
    const bool behind = lineEnds_ == 0 && (top.isElement || !top.children.empty());
    Node& node = addChild(top);
    node.behindTheLast = behind;
    node.text = remark;
    const std::size_t begin = at_ - remark.size();
    const std::size_t lineEnd = begin == 0 ? std::string_view::npos : text_.rfind('\n', begin - 1);
    node.column = lineEnd == std::string_view::npos ? begin : begin - lineEnd - 1;
    endToken();
  }

  /// Text outside a doc is blank.
  static void addText(Node& top, const std::string& text)
  {
    if (!top.isDoc) {
      return;
    }
    for (const char c : text) {
      if (c == '>' && top.content.ends_with("]]")) {
        top.content += "&gt;";  // once a section's end stood between
      } else if (blanks.find(c) == std::string_view::npos) {
        top.content += c;
      } else if (!top.content.empty() && top.content.back() != ' ') {
        top.content += ' ';
      }
    }
  }

  static void collapseEnd(Node& top)
  {
    if (top.content.ends_with(' ')) {
      top.content.pop_back();
    }
  }

  std::string_view word(std::string_view ends)
  {
    const std::size_t end = std::min(text_.find_first_of(ends, at_), text_.size());
    const std::string_view token = text_.substr(at_, end - at_);
    at_ = end;
    return token;
  }

  void skipBlanks() { at_ = std::min(text_.find_first_not_of(blanks, at_), text_.size()); }

  /// A start tag; true when it is an end tag, too.
  bool addElement(Node& parent)
  {
    struct Attribute
    {
      std::size_t rank;
      std::string text;
    };
    Node& node = addChild(parent);
    node.isElement = true;
    ++at_;
    node.name = word(" \t\n/>");
    node.isDoc = node.name == "doc";
    std::vector<Attribute> attributes;
    skipBlanks();
    while (at_ < text_.size() && text_[at_] != '>' && text_[at_] != '/') {
      const std::string_view name = word(" \t\n=");
      at_ = std::min(text_.find_first_of("\"'", at_), text_.size());
      const std::string_view quote = text_.substr(at_, 1);
      at_ += quote.size();
      std::string_view value = through(quote);
      value.remove_suffix(std::min<std::size_t>(value.size(), 1));
      attributes.push_back({rank(node.name, name), " " + std::string(name) + "=" + inQuotes(value)});
      skipBlanks();
    }
    std::stable_sort(attributes.begin(), attributes.end(),
                     [](const Attribute& a, const Attribute& b) { return a.rank < b.rank; });
    node.text = "<" + std::string(node.name);
    for (const Attribute& attribute : attributes) {
      node.text += attribute.text;
    }
    return through(">").starts_with('/');
  }

  /// The members of an annotation are kept in the order in which the compiled record has them.
  static std::size_t rank(std::string_view element, std::string_view attribute)
  {
    const auto* end = element == "annotation" ? std::begin(attributeOrder) + 1 : std::end(attributeOrder);
    return static_cast<std::size_t>(std::find(std::begin(attributeOrder), end, attribute) -
                                    std::begin(attributeOrder));
  }

  static std::string inQuotes(std::string_view value)
  {
    std::string out = "\"";
    for (const char c : value) {
      out += c == '"' ? "&quot;" : std::string(1, blanks.find(c) == std::string_view::npos ? c : ' ');
    }
    return out + '"';
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::ptrdiff_t lineEnds_ = 0;  // since the last token
};

class Writer
{
public:
  std::string write(const Node& document)
  {
    out_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    writeChildren(document, 0);
    return std::move(out_);
  }

private:
  void writeChildren(const Node& parent, std::size_t depth)
  {
    for (const Node& node : parent.children) {
      const bool isFirst = &node == parent.children.data();
      if (node.behindTheLast) {
        out_.back() = ' ';
        out_ += node.text + '\n';
        continue;
      }
      out_ += node.blankBefore && !isFirst ? "\n" : "";
      out_.append(depth * 2, ' ');
      if (node.isElement) {
        writeElement(node, depth);
      } else {
        writeLines(node, depth * 2);
      }
    }
  }

  /// A comment of several lines moves as a whole.
  void writeLines(const Node& remark, std::size_t indent)
  {
    std::string_view rest = remark.text;
    for (bool first = true;; first = false) {
      const std::size_t end = rest.find('\n');
      std::string_view line = rest.substr(0, end);
      if (!first && indent != remark.column) {
        const std::size_t lead = std::min(line.find_first_not_of(" \t"), line.size());
        line.remove_prefix(lead);
        const std::size_t moved = lead + indent;
        out_.append(line.empty() || moved < remark.column ? 0 : moved - remark.column, ' ');
      }
      out_ += line;
      out_ += '\n';
      if (end == std::string_view::npos) {
        return;
      }
      rest.remove_prefix(end + 1);
    }
  }

  static std::string endTag(const Node& node) { return "</" + std::string(node.name) + ">"; }

  /// The element in one line.
  static std::string inOneLine(const Node& node)
  {
    std::string content = node.content;
    for (const Node& child : node.children) {
      content += inOneLine(child);
    }
    return content.empty() ? node.text + "/>" : node.text + ">" + content + endTag(node);
  }

  static bool fitsInOneLine(const Node& node, std::size_t depth)
  {
    const bool isLeaf = node.isDoc || node.children.empty();
    const bool isMember = (node.name == "field" || node.name == "enumerator") && node.children.size() == 1 &&
                          node.children[0].isElement && node.children[0].children.empty();
    return isLeaf ? !node.isDoc || depth * 2 + width(inOneLine(node)) <= lineWidth
                  : isMember && depth * 2 + width(inOneLine(node)) <= lineWidth;
  }

  void writeElement(const Node& node, std::size_t depth)
  {
    if (fitsInOneLine(node, depth)) {
      out_ += inOneLine(node) + '\n';
      return;
    }
    out_ += node.text + ">\n";
    if (node.isDoc) {
      writeWrapped(node.content, depth * 2 + 2);
    } else {
      writeChildren(node, depth + 1);
    }
    out_.append(depth * 2, ' ');
    out_ += endTag(node) + '\n';
  }

  /// Breaks lines at blanks, but not within comments.
  void writeWrapped(std::string_view content, std::size_t indent)
  {
    std::size_t column = 0;
    while (!content.empty()) {
      const std::string_view word = content.substr(0, wordEnd(content));
      content.remove_prefix(std::min(word.size() + 1, content.size()));
      const std::size_t wide = width(word);
      if (column != 0 && column + 1 + wide > lineWidth) {
        out_ += '\n';
        column = 0;
      }
      if (column == 0) {
        out_.append(indent, ' ');
        column = indent;
      } else {
        out_ += ' ';
        ++column;
      }
      out_ += word;
      column += wide;
    }
    out_ += '\n';
  }

  static std::size_t wordEnd(std::string_view content)
  {
    std::size_t at = 0;
    while (at < content.size() && content[at] != ' ') {
      const std::string_view rest = content.substr(at);
      if (rest.starts_with("<!--") || rest.starts_with("<?")) {
        const bool comment = rest[1] == '!';
        const std::string_view end = comment ? "-->" : "?>";
        const std::size_t found = content.find(end, at + (comment ? 4 : 2));
        at = found == std::string_view::npos ? content.size() : found + end.size();
      } else {
        ++at;
      }
    }
    return at;
  }

  std::string out_;
};

/// What an XML declaration says by a name; empty when it does not.
std::string_view declared(std::string_view declaration, std::string_view name)
{
  const std::size_t at = declaration.find(name);
  const std::size_t open = declaration.find_first_of("\"'", at);
  if (at == std::string_view::npos || open == std::string_view::npos) {
    return {};
  }
  const std::size_t close = declaration.find(declaration[open], open + 1);
  return declaration.substr(open + 1, close - open - 1);
}

bool isUtf8(std::string_view text)
{
  while (!text.empty()) {
    std::uint32_t character = 0;
    const std::size_t length = utf8Character(text, character);
    if (length == 0 || character == 0) {
      return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace

std::optional<std::string> format(std::string_view text, std::string& reason)
{
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  text.remove_prefix(text.starts_with(mark) ? mark.size() : 0);
  std::string lines = withLineFeeds(text);
  std::string_view rest = lines;
  if (rest.starts_with("<?xml ") || rest.starts_with("<?xml\t") || rest.starts_with("<?xml\n")) {
    const std::string_view declaration = rest.substr(0, rest.find("?>") + 2);
    rest.remove_prefix(declaration.size());
    std::string encoding(declared(declaration, "encoding"));
    std::transform(encoding.begin(), encoding.end(), encoding.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    if (!encoding.empty() && encoding != "UTF-8" && encoding != "US-ASCII") {
      reason = "only UTF-8 has a canonical layout, not " + inQuotes(encoding);
      return std::nullopt;
    }
    if (declared(declaration, "version") != "1.0") {
      reason = "only XML 1.0 has a canonical layout";
      return std::nullopt;
    }
  }
  if (!isUtf8(rest)) {
    reason = "only UTF-8 has a canonical layout";
    return std::nullopt;
  }
  return Writer().write(Scanner(rest).scan());
}

}  // namespace kwxml::catalogue
