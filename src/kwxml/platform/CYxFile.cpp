#include <kwxml/platform/CYxFile.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace {

// The most that one system call moves on Linux; larger requests would only be cut there.
constexpr size_t kMaxTransfer = 0x7ffff000;

template <typename Result>
Result fail(CYxError* error, int code, Result result)
{
  if (error) {
    *error = CYxError(code);
  }
  return result;
}

template <typename Result>
Result succeed(CYxError* error, Result result)
{
  if (error && error->IsError()) {
    *error = CYxError();
  }
  return result;
}

}  // namespace

CYxFile::CYxFile(const char* path, Mode mode, CYxError* error)
{
  static_cast<void>(Open(path, mode, error));
}

CYxFile::~CYxFile()
{
  Close();
}

CYxFile::CYxFile(CYxFile&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), readEnd_(std::exchange(other.readEnd_, false))
{
}

CYxFile& CYxFile::operator=(CYxFile&& other) noexcept
{
  if (this != &other) {
    Close();
    fd_ = std::exchange(other.fd_, -1);
    readEnd_ = std::exchange(other.readEnd_, false);
  }
  return *this;
}

bool CYxFile::Open(const char* path, Mode mode, CYxError* error)
{
  Close();
  if (!path) {
    return fail(error, EINVAL, false);
  }
  int flags = O_CLOEXEC;
  switch (mode) {
    case Mode::Read:
      flags |= O_RDONLY;
      break;
    case Mode::Write:
      flags |= O_RDWR;
      break;
    case Mode::Update:
      flags |= O_RDWR | O_CREAT;
      break;
    case Mode::Truncate:
      flags |= O_RDWR | O_CREAT | O_TRUNC;
      break;
  }
  int fd;
  do {
    fd = open(path, flags, 0666);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) {
    return fail(error, errno, false);
  }
  struct stat status;
  int code = fstat(fd, &status) != 0 ? errno : 0;
  if (code == 0 && S_ISDIR(status.st_mode)) {
    code = EISDIR;  // the system opens directories to read, and would say so only at the first read
  }
  if (code != 0) {
    close(fd);
    return fail(error, code, false);
  }
  fd_ = fd;
  return succeed(error, true);
}

bool CYxFile::Close(CYxError* error)
{
  readEnd_ = false;
  if (fd_ < 0) {
    return succeed(error, true);
  }
  // Not repeated when interrupted: the descriptor is gone by then, and its number may be another file's.
  const int result = close(std::exchange(fd_, -1));
  if (result != 0 && errno != EINTR) {
    return fail(error, errno, false);
  }
  return succeed(error, true);
}

long long CYxFile::Read(void* data, size_t size, CYxError* error)
{
  if (fd_ < 0) {
    return fail(error, EBADF, -1LL);
  }
  char* bytes = static_cast<char*>(data);
  size_t done = 0;
  while (done < size) {
    const ssize_t count = read(fd_, bytes + done, std::min(size - done, kMaxTransfer));
    if (count < 0) {
      if (errno == EINTR) {
        continue;
      }
      return fail(error, errno, -1LL);
    }
    if (count == 0) {
      readEnd_ = true;
      break;
    }
    readEnd_ = false;
    done += static_cast<size_t>(count);
  }
  return succeed(error, static_cast<long long>(done));
}

long long CYxFile::Write(const void* data, size_t size, CYxError* error)
{
  if (fd_ < 0) {
    return fail(error, EBADF, -1LL);
  }
  const char* bytes = static_cast<const char*>(data);
  size_t done = 0;
  while (done < size) {
    const ssize_t count = write(fd_, bytes + done, std::min(size - done, kMaxTransfer));
    if (count < 0) {
      if (errno == EINTR) {
        continue;
      }
      return fail(error, errno, -1LL);
    }
    if (count == 0) {
      return fail(error, EIO, -1LL);  // a device that takes nothing and names no reason: do not try for ever
    }
    done += static_cast<size_t>(count);
  }
  return succeed(error, static_cast<long long>(done));
}

long long CYxFile::Seek(long long offset, Origin origin, CYxError* error)
{
  if (fd_ < 0) {
    return fail(error, EBADF, -1LL);
  }
  const int whence = origin == Origin::Begin ? SEEK_SET : origin == Origin::Current ? SEEK_CUR : SEEK_END;
  const off_t position = lseek(fd_, offset, whence);
  if (position < 0) {
    return fail(error, errno, -1LL);
  }
  readEnd_ = false;
  return succeed(error, static_cast<long long>(position));
}

long long CYxFile::Tell(CYxError* error) const
{
  const off_t position = lseek(fd_, 0, SEEK_CUR);
  if (position < 0) {
    return fail(error, errno, -1LL);
  }
  return succeed(error, static_cast<long long>(position));
}

long long CYxFile::Size(CYxError* error) const
{
  struct stat status;
  if (fstat(fd_, &status) != 0) {
    return fail(error, errno, -1LL);
  }
  return succeed(error, static_cast<long long>(status.st_size));
}

bool CYxFile::IsEOF(CYxError* error) const
{
  struct stat status;
  if (fstat(fd_, &status) != 0) {
    return fail(error, errno, true);
  }
  if (!S_ISREG(status.st_mode)) {
    return succeed(error, readEnd_);
  }
  const off_t position = lseek(fd_, 0, SEEK_CUR);
  if (position < 0) {
    return fail(error, errno, true);
  }
  return succeed(error, position >= status.st_size);
}

bool CYxFile::OthersMayWrite() const
{
  struct stat status;
  return fd_ < 0 || fstat(fd_, &status) != 0 || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0 ||
         (status.st_uid != geteuid() && status.st_uid != 0);
}

namespace {

/// Repeats the call while it is interrupted; its errno, 0 when it did its work.
template <typename Call>
int repeated(Call call)
{
  int result;
  do {
    result = call();
  } while (result != 0 && errno == EINTR);
  return result != 0 ? errno : 0;
}

/// EINVAL: a pipe or a device without storage behind it, where nothing can be pending.
bool flushed(int code, CYxError* error)
{
  return code == 0 || code == EINVAL ? succeed(error, true) : fail(error, code, false);
}

}  // namespace

bool CYxFile::Flush(CYxError* error)
{
  return flushed(repeated([this] { return fsync(fd_); }), error);
}

bool CYxFile::FlushData(CYxError* error)
{
  return flushed(repeated([this] { return fdatasync(fd_); }), error);
}

bool CYxFile::Truncate(long long size, CYxError* error)
{
  const int code = repeated([this, size] { return ftruncate(fd_, size); });
  return code == 0 ? succeed(error, true) : fail(error, code, false);
}
