#include "support/OpenTrace.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <netdb.h>
#include <sys/socket.h>

#include <cstdarg>
#include <cstdio>

// The program's own definitions come before those of the C library for every library of the process.

namespace {

bool tracing = false;

std::vector<std::string>& names()
{
  static std::vector<std::string> list;
  return list;
}

/// Calls the C library's own, whose name and signature the function has.
template <class Function, class... Args>
auto traced(const char* function, const char* what, Args... args)
{
  if (tracing) {
    names().push_back(what != nullptr ? what : "");
  }
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, function))(args...);
}

}  // namespace

extern "C" {

FILE* fopen(const char* path, const char* mode)
{
  return traced<decltype(fopen)>("fopen", path, path, mode);
}

FILE* fopen64(const char* path, const char* mode)
{
  return traced<decltype(fopen64)>("fopen64", path, path, mode);
}

int open(const char* path, int flags, ...)
{
  va_list args;
  va_start(args, flags);
  const mode_t mode = va_arg(args, mode_t);
  va_end(args);
  return traced<int(const char*, int, ...)>("open", path, path, flags, mode);
}

int openat(int directory, const char* path, int flags, ...)
{
  va_list args;
  va_start(args, flags);
  const mode_t mode = va_arg(args, mode_t);
  va_end(args);
  return traced<int(int, const char*, int, ...)>("openat", path, directory, path, flags, mode);
}

int socket(int domain, int type, int protocol) noexcept
{
  return traced<int(int, int, int)>("socket", "a socket", domain, type, protocol);
}

int getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** result)
{
  return traced<decltype(getaddrinfo)>("getaddrinfo", node, node, service, hints, result);
}
}

namespace kwxml::test {

OpenTrace::OpenTrace()
{
  names().clear();
  tracing = true;
}

OpenTrace::~OpenTrace()
{
  tracing = false;
}

const std::vector<std::string>& OpenTrace::opened() const
{
  return names();
}

}  // namespace kwxml::test
