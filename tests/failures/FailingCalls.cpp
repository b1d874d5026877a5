#include "failures/FailingCalls.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <utility>

// The program's own definitions come before those of the C library for every library of the process.

namespace {

thread_local bool counting = false;
const char* failing = "";
int wanted = 0;
int failure = 0;
int counted = 0;

std::map<std::string, int>& allCalls()
{
  static std::map<std::string, int> counts;
  return counts;
}

bool isDue(const char* name)
{
  if (!counting) {
    return false;
  }
  ++allCalls()[name];
  return std::strcmp(name, failing) == 0 && ++counted == wanted;
}

/// Calls the C library's own, whose signature the function has.
template <class Function, class... Args>
auto call(const char* name, Args... args)
{
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name))(args...);
}

template <class Function, class... Args>
auto failOrCall(const char* name, Args... args)
{
  if (isDue(name)) {
    errno = failure;
    return static_cast<decltype(call<Function>(name, args...))>(-1);
  }
  return call<Function>(name, args...);
}

template <class Function, class Bytes>
ssize_t moveOrFail(const char* name, int file, Bytes bytes, std::size_t size)
{
  if (!isDue(name)) {
    return call<Function>(name, file, bytes, size);
  }
  if (failure == 0) {
    return call<Function>(name, file, bytes, size / 2);
  }
  errno = failure;
  return -1;
}

}  // namespace

extern "C" {

ssize_t read(int file, void* bytes, std::size_t size)
{
  return moveOrFail<decltype(read)>("read", file, bytes, size);
}
ssize_t write(int file, const void* bytes, std::size_t size)
{
  return moveOrFail<decltype(write)>("write", file, bytes, size);
}
off_t lseek(int file, off_t offset, int whence) noexcept
{
  return failOrCall<off_t(int, off_t, int)>("lseek", file, offset, whence);
}
int fstat(int file, struct stat* status) noexcept
{
  return failOrCall<int(int, struct stat*)>("fstat", file, status);
}
int fdatasync(int file)
{
  return failOrCall<int(int)>("fdatasync", file);
}
int fsync(int file)
{
  return failOrCall<int(int)>("fsync", file);
}
int ftruncate(int file, off_t size) noexcept
{
  return failOrCall<int(int, off_t)>("ftruncate", file, size);
}
int close(int file)
{
  return failOrCall<int(int)>("close", file);
}

}  // extern "C"

namespace kwxml::test {

FailingCall::FailingCall(const char* name, int number, int error)
{
  failing = name;
  wanted = number;
  failure = error;
  counted = 0;
  counting = true;
}

FailingCall::~FailingCall()
{
  counting = false;
}

bool FailingCall::failed()
{
  return counted >= wanted;
}

int calls(const char* name)
{
  return std::exchange(allCalls()[name], 0);
}

}  // namespace kwxml::test
