#include <kwxml/traverse/PageShell.h>

#include <kwxml/traverse/PageAssets.h>
#include <kwxml/traverse/PageText.h>

namespace kwxml {

namespace {

std::string factList(const std::vector<std::pair<std::string, std::string>>& facts)
{
  std::string text = "<dl>\n";
  for (const auto& [name, fact] : facts) {
    text += "<dt>" + name + "</dt><dd>" + fact + "</dd>\n";
  }
  return text + "</dl>\n";
}

constexpr std::size_t openIndex = 100;  ///< up to so many lines are not folded

}  // namespace

bool PageShell::begin(const Section* only)
{
  const std::string& title = only != nullptr ? only->name : heading_.title;
  std::string text =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src '";
  text.append(pageStyleDigest()).append("'; script-src '").append(pageScriptDigest());
  text +=
      "'; base-uri 'none'; form-action 'none'\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
      title + "</title>\n<style>";
  text.append(pageStyle()).append("</style>\n<script>").append(pageScript());
  text += "</script>\n</head>\n<body>\n<header>\n<h1>" + title + "</h1>\n";
  std::vector<std::pair<std::string, std::string>> facts = heading_.facts;
  if (only != nullptr) {
    facts.insert(facts.begin(), only->facts.begin(), only->facts.end());
    if (!only->texts.empty()) {
      facts.insert(facts.begin(), {heading_.textsName, only->texts});
    }
  }
  text += factList(facts);
  text +=
      "</header>\n<div class=\"t\">\n"
      "<button type=\"button\" id=\"open\" hidden>Open all</button>\n"
      "<button type=\"button\" id=\"close\" hidden>Close all</button>\n";
  text += heading_.hasUnset ? "<label><input type=\"checkbox\" id=\"unset\"> Unset fields</label>\n" : "";
  text +=
      "<label hidden>Filter <input type=\"search\" id=\"filter\" autocomplete=\"off\"></label>\n"
      "<output id=\"said\" aria-live=\"polite\"></output>\n";
  text += only == nullptr && count_ > 0 ? "<a href=\"#index\">Index</a>\n" : "";
  return write(text + "</div>\n<main>\n");
}

/// Many sections are folded in groups, but for the first one, which is there before anybody knows of others.
bool PageShell::writeFolded(const Section& section)
{
  const std::string number = std::to_string(count_);
  if (count_ % groupSize == 1) {
    index_ += count_ == 1 ? "<ol>\n" : "</ol>\n<ol start=\"" + number + "\">\n";
    if (count_ > 1) {
      write(std::string(count_ > groupSize + 1 ? "</details>\n" : "") + "<details class=\"g\"><summary>" +
            number + " and what follows</summary>\n");
    }
  }
  write("<details class=\"g m\"><summary><h2>" + number + " " + section.name + "</h2> " + section.texts +
        "</summary>\n<p id=\"m" + number + "\">" + section.link + " " + section.note + "</p>\n");
  write(section.body);
  index_ += "<li><a href=\"#m" + number + "\">" + section.name + "</a> " + section.texts + " " +
            section.note + "</li>\n";
  return write("</details>\n");
}

bool PageShell::add(Section section)
{
  if (++count_ == 1) {
    first_ = std::move(section);
    return isTaken_;
  }
  if (count_ == 2) {
    begin(nullptr);
    count_ = 1;
    writeFolded(std::exchange(first_, {}));
    count_ = 2;
  }
  return writeFolded(section);
}

bool PageShell::finish(std::string_view behind)
{
  if (count_ <= 1) {
    begin(count_ == 1 ? &first_ : nullptr);
    if (count_ == 1) {
      write("<section>\n" + first_.body + "</section>\n");
    }
  }
  write(count_ > groupSize ? "</details>\n</main>\n" : "</main>\n");
  if (count_ > 1) {
    write("<nav id=\"index\" aria-labelledby=\"indexhead\">\n<h2 id=\"indexhead\">Index</h2>\n<details" +
          std::string(count_ <= openIndex ? " open" : "") + "><summary>" + std::to_string(count_) +
          " entries</summary>\n" + index_ + "</ol>\n</details>\n</nav>\n");
  }
  write(behind);
  return write("</body>\n</html>\n");
}

}  // namespace kwxml
