#include <kwxml/platform/KWPlatformInfo.h>

#include <kwxml/platform/CYxFile.h>
#include <kwxml/platform/PlatformInternal.h>

#include <ini.h>

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>

namespace {

using Sections = std::map<std::string, std::map<std::string, std::string>>;

// Settings are a page or two; more is some other file.
constexpr long long kMaxFileSize = 1 << 20;
// The parser cuts longer section names silently.
constexpr size_t kMaxSectionName = 48;

// Objects are made many times in a process; one report per file is enough.
void reportOnce(const std::string& path, const std::string& problem)
{
  kwxml::reportOnceToStderr("settings file " + path + ": " + problem);
}

std::optional<std::string> readFile(const std::string& path, std::string& problem, bool& trusted)
{
  CYxError error;
  CYxFile file(path.c_str(), CYxFile::Mode::Read, &error);
  const long long size = file.IsValid() ? file.Size(&error) : -1;
  if (size > kMaxFileSize) {
    problem = "larger than 1 MB";
    return std::nullopt;
  }
  std::string content(size < 0 ? 0 : static_cast<size_t>(size), '\0');
  const long long count = size < 0 ? -1 : file.Read(content.data(), content.size(), &error);
  if (count < 0) {
    problem = error.AsString();
    return std::nullopt;
  }
  trusted = !file.OthersMayWrite();
  content.resize(static_cast<size_t>(count));
  return content;
}

// One run of the parser: the lines that it still has to get, and what came out.
struct Parse
{
  std::string_view rest;
  int line = 0;
  std::string problem;  // the first one
  Sections sections;

  void fail(const std::string& text)
  {
    if (problem.empty()) {
      problem = "line " + std::to_string(line) + ": " + text;
    }
  }
};

// Hands the parser one line, and catches what it would take silently in another sense than it was meant.
char* nextLine(char* buffer, int capacity, void* user)
{
  Parse& parse = *static_cast<Parse*>(user);
  if (parse.rest.empty() || capacity < 2 || !parse.problem.empty()) {
    return nullptr;
  }
  ++parse.line;
  const size_t end = parse.rest.find('\n');
  const std::string_view line = parse.rest.substr(0, end);
  parse.rest.remove_prefix(end == std::string_view::npos ? parse.rest.size() : end + 1);
  // The parser wants room for a line end and a terminator.
  if (line.size() + 3 > static_cast<size_t>(capacity)) {
    parse.fail("longer than " + std::to_string(capacity - 3) + " bytes");
    return nullptr;
  }
  if (line.find('\0') != std::string_view::npos) {
    parse.fail("holds a zero byte");
    return nullptr;
  }
  const size_t open = line.find_first_not_of(" \t\r\xEF\xBB\xBF");
  if (open != std::string_view::npos && line[open] == '[') {
    const size_t close = line.find(']', open);
    if (close != std::string_view::npos && close - open - 1 > kMaxSectionName) {
      parse.fail("section name longer than " + std::to_string(kMaxSectionName) + " bytes");
      return nullptr;
    }
  }
  std::memcpy(buffer, line.data(), line.size());
  buffer[line.size()] = '\n';
  buffer[line.size() + 1] = '\0';
  return buffer;
}

int takeSetting(void* user, const char* section, const char* key, const char* value)
{
  Parse& parse = *static_cast<Parse*>(user);
  // The parser hands a continued line over as a second value of the key, so this refuses those too.
  if (!parse.sections[section].emplace(key, value ? value : "").second) {
    parse.fail("second value of \"" + std::string(key) + "\" in section [" + section + "]");
    return 0;
  }
  return 1;
}

bool parseNumber(std::string_view text, long long& number)
{
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) {
    text.remove_prefix(1);
  }
  int base = 10;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    text.remove_prefix(2);
    base = 16;
  }
  uint64_t magnitude = 0;
  const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), magnitude, base);
  constexpr uint64_t kMax = std::numeric_limits<long long>::max();
  if (text.empty() || status != std::errc() || end != text.data() + text.size() ||
      magnitude > kMax + (negative ? 1 : 0)) {
    return false;
  }
  // Through the unsigned type, where the lowest number too has a negation.
  number = static_cast<long long>(negative ? 0 - magnitude : magnitude);
  return true;
}

}  // namespace

KWPlatformInfo::KWPlatformInfo()
{
  // A set-user-ID program must not read, and through [Log] write, what its caller's environment names.
  const char* path = secure_getenv("KWXML_SETTINGS");
  if (!path || !*path) {
    return;
  }
  readable_ = false;
  std::string problem;
  const std::optional<std::string> content = readFile(path, problem, trusted_);
  if (!content) {
    reportOnce(path, problem);
    return;
  }
  Parse parse;
  parse.rest = *content;
  const int badLine = ini_parse_stream(nextLine, &parse, takeSetting, &parse);
  if (badLine != 0) {
    parse.line = badLine;
    parse.fail(badLine > 0 ? "neither a section, a setting nor a comment" : "not enough memory");
  }
  if (!parse.problem.empty()) {
    reportOnce(path, parse.problem);
    return;
  }
  sections_ = std::move(parse.sections);
  readable_ = true;
}

void KWPlatformInfo::setFocus(const char* focus)
{
  focus_ = focus ? focus : "";
}

const std::string* KWPlatformInfo::find(const char* section, const char* key) const
{
  if (!section || !key) {
    return nullptr;
  }
  const auto findIn = [&](const std::string& name) -> const std::string* {
    const auto keys = sections_.find(name);
    if (keys == sections_.end()) {
      return nullptr;
    }
    const auto value = keys->second.find(key);
    return value == keys->second.end() ? nullptr : &value->second;
  };
  const std::string* value = focus_.empty() ? nullptr : findIn(std::string(section) + '@' + focus_);
  return value ? value : findIn(section);
}

std::set<std::string> KWPlatformInfo::keys(const char* section) const
{
  std::set<std::string> all;
  if (section != nullptr) {
    for (const std::string& name : {std::string(section), std::string(section) + '@' + focus_}) {
      if (const auto found = sections_.find(name); found != sections_.end()) {
        for (const auto& [key, value] : found->second) {
          all.insert(key);
        }
      }
    }
  }
  return all;
}

int KWPlatformInfo::getNumber(const char* section, const char* key, long long& number) const
{
  const std::string* value = find(section, key);
  if (!value) {
    return 0;
  }
  if (!parseNumber(*value, number)) {
    const char* path = secure_getenv("KWXML_SETTINGS");
    reportOnce(path ? path : "",
               '"' + std::string(key) + "\" in section [" + section + "] is no number: \"" + *value + '"');
    return 0;
  }
  return 1;
}

int KWPlatformInfo::getString(const char* section, const char* key, std::string& text) const
{
  const std::string* value = find(section, key);
  if (!value) {
    return 0;
  }
  text = *value;
  return 1;
}
