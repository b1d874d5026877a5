// The command that makes what passwords are protected with: key create.
#include "Command.h"
#include "Files.h"

#include <kwxml/platform/PasswordKeyFile.h>

#include <filesystem>
#include <memory>

namespace kwxml::tool {

namespace {

struct Options
{
  std::string keyFile;
  std::string outputFile;
};

void create(const Options& options)
{
  std::string error;
  if (!createKeyFile(options.keyFile, error)) {
    throw Failure(exitData, error);
  }
  writeText(options.outputFile, "[Password]\nkeyfile = " +
                                    std::filesystem::absolute(options.keyFile).lexically_normal().string());
}

}  // namespace

void addKeyCommand(CLI::App& app, Session& session)
{
  CLI::App& key = *app.add_subcommand("key", "Makes the key that passwords are protected with.");
  key.fallthrough();
  key.require_subcommand(1);
  key.footer("kwxml key create --help explains it.");
  const auto options = std::make_shared<Options>();
  CLI::App& command = addCommand(
      key, "create", "Creates a key file with a new random key, for its owner alone to read.",
      "An existing file is never overwritten. What is printed belongs in the settings, the INI file "
      "that the environment\n"
      "variable KWXML_SETTINGS names. Who has the key file can read every password; who loses it can "
      "read none.\n\n"
      "Example:\n  kwxml key create /etc/kwxml/password.key >> /etc/kwxml/settings.ini",
      options->outputFile);
  command.add_option("FILE", options->keyFile, "The key file to create")->required()->type_name("");
  command.callback([options, &session] { session.run = [options](LibraryLog&) { create(*options); }; });
}

}  // namespace kwxml::tool
