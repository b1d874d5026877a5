// Collects the problems of reading.
#pragma once

#include <kwxml/platform/Export.h>
#include <kwxml/reading/ReadObserver.h>

#include <string>
#include <string_view>
#include <vector>

namespace kwxml {

/// An observer of reading that keeps the first problems and counts all. Belongs to one thread at a time.
class KWXML_API Problems : public ReadObserver
{
public:
  /// How many problems are kept unless the constructor is told another number.
  static constexpr std::size_t usualMost = 20;
  /// Keeps the first `most` problems; 0 only counts.
  explicit Problems(std::size_t most = usualMost) : most_(most) {}

  /// A problem that is kept: a copy that depends on nothing.
  struct Entry
  {
    ProblemKind kind;  ///< what was met
    ReadPlace place;   ///< where in the input
    std::string path;  ///< Problem::path as one printable line, cut after 400 bytes
    std::string text;  ///< the result of describe(), behind "PATH: " where there is a path
  };

  /// Counts the problem and keeps a copy where there is room. Throws std::bad_alloc.
  void met(const Problem& problem) override;

  /// The first problems, in the order in which they were met: at most as many as the constructor was told.
  const std::vector<Entry>& entries() const { return entries_; }
  /// How many problems of the severity were met.
  std::size_t count(Severity severity) const { return counts_[static_cast<std::size_t>(severity)]; }
  /// How many problems were met.
  std::size_t count() const { return count(Severity::Warning) + count(Severity::Error); }
  /// How many problems were met beyond entries().
  std::size_t more() const { return count() - entries_.size(); }
  /// Whether no problem was met.
  bool empty() const { return count() == 0; }
  /// Whether a problem of the kind was met, kept or not.
  bool has(ProblemKind kind) const { return (kinds_ >> static_cast<unsigned>(kind) & 1) != 0; }
  /// Forgets all problems, before another input is read.
  void clear();

private:
  std::size_t most_;
  std::size_t counts_[2] = {0, 0};
  std::uint32_t kinds_ = 0;
  std::vector<Entry> entries_;
};

/// One line without a line end: "FILE:LINE:COLUMN: error: TEXT" of a text, "FILE:+OFFSET: warning: TEXT" of
/// bytes. The place is left out where nothing is known of it. With `severity` the line says that in place of
/// the severity of the entry's kind. What would be obeyed in a file's name, such as line ends, is escaped.
KWXML_API std::string toText(const Problems::Entry& problem, std::string_view file, Severity severity);
KWXML_API std::string toText(const Problems::Entry& problem, std::string_view file);
/// A line for each entry and, where problems were met beyond the entries, "FILE: and N more"; each with a
/// line end.
KWXML_API std::string toText(const Problems& problems, std::string_view file);

}  // namespace kwxml
