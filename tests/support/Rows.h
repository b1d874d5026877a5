// Data files beside the tests: tables of inputs with what comes of them, and transcripts of whole tests.
//
// A file has sections, "[name]". A line of a table is a row: its cells, two blanks or more between them, and
// after "=>" what comes of it; what takes several lines stands indented below its row. A cell in quotes keeps
// its blanks. Texts have the escapes \n \t \r \" \\ \xHH. Lines that begin with # are remarks.
// With KWXML_UPDATE=1 in the environment the tests write anew what comes of the rows, for a review of the
// difference.
#pragma once

#include "support/LogCapture.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml::test {

using Lines = std::vector<std::string>;

/// The text with escapes for all that a line cannot show.
std::string shown(std::string_view text);

/// What comes of a row: lines, one, or none.
struct Outcome
{
  Outcome(Lines all) : lines(std::move(all)) {}
  Outcome(const std::string& line) : lines(line.empty() ? 0 : 1, shown(line)) {}
  Outcome(const char* line) : Outcome(std::string(line)) {}
  Lines lines;
};

/// Runs each row of a section of a file below the tests: what comes of it, and what the library logs
/// meanwhile up to a level, is what the file has.
void expectRows(const std::string& file, const std::string& section,
                const std::function<Outcome(const Lines& cells)>& run, int level = 0);

/// All that a test notes and all that the library logs meanwhile, in order. At its end it is what the file
/// has in the section with the test's name ("Suite.Name").
class Transcript : public LogCapture
{
public:
  explicit Transcript(std::string file, int level = 0) : LogCapture(level), file_(std::move(file)) {}
  ~Transcript();
  void note(const std::string& what, std::string_view text);
  /// A remark that parts the log's lines.
  void note(const std::string& what);

private:
  void takeLog();
  std::string file_;
  Lines noted_;
};

/// The captured lines, as a data file shows them; the capture begins anew.
Lines taken(LogCapture& log);

}  // namespace kwxml::test
