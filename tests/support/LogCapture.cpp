#include "support/LogCapture.h"

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/LogSink.h>
#include <kwxml/text/ShownText.h>

#include <algorithm>

namespace kwxml::test {

LogCapture::LogCapture(int level)
{
  // The focus is sampled when the diagnostics are first used, so it must stand before that.
  KWPI_Focus::setFocus("tests");
  XMLDebug::getInstance();
  setLogLevel(level);
  setLogSink([this](const LogRecord& record) {
    // A process says once which catalogues it has, behind whatever it misses first.
    if (record.function != nullptr && std::string_view(record.function) == "kwxml::Registry") {
      return;
    }
    lines_.push_back({record.level, record.function ? record.function : "", std::string(record.text)});
  });
}

LogCapture::~LogCapture()
{
  setLogSink({});
  setLogLevel(0);
}

bool LogCapture::has(const std::string& function, const std::string& text) const
{
  return std::ranges::any_of(
      lines_, [&](const LogLine& line) { return line.function == function && line.text == text; });
}

std::string LogCapture::taken()
{
  const std::string text = toText(*this);
  clear();
  return text;
}

std::string toText(const LogCapture& log)
{
  std::string text;
  for (const LogLine& line : log.lines()) {
    text += std::to_string(line.level) + " " + line.function + ": " + shown(line.text, "\\") + "\n";
  }
  return text;
}

}  // namespace kwxml::test
