#include "Manual.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace kwxml::commandline {

namespace {

constexpr std::size_t textWidth = 100;
constexpr std::size_t roffWidth = 76;
constexpr std::size_t indent = 2;  // of lines in a help that stay as they are

/// The words of a text in lines, each with a line end.
std::string filled(std::string_view text, std::size_t width, const std::string& indent)
{
  std::istringstream words{std::string(text)};
  std::string all;
  std::string line;
  for (std::string word; words >> word;) {
    if (!line.empty() && indent.size() + line.size() + 1 + word.size() > width) {
      all += indent + line + "\n";
      line.clear();
    }
    line += (line.empty() ? "" : " ") + word;
  }
  return line.empty() ? all : all + indent + line + "\n";
}

// ---- roff

/// Text without escapes, and without the characters that roff takes for typographic ones.
std::string escaped(std::string_view text)
{
  std::string all;
  for (const char c : text) {
    switch (c) {
      case '\\':
        all += "\\e";
        break;
      case '-':
        all += "\\-";
        break;
      case '\'':
        all += "\\(aq";
        break;
      case '`':
        all += "\\(ga";
        break;
      case '^':
        all += "\\(ha";
        break;
      case '~':
        all += "\\(ti";
        break;
      case '"':
        all += "\\(dq";
        break;  // in a request's argument it would end that
      default:
        all += c;
    }
  }
  return all;
}

/// Escaped lines none of which is a request.
std::string asText(const std::string& lines)
{
  std::string all;
  for (const char c : lines) {
    if (c == '.' && (all.empty() || all.back() == '\n')) {
      all += "\\&";
    }
    all += c;
  }
  return all;
}

std::string upper(std::string text)
{
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  return text;
}

std::string roffParagraph(std::string_view text)
{
  return asText(filled(escaped(text), roffWidth, ""));
}

/// `begins`: a heading stands before it, which makes a paragraph of it already.
std::string roff(const Block& block, bool begins)
{
  const char* const paragraph = begins ? "" : ".PP\n";
  switch (block.kind) {
    case Block::Kind::Section:
      return ".SH \"" + escaped(upper(block.text)) + "\"\n";
    case Block::Kind::Part:
      return ".SS \"" + escaped(block.text) + "\"\n";
    case Block::Kind::Paragraph:
      return paragraph + roffParagraph(block.text);
    case Block::Kind::Literal:
      return paragraph + (".nf\n.RS 4\n" + asText(escaped(block.text)) + "\n.RE\n.fi\n");
    case Block::Kind::Item:
      break;
  }
  const std::string term = block.term.empty() ? "" : "\\fB" + escaped(block.term) + "\\fR";
  const std::string argument = block.argument.empty() ? "" : "\\fI" + escaped(block.argument) + "\\fR";
  return ".TP\n" + term + (term.empty() || argument.empty() ? "" : " ") + argument + "\n" +
         (block.text.empty() ? "\\&\n" : roffParagraph(block.text));
}

// ---- Plain text

std::string plain(const Block& block)
{
  switch (block.kind) {
    case Block::Kind::Section:
      return "\n" + upper(block.text) + "\n";
    case Block::Kind::Part:
      return "\n" + block.text + "\n";
    case Block::Kind::Paragraph:
      return "\n" + filled(block.text, textWidth, "");
    case Block::Kind::Literal:
      return "\n" + block.text + "\n";
    case Block::Kind::Item:
      break;
  }
  return "  " + block.term + (block.term.empty() || block.argument.empty() ? "" : " ") + block.argument +
         "\n" + filled(block.text, textWidth, "      ");
}

// ---- Texts of help

/// How a paragraph of help begins that begins a section, and the section.
constexpr std::pair<std::string_view, const char*> headings[] = {
    {"Example:", "Examples"}, {"Exit status:", "Exit status"}, {"Environment:", "Environment"}};

}  // namespace

std::vector<Block> blocksOf(std::string_view help)
{
  std::vector<Block> blocks;
  std::istringstream lines{std::string(help)};
  bool begins = true;
  for (std::string line; std::getline(lines, line);) {
    if (line.empty()) {
      begins = true;
      continue;
    }
    if (begins) {
      for (const auto& [words, section] : headings) {
        if (line.starts_with(words)) {
          blocks.push_back({Block::Kind::Section, section});
          line.erase(0, line.find_first_not_of(' ', words.size()));
          break;
        }
      }
    }
    const auto kind = line.starts_with(' ') ? Block::Kind::Literal : Block::Kind::Paragraph;
    if (!line.empty()) {
      line.erase(0, std::min(line.find_first_not_of(' '), indent));
      if (begins || blocks.empty() || blocks.back().kind != kind) {
        blocks.push_back({kind, line});
      } else {
        blocks.back().text += "\n" + line;
      }
    }
    begins = false;
  }
  return blocks;
}

std::string toRoff(const Page& page, const std::string& version)
{
  std::string text = ".TH " + escaped(upper(page.name)) + " " + page.section + " \"\" \"" + escaped(version) +
                     "\"\n.ad l\n.nh\n.SH NAME\n" +
                     asText(filled(escaped(page.name) + " \\- " + escaped(page.summary), roffWidth, ""));
  bool begins = false;
  for (const Block& block : page.blocks) {
    text += roff(block, begins);
    begins = block.kind == Block::Kind::Section || block.kind == Block::Kind::Part;
  }
  return text;
}

std::string toText(const std::vector<Block>& blocks)
{
  std::string text;
  for (const Block& block : blocks) {
    text += plain(block);
  }
  return text.substr(std::min<std::size_t>(text.find_first_not_of('\n'), text.size()));
}

}  // namespace kwxml::commandline
