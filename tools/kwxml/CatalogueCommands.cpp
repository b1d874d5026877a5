// The commands that show the catalogue: systems, classes, schema, hash.
#include "Command.h"
#include "CompleteLine.h"
#include "Files.h"
#include "Names.h"

#include <commandline/Values.h>
#include <CLI/CLI.hpp>

#include <kwxml/metadata/JsonSchema.h>
#include <kwxml/metadata/SchemaDetails.h>
#include <kwxml/metadata/XmlSchema.h>
#include <kwxml/model/Registry.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/text/ShownText.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <utility>

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
    const MessageSystemRow& row = Registry::current().row(static_cast<unsigned>(index));
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
  const MessageSystemRow& row = Registry::current().row(static_cast<unsigned>(system));
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
struct ClassOptions
{
  std::string outputFile;
  std::string name;
  std::vector<std::string> names;
  bool hidden = false;
  bool hash = false;
  bool details = false;
  std::string format = "text";
  std::string form;
};

/// Refuses an option that its format would pass over.
void refuse(bool isGiven, const char* what)
{
  if (isGiven) {
    throw Failure(exitUsage, what);
  }
}

void refuseForm(const ClassOptions& options)
{
  refuse(!options.form.empty(), "--form is for the format xsd");
}

std::string schemaTables(const ClassOptions& options)
{
  std::string all;
  for (const std::string& name : options.names) {
    const ClassPlace place = findTag(name);
    std::string text;
    if (!YMMessageBase::getMessageSchemaString(text, place.system, place.index, options.hidden,
                                               options.hash)) {
      throw Failure(exitData, "the catalogue has no schema of " + name);
    }
    all += (all.empty() ? "" : "\n") + text;
  }
  return all;
}

/// The classes that a name stands for: a system's name, which has no "_", for all of them.
void appendClasses(const std::string& name, bool hasEnums, std::vector<PackedReference>& places)
{
  if (name.find('_') != std::string::npos || (!name.empty() && name[0] >= '0' && name[0] <= '9')) {
    const ClassPlace place = findTag(name);
    const _ClassDef* cls = findClass(place.system, place.index);
    if (cls == nullptr || (cls->isEnum() && !hasEnums)) {
      throw Failure(exitData, name + " is an enumeration, not a message");
    }
    places.push_back({place.system, place.index});
    return;
  }
  const short system = findSystem(name);
  const MessageSystemRow& row = Registry::current().row(static_cast<unsigned>(system));
  for (int i = 0; i < row.numberOfClasses; ++i) {
    if (hasName(row.classes[i]) && (hasEnums || !row.classes[i].isEnum())) {
      places.push_back({system, i});
    }
  }
}

std::vector<ClassDetails> details(const ClassOptions& options)
{
  refuse(options.hidden || options.hash, "--hidden and --hash are for the plain text");
  std::vector<PackedReference> places;
  for (const std::string& name : options.names) {
    appendClasses(name, true, places);
  }
  std::vector<ClassDetails> all;
  for (const PackedReference& place : places) {
    if (std::optional<ClassDetails> one = describeClass(place)) {
      all.push_back(std::move(*one));
    }
  }
  return all;
}

std::string schemaTexts(const ClassOptions& options)
{
  refuseForm(options);
  if (!options.details) {
    return schemaTables(options);
  }
  std::string all;
  for (const ClassDetails& one : details(options)) {
    all += (all.empty() ? "" : "\n") + detailsText(one);
  }
  return all;
}

std::string jsonDescription(const ClassOptions& options)
{
  refuseForm(options);
  refuse(options.details, "--details is for the format text; json has all of them");
  return detailsJson(details(options));
}

/// The classes of a schema document of either format.
std::vector<PackedReference> documentClasses(const ClassOptions& options)
{
  refuse(options.hidden || options.hash, "--hidden and --hash are for the plain text");
  refuse(options.details, "--details is for the format text");
  std::vector<PackedReference> places;
  for (const std::string& name : options.names) {
    appendClasses(name, false, places);
  }
  return places;
}

std::string jsonSchemaDocument(const ClassOptions& options)
{
  refuseForm(options);
  std::string text;
  if (!jsonSchema(text, documentClasses(options))) {
    throw Failure(exitData, "there is no JSON Schema of these classes");
  }
  return text;
}

std::string xsdDocument(const ClassOptions& options)
{
  const std::vector<PackedReference> places = documentClasses(options);
  const XmlSchemaForm form = options.form == "attributes" ? XmlSchemaForm::Attributes
                             : options.form == "elements" ? XmlSchemaForm::Elements
                                                          : XmlSchemaForm::Both;
  std::string text;
  if (!xmlSchema(text, places, form)) {
    throw Failure(exitData, "there is no XML Schema of these classes");
  }
  return text;
}

/// Refuses a value that is none of a few words.
CLI::Validator oneOf(const std::vector<std::string>& words)
{
  return commandline::offering(commandline::wordsWithoutMeaning(words), [words](const std::string& value) {
    std::string known;
    for (const std::string& word : words) {
      if (word == value) {
        return std::string();
      }
      known += (known.empty() ? "" : ", ") + word;
    }
    return "takes " + known + ", not '" + value + "'" + didYouMean(value, words);
  });
}

void addSchemaCommand(CLI::App& app, Session& session)
{
  const auto options = std::make_shared<ClassOptions>();
  CLI::App& command = addCommand(
      app, "schema", "Shows the fields of classes, or makes a schema document of their messages.",
      "With --details each class is shown with what its schema says of it: the classes that fields refer "
      "to,\n"
      "values of enumerations, defaults, marks, former names and docs. The format json has all of it, and\n"
      "numbers, slots, hashes and fingerprints, for programs.\n\n"
      "An XML Schema (xsd) or a JSON Schema (json-schema, of the draft 2020-12) accepts the messages of the\n"
      "classes as the tool writes them, and finds unknown names, wrong numbers and unknown enumerators in\n"
      "those of others.\n\n"
      "Example:\n  kwxml schema Demo_Status\n  kwxml schema 0x10003F0 --hash\n"
      "  kwxml schema --details Demo\n  kwxml schema --format json Demo_Item\n"
      "  kwxml schema --format xsd Demo Shop_Order -o messages.xsd\n"
      "  kwxml schema --format json-schema Shop_Order -o order.schema.json",
      options->outputFile);
  command
      .add_option(
          "TAG", options->names,
          "Tag names (Demo_Status) or tag IDs (decimal or 0x); but for the plain text also systems (Demo), "
          "for all their classes")
      ->check(commandline::ofKind(classKind))
      ->type_name("")
      ->required();
  command.add_flag("--hidden", options->hidden, "Show hidden fields too");
  command.add_flag("--hash", options->hash, "Show the hash of each name");
  command.add_flag("--details", options->details, "Show all that the schema says");
  command
      .add_option("--format", options->format,
                  "text (default), json, xsd (an XML Schema document) or json-schema")
      ->check(oneOf({"text", "json", "xsd", "json-schema"}))
      ->type_name("FORMAT");
  command
      .add_option("--form", options->form,
                  "Where messages have their values by the xsd: attributes, elements (as convert --elements "
                  "writes them) or both (default)")
      ->check(oneOf({"attributes", "elements", "both"}))
      ->type_name("FORM");
  command.callback([options, &session] {
    session.run = [options](LibraryLog&) {
      writeText(options->outputFile, options->format == "xsd"           ? xsdDocument(*options)
                                     : options->format == "json-schema" ? jsonSchemaDocument(*options)
                                     : options->format == "json"        ? jsonDescription(*options)
                                                                        : schemaTexts(*options));
    };
  });
}

}  // namespace

void addCatalogueCommands(CLI::App& app, Session& session)
{
  {
    const auto options = std::make_shared<ClassOptions>();
    CLI::App& command = addCommand(
        app, "systems", "Lists the message systems: index, name, number of classes (tab-separated).",
        "Example:\n  kwxml systems", options->outputFile);
    command.callback([options, &session] {
      session.run = [options](LibraryLog&) { writeOutput(options->outputFile, listSystems()); };
    });
  }
  {
    const auto options = std::make_shared<ClassOptions>();
    CLI::App& command = addCommand(
        app, "classes", "Lists the classes of a system: index, ID, message or enum, name (tab-separated).",
        "Example:\n  kwxml classes Demo", options->outputFile);
    command.add_option("SYSTEM", options->name, "Name of the system")
        ->check(commandline::ofKind(systemKind))
        ->type_name("")
        ->required();
    command.callback([options, &session] {
      session.run = [options](LibraryLog&) {
        writeOutput(options->outputFile, listClasses(findSystem(options->name)));
      };
    });
  }
  addSchemaCommand(app, session);
  {
    const auto options = std::make_shared<ClassOptions>();
    CLI::App& command = addCommand(app, "hash", "Shows the hash by which fields are found, for each name.",
                                   "Example:\n  kwxml hash errorCode errorMessage", options->outputFile);
    command.add_option("NAME", options->names, "Names of fields")->type_name("")->required();
    command.callback([options, &session] {
      session.needsCatalogue = false;
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
