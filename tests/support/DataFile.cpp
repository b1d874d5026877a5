#include "support/DataFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

namespace kwxml::test {

namespace {

constexpr const char* tests = KWXML_SOURCE_DIR "/tests/";

bool updates()
{
  const char* set = std::getenv("KWXML_UPDATE");
  return set != nullptr && std::string_view(set) == "1";
}

/// Where the arrow stands in a line, parted from the rest by blanks.
std::size_t arrowIn(const std::string& line)
{
  return (" " + line + " ").find(" => ");
}

/// The output that an arrow stands before.
std::string outputOf(const std::string& line)
{
  return line.substr(std::min(arrowIn(line) + 3, line.size())) + "\n";
}

/// The lines of an output as they stand in a file.
std::string visible(const std::string& output)
{
  std::istringstream lines(output.empty() ? "\n" : output);
  std::string all;
  for (std::string line; std::getline(lines, line);) {
    all += shown(line) + "\n";
    if (line.ends_with(' ')) {
      all.replace(all.size() - 2, 1, "\\x20");
    }
  }
  return all;
}

std::string withArrows(const std::string& output, std::string before)
{
  std::istringstream lines(output);
  std::string all;
  for (std::string line; std::getline(lines, line);) {
    all += before + "=>" + (line.empty() ? "" : " ") + line + "\n";
    before.assign(before.size(), ' ');
  }
  return all;
}

Lines cellsOf(const std::string& row)
{
  static const std::regex& cell = *new std::regex(R"re("(?:[^"\\]|\\.)*"|[^ ]+(?: [^ ]+)*)re");
  Lines cells;
  for (std::sregex_iterator i(row.begin(), row.end(), cell), end; i != end; ++i) {
    const std::string text = i->str();
    const bool quoted = text[0] == '"';
    const std::string inner = quoted ? text.substr(1, text.size() - 2) : text;
    EXPECT_TRUE(unquoteShown(inner, cells.emplace_back(), "\\\"")) << text;
  }
  return cells;
}

}  // namespace

void expectCases(const std::string& file, const std::string& section,
                 const std::function<std::string(const std::string& input)>& answer, int level)
{
  const std::string path = tests + file;
  std::ifstream in(path);
  Lines lines;
  for (std::string line; std::getline(in, line);) {
    lines.push_back(line);
  }
  std::string updated;
  std::string input;
  bool inside = section.empty();
  int cases = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::string& line = lines[i];
    if (line.starts_with('[')) {
      inside = line == "[" + section + "]";
    }
    const bool remark = line.empty() || line[0] == '#' || line[0] == '[';
    const auto at = arrowIn(line);
    if (!inside || remark || at == std::string::npos) {
      updated += line + "\n";
      input += inside && !remark ? line + "\n" : "";
      continue;
    }
    const std::string place = path + ":" + std::to_string(i + 1);
    const std::string before = line.substr(0, at);
    input += before.substr(0, before.find_last_not_of(' ') + 1);
    input.erase(input.find_last_not_of('\n') + 1);
    std::string expected = outputOf(line);
    while (i + 1 < lines.size() && arrowIn(lines[i + 1]) == lines[i + 1].find_first_not_of(' ') &&
           !lines[i + 1].empty()) {
      expected += outputOf(lines[++i]);
    }
    const LogCapture log(level);
    const std::string answered = answer(input);
    const std::string output =
        visible(answered + (answered.empty() || answered.ends_with('\n') ? "" : "\n") + toText(log));
    if (!updates()) {
      EXPECT_EQ(output, expected) << place << ": " << input;
    }
    updated += withArrows(output, before);
    input.clear();
    ++cases;
  }
  EXPECT_GT(cases, 0) << "no case in section [" << section << "] of " << path;
  EXPECT_EQ(input, "") << path << ": without an arrow";
  if (updates()) {
    std::ofstream(path) << updated;
  }
}

void expectRows(const std::string& file, const std::string& section,
                const std::function<std::string(const Lines& cells)>& answer, int level)
{
  expectCases(
      file, section, [&](const std::string& input) { return answer(cellsOf(input)); }, level);
}

void expectGolden(const std::string& file, const std::string& actual)
{
  const std::string whole = actual + (actual.ends_with('\n') ? "" : "\n");
  if (updates()) {
    std::ofstream(tests + file) << whole;
  }
  std::ifstream in(tests + file);
  EXPECT_EQ(whole, std::string(std::istreambuf_iterator<char>(in), {})) << file;
}

Transcript::~Transcript()
{
  noted_ += taken();
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  expectCases(file_, std::string(test->test_suite_name()) + "." + test->name(),
              [this](const std::string&) { return noted_; });
}

Settings::Settings(const std::string& input)
{
  static const std::regex& setting = *new std::regex(R"((text)=(.*)|(\w+)(?:=(\S*))?)");
  for (std::sregex_iterator i(input.begin(), input.end(), setting), end; i != end; ++i) {
    const bool isText = (*i)[1].matched;
    values_[(*i)[isText ? 1 : 3]] = (*i)[isText ? 2 : 4];
  }
}

}  // namespace kwxml::test
