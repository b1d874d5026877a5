// Measurements in pairs: ours and its floor, run side by side, and the table of what the one costs over the
// other that ends a run. The floor of the binary form is an opponent: protobuf.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml::bench {

/// The benchmarks of a pair are named `name` + "/ours" and `name` + "/floor".
struct Pair
{
  enum class Kind
  {
    Ratio,       ///< limit: ours over floor
    Nanoseconds  ///< limit: ours minus floor
  };
  std::string name;
  Kind kind;
  double limit;  ///< infinite: measured for information
};

/// Registers both benchmarks of a pair and its line in the table.
template <class Ours, class Floor>
void compare(std::vector<Pair>& pairs, const std::string& name, Pair::Kind kind, double limit, Ours ours,
             Floor floor)
{
  benchmark::RegisterBenchmark((name + "/ours").c_str(), ours);
  benchmark::RegisterBenchmark((name + "/floor").c_str(), floor);
  pairs.push_back({name, kind, limit});
}

/// Keeps the processor time of every repetition, and prints what they amount to as the console reporter does.
class ComparisonReporter : public benchmark::ConsoleReporter
{
public:
  ComparisonReporter() : ConsoleReporter(OO_None) {}
  void ReportRuns(const std::vector<Run>& runs) override;

  /// The table of those pairs that were run. A figure is that of the fastest repetition: whatever else the
  /// machine does only adds to a time.
  void printTable(const std::vector<Pair>& pairs);
  /// True when a benchmark found a wrong result.
  bool failed() const { return failed_; }

private:
  double fastest(const std::string& benchmark) const;

  std::map<std::string, std::vector<double>> nanoseconds_;
  bool failed_ = false;
};

// What the program measures.
void registerXmlBenchmarks(std::vector<Pair>& pairs);
void registerJsonBenchmarks(std::vector<Pair>& pairs);
void registerModelBenchmarks(std::vector<Pair>& pairs);
void registerRenderBenchmarks(std::vector<Pair>& pairs);
void registerXPathBenchmarks(std::vector<Pair>& pairs);
/// The tables of what logged messages cost.
void printLog();

#ifdef KWXML_BENCH_PROTOBUF
void registerBinaryBenchmarks(std::vector<Pair>& pairs);
/// The table of what both sides ask of the heap.
void printBinaryHeap();
#endif

}  // namespace kwxml::bench
