#include "AppManual.h"

#include "Values.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace kwxml::commandline {

namespace {

using Blocks = std::vector<Block>;
using Kind = Block::Kind;

void append(Blocks& blocks, const Blocks& more)
{
  blocks.insert(blocks.end(), more.begin(), more.end());
}

/// A section, where there is something in it.
void appendSection(Blocks& blocks, const char* title, const Blocks& content)
{
  if (!content.empty()) {
    blocks.push_back({Kind::Section, title});
    append(blocks, content);
  }
}

/// What an app's own help says below its options: in a section, or ("") before the first one.
Blocks said(const CLI::App& app, std::string_view section)
{
  Blocks found;
  bool isIn = section.empty();
  for (const Block& block : blocksOf(app.get_footer())) {
    if (block.kind == Kind::Section) {
      isIn = block.text == section;
    } else if (isIn) {
      found.push_back(block);
    }
  }
  return found;
}

std::string joinNames(const CLI::Option& option)
{
  std::string names;
  for (const std::string& name : option.get_snames()) {
    names += (names.empty() ? "-" : ", -") + name;
  }
  for (const std::string& name : option.get_lnames()) {
    names += (names.empty() ? "--" : ", --") + name;
  }
  return names;
}

Block item(const CLI::Option& option)
{
  if (option.get_positional()) {
    return {Kind::Item, option.get_description(), "", option.get_name()};
  }
  std::string excluded;
  for (const CLI::Option* one : option.get_excludes()) {
    excluded += (excluded.empty() ? "" : ", ") + joinNames(*one);
  }
  return {Kind::Item, option.get_description() + (excluded.empty() ? "" : ". Not together with " + excluded),
          joinNames(option), option.get_items_expected_max() == 0 ? "" : option.get_type_name()};
}

Blocks arguments(CLI::App& app)
{
  Blocks blocks;
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_positional()) {
      blocks.push_back(item(*option));
    }
  }
  return blocks;
}

/// `groupKind` is that of the headings of groups but the first.
Blocks options(CLI::App& app, Kind groupKind)
{
  Blocks blocks;
  for (const std::string& group : app.get_groups()) {
    bool isFirst = true;
    for (const CLI::Option* option : app.get_options()) {
      if (group.empty() || option->get_group() != group || !option->nonpositional()) {
        continue;
      }
      if (isFirst && group != "Options") {
        blocks.push_back({groupKind, group});
      }
      isFirst = false;
      blocks.push_back(item(*option));
    }
  }
  return blocks;
}

Block synopsis(const Call& call)
{
  std::string line = call.words + " [OPTIONS]";
  for (const CLI::Option* option : call.app.get_options()) {
    if (option->get_positional()) {
      const std::string word = option->get_name() + (option->get_items_expected_max() > 1 ? " ..." : "");
      line += option->get_required() ? " " + word : " [" + word + "]";
    }
  }
  return {Kind::Literal, line + (commandsOf(call.app).empty() ? "" : " COMMAND ...")};
}

/// The variables that options of the app, or of those above it, take their values from.
Blocks environment(const CLI::App& app)
{
  Blocks blocks;
  for (const CLI::App* one = &app; one != nullptr; one = one->get_parent()) {
    append(blocks, said(*one, "Environment"));
    for (const CLI::Option* option : one->get_options()) {
      if (const std::string name = option->get_envname(); !name.empty()) {
        blocks.push_back({Kind::Item, "The value of " + joinNames(*option) + " where that is absent", name});
      }
    }
  }
  return blocks;
}

Blocks exitStatus(const CLI::App& app)
{
  Blocks blocks = said(app, "Exit status");
  return blocks.empty() && app.get_parent() != nullptr ? exitStatus(*app.get_parent()) : blocks;
}

/// What the options above a command are, for its page.
Blocks optionsAbove(const CLI::App& app)
{
  if (app.get_parent() == nullptr || !app.get_fallthrough()) {
    return {};
  }
  std::string names;
  const CLI::App* top = app.get_parent();
  for (; top->get_parent() != nullptr; top = top->get_parent()) {
  }
  for (const CLI::Option* option : top->get_options()) {
    if (option != top->get_help_ptr() && option->nonpositional() && !option->get_group().empty()) {
      names += (names.empty() ? "" : ", ") + joinNames(*option);
    }
  }
  return {{Kind::Paragraph, "The options of " + top->get_name() + "(1) may stand here, too: " + names + "."}};
}

/// A way of several to call a program.
Blocks part(const Call& call)
{
  Blocks blocks{{Kind::Part, call.words}, {Kind::Paragraph, call.app.get_description()}};
  append(blocks, said(call.app, ""));
  append(blocks, arguments(call.app));
  append(blocks, options(call.app, Kind::Paragraph));
  for (Block& block : said(call.app, "Exit status")) {
    blocks.push_back({block.kind, "Exit status: " + block.text});
  }
  return blocks;
}

std::string pageName(const CLI::App& command)
{
  return command.get_parent() == nullptr ? command.get_name()
                                         : pageName(*command.get_parent()) + "-" + command.get_name();
}

std::string callWords(const CLI::App& command)
{
  return command.get_parent() == nullptr ? command.get_name()
                                         : callWords(*command.get_parent()) + " " + command.get_name();
}

std::string reference(const std::string& page)
{
  return page + "(1)";
}

}  // namespace

Page pageOf(const Call& about, const std::vector<Call>& further, const std::vector<std::string>& seeAlso)
{
  CLI::App& app = about.app;
  Page page{.name = pageName(app), .section = '1', .summary = app.get_description(), .blocks = {}};
  std::replace(page.summary.begin(), page.summary.end(), '\n', ' ');
  if (page.summary.ends_with('.')) {
    page.summary.pop_back();
  }

  // Of a command whose commands are on its page the help only says where their help is.
  const bool isWhole = further.empty() || commandsOf(app).empty();
  Blocks synopses = isWhole ? Blocks{synopsis(about)} : Blocks();
  Blocks commands;
  Blocks examples = said(app, "Examples");
  for (const Call& call : further) {
    synopses.push_back(synopsis(call));
    append(commands, part(call));
    append(examples, said(call.app, "Examples"));
  }
  for (CLI::App* command : isWhole ? commandsOf(app) : std::vector<CLI::App*>()) {
    commands.push_back({Kind::Item,
                        command->get_description() + " See " + reference(pageName(*command)) + ".",
                        callWords(*command)});
  }
  Blocks description{{Kind::Paragraph, app.get_description()}};
  append(description, isWhole ? said(app, "") : Blocks());
  Blocks own = options(app, Kind::Part);
  append(own, optionsAbove(app));
  std::string others;
  for (const std::string& other : seeAlso) {
    others += (others.empty() ? "" : ", ") + other;
  }

  appendSection(page.blocks, "Synopsis", synopses);
  appendSection(page.blocks, "Description", description);
  appendSection(page.blocks, "Arguments", arguments(app));
  appendSection(page.blocks, "Options", own);
  appendSection(page.blocks, "Commands", commands);
  appendSection(page.blocks, "Exit status", exitStatus(app));
  appendSection(page.blocks, "Environment", environment(app));
  appendSection(page.blocks, "Examples", examples);
  appendSection(page.blocks, "See also", {{Kind::Paragraph, others}});
  return page;
}

std::vector<Page> pagesOf(CLI::App& program, const std::vector<std::string>& seeAlso)
{
  std::vector<std::string> references;
  std::vector<Page> pages;
  std::vector<std::string> others{reference(pageName(program))};
  others.insert(others.end(), seeAlso.begin(), seeAlso.end());
  for (CLI::App* command : commandsOf(program)) {
    std::vector<Call> calls;
    for (CLI::App* below : commandsOf(*command)) {
      calls.push_back({*below, callWords(*below)});
    }
    pages.push_back(pageOf({*command, callWords(*command)}, calls, others));
    references.push_back(reference(pages.back().name));
  }
  references.insert(references.end(), seeAlso.begin(), seeAlso.end());
  pages.insert(pages.begin(), pageOf({program, program.get_name()}, {}, references));
  return pages;
}

void writePages(const std::vector<Page>& pages, const std::string& folder, const std::string& version)
{
  for (const Page& page : pages) {
    const auto place = std::filesystem::path(folder) / (std::string("man") + page.section);
    std::filesystem::create_directories(place);
    std::ofstream file(place / page.fileName(), std::ios::binary);
    if (!(file << toRoff(page, version)).flush()) {
      throw std::runtime_error("cannot write " + (place / page.fileName()).string());
    }
  }
}

}  // namespace kwxml::commandline
