#include "Report.h"

#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/LogSink.h>
#include <kwxml/text/ShownText.h>
#include <kwxml/text/Utf8.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace kwxml::tool {

std::string oneLine(std::string_view text, std::size_t limit)
{
  std::string line;
  std::size_t left = limit == 0 ? text.size() : utf8Cut(text, limit);
  const bool cut = left < text.size();
  for (text = text.substr(0, left); !text.empty();) {
    if (text[0] == '\n' || text[0] == '\r' || text[0] == '\t') {
      line += ' ';
      text.remove_prefix(1);
    } else {
      text.remove_prefix(appendShownCharacter(line, text));
    }
  }
  return cut ? line + "..." : line;
}

namespace {

bool progressStands = false;

}  // namespace

void showProgress(std::string_view text)
{
  if ((text.empty() && !progressStands) || ::isatty(STDERR_FILENO) != 1) {
    return;
  }
  const std::string line = "\r\x1b[K" + std::string(text);
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
  progressStands = !text.empty();
}

void report(std::string_view text)
{
  reportPlace("kwxml: " + std::string(text));
}

void reportPlace(std::string_view text)
{
  showProgress({});
  const std::string line = oneLine(text, 0) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);  // nowhere is left to report a failure to
}

LibraryLog::LibraryLog(int level) : level_(level)
{
  // Without a focus the library's log is silent; settings of the tool are those of this name.
  const char* focus = KWPI_Focus::getFocus();
  if (focus == nullptr || *focus == '\0') {
    KWPI_Focus::setFocus("kwxml");
  }
  setLogLevel(level);
  setLogSink([this](const LogRecord& record) { show(record); });
}

void LibraryLog::show(const LogRecord& record)
{
  if (take_ && record.level == ownLevel_ && record.function != nullptr && record.function == ownFunction_) {
    return take_(record);
  }
  if (silent_ || record.level > level_ || std::string_view(record.log) == "XMLMessage") {
    return;  // the library's second log has every line of the first
  }
  if (record.level == 0) {
    ++errors_;
  }
  const std::string text(record.text);
  if (level_ == 0) {
    constexpr std::size_t longest = 400;
    report(oneLine(text, longest));
  } else {
    std::string line = "[";
    line += std::to_string(record.level);
    line += "] ";
    line += record.function != nullptr ? record.function : "";
    line += ": ";
    line += text;
    report(line);
  }
}

void LibraryLog::error(std::string_view text)
{
  ++errors_;
  report(text);
}

LibraryLog::~LibraryLog()
{
  setLogSink({});
}

LibraryLog::OwnLines::OwnLines(LibraryLog& log, int level, const std::string& function,
                               std::function<void(const LogRecord&)> take)
    : log_(log)
{
  log_.ownLevel_ = level;
  log_.ownFunction_ = function;
  log_.take_ = std::move(take);
  setLogLevel(std::max(level, log_.level_));
}

LibraryLog::OwnLines::~OwnLines()
{
  log_.take_ = nullptr;
  setLogLevel(log_.level_);
}

}  // namespace kwxml::tool
