// Shared by the fuzzers: the library's log, and the one way to say that something is wrong.
#pragma once

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/LogSink.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

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

/// Whether two messages hold the same, NaN among it, which equals nothing.
inline bool areSame(const YMMessageBase& a, const YMMessageBase& b)
{
  if (a == b) {
    return true;
  }
  YMMessageBase copies[] = {a, b};
  BinaryBuffer bytes[2];
  for (int i = 0; i < 2; ++i) {
    BinarySerializer::serialize(copies[i], bytes[i]);
  }
  return bytes[0].length() == bytes[1].length() &&
         std::memcmp(bytes[0].data(), bytes[1].data(), bytes[0].length()) == 0;
}

}  // namespace kwxml::fuzz
