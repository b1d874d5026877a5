// The command that makes what passwords are protected with: key create.
#include "Command.h"
#include "Files.h"

#include <commandline/Values.h>
#include <CLI/CLI.hpp>

#include <kwxml/platform/PasswordKeyFile.h>

#include <csignal>
#include <filesystem>
#include <memory>

namespace kwxml::tool {

namespace {

/// Why the settings could not name the file; null when they can. The settings reader ends a value at a line
/// end or a comment, and drops the blanks around it.
const char* unnamable(const std::string& path)
{
  for (const char c : path) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
      return "a control character";
    }
  }
  if (path.find(" ;") != std::string::npos) {
    return "a ';' behind a blank";
  }
  return path.ends_with(' ') ? "a blank at its end" : nullptr;
}

void create(const std::string& file)
{
  const std::string path = std::filesystem::absolute(file).lexically_normal().string();
  if (const char* what = unnamable(path)) {
    throw Failure(exitUsage, "settings cannot name '" + path + "': it has " + what);
  }
  std::string error;
  if (!createKeyFile(file, error)) {
    throw Failure(exitData, error);
  }
  // A reader that has gone is an output that cannot be written, not the end of the process.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    writeText("", "[Password]\nkeyfile = " + path);
  } catch (...) {
    // A key that no settings name is of no use, and stands in the way of the next try.
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    throw;
  }
}

}  // namespace

void addKeyCommand(CLI::App& app, Session& session)
{
  CLI::App& key = *app.add_subcommand("key", "Makes the key that passwords are protected with.");
  key.fallthrough();
  key.require_subcommand(1);
  key.footer("kwxml key create --help explains it.");
  const auto file = std::make_shared<std::string>();
  CLI::App& command =
      *key.add_subcommand("create", "Creates a key file with a new random key, for its owner alone to read.");
  command.fallthrough();
  command.footer(
      "An existing file is never overwritten. What is printed belongs in the settings, the INI file that the "
      "environment\n"
      "variable KWXML_SETTINGS names; nobody but its owner may be able to write that file. Who has the key "
      "file can read every password; who loses it can read "
      "none.\n\n"
      "Example:\n  kwxml key create /etc/kwxml/password.key >> /etc/kwxml/settings.ini");
  command.add_option("FILE", *file, "The key file to create")
      ->required()
      ->check(commandline::ofKind(commandline::fileKind))
      ->type_name("");
  command.callback([file, &session] {
    session.needsCatalogue = false;
    session.run = [file](LibraryLog&) { create(*file); };
  });
}

}  // namespace kwxml::tool
