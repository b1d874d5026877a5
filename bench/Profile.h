// Operations whose instructions bench/instructions counts, each beside its floor or its opponent.
#pragma once

#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace kwxml::bench {

inline constexpr double forInformation = std::numeric_limits<double>::infinity();

/// A measurement of both sides. It keeps alive what it works on.
struct Operation
{
  std::string name;
  double limit;  ///< ours over the other side
  bool agreed;   ///< both sides give the same
  std::function<void()> ours;
  std::function<void()> theirs;
};

std::vector<Operation> xmlOperations();
std::vector<Operation> jsonOperations();
std::vector<Operation> renderOperations();
#ifdef KWXML_BENCH_PROTOBUF
std::vector<Operation> binaryOperations();
#endif

/// Runs each operation whose name contains `filter` a fixed number of times and leaves a profile for each;
/// does something under callgrind only (see bench/instructions). False when a result is wrong.
bool profile(const std::string& filter);

}  // namespace kwxml::bench
