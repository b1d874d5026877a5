#include "SummaryForms.h"

#include "Command.h"
#include "Files.h"
#include "Report.h"

#include <kwxml/text/ShownText.h>
#include <kwxml/traverse/HTMLRenderContext.h>
#include <kwxml/traverse/KwXMLSummary.h>

#include <sstream>

namespace kwxml::tool {

namespace {

/// What stands around the blocks of a page. The script opens and closes them, by mouse or keyboard. That
/// nothing of a message runs is due to its being escaped; the policy sees to it that nothing is fetched.
constexpr std::string_view pageHead = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Messages</title>
<style>
body { font: 15px/1.5 sans-serif; margin: 2em; color: #222; background: #fff; }
a[onclick] { cursor: pointer; text-decoration: underline; font-weight: bold; }
section { border-bottom: 1px solid #ddd; padding: .5em 0; }
section div { white-space: pre-wrap; overflow-wrap: anywhere; }
</style>
<script>
function showdiv(id) {
  var block = event.currentTarget.nextElementSibling || document.getElementById(id);
  block.style.display = block.style.display === 'none' ? 'block' : 'none';
}
document.addEventListener('DOMContentLoaded', function () {
  document.querySelectorAll('a[onclick]').forEach(function (link) {
    link.tabIndex = 0;
    link.setAttribute('role', 'button');
    link.addEventListener('keydown', function (event) {
      if (event.key === 'Enter' || event.key === ' ') {
        event.preventDefault();
        link.click();
      }
    });
  });
});
</script>
</head>
<body>
)";
constexpr std::string_view pageEnd = "</body>\n</html>\n";

class SummarySink : public MessageSink
{
public:
  SummarySink(Output& output, const LibraryLog& log) : output_(output), log_(log) {}
  int encode(YMMessageBase& message) override
  {
    const int errors = log_.errors();
    if (!render(message, text_)) {
      throw Failure(exitData, message.getTagName() + " cannot be summarized");
    }
    text_ += '\n';
    return log_.errors() - errors;  // a line stands for each value that has no text
  }
  void write() override { output_.append(text_); }

protected:
  virtual bool render(YMMessageBase& message, std::string& text) = 0;
  template <class Context>
  static bool renderHtml(YMMessageBase& message, Context context, std::string& text)
  {
    context.setEscaping(true);
    if (KwXMLSummary::getKwSummaryInfo(&message, &context, KwXMLFormatOptions()) != 0) {
      return false;
    }
    context.DumpToString(text);
    return true;
  }
  Output& output_;

private:
  const LibraryLog& log_;
  std::string text_;
};

class TextSink final : public SummarySink
{
  using SummarySink::SummarySink;
  bool render(YMMessageBase& message, std::string& text) override
  {
    std::ostringstream stream;
    const int result = KwXMLSummary::getKwSummaryInfo(&message, stream, KwXMLFormatOptions());
    text = shown(stream.str());  // what a message holds must not steer a terminal
    return result == 0;
  }
};

class HtmlSink final : public SummarySink
{
  using SummarySink::SummarySink;
  bool render(YMMessageBase& message, std::string& text) override
  {
    return renderHtml(message, HTMLRenderContext(ContextFormatOpts(0, false, true)), text);
  }
  void write() override
  {
    begin();
    output_.append("<section>");
    SummarySink::write();
    output_.append("</section>\n");
  }
  void finish() override
  {
    begin();
    output_.append(pageEnd);
  }
  void begin()
  {
    if (!std::exchange(begun_, true)) {
      output_.append(pageHead);
    }
  }
  bool begun_ = false;
};

class GuiSink final : public SummarySink
{
  using SummarySink::SummarySink;
  bool render(YMMessageBase& message, std::string& text) override
  {
    return renderHtml(message, HTMLGuiSummaryRenderContext(), text);
  }
};

}  // namespace

std::unique_ptr<MessageSink> textSink(Output& output, const WriteOptions&, LibraryLog& log)
{
  return std::make_unique<TextSink>(output, log);
}

std::unique_ptr<MessageSink> htmlSink(Output& output, const WriteOptions&, LibraryLog& log)
{
  return std::make_unique<HtmlSink>(output, log);
}

std::unique_ptr<MessageSink> guiSink(Output& output, const WriteOptions&, LibraryLog& log)
{
  return std::make_unique<GuiSink>(output, log);
}

}  // namespace kwxml::tool
