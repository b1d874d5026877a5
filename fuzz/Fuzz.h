// Shared by the fuzzers: the library's log, and the one way to say that something is wrong.
#pragma once

#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/LogSink.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace kwxml::fuzz {

/// Every line is made and goes nowhere: what a log line is made of must be sound too.
inline void logToNowhere()
{
  KWPI_Focus::setFocus("fuzz");  // without one the library makes no lines
  setLogSink([](const LogRecord&) {});
}

/// Ends the run; the fuzzer then keeps the input.
[[noreturn]] inline void wrong(const char* what)
{
  std::fprintf(stderr, "fuzzer: %s\n", what);
  std::abort();
}

}  // namespace kwxml::fuzz
