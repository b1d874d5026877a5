#include "LastInput.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <initializer_list>

extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*callback)());

namespace kwxml::test {

namespace {

void tell()
{
  char line[512];
  const int size = std::snprintf(line, sizeof line, "last input: %s of %s, %s at byte %zu\n", lastInput.form,
                                 lastInput.message, lastInput.damage, lastInput.position);
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, static_cast<std::size_t>(size));
}

void tellAndEnd(int signal)
{
  tell();
  std::raise(signal);  // whose handler is the system's again
}

}  // namespace

void tellLastInputOnCrash()
{
  if (__sanitizer_set_death_callback != nullptr) {
    __sanitizer_set_death_callback(tell);
    return;
  }
  for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
    struct sigaction action = {};
    action.sa_handler = tellAndEnd;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
    sigaction(signal, &action, nullptr);
  }
}

}  // namespace kwxml::test
