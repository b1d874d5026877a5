// Problems of reading, collected.
#pragma once

#include <kwxml/reading/ReadObserver.h>

#include <string>
#include <string_view>
#include <vector>

namespace kwxml {

/// Keeps the first problems that it is told of and counts all. Not safe for concurrent use.
class Problems : public ReadObserver
{
public:
  static constexpr std::size_t usualMost = 20;
  explicit Problems(std::size_t most = usualMost) : most_(most) {}

  struct Entry
  {
    ProblemKind kind;
    ReadPlace place;
    std::string path;
    std::string text;  ///< describe(), behind the path where there is one
  };

  void met(const Problem& problem) override;

  /// At most as many as the constructor was told.
  const std::vector<Entry>& entries() const { return entries_; }
  std::size_t count(Severity severity) const { return counts_[static_cast<std::size_t>(severity)]; }
  std::size_t count() const { return count(Severity::Warning) + count(Severity::Error); }
  /// How many were met beyond entries().
  std::size_t more() const { return count() - entries_.size(); }
  bool empty() const { return count() == 0; }
  bool has(ProblemKind kind) const { return (kinds_ >> static_cast<unsigned>(kind) & 1) != 0; }
  void clear();

private:
  std::size_t most_;
  std::size_t counts_[2] = {0, 0};
  std::uint32_t kinds_ = 0;
  std::vector<Entry> entries_;
};

/// "FILE:LINE:COLUMN: error: TEXT" or "FILE:+31: warning: TEXT", without a line end. The place is left
/// out where nothing is known of it. `severity` stands in place of the entry's own.
std::string toText(const Problems::Entry& problem, std::string_view file, Severity severity);
std::string toText(const Problems::Entry& problem, std::string_view file);
/// A line for each entry and, where some were left out, "FILE: and N more".
std::string toText(const Problems& problems, std::string_view file);

}  // namespace kwxml
