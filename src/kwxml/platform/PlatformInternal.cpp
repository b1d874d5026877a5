#include <kwxml/platform/PlatformInternal.h>

#include <kwxml/platform/ForkGate.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <set>
#include <utility>

namespace kwxml {

bool formatText(std::string& text, const char* format, va_list args)
{
  if (format != nullptr && std::strcmp(format, "%s") == 0) {
    // A finished text: of a long one the C library would count each byte before it copies any.
    va_list copy;
    va_copy(copy, args);
    const char* const whole = va_arg(copy, const char*);
    va_end(copy);
    std::string made(whole != nullptr ? whole : "(null)");  // it may be a part of `text`
    if (made.size() > static_cast<std::size_t>(INT_MAX)) {
      return false;
    }
    text = std::move(made);
    return true;
  }
  // Most lines fit here; only longer ones are formatted twice.
  char small[1024];
  va_list copy;
  va_copy(copy, args);
  const int length = std::vsnprintf(small, sizeof small, format, copy);
  va_end(copy);
  if (length < 0) {
    return false;
  }
  const size_t size = static_cast<size_t>(length);
  if (size < sizeof small) {
    text.assign(small, size);
    return true;
  }
  // Into a text of its own, because the arguments may point into `text`.
  std::string large(size, '\0');
  va_copy(copy, args);
  const int again = std::vsnprintf(large.data(), size + 1, format, copy);
  va_end(copy);
  if (again < 0) {
    return false;
  }
  // Less when another thread changed an argument meanwhile; never more than was asked for.
  large.resize(std::min(size, static_cast<size_t>(again)));
  text = std::move(large);
  return true;
}

void reportToStderr(const char* format, ...)
{
  std::string text;
  va_list args;
  va_start(args, format);
  if (!formatText(text, format, args)) {
    text = format;
  }
  va_end(args);
  const std::string line = "KwPlatform: " + text + "\n";
  // In one call, so that lines of several threads do not mix. There is nowhere to report a failure of this
  // to.
  ssize_t written;
  do {
    written = write(STDERR_FILENO, line.data(), line.size());
  } while (written < 0 && errno == EINTR);
}

void reportOnceToStderr(const std::string& text)
{
  const InsideLog inside;
  static std::mutex& mutex = *new std::mutex;
  static std::set<std::string>& reported = *new std::set<std::string>;
  std::lock_guard lock(mutex);
  if (reported.insert(text).second) {
    reportToStderr("%s", text.c_str());
  }
}

std::string errnoText(int code)
{
  char buffer[256];
  // The GNU form: it may return a text of its own instead of filling the buffer.
  return strerror_r(code, buffer, sizeof buffer);
}

}  // namespace kwxml
