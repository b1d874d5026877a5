// What a piece of code asks of the heap. The bench program's own malloc counts while somebody looks, so that
// operator new, protobuf's and the library's calls are all seen; otherwise it costs a test of a flag.
#pragma once

#include <cstddef>

namespace kwxml::bench {

/// Counts from its construction on. Not nested, on one thread: as measurements run.
class HeapScope
{
public:
  HeapScope();
  ~HeapScope();
  HeapScope(const HeapScope&) = delete;
  HeapScope& operator=(const HeapScope&) = delete;

  /// Calls that gave memory.
  std::size_t allocations() const;
  /// Bytes that were taken and not given back, with what the allocator keeps beside each block.
  long long bytesHeld() const;
};

}  // namespace kwxml::bench
