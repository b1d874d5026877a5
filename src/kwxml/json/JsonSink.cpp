#include <kwxml/json/JsonSink.h>

#include <kwxml/text/JsonText.h>

#include <algorithm>

namespace kwxml {

namespace {

constexpr std::string_view entryKey = "\"key\":";
constexpr std::string_view entryValue = "\"value\":";

XmlName named(std::string_view text)
{
  return {text.data(), text.size()};
}

}  // namespace

bool JsonSink::openMapEntry(XmlName)
{
  next();
  if (isKeyed()) {
    inKey_ = true;
  } else {
    begin('{');
    member(named(entryKey));
  }
  return true;
}

void JsonSink::mapValue()
{
  if (isKeyed()) {
    inKey_ = false;
    out_.put(readable_ ? ": " : ":");
  } else {
    member(named(entryValue));
  }
}

void JsonSink::closeMapEntry()
{
  if (!isKeyed()) {
    end('}');
  }
}

void JsonSink::end(char bracket)
{
  --depth_;
  if (readable_ && !first_) {
    newLine();
  }
  out_.put(bracket);
  first_ = false;
}

/// A plain value that fits the output's room; an item has no key.
void JsonSink::putShort(std::string_view key, const XmlValue& value)
{
  char* to = out_.room(shortMember + 3);
  if (!first_) {
    *to++ = ',';
  }
  first_ = false;
  to = std::copy(key.begin(), key.end(), to);
  if (!value.bare) {
    *to++ = '"';
  }
  to = std::copy(value.text.begin(), value.text.end(), to);
  if (!value.bare) {
    *to++ = '"';
  }
  out_.advance(to);
}

void JsonSink::put(const XmlValue& value, bool isQuoted)
{
  if (isQuoted) {
    out_.put('"');
  }
  value.plain ? out_.put(value.text) : escaped(value.text);
  if (isQuoted) {
    out_.put('"');
  }
}

void JsonSink::escaped(std::string_view text)
{
  constexpr std::size_t part = 512;
  while (!text.empty()) {
    char* to = out_.room(part * longestJsonEscape);
    const std::string_view now = text.substr(0, part);
    for (const char c : now) {
      if (jsonBytes[static_cast<unsigned char>(c)] != jsonEscaped) [[likely]] {
        *to++ = c;
      } else {
        to = putJsonEscape(to, c);
      }
    }
    out_.advance(to);
    text.remove_prefix(now.size());
  }
}

void JsonSink::newLine()
{
  out_.put('\n');
  for (std::size_t i = 0; i < depth_; ++i) {
    out_.put("  ");
  }
}

}  // namespace kwxml
