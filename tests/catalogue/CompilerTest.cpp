// The catalogue compiler as a program: what it prints, returns and writes.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::string read(const fs::path& path)
{
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// A directory of its own, in which the compiler runs.
class Compiler : public testing::Test
{
protected:
  void SetUp() override
  {
    std::string name = testing::TempDir() + "kwxml-catalogue-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    directory_ = name;
  }
  void TearDown() override { fs::remove_all(directory_); }

  void write(const std::string& name, const std::string& text)
  {
    fs::create_directories((directory_ / name).parent_path());
    std::ofstream(directory_ / name, std::ios::binary) << text;
  }

  /// Runs the compiler and returns its exit status; out_ and errors_ hold what it printed.
  int run(const std::string& arguments)
  {
    const std::string command = "cd '" + directory_.string() + "' && '" + KWXML_CATALOGUE_COMPILER + "' " +
                                arguments + " >stdout.txt 2>stderr.txt";
    const int status = std::system(command.c_str());
    out_ = read(directory_ / "stdout.txt");
    errors_ = read(directory_ / "stderr.txt");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  /// Name and bytes of every file in a directory.
  static std::map<std::string, std::string> files(const fs::path& directory)
  {
    std::map<std::string, std::string> all;
    if (fs::exists(directory)) {
      for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        all[entry.path().filename().string()] = read(entry.path());
      }
    }
    return all;
  }

  fs::path directory_;
  std::string out_;
  std::string errors_;
};

fs::path here()
{
  return fs::path(KWXML_SOURCE_DIR) / "tests/catalogue";
}

// errors.txt holds cases of the form
//   # title
//   <schema>
//   ----
//   LINE:COLUMN: error: TEXT
// with an empty line behind each.
TEST_F(Compiler, ReportsEveryMistakeAtItsPlaceAndWritesNothing)
{
  std::istringstream cases(read(here() / "errors.txt"));
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
      expected += line.empty() ? "" : "case.xml:" + line + "\n";
    }
    write("case.xml", schema);
    const bool refused = expected.find(": error: ") != std::string::npos;
    EXPECT_EQ(run("-o out case.xml"), refused ? 1 : 0);
    EXPECT_EQ(errors_, expected);
    EXPECT_EQ(fs::exists(directory_ / "out"), !refused);
    fs::remove_all(directory_ / "out");
    ++count;
  }
  EXPECT_GT(count, 15);
}

TEST_F(Compiler, KeepsEarlierOutputWhenSchemasHaveErrors)
{
  write("good.xml", "<catalogue><system name='A' index='1'><message name='M' id='1'/></system></catalogue>");
  write("bad.xml", "<catalogue><system name='A' index='1'><message name='N' id='0'/></system></catalogue>");
  ASSERT_EQ(run("-o out good.xml"), 0) << errors_;
  const auto before = files(directory_ / "out");
  EXPECT_EQ(run("-o out bad.xml"), 1);
  EXPECT_EQ(files(directory_ / "out"), before);
}

TEST_F(Compiler, GoldenCatalogue)
{
  const fs::path schemas = here() / "golden/schemas";
  const std::string arguments =
      "'" + (schemas / "A.xml").string() + "' '" + (schemas / "B.xml").string() + "'";
  const auto expected = files(here() / "golden/expected");
  ASSERT_EQ(expected.size(), 5U);
  for (const std::string directory : {"first", "second"}) {
    ASSERT_EQ(run("--shards 2 -o " + directory + " " + arguments), 0) << errors_;
    const auto written = files(directory_ / directory);
    ASSERT_EQ(written.size(), expected.size());
    for (const auto& [name, text] : expected) {
      EXPECT_EQ(written.at(name), text) << name;
    }
  }
  ASSERT_EQ(run("--shards 2 -o directory '" + schemas.string() + "'"), 0) << errors_;
  EXPECT_EQ(files(directory_ / "directory"), expected);
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
  write("s.xml", largeCatalogue(3, 100, 2));
  ASSERT_EQ(run("-o 0 s.xml"), 0) << errors_;
  const auto chosen = files(directory_ / "0");
  EXPECT_EQ(chosen.size(), 2U + 1 + 3);
  for (const int shards : {1, 7, 301}) {
    const std::string number = std::to_string(shards);
    ASSERT_EQ(run("--shards " + number + " -o " + number + " s.xml"), 0) << errors_;
    const auto written = files(directory_ / number);
    EXPECT_EQ(written.size(), static_cast<std::size_t>(shards) + 1 + 3);
    EXPECT_EQ(records(written), records(chosen)) << shards;
    EXPECT_EQ(written.at("registry.cpp"), chosen.at("registry.cpp"));
  }
}

TEST_F(Compiler, TakesACatalogueOfFullSize)
{
  write("s.xml", largeCatalogue(70, 200, 6));
  ASSERT_EQ(run("-o out s.xml"), 0) << errors_;
  const auto written = files(directory_ / "out");
  EXPECT_EQ(written.size(), 55U + 1 + 70);
  EXPECT_EQ(records(written).size(), 70U * 200 * (6 + 1));
}

TEST_F(Compiler, BoundsOfWhatAMessageHolds)
{
  const auto enumeration = [&](int enumerators) {
    std::string text = "<catalogue><system name='A' index='1'><enum name='E' id='1'>";
    for (int i = 0; i < enumerators; ++i) {
      text += "<enumerator name='E" + std::to_string(i) + "' value='" + std::to_string(i) + "'/>";
    }
    write("e.xml", text + "</enum></system></catalogue>");
  };
  enumeration(1599);
  EXPECT_EQ(run("-o out e.xml"), 0) << errors_;
  enumeration(1600);
  EXPECT_EQ(run("-o out e.xml"), 1);
  EXPECT_NE(errors_.find(
                "error: class 'E' does not fit: its 0 slots and the is-set bits of its 1600 records take 201 "
                "bytes where a message has 200\n"),
            std::string::npos)
      << errors_;

  const auto annotated = [&](std::size_t length) {
    write("a.xml",
          "<catalogue><system name='A' index='1'><message name='M' id='1'><field name='f' "
          "type='int'><annotation "
          "name='Text' text='" +
              std::string(length, 'x') + "'/></field></message></system></catalogue>");
  };
  annotated(65535 - 6 - 6 - 7);
  EXPECT_EQ(run("-o out a.xml"), 0) << errors_;
  annotated(65535 - 6 - 6 - 6);
  EXPECT_EQ(run("-o out a.xml"), 1);
  EXPECT_NE(errors_.find("the annotations of 'f' take more than 65535 bytes"), std::string::npos) << errors_;
}

// Eager messages within each other: at the limit, deeper than a stack of calls would go, without end, and
// growing by powers of two. Only the innermost that is too large is reported.
TEST_F(Compiler, BoundsWhatANewMessageBuilds)
{
  const struct
  {
    int classes;
    int fields;
    bool cycle;
    std::string errors;
  } cases[] = {
      {64, 1, false, ""},
      {65, 1, false,
       "deep.xml:2:27: error: a new message of class 'A_M0' would nest 65 messages deep; the limit is 64\n"},
      {30000, 1, false,
       "deep.xml:29937:35: error: a new message of class 'A_M29935' would nest 65 messages deep; the limit "
       "is "
       "64\n"},
      {30000, 1, true, "deep.xml:30001:80: error: a new message of this class would contain itself "},
      {13, 2, false, ""},
      {60, 2, false,
       "deep.xml:48:29: error: a new message of class 'A_M46' would build more than 10000 messages within "
       "it\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.classes) + " classes");
    std::ostringstream out;
    out << "<catalogue><system name='A' index='1'>\n";
    for (int i = 0; i < c.classes; ++i) {
      out << "<message name='M" << i << "' id='" << i + 1 << "'>";
      for (int f = 0; f < c.fields && (c.cycle || i + 1 < c.classes); ++f) {
        out << "<field name='f" << f << "' type='object' class='A_M" << (i + 1) % c.classes << "'/>";
      }
      out << "</message>\n";
    }
    out << "</system></catalogue>";
    write("deep.xml", out.str());
    EXPECT_EQ(run("-o out deep.xml"), c.errors.empty() ? 0 : 1);
    EXPECT_EQ(errors_.substr(0, c.errors.size()), c.errors);
    EXPECT_EQ(std::count(errors_.begin(), errors_.end(), '\n'), c.errors.empty() ? 0 : 1) << errors_;
  }
}

TEST_F(Compiler, EndsAtElementsThatNestTooDeep)
{
  std::string deep;
  for (int i = 0; i < 100000; ++i) {
    deep += "<catalogue>";
  }
  write("deep.xml", deep);
  EXPECT_EQ(run("-o out deep.xml"), 1);
  const std::string last = "deep.xml:1:188: error: elements nest more than 16 deep\n";
  EXPECT_EQ(errors_.find(last), errors_.size() - last.size()) << errors_;
}

TEST_F(Compiler, CutsLongValuesInErrors)
{
  // Two bytes per character behind an odd number of them: the cut must not fall within one.
  std::string value = "-";
  for (int i = 0; i < 200; ++i) {
    value += "\u00e4";
  }
  write("s.xml", "<catalogue><system name='" + value + "' index='1'/></catalogue>");
  EXPECT_EQ(run("-o out s.xml"), 1);
  EXPECT_NE(errors_.find(" error: value '" + value.substr(0, 79) +
                         "...' does not match regular expression facet '[A-Za-z][A-Za-z0-9]*'\n"),
            std::string::npos)
      << errors_;
}

TEST_F(Compiler, RefusesSystemsThatCannotBeNamespaces)
{
  for (const std::string name :
       {"XMLEncoder", "EncodingFlags", "FieldDef", "time", "read", "log", "logl", "EIO", "xercesc"}) {
    write("s.xml",
          "<catalogue><system name='" + name + "' index='1'><message name='M' id='1'/></system></catalogue>");
    EXPECT_EQ(run("-o out s.xml"), 1) << name;
    EXPECT_NE(errors_.find("error: system name '" + name + "' cannot name a C++ namespace\n"),
              std::string::npos)
        << errors_;
  }
  for (const std::string name : {"Type", "DateType", "PasswordEncryptType", "CommandParam"}) {
    write("s.xml", "<catalogue><system name='Annotation' index='1'><message name='" + name +
                       "' id='1'/></system></catalogue>");
    EXPECT_EQ(run("-o out s.xml"), name == "Type" ? 0 : 1) << name << errors_;
  }
}

TEST_F(Compiler, ReplacesNoFileWhenOneCannotBeReplaced)
{
  write("s.xml", "<catalogue><system name='A' index='1'><message name='M' id='1'/></system></catalogue>");
  write("out/tables_000.cpp", "earlier");
  fs::create_directories(directory_ / "out/A.h");
  EXPECT_EQ(run("-o out s.xml"), 1);
  EXPECT_NE(errors_.find("cannot replace"), std::string::npos) << errors_;
  EXPECT_EQ(read(directory_ / "out/tables_000.cpp"), "earlier");
  EXPECT_EQ(std::distance(fs::directory_iterator(directory_ / "out"), fs::directory_iterator()), 2);
}

TEST_F(Compiler, CommandLine)
{
  write("s.xml", "<catalogue><system name='A' index='1'><message name='M' id='1'/></system></catalogue>");
  write("x.xml",
        "<catalogue><system name='A' index='1'><message name='M' id='1'><field name='x' "
        "type='int'/></message>\n"
        "<xpath id='1' message='M' path='@x'/></system></catalogue>");
  fs::create_directory(directory_ / "empty");
  fs::create_directories(directory_ / "odd/directory.xml");
  const struct
  {
    const char* arguments;
    int status;
    const char* errors;  // how standard error begins
  } cases[] = {
      {"", 2, "kwxml-catalogue: no output directory\nusage: "},
      {"-o", 2, "kwxml-catalogue: -o needs a value\nusage: "},
      {"-o out", 2, "kwxml-catalogue: no schemas\nusage: "},
      {"--shard 2 -o out s.xml", 2, "kwxml-catalogue: unknown option '--shard'\nusage: "},
      {"--shards 0 -o out s.xml", 2,
       "kwxml-catalogue: --shards takes a number from 1 to 9999, not '0'\nusage: "},
      {"--shards 2x -o out s.xml", 2,
       "kwxml-catalogue: --shards takes a number from 1 to 9999, not '2x'\nusage: "},
      {"-o out missing.xml", 1, "missing.xml: error: No such file or directory\n"},
      {"-o out empty", 1, "kwxml-catalogue: empty has no *.xml files\n"},
      {"-o out odd", 1, "odd/directory.xml: error: Is a directory\n"},
      {"-o s.xml s.xml", 1, "kwxml-catalogue: "},
      {"--strict -o out x.xml", 1,
       "x.xml:2:38: error: only systems 12, 18, 22 and 100 have XPath tables: this xpath is left out\n"},
      {"--strict -o out -- s.xml", 0, ""},
      {"-o out -- s.xml", 0, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    EXPECT_EQ(run(c.arguments), c.status);
    EXPECT_EQ(errors_.substr(0, std::string(c.errors).size()), c.errors);
    EXPECT_EQ(errors_.empty(), c.status == 0);
  }
  EXPECT_EQ(run("--help"), 0);
  EXPECT_EQ(out_.find("usage: kwxml-catalogue [--shards N] [--strict] -o OUTDIR SCHEMA..."), 0U);
}

}  // namespace
