// Cases and expected texts in files beside the tests.
//
// A file of cases holds what goes in and what must come out, one case below the other, in sections or
// without:
//
//   [a section]
//   # a remark
//   input                    => output
//                            => a second line of output
//
// An input may have several lines; its output stands behind or below the last one. What the library logs
// meanwhile belongs to the output, and stands last. An input may be a row of cells with two blanks or more
// between them, where a cell in quotes keeps its blanks; cells have the escapes of kwxml::shown. A blank at
// the end of a line of output is \x20.
//
// With KWXML_UPDATE=1 the files are written anew, with what comes out, for a review of the difference.
#pragma once

#include "support/LogCapture.h"

#include <kwxml/text/ShownText.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml::test {

/// Runs `answer` with the input of each case in a section of a file below the tests (without a section's
/// name: in a file without sections). Lines of inputs are divided by '\n', those of outputs as well; the log
/// is kept up to a level.
void expectCases(const std::string& file, const std::string& section,
                 const std::function<std::string(const std::string& input)>& answer, int level = 0);

using Lines = std::vector<std::string>;

/// The same for inputs that are rows of cells.
void expectRows(const std::string& file, const std::string& section,
                const std::function<std::string(const Lines& cells)>& answer, int level = 0);

/// A whole file below the tests, but for its last line end.
void expectGolden(const std::string& file, const std::string& actual);

/// All that a test notes and all that the library logs meanwhile, in order. At its end it is the output of
/// the only case, one without an input, in the section with the test's name ("Suite.Name").
class Transcript : public LogCapture
{
public:
  explicit Transcript(std::string file, int level = 0) : LogCapture(level), file_(std::move(file)) {}
  ~Transcript();
  void note(const std::string& what, std::string_view text) { note(what + ": " + shown(text, "\\")); }
  /// A remark that parts the log's lines.
  void note(const std::string& what) { noted_ += taken() + what + (what.ends_with('\n') ? "" : "\n"); }

private:
  std::string file_;
  std::string noted_;
};

/// The settings of an input "open a=b text=all the rest": "open" has an empty value, and text goes on to the
/// end.
class Settings
{
public:
  explicit Settings(const std::string& input);
  bool has(const std::string& name) const { return values_.contains(name); }
  std::string text(const std::string& name) const { return has(name) ? values_.at(name) : std::string(); }
  int number(const std::string& name, int other = 0) const
  {
    return has(name) ? std::stoi(text(name)) : other;
  }

private:
  std::map<std::string, std::string> values_;
};

}  // namespace kwxml::test
