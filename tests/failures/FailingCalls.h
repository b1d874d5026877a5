// Lets single calls of the system for files fail, or move only a part of the bytes.
#pragma once

#include <string>

namespace kwxml::test {

/// While it lives, of the calls with that name ("read", "write", "lseek", "fstat", "fdatasync", "fsync",
/// "ftruncate", "close") the one with that number fails with `error`, counted from 1. With error 0 a reading
/// or writing one moves half of its bytes. Only what the thread that made it calls is counted.
class FailingCall
{
public:
  FailingCall(const char* name, int number, int error);
  ~FailingCall();
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;

  /// Whether the call has come.
  static bool failed();
};

/// How many calls with that name came since this was asked last.
int calls(const char* name);

}  // namespace kwxml::test
