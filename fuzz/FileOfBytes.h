// A file in memory for the fuzzers of files: one per process, holding the input of the moment.
#pragma once

#include "Fuzz.h"

#include <sys/mman.h>
#include <unistd.h>

#include <string>

namespace kwxml::fuzz {

class FileOfBytes
{
public:
  FileOfBytes() : fd_(memfd_create("fuzz", MFD_CLOEXEC)), path_("/proc/self/fd/" + std::to_string(fd_))
  {
    if (fd_ < 0) {
      wrong("no file in memory");
    }
  }
  FileOfBytes(const FileOfBytes&) = delete;
  FileOfBytes& operator=(const FileOfBytes&) = delete;
  ~FileOfBytes() { close(fd_); }

  /// Makes the bytes the file's content; gives the path to open it by.
  const char* hold(const std::uint8_t* data, std::size_t size)
  {
    if (ftruncate(fd_, 0) != 0 || pwrite(fd_, data, size, 0) != static_cast<ssize_t>(size)) {
      wrong("the file in memory cannot be written");
    }
    return path_.c_str();
  }

private:
  int fd_;
  std::string path_;
};

}  // namespace kwxml::fuzz
