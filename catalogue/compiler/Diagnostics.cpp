#include "Diagnostics.h"

#include <kwxml/text/ShownText.h>
#include <kwxml/text/Utf8.h>

#include <algorithm>
#include <ostream>
#include <tuple>
#include <utility>

namespace kwxml::catalogue {
namespace {

constexpr std::size_t maxQuoted = 80;

// A file can have a mistake in every few bytes. Nobody reads so many, and each takes many times its place.
constexpr std::size_t maxErrors = 1000;
constexpr std::size_t maxWarnings = 10000;

/// At most maxQuoted bytes of the text, not ending within a character, and "..." when that is not all.
std::string shortened(const std::string& text)
{
  const std::size_t end = utf8Cut(text, maxQuoted);
  return end == text.size() ? text : text.substr(0, end) + "...";
}

}  // namespace

std::uint32_t Diagnostics::addFile(std::string name)
{
  files_.push_back(std::move(name));
  return static_cast<std::uint32_t>(files_.size() - 1);
}

void Diagnostics::warning(const Location& at, Rule rule, const std::string& text)
{
  if (!allowed_.contains(rule)) {
    add(at, warningsAreErrors_, text + " [" + ruleName(rule) + "]");
  }
}

void Diagnostics::add(const Location& at, bool isError, std::string text)
{
  if (!isError && entries_.size() - errors_ >= maxWarnings) {
    ++unseenWarnings_;
    return;
  }
  entries_.push_back({at, isError, oneLine(text)});
  errors_ += isError ? 1 : 0;
  if (errors_ >= maxErrors) {
    throw TooManyErrors();
  }
}

void Diagnostics::print(std::ostream& out) const
{
  std::vector<const Entry*> sorted;
  sorted.reserve(entries_.size());
  for (const Entry& entry : entries_) {
    sorted.push_back(&entry);
  }
  std::stable_sort(sorted.begin(), sorted.end(), [](const Entry* a, const Entry* b) {
    return std::tie(a->at.file, a->at.line, a->at.column) < std::tie(b->at.file, b->at.line, b->at.column);
  });
  for (const Entry* entry : sorted) {
    out << oneLine(files_[entry->at.file]) << ':';
    if (entry->at.line > 0) {
      out << entry->at.line << ':' << entry->at.column << ':';
    }
    out << (entry->isError ? " error: " : " warning: ") << entry->text << '\n';
  }
  if (errors_ >= maxErrors) {
    out << "stopped at the error number " << maxErrors << '\n';
  }
  if (unseenWarnings_ > 0) {
    out << "kwxml-catalogue: " << unseenWarnings_
        << " more warnings; --allow RULE leaves out those of a rule\n";
  }
}

std::string oneLine(std::string_view text)
{
  std::string line;
  while (!text.empty()) {
    const auto c = static_cast<unsigned char>(text[0]);
    if (c < 0x20 || c == 0x7F) {
      line += ' ';
      text.remove_prefix(1);
    } else {
      text.remove_prefix(appendShownCharacter(line, text));
    }
  }
  return line;
}

std::string inQuotes(const std::string& text)
{
  return "'" + shortened(text) + "'";
}

std::string withShortQuotes(const std::string& message)
{
  std::string out;
  std::size_t at = 0;
  while (true) {
    const std::size_t open = message.find('\'', at);
    if (open == std::string::npos) {
      return out + message.substr(at);
    }
    out += message.substr(at, open - at);
    const std::size_t close = message.find('\'', open + 1);
    out += inQuotes(message.substr(open + 1, close == std::string::npos ? close : close - open - 1));
    if (close == std::string::npos) {
      return out;
    }
    at = close + 1;
  }
}

}  // namespace kwxml::catalogue
