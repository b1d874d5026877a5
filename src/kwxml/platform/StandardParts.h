// std::unique_ptr and std::function, which the interface names, without the rest of <memory> and
// <functional>: these two would take a third of the time in which a compiler reads the whole interface. The
// library of GNU has both classes in headers of their own; with another library the two whole headers are
// included.
#pragma once

#include <cstddef>

#if defined(__GLIBCXX__) && __has_include(<bits/unique_ptr.h>) && __has_include(<bits/std_function.h>)
#include <bits/std_function.h>
#include <bits/unique_ptr.h>
#else
#include <functional>
#include <memory>
#endif
