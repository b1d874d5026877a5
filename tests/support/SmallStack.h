// Runs a function on a thread with a stack of 256 KiB, the smallest that the library's users have.
#pragma once

#include <functional>

namespace kwxml::test {

void onSmallStack(const std::function<void()>& function);

}  // namespace kwxml::test
