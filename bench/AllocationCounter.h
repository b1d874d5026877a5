// The number of calls of operator new so far, for measurements that promise none. The count costs every side
// of a comparison the same plain increment.
#pragma once

#include <cstddef>

namespace kwxml::bench {

std::size_t allocationCount();

}  // namespace kwxml::bench
