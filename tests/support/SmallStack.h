// Runs a function on a thread with a stack of 256 KiB, the smallest that the library's users have.
#pragma once

#include <functional>
#include <string>

namespace kwxml::test {

/// Returns what the stack holds when the function is done.
std::string onSmallStack(const std::function<void()>& function);

}  // namespace kwxml::test
