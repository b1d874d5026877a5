#include "support/Rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace kwxml::test {

namespace {

constexpr std::string_view indent = "    ";

Lines readLines(const std::string& file)
{
  std::ifstream in(file);
  Lines lines;
  for (std::string line; std::getline(in, line);) {
    lines.push_back(line);
  }
  return lines;
}

bool isRemark(const std::string& line)
{
  return line.empty() || line[0] == '#';
}

bool updates()
{
  return std::getenv("KWXML_UPDATE") != nullptr;
}

/// Where a section's lines lie in a file; remarks at their end belong to the next section.
struct Section
{
  Section(const std::string& path, const std::string& name)
      : file(KWXML_SOURCE_DIR "/tests/" + path), lines(readLines(file))
  {
    const std::string head = "[" + name + "]";
    if (updates() && std::find(lines.begin(), lines.end(), head) == lines.end()) {
      lines.insert(lines.end(), {"", head});
    }
    begin = static_cast<std::size_t>(std::find(lines.begin(), lines.end(), head) - lines.begin()) + 1;
    found = begin <= lines.size();
    begin = std::min(begin, lines.size());
    for (end = begin; end < lines.size() && lines[end].find('[') != 0;) {
      ++end;
    }
    while (end > begin && isRemark(lines[end - 1])) {
      --end;
    }
  }
  void replace(const Lines& body) const
  {
    std::ofstream out(file);
    const auto put = [&out](const std::string& line) { out << line << '\n'; };
    const auto at = lines.begin();
    std::for_each(at, at + static_cast<std::ptrdiff_t>(begin), put);
    std::for_each(body.begin(), body.end(), put);
    std::for_each(at + static_cast<std::ptrdiff_t>(end), lines.end(), put);
  }

  std::string file;
  Lines lines;
  std::size_t begin = 0, end = 0;
  bool found = false;
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

std::string joined(const Lines& lines)
{
  std::ostringstream out;
  for (const std::string& line : lines) {
    out << line << '\n';
  }
  return out.str();
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
  Lines body;
  int rows = 0;
  for (std::size_t i = place.begin; i < place.end; ++i) {
    const std::string& line = place.lines[i];
    if (isRemark(line)) {
      body.push_back(line);
      continue;
    }
    const auto arrow = (line + " ").find(" => ");
    const bool inLine = arrow != std::string::npos;
    Lines expected;
    if (inLine) {
      expected.push_back(arrow + 4 < line.size() ? line.substr(arrow + 4) : "");
    }
    const std::size_t number = i + 1;
    for (; i + 1 < place.end && place.lines[i + 1].find(indent) == 0; ++i) {
      expected.push_back(place.lines[i + 1].substr(indent.size()));
    }
    LogCapture log(level);
    Lines got = run(cellsOf(std::string_view(line).substr(0, arrow))).lines;
    if (inLine && got.empty()) {
      got.emplace_back();
    }
    const Lines logged = taken(log);
    got.insert(got.end(), logged.begin(), logged.end());
    if (!updates()) {
      EXPECT_EQ(joined(got), joined(expected)) << place.file << ":" << number << ": " << line;
    }
    body.push_back(inLine ? line.substr(0, arrow) + " =>" + (got[0].empty() ? "" : " " + got[0]) : line);
    for (std::size_t k = inLine ? 1 : 0; k < got.size(); ++k) {
      body.push_back(std::string(indent) + got[k]);
    }
    ++rows;
  }
  EXPECT_GT(rows, 0) << "no row in [" << section << "] of " << file;
  if (updates()) {
    place.replace(body);
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
  Lines expected;
  for (std::size_t i = place.begin; i < place.end; ++i) {
    if (!isRemark(place.lines[i])) {
      expected.push_back(place.lines[i]);
    }
  }
  EXPECT_TRUE(place.found) << file_;
  EXPECT_EQ(joined(noted_), joined(expected)) << place.file << ":" << place.begin;
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
  for (const std::string& line : taken(*this)) {
    noted_.push_back(line);
  }
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
