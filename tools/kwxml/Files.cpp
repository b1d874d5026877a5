#include "Files.h"

#include "Command.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace kwxml::tool {

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

namespace {

[[noreturn]] void failed(const std::string& what, const std::string& name, int error)
{
  throw Failure(exitData, what + " " + name + ": " + std::generic_category().message(error));
}

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

/// A file without a name, gone with its descriptor.
int namelessFile()
{
  std::string name = (std::filesystem::temp_directory_path() / "kwxml.XXXXXX").string();
  const int number = ::mkostemp(name.data(), O_CLOEXEC);
  if (number < 0) {
    failed("cannot write", name, errno);
  }
  ::unlink(name.c_str());
  return number;
}

/// The path of an open file, whether or not it has a name.
std::string pathOf(int number)
{
  return "/proc/self/fd/" + std::to_string(number);
}

/// Hands everything that can be read to `take`, piece by piece.
template <class Take>
void readAll(int number, const std::string& name, Take take)
{
  std::string piece(64 * 1024, '\0');
  while (true) {
    const ssize_t got = ::read(number, piece.data(), piece.size());
    if (got == 0) {
      return;
    }
    if (got > 0) {
      take(std::string_view(piece.data(), static_cast<std::size_t>(got)));
    } else if (errno != EINTR) {
      failed("cannot read", name, errno);
    }
  }
}

}  // namespace

bool isStandard(const std::string& file)
{
  return file.empty() || file == "-";
}

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
  std::string bytes;
  readAll(input.get(), inputName(file), [&](std::string_view piece) { bytes += piece; });
  return bytes;
}

// ---- Input

struct Input::Open
{
  explicit Open(int number) : file(number) {}
  Descriptor file;
};

Input::Input(const std::string& file) : name_(inputName(file))
{
  open_ =
      std::make_unique<Open>(isStandard(file) ? STDIN_FILENO : ::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat known
  {
  };
  if (open_->file.get() < 0 || ::fstat(open_->file.get(), &known) != 0) {
    failed("cannot read", name_, errno);
  }
  // Standard input may stand behind its beginning: what is left of it is the input.
  if (!S_ISREG(known.st_mode) || (isStandard(file) && ::lseek(STDIN_FILENO, 0, SEEK_CUR) != 0)) {
    auto copy = std::make_unique<Open>(namelessFile());
    readAll(open_->file.get(), name_, [&](std::string_view piece) {
      if (!writeAll(copy->file.get(), piece)) {
        failed("cannot write", "a temporary file", errno);
      }
    });
    open_ = std::move(copy);
    if (::fstat(open_->file.get(), &known) != 0) {
      failed("cannot read", name_, errno);
    }
  }
  size_ = static_cast<unsigned long long>(known.st_size);
  path_ = pathOf(open_->file.get());
}

Input::~Input() = default;

std::string Input::head(std::size_t count) const
{
  std::string bytes(count, '\0');
  const ssize_t got = ::pread(open_->file.get(), bytes.data(), count, 0);
  if (got < 0) {
    failed("cannot read", name_, errno);
  }
  bytes.resize(static_cast<std::size_t>(got));
  return bytes;
}

std::string Input::all() const
{
  if (::lseek(open_->file.get(), 0, SEEK_SET) < 0) {
    failed("cannot read", name_, errno);
  }
  std::string bytes;
  readAll(open_->file.get(), name_, [&](std::string_view piece) { bytes += piece; });
  return bytes;
}

// ---- Output

struct Output::Open
{
  explicit Open(int number) : file(number) {}
  ~Open()
  {
    if (!temporary.empty()) {
      ::unlink(temporary.c_str());
    }
  }
  Open(const Open&) = delete;
  Open& operator=(const Open&) = delete;

  /// A name beside its place, if it has none: a file can take another's place only from a name.
  bool giveName()
  {
    const std::string from = pathOf(file.get());
    for (int i = 0; temporary.empty(); ++i) {
      const std::string to = place + "." + std::to_string(::getpid()) + "." + std::to_string(i);
      if (::linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), AT_SYMLINK_FOLLOW) == 0) {
        temporary = to;
      } else if (errno != EEXIST) {
        return false;
      }
    }
    return true;
  }

  Descriptor file;
  std::string name;       ///< as diagnostics name it
  std::string place;      ///< where it goes in the end; empty for what is written as it stands
  std::string temporary;  ///< its name while it has one and is not in its place
  mode_t mode = 0;
  std::unique_ptr<Descriptor> spool{};  ///< content that is copied to `file` in the end
  std::string path{};
};

Output::Output(const std::string& file) : file_(file)
{
  struct stat known
  {
  };
  if (isStandard(file)) {
    open_ = std::make_unique<Open>(STDOUT_FILENO);
    open_->name = "standard output";
    return;
  }
  const bool exists = ::stat(file.c_str(), &known) == 0;
  if (exists && !S_ISREG(known.st_mode)) {
    open_ = std::make_unique<Open>(::open(file.c_str(), O_WRONLY | O_CLOEXEC));
    open_->name = file;
    if (open_->file.get() < 0) {
      failed("cannot write", file, errno);
    }
    return;
  }
  if (exists && ::access(file.c_str(), W_OK) != 0) {  // replacing it would go round its protection
    failed("cannot write", file, errno);
  }
  const mode_t mask = ::umask(0);
  ::umask(mask);
  // A link stays a link: what it leads to is replaced.
  std::error_code error;
  const std::string place = std::filesystem::weakly_canonical(file, error).string();
  if (error) {
    failed("cannot write", file, error.value());
  }
  // Without a name, so that nothing is left where the program is killed; not every file system has such
  // files.
  const std::string folder = std::filesystem::path(place).parent_path().string();
  open_ = std::make_unique<Open>(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (open_->file.get() < 0) {
    std::string name = place + ".XXXXXX";
    open_ = std::make_unique<Open>(::mkostemp(name.data(), O_CLOEXEC));
    if (open_->file.get() < 0) {
      failed("cannot write", file, errno);
    }
    open_->temporary = name;
  }
  open_->name = file;
  open_->place = place;
  open_->mode = exists ? known.st_mode & 0777 : 0666 & ~mask;
}

Output::~Output() = default;

void Output::append(std::string_view bytes)
{
  if (!writeAll(open_->file.get(), bytes)) {
    failed("cannot write", open_->name, errno);
  }
}

const std::string& Output::path()
{
  if (open_->path.empty()) {
    if (open_->place.empty()) {
      open_->spool = std::make_unique<Descriptor>(namelessFile());
    }
    open_->path = pathOf(open_->spool != nullptr ? open_->spool->get() : open_->file.get());
  }
  return open_->path;
}

void Output::commit()
{
  if (open_->spool != nullptr) {
    if (::lseek(open_->spool->get(), 0, SEEK_SET) < 0) {
      failed("cannot read", "a temporary file", errno);
    }
    readAll(open_->spool->get(), "a temporary file", [this](std::string_view piece) { append(piece); });
  }
  if (!open_->place.empty()) {
    if (::fchmod(open_->file.get(), open_->mode) != 0 || ::fsync(open_->file.get()) != 0 ||
        !open_->giveName() || !open_->file.close() ||
        ::rename(open_->temporary.c_str(), open_->place.c_str()) != 0) {
      failed("cannot write", open_->name, errno);
    }
    open_->temporary.clear();
  } else if (open_->file.get() > STDERR_FILENO && !open_->file.close()) {
    failed("cannot write", open_->name, errno);
  }
}

void syncName(const std::string& file)
{
  std::error_code error;
  const std::filesystem::path place = std::filesystem::weakly_canonical(file, error);
  const Descriptor folder(error ? -1
                                : ::open(place.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (error) {
    failed("cannot write", file, error.value());
  }
  // Some file systems sync no folders, and a folder that may be written need not be readable.
  if (folder.get() < 0 ? errno != EACCES : ::fsync(folder.get()) != 0 && errno != EINVAL) {
    failed("cannot write", file, errno);
  }
}

void writeOutput(const std::string& file, std::string_view bytes)
{
  Output output(file);
  output.append(bytes);
  output.commit();
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
