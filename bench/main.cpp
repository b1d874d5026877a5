// kwxml_bench [options of Google Benchmark]. Repetitions of all benchmarks are mixed, so that whatever else
// the machine does meets ours and the floor alike. Exits with 1 when a benchmark found a wrong result; a
// missed target is no error.
//
// kwxml_bench --profile [part of a name]: under callgrind, what bench/instructions counts.

#include "Comparison.h"
#include "Profile.h"

#include <string>
#include <vector>

int main(int argc, char** argv)
{
  if (argc > 1 && std::string(argv[1]) == "--profile") {
    return kwxml::bench::profile(argc > 2 ? argv[2] : "") ? 0 : 1;
  }
  // What a run does unless the command line says otherwise: later options win.
  std::string defaults[] = {"--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=25",
                            "--benchmark_min_time=0.05"};
  std::vector<char*> arguments{argv[0]};
  for (std::string& argument : defaults) {
    arguments.push_back(argument.data());
  }
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  int count = static_cast<int>(arguments.size());
  arguments.push_back(nullptr);
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
    return 1;
  }

  std::vector<kwxml::bench::Pair> pairs;
  kwxml::bench::registerXmlBenchmarks(pairs);
  kwxml::bench::registerJsonBenchmarks(pairs);
  kwxml::bench::registerModelBenchmarks(pairs);
  kwxml::bench::registerRenderBenchmarks(pairs);
  kwxml::bench::registerXPathBenchmarks(pairs);
#ifdef KWXML_BENCH_PROTOBUF
  kwxml::bench::registerBinaryBenchmarks(pairs);
#endif
  kwxml::bench::ComparisonReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printTable(pairs);
#ifdef KWXML_BENCH_PROTOBUF
  kwxml::bench::printBinaryHeap();
#endif
  kwxml::bench::printLog();
  benchmark::Shutdown();
  return reporter.failed() ? 1 : 0;
}
