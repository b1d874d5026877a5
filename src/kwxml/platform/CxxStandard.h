// The first that every header of messages includes, so that an older standard is told in one line.
#pragma once

#if __cplusplus < 202002L
#error "KwXMLMsgsBase needs C++20: compile with -std=c++20 or later"
#include <compile-with-std-c++20>  // ends the compilation: whatever follows would be told as errors, too
#endif
