#include "Profile.h"

#include <cstdio>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#endif

namespace kwxml::bench {

#ifdef CALLGRIND_DUMP_STATS_AT

namespace {

constexpr int instructionRuns = 20;

/// Leaves a profile labelled "name|side|runs|limit".
[[gnu::noinline]] void profileSide(const Operation& operation, const char* side,
                                   const std::function<void()>& body)
{
  for (int i = 0; i < 3; ++i) {
    body();  // what is done once: binding of symbols, tables made at first use, the allocator's lists
  }
  char label[128];
  std::snprintf(label, sizeof label, "%s|%s|%d|%g", operation.name.c_str(), side, instructionRuns,
                operation.limit);
  CALLGRIND_START_INSTRUMENTATION;
  CALLGRIND_ZERO_STATS;
  for (int i = 0; i < instructionRuns; ++i) {
    body();
  }
  CALLGRIND_STOP_INSTRUMENTATION;
  CALLGRIND_DUMP_STATS_AT(label);
}

}  // namespace

bool profile(const std::string& filter)
{
  const auto nothing = [] {};
  std::vector<Operation> operations{{"empty", forInformation, true, nothing, nothing}};
  const auto add = [&operations](std::vector<Operation> more) {
    operations.insert(operations.end(), more.begin(), more.end());
  };
  add(xmlOperations());
  add(jsonOperations());
  add(renderOperations());
#ifdef KWXML_BENCH_PROTOBUF
  add(binaryOperations());
#endif
  for (const Operation& operation : operations) {
    if (!operation.agreed) {
      std::fprintf(stderr, "%s: the sides do not give the same\n", operation.name.c_str());
      return false;
    }
    if (operation.name == "empty" || operation.name.find(filter) != std::string::npos) {
      profileSide(operation, "ours", operation.ours);
      profileSide(operation, "other", operation.theirs);
    }
  }
  return true;
}

#else

bool profile(const std::string&)
{
  std::fprintf(stderr, "built without valgrind's headers\n");
  return false;
}

#endif

}  // namespace kwxml::bench
