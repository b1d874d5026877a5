#include "Comparison.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace kwxml::bench {

void ComparisonReporter::ReportRuns(const std::vector<Run>& runs)
{
  std::vector<Run> shown;
  for (const Run& run : runs) {
    failed_ |= run.error_occurred;
    if (run.error_occurred || run.aggregate_name == "median" || run.aggregate_name == "cv") {
      shown.push_back(run);
    } else if (run.run_type == Run::RT_Iteration) {
      nanoseconds_[run.run_name.function_name].push_back(run.cpu_accumulated_time * 1e9 /
                                                         static_cast<double>(run.iterations));
    }
  }
  ConsoleReporter::ReportRuns(shown);
}

double ComparisonReporter::fastest(const std::string& benchmark) const
{
  const auto found = nanoseconds_.find(benchmark);
  return found != nanoseconds_.end() ? *std::min_element(found->second.begin(), found->second.end()) : 0;
}

void ComparisonReporter::printTable(const std::vector<Pair>& pairs)
{
  std::printf("\n%-24s %12s %12s %12s %12s\n", "", "ours", "floor", "", "target");
  for (const Pair& pair : pairs) {
    const double ours = fastest(pair.name + "/ours");
    const double floor = fastest(pair.name + "/floor");
    if (ours == 0 || floor == 0) {
      continue;
    }
    const bool isRatio = pair.kind == Pair::Kind::Ratio;
    const double figure = isRatio ? ours / floor : ours - floor;
    std::printf(isRatio ? "%-24s %9.3f us %9.3f us %12.3f" : "%-24s %9.2f ns %9.2f ns %9.2f ns",
                pair.name.c_str(), isRatio ? ours / 1000 : ours, isRatio ? floor / 1000 : floor, figure);
    if (!std::isinf(pair.limit)) {
      std::printf(isRatio ? " %12.2f" : " %9.2f ns", pair.limit);
      std::printf(figure <= pair.limit ? " met" : " MISSED");
    }
    std::printf("\n");
  }
}

}  // namespace kwxml::bench
