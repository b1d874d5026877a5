// Errors and warnings about schema files, with their positions.
//
// Every stage reports into one Diagnostics and goes on as far as it can, so that one run names all mistakes.
// The lines are printed at the end, in the order of the files and of the positions in them.
#pragma once

#include "Rules.h"

#include <cstdint>
#include <iosfwd>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml::catalogue {

/// A place in a schema file: where the parser stands when it has read an element's start tag, that is, just
/// behind its ">". Mistakes that the grammar finds are reported at the same place. Lines and columns count
/// from 1.
struct Location
{
  std::uint32_t file = 0;
  std::uint32_t line = 0;
  std::uint32_t column = 0;
};

/// Thrown when the errors are too many to go on; those so far are there to be printed.
struct TooManyErrors
{
};

class Diagnostics
{
public:
  /// Adds a file and returns its number for Location::file. `name` is printed as given.
  std::uint32_t addFile(std::string name);
  const std::vector<std::string>& files() const { return files_; }

  /// Throws TooManyErrors.
  void error(const Location& at, std::string text) { add(at, true, std::move(text)); }
  /// Nothing when the rule is allowed; the text gets the rule's name behind it.
  void warning(const Location& at, Rule rule, const std::string& text);
  /// A warning of the parser, which has no rule.
  void warning(const Location& at, std::string text) { add(at, warningsAreErrors_, std::move(text)); }
  /// From now on.
  void makeWarningsErrors() { warningsAreErrors_ = true; }
  /// From now on the rule's warnings are dropped.
  void allow(Rule rule) { allowed_.insert(rule); }
  bool hasErrors() const { return errors_ > 0; }
  std::size_t errors() const { return errors_; }

  /// Writes "file:line:column: error: text" per error, "warning: text [rule]" alike; a place without a line
  /// is written as the file alone. Each is one line: control characters become blanks.
  void print(std::ostream& out) const;

private:
  struct Entry
  {
    Location at;
    bool isError;
    std::string text;
  };
  void add(const Location& at, bool isError, std::string text);

  std::vector<std::string> files_;
  std::vector<Entry> entries_;
  std::size_t errors_ = 0;
  std::size_t unseenWarnings_ = 0;
  bool warningsAreErrors_ = false;
  std::set<Rule> allowed_;
};

/// Text from outside as part of one line: control characters of ASCII are blanks, and what else a terminal
/// would obey is shown as what it is.
std::string oneLine(std::string_view text);

/// The text in single quotes; of a long one the beginning and "...".
std::string inQuotes(const std::string& text);

/// A message of the XML parser, in which what stands between single quotes is cut as inQuotes() cuts it. The
/// parser cuts messages itself, so a closing quote may be missing.
std::string withShortQuotes(const std::string& message);

}  // namespace kwxml::catalogue
