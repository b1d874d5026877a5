// Counts the calls of operator new in the test program while it lives.
#pragma once

#include <cstddef>

namespace kwxml::test {

class AllocationCounter
{
public:
  AllocationCounter();
  std::size_t count() const;

private:
  std::size_t before_;
};

}  // namespace kwxml::test
