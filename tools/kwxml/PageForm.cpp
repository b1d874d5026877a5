#include "PageForm.h"

#include "Command.h"
#include "Files.h"

#include <kwxml/traverse/MessagePage.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace kwxml::tool {

namespace {

class PageSink final : public MessageSink
{
public:
  explicit PageSink(Output& output)
      : output_(output),
        page_(
            [this](std::string_view text) {
              text_ += text;
              return true;
            },
            pageTime())
  {
  }
  void from(const std::string& source) override { source_ = source; }
  int encode(YMMessageBase& message) override
  {
    text_.clear();
    return page_.add(message, source_) ? 0 : 1;
  }
  void write() override { output_.append(text_); }
  void breakOff() override { finish(); }
  void finish() override
  {
    text_.clear();
    if (!page_.finish()) {
      throw Failure(exitData, "the page cannot be written");
    }
    write();
  }

private:
  Output& output_;
  std::string source_;
  std::string text_;
  MessagePage page_;
};

}  // namespace

std::unique_ptr<MessageSink> pageSink(Output& output, const WriteOptions&, LibraryLog&)
{
  return std::make_unique<PageSink>(output);
}

std::string pageTime()
{
  std::time_t seconds = std::time(nullptr);
  // Reading is safe: the program does not change its environment.
  if (const char* epoch = std::getenv("SOURCE_DATE_EPOCH")) {  // NOLINT(concurrency-mt-unsafe)
    const char* const end = epoch + std::strlen(epoch);
    const auto [read, error] = std::from_chars(epoch, end, seconds);
    if (error != std::errc() || read != end) {
      throw Failure(exitUsage, std::string("SOURCE_DATE_EPOCH is no number of seconds: ") + epoch);
    }
  }
  std::tm parts{};
  char text[64];
  if (gmtime_r(&seconds, &parts) == nullptr ||
      std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts) == 0) {
    throw Failure(exitUsage, "SOURCE_DATE_EPOCH is beyond the calendar");
  }
  return text;
}

}  // namespace kwxml::tool
