// The command that shows the shape of a class by a sample message: dummy.
#include "Command.h"
#include "CompleteLine.h"
#include "Messages.h"
#include "Names.h"
#include "Report.h"

#include <commandline/Values.h>
#include <CLI/CLI.hpp>

#include <kwxml/metadata/DummyValues.h>
#include <kwxml/traverse/XmlTraverse.h>

namespace kwxml::tool {

namespace {

/// Old-way classes write all their numbers, and not every enumeration has an enumerator of number 0: a reader
/// would refuse what stands for none, so the first one stands there.
struct EnumerationMender final : XmlTraverseHandler
{
  void visit(MsgFieldContext& field) override
  {
    const FieldDef& def = field.getField();
    if (def.type != FIELD_ENUM || !field.isValueSet()) {
      return;
    }
    const auto reference = kwxml::packedReference(def);
    const _ClassDef* cls = kwxml::findClass(reference);
    YMMessageBase& message = *field.getMessage();
    const auto value = static_cast<int>(message.getint64(def.slot, message.getTagID(), def.hash));
    if (cls != nullptr && cls->isEnum() && !FieldDef::isValidEnumValue(def, value)) {
      field.replaceValue(static_cast<int>(cls->fields[0].hash));
    }
  }
};

struct DummyOptions
{
  std::string tag;
  std::string outputFile;
  WriteChoices write;
};

void dummy(const DummyOptions& options, LibraryLog& log)
{
  refuseIdleOptions(options.write);
  const ClassPlace place = findTag(options.tag);
  YMMessageBase message(place.system, place.index);
  if (message.getClass() == nullptr || message.getClass()->isEnum()) {
    throw Failure(exitData, options.tag + " is an enumeration, not a message");
  }
  YMMessageBase* filled = &message;
  const auto fill = [&] {
    const LibraryLog::Silence silence(log);  // what follows says it better
    return createXMLObjectWithDummyValues(filled);
  };
  if (fill() != 0) {
    throw Failure(exitData, message.getTagName() + " cannot be filled: it holds itself, or too much");
  }
  EnumerationMender mender;
  XmlTraverse().traverse(message, mender, false, false);
  writeMessage(message, options.write, options.outputFile, message.getTagName(), log);
}

}  // namespace

void addDummyCommand(CLI::App& app, Session& session)
{
  const auto options = std::make_shared<DummyOptions>();
  CLI::App& command = addCommand(
      app, "dummy", "Writes a sample message of a class.",
      "Strings and byte strings hold 1, lists of int and float five zeros, lists of messages five "
      "messages filled\n"
      "in turn. Nested messages and everything else stay empty, but for enumerations\n"
      "that are always written: they hold their first enumerator. A class that holds itself has no end "
      "and is refused.\n\n"
      "Example:\n  kwxml dummy Shop_Order --readable",
      options->outputFile);
  command.add_option("TAG", options->tag, "Tag name (Shop_Order) or tag ID (decimal or 0x) of the class")
      ->check(commandline::ofKind(messageKind))
      ->type_name("")
      ->required();
  addWriteOptions(command, options->write);
  command.callback(
      [options, &session] { session.run = [options](LibraryLog& log) { dummy(*options, log); }; });
}

}  // namespace kwxml::tool
