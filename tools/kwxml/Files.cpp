#include "Files.h"

#include "Command.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace kwxml::tool {

namespace {

bool isStandard(const std::string& file)
{
  return file.empty() || file == "-";
}

[[noreturn]] void failed(const std::string& what, const std::string& name, int error)
{
  throw Failure(exitData, what + " " + name + ": " + std::strerror(error));
}

/// A file descriptor that is closed in the end.
class Descriptor
{
public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor()
  {
    if (number_ > STDERR_FILENO) {
      ::close(number_);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return number_; }
  /// Some file systems report only here that the bytes found no room.
  bool close()
  {
    const int number = number_;
    number_ = -1;
    return ::close(number) == 0;
  }

private:
  int number_;
};

bool writeAll(int descriptor, std::string_view bytes)
{
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written < 0) {
      if (errno == EINTR) {
        continue;
      }
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

/// Removes the file unless it has been moved to its place.
struct TemporaryFile
{
  std::string name;
  ~TemporaryFile()
  {
    if (!name.empty()) {
      ::unlink(name.c_str());
    }
  }
};

void replaceFile(const std::string& file, mode_t mode, std::string_view bytes)
{
  // A link stays a link: what it leads to is replaced.
  std::error_code error;
  const std::filesystem::path place = std::filesystem::weakly_canonical(file, error);
  if (error) {
    failed("cannot write", file, error.value());
  }
  std::string name = place.string() + ".XXXXXX";
  Descriptor open(::mkstemp(name.data()));
  if (open.get() < 0) {
    failed("cannot write", file, errno);
  }
  TemporaryFile temporary{name};
  if (!writeAll(open.get(), bytes) || ::fchmod(open.get(), mode) != 0 || ::fsync(open.get()) != 0 ||
      !open.close() || ::rename(name.c_str(), place.c_str()) != 0) {
    failed("cannot write", file, errno);
  }
  temporary.name.clear();
}

}  // namespace

std::string inputName(const std::string& file)
{
  return isStandard(file) ? "standard input" : file;
}

std::string readInput(const std::string& file)
{
  const Descriptor input(isStandard(file) ? STDIN_FILENO : ::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  if (input.get() < 0) {
    failed("cannot read", inputName(file), errno);
  }
  constexpr std::size_t piece = 64 * 1024;
  std::string bytes;
  std::size_t size = 0;
  while (true) {
    bytes.resize(size + piece);
    const ssize_t got = ::read(input.get(), bytes.data() + size, piece);
    if (got < 0) {
      if (errno == EINTR) {
        continue;
      }
      failed("cannot read", inputName(file), errno);
    }
    size += static_cast<std::size_t>(got);
    if (got == 0) {
      bytes.resize(size);
      return bytes;
    }
  }
}

void writeOutput(const std::string& file, std::string_view bytes)
{
  if (isStandard(file)) {
    if (!writeAll(STDOUT_FILENO, bytes)) {
      failed("cannot write", "standard output", errno);
    }
    return;
  }
  struct stat known
  {
  };
  if (::stat(file.c_str(), &known) != 0) {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    replaceFile(file, 0666 & ~mask, bytes);
  } else if (S_ISREG(known.st_mode)) {
    if (::access(file.c_str(), W_OK) != 0) {  // replacing it would go round its protection
      failed("cannot write", file, errno);
    }
    replaceFile(file, known.st_mode & 0777, bytes);
  } else {
    Descriptor output(::open(file.c_str(), O_WRONLY | O_CLOEXEC));
    if (output.get() < 0 || !writeAll(output.get(), bytes) || !output.close()) {
      failed("cannot write", file, errno);
    }
  }
}

void writeText(const std::string& file, std::string text)
{
  if (text.empty() || text.back() != '\n') {
    text += '\n';
  }
  writeOutput(file, text);
}

void occupyStandardFiles()
{
  for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(number, F_GETFD) < 0 && errno == EBADF) {
      // Opened the other way round, so that reading from it, or writing to it, still fails.
      if (::open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) {
        std::_Exit(exitData);
      }
    }
  }
}

}  // namespace kwxml::tool
