// The commands that show the catalogue: systems, classes, schema, hash.
#include "Command.h"
#include "Files.h"
#include "Names.h"

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/text/ShownText.h>

#include <cstdio>
#include <memory>

namespace kwxml::tool {

namespace {

/// A class index without a class has a record without a name.
bool hasName(const _ClassDef& cls)
{
  return cls.name != nullptr && *cls.name != '\0';
}

std::string listSystems()
{
  std::string text;
  for (int index = 0; index < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++index) {
    const MessageSystemRow& row = XML_KWMessage_MessageSystemChooser::msgSysStruct[index];
    if (row.name == nullptr) {
      continue;
    }
    int classes = 0;
    for (int i = 0; i < row.numberOfClasses; ++i) {
      classes += hasName(row.classes[i]) ? 1 : 0;
    }
    text += std::to_string(index) + "\t" + row.name + "\t" + std::to_string(classes) + "\n";
  }
  return text;
}

std::string listClasses(short system)
{
  const MessageSystemRow& row = XML_KWMessage_MessageSystemChooser::msgSysStruct[system];
  std::string text;
  for (int i = 0; i < row.numberOfClasses; ++i) {
    const _ClassDef& cls = row.classes[i];
    if (hasName(cls)) {
      char id[24];
      std::snprintf(id, sizeof id, "0x%llX", static_cast<unsigned long long>(cls.classId));
      text +=
          std::to_string(i) + "\t" + id + "\t" + (cls.isEnum() ? "enum" : "message") + "\t" + cls.name + "\n";
    }
  }
  return text;
}

/// Everything that a command is told, kept from the parsing of the line until it has run.
struct Options
{
  std::string outputFile;
  std::string name;
  std::vector<std::string> names;
  bool hidden = false;
  bool hash = false;
};

}  // namespace

void addCatalogueCommands(CLI::App& app, Session& session)
{
  {
    const auto options = std::make_shared<Options>();
    CLI::App& command = addCommand(
        app, "systems", "Lists the message systems: index, name, number of classes (tab-separated).",
        "Example:\n  kwxml systems", options->outputFile);
    command.callback([options, &session] {
      session.run = [options](LibraryLog&) { writeOutput(options->outputFile, listSystems()); };
    });
  }
  {
    const auto options = std::make_shared<Options>();
    CLI::App& command = addCommand(
        app, "classes", "Lists the classes of a system: index, ID, message or enum, name (tab-separated).",
        "Example:\n  kwxml classes Demo", options->outputFile);
    command.add_option("SYSTEM", options->name, "Name of the system")->type_name("")->required();
    command.callback([options, &session] {
      session.run = [options](LibraryLog&) {
        writeOutput(options->outputFile, listClasses(findSystem(options->name)));
      };
    });
  }
  {
    const auto options = std::make_shared<Options>();
    CLI::App& command = addCommand(app, "schema", "Shows the fields of a class.",
                                   "Example:\n  kwxml schema Demo_Status\n  kwxml schema 0x10003F0 --hash",
                                   options->outputFile);
    command.add_option("TAG", options->name, "Tag name (Demo_Status) or tag ID (decimal or 0x)")
        ->type_name("")
        ->required();
    command.add_flag("--hidden", options->hidden, "Show hidden fields too");
    command.add_flag("--hash", options->hash, "Show the hash of each name");
    command.callback([options, &session] {
      session.run = [options](LibraryLog&) {
        const ClassPlace place = findTag(options->name);
        std::string text;
        if (!YMMessageBase::getMessageSchemaString(text, place.system, place.index, options->hidden,
                                                   options->hash)) {
          throw Failure(exitData, "the catalogue has no schema of " + options->name);
        }
        writeText(options->outputFile, text);
      };
    });
  }
  {
    const auto options = std::make_shared<Options>();
    CLI::App& command = addCommand(app, "hash", "Shows the hash by which fields are found, for each name.",
                                   "Example:\n  kwxml hash errorCode errorMessage", options->outputFile);
    command.add_option("NAME", options->names, "Names of fields")->type_name("")->required();
    command.callback([options, &session] {
      session.run = [options](LibraryLog&) {
        std::string text;
        for (const std::string& name : options->names) {
          char hash[16];
          std::snprintf(hash, sizeof hash, "0x%06X ", nameHash(name.data(), name.size()));
          text += hash + shown(name) + "\n";
        }
        writeOutput(options->outputFile, text);
      };
    });
  }
}

}  // namespace kwxml::tool
