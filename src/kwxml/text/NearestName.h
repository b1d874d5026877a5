// The name that somebody may have meant. Not installed.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace kwxml {

/// Longer ones are no typing mistake; comparing them would take its time.
inline constexpr std::size_t longestTypedName = 128;

/// Finds, among candidates told one by one, the name that takes the fewest insertions, deletions,
/// replacements and swaps of neighbours, case apart. What needs more of them than a third of the name's
/// length would be a guess.
class NearestName
{
public:
  explicit NearestName(std::string_view name);
  void consider(std::string_view candidate);
  /// "; did you mean 'X'?", or nothing when none is near.
  std::string question() const;

private:
  std::string_view name_;
  std::size_t best_;
  std::string nearest_;
};

}  // namespace kwxml
