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

void record(const char* what)
{
  if (tracing) {
    names().push_back(what != nullptr ? what : "");
  }
}

template <class Function>
Function* real(const char* name)
{
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

FILE* fopen(const char* path, const char* mode)
{
  record(path);
  return real<FILE*(const char*, const char*)>("fopen")(path, mode);
}

FILE* fopen64(const char* path, const char* mode)
{
  record(path);
  return real<FILE*(const char*, const char*)>("fopen64")(path, mode);
}

int open(const char* path, int flags, ...)
{
  va_list args;
  va_start(args, flags);
  const mode_t mode = va_arg(args, mode_t);
  va_end(args);
  record(path);
  return real<int(const char*, int, ...)>("open")(path, flags, mode);
}

int openat(int directory, const char* path, int flags, ...)
{
  va_list args;
  va_start(args, flags);
  const mode_t mode = va_arg(args, mode_t);
  va_end(args);
  record(path);
  return real<int(int, const char*, int, ...)>("openat")(directory, path, flags, mode);
}

int socket(int domain, int type, int protocol) noexcept
{
  record("a socket");
  return real<int(int, int, int)>("socket")(domain, type, protocol);
}

int getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** result)
{
  record(node);
  return real<int(const char*, const char*, const addrinfo*, addrinfo**)>("getaddrinfo")(node, service, hints,
                                                                                         result);
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
