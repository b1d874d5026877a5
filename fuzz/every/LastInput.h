// Which input was tried last, for a crash that leaves no time to report it.
#pragma once

#include <cstddef>

namespace kwxml::test {

struct LastInput
{
  const char* form = "";
  const char* message = "";
  std::size_t position = 0;
  const char* damage = "";
};

inline LastInput lastInput;

/// From now on a signal or a sanitizer that ends the process says on standard error what was tried last.
void tellLastInputOnCrash();

}  // namespace kwxml::test
