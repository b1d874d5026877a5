#include "support/DataFile.h"

#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace kwxml::test {

namespace {

constexpr std::string_view arrow = "=>";

bool updates()
{
  return std::getenv("KWXML_UPDATE") != nullptr;
}

/// Where the line has its arrow, with nothing but blanks before it.
bool isContinuation(const std::string& line)
{
  return line.find_first_not_of(' ') == line.find(arrow) && line.find(arrow) != std::string::npos;
}

/// The output that an arrow stands before.
std::string outputOf(const std::string& line)
{
  const auto at = line.find(arrow) + arrow.size();
  return line.size() > at ? line.substr(at + 1) + "\n" : "\n";
}

std::string withArrows(const std::string& output, std::string before)
{
  std::istringstream lines(output.empty() ? "\n" : output);
  std::string all;
  for (std::string line; std::getline(lines, line);) {
    all += before + std::string(arrow) + (line.empty() ? "" : " ") + line + "\n";
    before.assign(before.size(), ' ');
  }
  return all;
}

}  // namespace

void expectCases(const std::string& path, const std::function<std::string(const std::string& input)>& answer)
{
  std::ifstream file(path);
  std::string updated;
  std::string input;
  int cases = 0;
  std::string line;
  bool more = static_cast<bool>(std::getline(file, line));
  while (more) {
    const bool comment = line.empty() || line[0] == '#';
    const auto at = line.find(arrow);
    if (comment || at == std::string::npos) {
      updated += line + "\n";
      input += comment ? "" : line + "\n";
      more = static_cast<bool>(std::getline(file, line));
      continue;
    }
    const std::string before = line.substr(0, at);
    input += before.substr(0, before.find_last_not_of(' ') + 1);
    input.erase(input.find_last_not_of('\n') + 1);
    std::string expected = outputOf(line);
    while ((more = static_cast<bool>(std::getline(file, line))) && isContinuation(line)) {
      expected += outputOf(line);
    }
    const std::string output = answer(input);
    if (!updates()) {
      EXPECT_EQ(output.empty() ? "\n" : output, expected) << path << ": " << input;
    }
    updated += withArrows(output, before);
    input.clear();
    ++cases;
  }
  EXPECT_GT(cases, 0) << path;
  EXPECT_EQ(input, "") << path << ": without an arrow";
  if (updates()) {
    std::ofstream(path) << updated;
  }
}

void expectGolden(const std::string& path, const std::string& actual)
{
  if (updates()) {
    std::ofstream(path) << actual << "\n";
  }
  std::ifstream file(path);
  const std::string golden((std::istreambuf_iterator<char>(file)), {});
  EXPECT_EQ(actual + "\n", golden) << path;
}

YMMessageBase fromXml(const std::string& xml)
{
  const std::unique_ptr<YMMessageBase> message(XMLDecoder().unSerialize(xml));
  return message != nullptr ? *message : throw std::invalid_argument(xml);
}

std::string toXml(YMMessageBase& message)
{
  std::string xml;
  EXPECT_EQ(XMLEncoder().serialize(message, xml, true), 0);
  return xml;
}

std::string toText(const LogCapture& log)
{
  std::ostringstream text;
  for (const LogLine& line : log.lines()) {
    text << line << "\n";
  }
  return text.str();
}

Settings::Settings(const std::string& input)
{
  std::istringstream words(input);
  for (std::string word; words >> word;) {
    const auto equals = word.find('=');
    const std::string name = word.substr(0, equals);
    std::string& value = values_[name];
    value = equals == std::string::npos ? "" : word.substr(equals + 1);
    if (name == "text") {
      std::string rest;
      std::getline(words, rest);
      value += rest;
    }
  }
}

int Settings::number(const std::string& name, int otherwise) const
{
  return has(name) ? std::stoi(values_.at(name)) : otherwise;
}

}  // namespace kwxml::test
