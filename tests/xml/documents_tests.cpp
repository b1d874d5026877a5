// Documents: what the reader makes of them, and what the writer makes of that in each of its forms.
#include "support/Rows.h"
#include "xml/Documents.h"

#include <kwxml/xml/XMLSerializer.h>

#include <gtest/gtest.h>

#include <cstdlib>

using namespace kwxml::test;

namespace {

const std::string rows = "xml/documents.rows";

void append(Lines& lines, const Lines& more)
{
  lines.insert(lines.end(), more.begin(), more.end());
}

std::vector<std::pair<std::string, EncodingFlags>> forms()
{
  std::vector<std::pair<std::string, EncodingFlags>> all{
      {"plain", {}}, {"elements", {}}, {"names", {}}, {"readable", {}}};
  all[1].second.valuesAsElements = 1;
  all[2].second.enumsAsNames = 1;
  all[3].second.readableForm = 1;
  return all;
}

/// The log of the reading, and each form that differs from the plain one (the readable form by more than the
/// new-line before it), with the log of its writing.
Lines readAndWritten(const Lines& cells)
{
  LogCapture log(cells.size() > 1 ? std::stoi(cells[1]) : 0);
  const auto message = read(cells[0]);
  Lines lines = taken(log);
  if (message == nullptr) {
    lines.emplace_back("no message");
    return lines;
  }
  if (cells[0].find("<" + message->getTagName()) == std::string::npos) {
    lines.push_back("a " + message->getTagName());
  }
  std::string plain;
  for (const auto& [name, flags] : forms()) {
    LogCapture writing;
    const std::string text = write(*message, flags);
    if (text != (flags.readableForm != 0 ? "\n" + plain : plain)) {
      lines.push_back(name + ": " + shown(text));
    }
    plain = name == "plain" ? text : plain;
    append(lines, taken(writing));
  }
  return lines;
}

class Documents : public testing::Test
{
protected:
  Documents()
  {
    setenv("TZ", "UTC", 1);
    tzset();
  }
};

}  // namespace

TEST_F(Documents, AreReadAndWrittenInEveryForm)
{
  for (const char* section : {"scalars", "lists, objects and maps", "sections of characters",
                              "what is unknown", "what is damaged", "roots"}) {
    SCOPED_TRACE(section);
    expectRows(rows, section, readAndWritten);
  }
}

TEST_F(Documents, ScalarTextsBecomeNumbers)
{
  expectRows(rows, "numbers", [](const Lines& cells) -> Lines {
    const auto found = [&](const std::string& xml) -> std::string {
      const auto m = read(xml);
      const std::string number = std::to_string(getInt(*m, cells[1]));
      return isSet(*m, cells[1]) ? number : number == "0" ? "unset" : "unset, but " + number;
    };
    LogCapture log(cells.size() > 3 ? std::stoi(cells[3]) : 0);
    const std::string& name = cells[1];
    const std::string attribute = found("<" + cells[0] + " " + name + "='" + cells[2] + "'/>");
    Lines lines = taken(log);
    const std::string element =
        found("<" + cells[0] + "><" + name + ">" + cells[2] + "</" + name + "></" + cells[0] + ">");
    lines.insert(lines.begin(), attribute + (element == attribute ? "" : ", as an element " + element));
    return lines;
  });
}

TEST_F(Documents, PeekingFindsTheTagWithoutReadingTheRest)
{
  expectRows(rows, "tags", [](const Lines& cells) {
    LogCapture log(10);
    std::string name = "old";
    unsigned int tag = 1;
    const bool found = XMLSerializer::GetTagAndTagIDFromXML(cells[0], name, tag);
    Lines lines = taken(log);
    lines.insert(lines.begin(), (found ? "" : "none ") + name + " " + std::to_string(tag));
    return lines;
  });
  std::string name;
  unsigned int tag = 0;
  EXPECT_TRUE(XMLSerializer::GetTagAndTagIDFromXML(std::wstring(L"<SystemMonitoring_Usage/>"), name, tag));
  EXPECT_EQ(name, "MonitoringHost_Usage");
}
