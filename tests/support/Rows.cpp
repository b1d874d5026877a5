#include "support/Rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace kwxml::test {

namespace {

constexpr std::string_view indent = "    ";

bool isRemark(const std::string& line)
{
  return line.empty() || line[0] == '#';
}

bool updates()
{
  const char* set = std::getenv("KWXML_UPDATE");
  return set != nullptr && std::string_view(set) == "1";
}

std::string joined(const Lines& lines)
{
  std::string text;
  for (const std::string& line : lines) {
    text += line + '\n';
  }
  return text;
}

/// A section's lines in a file; remarks at their end belong to the next section.
struct Section
{
  Section(const std::string& path, const std::string& name) : file(KWXML_SOURCE_DIR "/tests/" + path)
  {
    const std::string head = "[" + name + "]";
    Lines* part = &before;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
      part = part == &body && line.starts_with('[') ? &after : part;
      part->push_back(line);
      part = part == &before && line == head ? &body : part;
    }
    if (part == &before && updates()) {
      before.insert(before.end(), {"", head});
    }
    EXPECT_TRUE(part != &before || updates()) << "no section " << head << " in " << file;
    for (; !body.empty() && isRemark(body.back()); body.pop_back()) {
      after.insert(after.begin(), body.back());
    }
  }
  void replace(const Lines& lines) const
  {
    std::ofstream(file) << joined(before) << joined(lines) << joined(after);
  }

  std::string file;
  Lines before, body, after;
};

std::string unescaped(std::string_view text)
{
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      out += text[i];
    } else if (const char c = i + 1 < text.size() ? text[++i] : '\\'; c == 'x') {
      out += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
      i += 2;
    } else {
      out += c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c;
    }
  }
  return out;
}

Lines cellsOf(std::string_view text)
{
  Lines cells;
  while ((text = text.substr(std::min(text.find_first_not_of(' '), text.size()))) != "") {
    std::size_t end = text[0] == '"' ? 1 : std::min(text.find("  "), text.size());
    if (text[0] == '"') {
      while (end < text.size() && text[end] != '"') {
        end += text[end] == '\\' ? 2 : 1;
      }
      cells.push_back(unescaped(text.substr(1, end - 1)));
      end = std::min(end + 1, text.size());
    } else {
      cells.push_back(unescaped(text.substr(0, text.find_last_not_of(' ', end - 1) + 1)));
    }
    text.remove_prefix(end);
  }
  return cells;
}

}  // namespace

std::string shown(std::string_view text)
{
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool last = i + 1 == text.size();
    if (c == '\n' || c == '\t' || c == '\r' || c == '\\') {
      out += {'\\', c == '\n' ? 'n' : c == '\t' ? 't' : c == '\r' ? 'r' : c};
    } else if (c < ' ' || c > '~' || (c == ' ' && last)) {
      constexpr const char* digits = "0123456789ABCDEF";
      out += {'\\', 'x', digits[static_cast<unsigned char>(c) >> 4], digits[c & 15]};
    } else {
      out += c;
    }
  }
  return out;
}

void expectRows(const std::string& file, const std::string& section,
                const std::function<Outcome(const Lines& cells)>& run, int level)
{
  const Section place(file, section);
  const Lines& lines = place.body;
  Lines updated;
  int rows = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    updated.push_back(lines[i]);
    if (isRemark(lines[i])) {
      continue;
    }
    const std::size_t at = i;
    const std::string line = lines[at] + " ";
    const auto arrow = line.find(" => ");
    const bool inLine = arrow != std::string::npos;
    Lines expected(inLine ? 1 : 0, inLine ? lines[at].substr(std::min(arrow + 4, lines[at].size())) : "");
    for (; i + 1 < lines.size() && lines[i + 1].starts_with(indent); ++i) {
      expected.push_back(lines[i + 1].substr(indent.size()));
    }
    LogCapture log(level);
    Lines got = run(cellsOf(std::string_view(line).substr(0, arrow))).lines;
    if (inLine && got.empty()) {
      got.emplace_back();
    }
    const Lines logged = taken(log);
    got.insert(got.end(), logged.begin(), logged.end());
    if (!updates()) {
      EXPECT_EQ(joined(got), joined(expected)) << place.file << ":" << place.before.size() + at + 1;
    }
    if (inLine) {
      updated.back() = line.substr(0, arrow) + " =>" + (got[0].empty() ? "" : " " + got[0]);
    }
    for (std::size_t k = inLine ? 1 : 0; k < got.size(); ++k) {
      updated.push_back(std::string(indent) + got[k]);
    }
    ++rows;
  }
  EXPECT_GT(rows, 0) << "no row in [" << section << "] of " << place.file;
  if (updates()) {
    place.replace(updated);
  }
}

Transcript::~Transcript()
{
  takeLog();
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  const Section place(file_, std::string(test->test_suite_name()) + "." + test->name());
  if (updates()) {
    place.replace(noted_);
    return;
  }
  Lines expected = place.body;
  std::erase_if(expected, isRemark);
  EXPECT_EQ(joined(noted_), joined(expected)) << place.file << ":" << place.before.size();
}

void Transcript::note(const std::string& what)
{
  takeLog();
  noted_.push_back(what);
}

void Transcript::note(const std::string& what, std::string_view text)
{
  note(what + ": " + shown(text));
}

void Transcript::takeLog()
{
  const Lines lines = taken(*this);
  noted_.insert(noted_.end(), lines.begin(), lines.end());
}

Lines taken(LogCapture& log)
{
  Lines lines;
  for (const LogLine& line : log.lines()) {
    lines.push_back("log " + std::to_string(line.level) + " " + line.function + ": " + shown(line.text));
  }
  log.clear();
  return lines;
}

}  // namespace kwxml::test
