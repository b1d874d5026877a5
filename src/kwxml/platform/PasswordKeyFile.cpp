#include <kwxml/platform/PasswordKeyFile.h>

#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/KWPlatformInfo.h>
#include <kwxml/platform/PasswordInternal.h>
#include <kwxml/platform/PlatformInternal.h>

#include <fcntl.h>
#include <openssl/err.h>
#include <openssl/rand.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

namespace kwxml {

namespace {

constexpr std::string_view kHead = "KWPASSWORD-KEY 1\n";
constexpr size_t kKeySize = sizeof PasswordKey::bytes;
// The head, two digits per byte, and a line end.
constexpr size_t kFileSize = kHead.size() + 2 * kKeySize + 1;

class Descriptor
{
public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return fd_; }
  /// False when the system could not keep what was written.
  bool close()
  {
    const int fd = fd_;
    fd_ = -1;
    return fd < 0 || ::close(fd) == 0;
  }

private:
  int fd_;
};

// Both go on where the system stopped short. readAll gives the bytes read, which are fewer only at the file's
// end, and -1 on failure.
ssize_t readAll(int fd, unsigned char* bytes, size_t size)
{
  size_t done = 0;
  while (done < size) {
    const ssize_t count = read(fd, bytes + done, size - done);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      return -1;
    }
    if (count == 0) {
      break;
    }
    done += static_cast<size_t>(count);
  }
  return static_cast<ssize_t>(done);
}

bool writeAll(int fd, const unsigned char* bytes, size_t size)
{
  while (size > 0) {
    const ssize_t count = write(fd, bytes, size);
    if (count < 0 && errno != EINTR) {
      return false;
    }
    if (count > 0) {
      bytes += count;
      size -= static_cast<size_t>(count);
    }
  }
  return true;
}

/// Why the open file may not serve as a key file; null when it may.
const char* refusal(const struct stat& status)
{
  if (!S_ISREG(status.st_mode)) {
    return "not a plain file";
  }
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    return "refused, because group or others have access to it (use chmod 600)";
  }
  if (status.st_uid != geteuid() && status.st_uid != 0) {
    return "refused, because it belongs to another user";
  }
  return nullptr;
}

/// Reads the key, or says why not.
std::string readKeyFile(const std::string& path, PasswordKey& key)
{
  // Without waiting, should somebody have put a pipe in its place.
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status;
  if (file.get() < 0 || fstat(file.get(), &status) != 0) {
    return errnoText(errno);
  }
  if (const char* reason = refusal(status)) {
    return reason;
  }
  // One byte more than a key file has, to notice longer ones, and one that stays zero.
  SecretBytes<kFileSize + 2> content;
  const ssize_t size = readAll(file.get(), content.bytes, kFileSize + 1);
  if (size < 0) {
    return errnoText(errno);
  }
  const size_t count = static_cast<size_t>(size);
  char* const digits = content.text() + kHead.size();
  // An editor may have dropped the last line end.
  const bool complete = count == kFileSize ? content.bytes[kFileSize - 1] == '\n' : count == kFileSize - 1;
  if (!complete || std::memcmp(content.bytes, kHead.data(), kHead.size()) != 0) {
    return "not a password key file";
  }
  content.bytes[kFileSize - 1] = 0;
  PasswordKey found;
  size_t length = 0;
  if (OPENSSL_hexstr2buf_ex(found.bytes, kKeySize, &length, digits, '\0') != 1 || length != kKeySize) {
    return "not a password key file";
  }
  std::memcpy(key.bytes, found.bytes, kKeySize);
  return std::string();
}

}  // namespace

OpenSslErrorScope::OpenSslErrorScope()
{
  ERR_set_mark();
}

OpenSslErrorScope::~OpenSslErrorScope()
{
  ERR_pop_to_mark();
}

bool loadPasswordKey(PasswordKey& key)
{
  const OpenSslErrorScope errors;
  KWPlatformInfo settings;
  settings.setFocus(KWPI_Focus::getFocus());
  std::string path;
  if (!settings.getString("Password", "keyfile", path)) {
    return false;
  }
  const std::string problem =
      settings.isTrusted() ? readKeyFile(path, key)
                           : "refused, because others may write the settings that name it (use chmod go-w)";
  if (!problem.empty()) {
    reportOnceToStderr("password key file " + path + ": " + problem);
    return false;
  }
  return true;
}

bool createKeyFile(const std::string& path, std::string& error)
{
  const OpenSslErrorScope errors;
  const auto fail = [&](const std::string& reason) {
    error = "cannot create password key file " + path + ": " + reason;
    return false;
  };
  if (path.find('\0') != std::string::npos) {
    return fail("its name holds a zero byte");
  }
  // All that can fail without the file comes before it.
  PasswordKey key;
  SecretBytes<2 * kKeySize + 1> digits;
  if (RAND_bytes(key.bytes, kKeySize) != 1) {
    return fail("no random numbers");
  }
  if (OPENSSL_buf2hexstr_ex(digits.text(), sizeof digits.bytes, nullptr, key.bytes, kKeySize, '\0') != 1) {
    return fail("the key cannot be written as text");
  }
  SecretBytes<kFileSize> content;
  std::memcpy(content.bytes, kHead.data(), kHead.size());
  std::memcpy(content.bytes + kHead.size(), digits.bytes, 2 * kKeySize);
  content.bytes[kFileSize - 1] = '\n';

  Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (file.get() < 0) {
    return fail(errnoText(errno));
  }
  // The umask may have taken away from the mode.
  if (fchmod(file.get(), S_IRUSR | S_IWUSR) != 0 || !writeAll(file.get(), content.bytes, kFileSize) ||
      fsync(file.get()) != 0 || !file.close()) {
    const int code = errno;
    unlink(path.c_str());
    return fail(errnoText(code));
  }
  return true;
}

}  // namespace kwxml
