// Lets single allocations of the process fail. Under the sanitizers, which have a malloc of their own, those
// of operator new alone.
#pragma once

#include <cstddef>

namespace kwxml::test {

class FailingMemory
{
public:
  /// From now on the allocation with that number fails, counted from 1, and with `all` those behind it.
  FailingMemory(std::size_t number, bool all);
  ~FailingMemory();
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;

  /// Whether the allocation has come.
  static bool failed();
  /// Nothing fails any more, and nothing new is counted.
  static void stop();
  /// The blocks that were allocated meanwhile and are not freed; 0 under the sanitizers, which look for leaks
  /// themselves.
  static std::size_t blocksLeft();
};

}  // namespace kwxml::test
