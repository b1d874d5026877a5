// The catalogue compiler as a program: the mistakes that it reports, its bounds, and that its output does not
// depend on how it is divided.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <sstream>

#include "platform/TempDirectory.h"

namespace {

namespace fs = std::filesystem;

/// A directory of its own, in which the compiler runs.
class Compiler : public testing::Test
{
protected:
  /// Compiles a schema and returns the exit status; errors_ holds what it said.
  int compile(const std::string& schema, const std::string& options = "-o out")
  {
    directory_.write("s.xml", schema);
    const std::string command = "cd '" + directory_.path() + "' && '" KWXML_CATALOGUE_COMPILER "' " +
                                options + " s.xml >/dev/null 2>errors";
    const int status = std::system(command.c_str());
    errors_ = directory_.read("errors");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  /// Name and bytes of every file that was written.
  std::map<std::string, std::string> takeOutput() const
  {
    std::map<std::string, std::string> all;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory_ / "out")) {
      const std::string name = entry.path().filename().string();
      all[name] = directory_.read("out/" + name);
    }
    fs::remove_all(directory_ / "out");
    return all;
  }

  const kwxml::test::TempDirectory directory_;
  std::string errors_;
};

// errors.txt holds cases of the form
//   # title
//   <schema>
//   ----
//   LINE:COLUMN: error: TEXT
// with an empty line behind each.
TEST_F(Compiler, ReportsEveryMistakeAtItsPlaceAndWritesNothing)
{
  std::ifstream cases(KWXML_SOURCE_DIR "/tests/catalogue/errors.txt");
  std::string line;
  ASSERT_TRUE(std::getline(cases, line));
  int count = 0;
  while (cases) {
    ASSERT_EQ(line.substr(0, 2), "# ");
    SCOPED_TRACE(line);
    std::string schema;
    std::string expected;
    while (std::getline(cases, line) && line != "----") {
      schema += line + "\n";
    }
    while (std::getline(cases, line) && !line.starts_with("# ")) {
      expected += line.empty() ? "" : "s.xml:" + line + "\n";
    }
    const bool refused = expected.find(": error: ") != std::string::npos;
    EXPECT_EQ(compile(schema), refused ? 1 : 0);
    EXPECT_EQ(errors_, expected);
    EXPECT_EQ(fs::exists(directory_ / "out"), !refused);
    fs::remove_all(directory_ / "out");
    ++count;
  }
  EXPECT_GT(count, 15);
}

/// The records of all table files in order, without what depends on the border between two files.
std::vector<std::string> records(const std::map<std::string, std::string>& files)
{
  std::vector<std::string> lines;
  for (const auto& [name, text] : files) {
    std::istringstream in(name.starts_with("tables_") ? text : "");
    for (std::string line; std::getline(in, line);) {
      if (line.starts_with("    {") || line.starts_with("const ::FieldDef ")) {
        lines.push_back(line);
      }
    }
  }
  return lines;
}

std::string largeCatalogue(int systems, int classes, int fields)
{
  std::ostringstream out;
  out << "<catalogue>\n";
  for (int s = 1; s <= systems; ++s) {
    out << "<system name='S" << s << "' index='" << s << "'>\n";
    for (int c = 0; c < classes; ++c) {
      out << "<message name='C" << c << "' id='" << c + 1 << "'>";
      for (int f = 0; f < fields; ++f) {
        out << "<field name='f" << f << "' type='list' of='object' class='S" << systems + 1 - s << "_C"
            << (c + f) % classes << "'/>";
      }
      out << "</message>\n";
    }
    out << "</system>\n";
  }
  out << "</catalogue>\n";
  return out.str();
}

TEST_F(Compiler, ShardsDoNotChangeTheRecords)
{
  const std::string schema = largeCatalogue(3, 100, 2);
  ASSERT_EQ(compile(schema), 0) << errors_;
  const auto chosen = takeOutput();
  EXPECT_EQ(chosen.size(), 2U + 1 + 3);
  for (const std::size_t shards : {1, 7, 301}) {
    ASSERT_EQ(compile(schema, "-o out --shards " + std::to_string(shards)), 0) << errors_;
    const auto written = takeOutput();
    EXPECT_EQ(written.size(), shards + 1 + 3);
    EXPECT_EQ(records(written), records(chosen)) << shards;
    EXPECT_EQ(written.at("registry.cpp"), chosen.at("registry.cpp"));
  }
}

TEST_F(Compiler, TakesACatalogueOfFullSize)
{
  ASSERT_EQ(compile(largeCatalogue(70, 200, 6)), 0) << errors_;
  const auto written = takeOutput();
  EXPECT_EQ(written.size(), 55U + 1 + 70);
  EXPECT_EQ(records(written).size(), 70U * 200 * (6 + 1));
}

std::string enumeration(int enumerators)
{
  std::string text = "<catalogue><system name='A' index='1'><enum name='E' id='1'>";
  for (int i = 0; i < enumerators; ++i) {
    text += "<enumerator name='E" + std::to_string(i) + "' value='" + std::to_string(i) + "'/>";
  }
  return text + "</enum></system></catalogue>";
}

std::string annotated(std::size_t length)
{
  return "<catalogue><system name='A' index='1'><message name='M' id='1'><field name='f' type='int'>"
         "<annotation name='Text' text='" +
         std::string(length, 'x') + "'/></field></message></system></catalogue>";
}

/// Messages that each hold the next one, `fields` times over; the last one holds the first in a ring.
std::string chain(int classes, int fields, bool ring)
{
  std::ostringstream out;
  out << "<catalogue><system name='A' index='1'>\n";
  for (int i = 0; i < classes; ++i) {
    out << "<message name='M" << i << "' id='" << i + 1 << "'>";
    for (int f = 0; f < fields && (ring || i + 1 < classes); ++f) {
      out << "<field name='f" << f << "' type='object' class='A_M" << (i + 1) % classes << "'/>";
    }
    out << "</message>\n";
  }
  out << "</system></catalogue>";
  return out.str();
}

std::string openElements(int count)
{
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += "<catalogue>";
  }
  return text;
}

// What a message holds, and what a new one builds: at the limit, deeper than a stack of calls would go,
// without end, and growing by powers of two. Only the innermost that is too large is reported.
TEST_F(Compiler, Bounds)
{
  const struct
  {
    std::string schema;
    std::string error;  // how the only line begins
  } cases[] = {
      {enumeration(1599), ""},
      {enumeration(1600),
       "1:61: error: class 'E' does not fit: its 0 slots and the is-set bits of its 1600 records take 201 "
       "bytes where a message has 200\n"},
      {annotated(65535 - 6 - 6 - 7), ""},
      {annotated(65535 - 6 - 6 - 6), "1:91: error: the annotations of 'f' take more than 65535 bytes"},
      {chain(64, 1, false), ""},
      {chain(65, 1, false),
       "2:27: error: a new message of class 'A_M0' would nest 65 messages deep; the limit is 64\n"},
      {chain(30000, 1, false),
       "29937:35: error: a new message of class 'A_M29935' would nest 65 messages deep; the limit is 64\n"},
      {chain(30000, 1, true), "30001:80: error: a new message of this class would contain itself "},
      {chain(13, 2, false), ""},
      {chain(60, 2, false),
       "48:29: error: a new message of class 'A_M46' would build more than 10000 messages within it\n"},
      {openElements(100000), "1:188: error: elements nest more than 16 deep\n"},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.error);
    EXPECT_EQ(compile(each.schema), each.error.empty() ? 0 : 1);
    const std::string begin = each.error.empty() ? "" : "s.xml:" + each.error;
    EXPECT_EQ(errors_.substr(0, begin.size()), begin);
    EXPECT_EQ(std::count(errors_.begin(), errors_.end(), '\n'), begin.empty() ? 0 : 1) << errors_;
  }
}

}  // namespace
