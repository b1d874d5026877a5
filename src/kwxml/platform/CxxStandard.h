// Every header of messages includes this file first, so that a compiler set to an older C++ standard says so
// in one line.
#pragma once

#if __cplusplus < 202002L
#error "KwXMLMsgsBase needs C++20: compile with -std=c++20 or later"
#include <compile-with-std-c++20>  // no such file: ends the compilation, before errors that follow from it
#endif
