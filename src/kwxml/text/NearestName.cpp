#include <kwxml/text/NearestName.h>

#include <kwxml/text/NumberText.h>

#include <algorithm>
#include <numeric>
#include <vector>

namespace kwxml {

namespace {

/// Insertions, deletions, replacements and swaps of neighbours that turn one name into the other.
std::size_t editDistance(std::string_view a, std::string_view b)
{
  const auto same = [](char x, char y) { return asciiEqualsIgnoreCase({&x, 1}, {&y, 1}); };
  std::vector<std::size_t> beforeLast(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
  std::iota(last.begin(), last.end(), 0);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same(a[i - 1], b[j - 1]) ? 0 : 1)});
      if (i > 1 && j > 1 && same(a[i - 1], b[j - 2]) && same(a[i - 2], b[j - 1])) {
        row[j] = std::min(row[j], beforeLast[j - 2] + 1);
      }
    }
    std::swap(beforeLast, last);
    std::swap(last, row);
  }
  return last[b.size()];
}

}  // namespace

NearestName::NearestName(std::string_view name)
    : name_(name),
      best_(name.empty() || name.size() > longestTypedName ? 0
                                                           : std::max<std::size_t>(1, name.size() / 3) + 1)
{
}

void NearestName::consider(std::string_view candidate)
{
  const std::size_t longer = std::max(name_.size(), candidate.size());
  if (longer - std::min(name_.size(), candidate.size()) >= best_) {
    return;
  }
  const std::size_t distance = editDistance(name_, candidate);
  if (distance < best_) {
    best_ = distance;
    nearest_ = candidate;
  }
}

std::string NearestName::question() const
{
  return nearest_.empty() ? std::string() : "; did you mean '" + nearest_ + "'?";
}

}  // namespace kwxml
