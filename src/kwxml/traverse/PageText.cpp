#include <kwxml/traverse/PageText.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/text/Base64.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/ShownText.h>
#include <kwxml/text/Utf8.h>
#include <kwxml/traverse/DiffText.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <limits>

namespace kwxml {

namespace {

constexpr std::size_t longText = 4096;  ///< characters from which on a text is folded
constexpr std::size_t beginning = 80;   ///< what is shown of it then
constexpr std::size_t shownBytes = 32;  ///< of a byte string
constexpr int secondsPerDay = 24 * 60 * 60;

/// Characters that are shown as they are, and are no markup.
constexpr bool isPlain(unsigned char c)
{
  return c >= 0x20 && c < 0x7F && c != '&' && c != '<' && c != '>' && c != '"' && c != '\'';
}

/// One character of a text, by its shown form: an escape is marked as such.
void appendShownMarkup(std::string& out, const std::string& character, bool isEscape)
{
  out += isEscape ? "<em>" : "";
  appendEscaped(out, character);
  out += isEscape ? "</em>" : "";
}

void appendMarkup(std::string& out, std::string_view text, bool inLines)
{
  std::string character;
  while (!text.empty()) {
    std::size_t plain = 0;
    while (plain < text.size() &&
           (isPlain(static_cast<unsigned char>(text[plain])) || (inLines && text[plain] == '\n'))) {
      ++plain;
    }
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (!text.empty()) {
      character.clear();
      const bool isBackslash = text[0] == '\\';
      text.remove_prefix(appendShownCharacter(character, text));
      appendShownMarkup(out, character, character[0] == '\\' && !isBackslash);
    }
  }
}

void appendMarkup(std::string& out, const std::wstring& text, bool inLines)
{
  std::string character;
  for (const wchar_t element : text) {
    if (inLines && element == L'\n') {
      out += '\n';
      continue;
    }
    character.clear();
    appendShownCharacter(character, static_cast<std::uint32_t>(element));
    appendShownMarkup(out, character, character[0] == '\\' && element != L'\\');
  }
}

/// The bytes of UTF-8 that begin a character, or the elements of a wide string.
template <class Text>
std::size_t countOf(const Text& text)
{
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](auto element) {
    return sizeof element > 1 || (static_cast<unsigned char>(element) & 0xC0) != 0x80;
  }));
}

template <class Text>
void appendBox(std::string& out, const Text& text, const Text& start, bool hasLines)
{
  const std::size_t characters = countOf(text);
  const bool isLong = characters >= longText;
  if (isLong) {
    out += "<details class=\"x\"><summary>" + countText(characters, "character") + ": ";
    appendMarkup(out, start, false);
    out += "…</summary>";
  }
  out += hasLines || isLong ? "<q class=\"n\">" : "<q>";
  appendMarkup(out, text, true);
  out += isLong ? "</q></details>" : "</q>";
}

void appendHex(std::string& out, std::string_view bytes)
{
  constexpr char digits[] = "0123456789abcdef";
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    out += i > 0 && i % 4 == 0 ? " " : "";
    out += {digits[byte >> 4], digits[byte & 0xF]};
  }
}

/// Seconds since 1970 as a local time with its distance from UTC; nothing when there is no such time.
std::string localTime(std::time_t seconds, bool isDate)
{
  std::tm local{};
  char text[64];
  if (localtime_r(&seconds, &local) == nullptr ||
      std::strftime(text, sizeof text, isDate ? "%Y-%m-%d" : "%Y-%m-%dT%H:%M:%S%z", &local) == 0) {
    return {};
  }
  std::string time = text;
  if (!isDate) {
    time.insert(time.size() - 2, ":");
  }
  return time;
}

std::string durationOrTime(long long value, bool isDate)
{
  char text[dateBufferSize];
  if (value == 0 || value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max() ||
      !writeXDate(static_cast<int>(value), isDate ? Annotation::DATE : Annotation::DATE_TIME, text)) {
    return {};
  }
  std::string_view written = text;  // "2 dd", "2 hh", or seconds, for what is no time
  if (written.ends_with(" dd")) {
    return countText(static_cast<unsigned long long>(value / secondsPerDay), "day");
  }
  if (written.ends_with(" hh")) {
    return countText(static_cast<unsigned long long>(value / 3600), "hour");
  }
  return written.find('-', 1) == std::string_view::npos ? std::string() : localTime(value, isDate);
}

std::string timeOfDay(long long value)
{
  if (value < 0 || value > secondsPerDay) {
    return {};
  }
  char text[64];
  std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld", value / 3600, value / 60 % 60, value % 60);
  return text;
}

}  // namespace

void appendEscaped(std::string& out, std::string_view text)
{
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
}

void appendLine(std::string& out, std::string_view text)
{
  appendMarkup(out, text, false);
}

std::string lineOf(std::string_view text)
{
  std::string line;
  appendLine(line, text);
  return line;
}

void appendCutLine(std::string& out, std::string_view text, std::size_t limit)
{
  const std::size_t length = utf8Cut(text, limit);
  appendLine(out, text.substr(0, length));
  out += length < text.size() ? "…" : "";
}

void appendTitle(std::string& out, std::string_view doc, std::size_t limit)
{
  if (!doc.empty()) {
    const std::size_t length = utf8Cut(doc, limit);
    out += " title=\"";
    appendEscaped(out, shown(doc.substr(0, length)));
    out += length < doc.size() ? "…\"" : "\"";
  }
}

void appendTextBox(std::string& out, std::string_view text)
{
  appendBox(out, text, text.substr(0, utf8Cut(text, beginning)), text.find('\n') != std::string_view::npos);
}

void appendTextBox(std::string& out, const std::wstring& text)
{
  appendBox(out, text, text.substr(0, beginning), text.find(L'\n') != std::wstring::npos);
}

void appendKeyBox(std::string& out, std::string_view key)
{
  out += "<q>";
  appendLine(out, key);
  out += "</q>";
}

void appendValueBox(std::string& out, std::string_view value)
{
  out += "<code>";
  appendEscaped(out, value);
  out += "</code>";
}

void appendBytesBox(std::string& out, const std::string& bytes)
{
  const bool isLong = bytes.size() > shownBytes;
  out += "<code>" + countText(bytes.size(), "byte") + (bytes.empty() ? "" : ": ");
  appendHex(out, std::string_view(bytes).substr(0, shownBytes));
  out += isLong ? "…</code><details class=\"x\"><summary>all, in base64</summary><code>" +
                      base64_encode(bytes) + "</code></details>"
                : "</code>";
}

void appendTimeNote(std::string& out, const FieldDef& field, long long value)
{
  const AnnotationRecord annotations(field.annotations);
  const int form = annotations.dateForm();
  if (form == 0 && !annotations.isTimeOfDay()) {
    return;
  }
  const std::string time =
      annotations.isTimeOfDay() ? timeOfDay(value) : durationOrTime(value, form == Annotation::DATE);
  out += annotations.isTimeOfDay() ? " s since midnight" : " s";
  out += time.empty() ? "" : " = <time>" + time + "</time>";
}

std::string countText(unsigned long long count, std::string_view one)
{
  std::string text = std::to_string(count);
  for (std::size_t at = text.size(); at > 3; at -= 3) {
    text.insert(at - 3, ",");
  }
  text += ' ';
  const bool endsInY = count != 1 && one.ends_with("ry");
  text += endsInY ? one.substr(0, one.size() - 1) : one;
  text += count == 1 ? "" : endsInY ? "ies" : "s";
  return text;
}

}  // namespace kwxml
