// Fields whose class the catalogue does not have, as when a part of it is left out: in every form what is
// read, written and described without it.
#include "binary/Bodies.h"
#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/ParserFeed.h"

#include <kwxml/binary/BinaryExplain.h>
#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/metadata/DummyValues.h>
#include <kwxml/metadata/JsonSchema.h>
#include <kwxml/metadata/SchemaDetails.h>
#include <kwxml/metadata/XmlSchema.h>
#include <kwxml/model/Registry.h>
#include <kwxml/reading/Problems.h>
#include <kwxml/traverse/MessageDiff.h>
#include <kwxml/traverse/MessagePage.h>
#include <kwxml/traverse/XmlTraverse.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <sstream>

using namespace kwxml;
using namespace kwxml::test;

namespace {

const std::string cases = "codec/missing-classes.cases";
constexpr int types = 60;

/// A catalogue with the class Types_AllTypes alone. Its fields refer to classes that are not there, or that
/// are of no system.
class LonelyCatalogue
{
public:
  explicit LonelyCatalogue(bool ofNoSystem)
  {
    const _ClassDef& whole = *Registry::first().findClass(types, 0);
    fields_.assign(whole.begin(), whole.end());
    for (FieldDef& def : fields_) {
      const int references = ofNoSystem ? FieldDef::packedReferences(def.type) : 0;
      if (references > 0) {
        def.name = names_.emplace_back(std::string(references * 4U, '\0') + def.getName()).c_str();
      }
    }
    class_ = whole;
    class_.fields = fields_.data();
    rows_[types] = Registry::first().row(types);
    rows_[types].classes = &class_;
    rows_[types].numberOfClasses = 1;
    tables_ = Registry::first().tables();
    tables_.name = "lonely";
    tables_.systems = rows_;
    Registry::tellLoadedOnce();  // so that no test is the first one
  }
  const Registry& registry() const { return registry_; }

private:
  std::vector<FieldDef> fields_;
  std::deque<std::string> names_;
  _ClassDef class_{};
  MessageSystemRow rows_[XML_KWMessage_MessageSystemChooser::numberOfSystems]{};
  CatalogueTables tables_{};
  const Registry registry_{tables_};
};

/// They last as long as the process, as records of compiled catalogues do.
const Registry& lonely(bool ofNoSystem)
{
  static const LonelyCatalogue missing(false);
  static const LonelyCatalogue unnamed(true);
  return (ofNoSystem ? unnamed : missing).registry();
}

/// With both catalogues; the second answer where it is another one.
std::string inBoth(const std::function<std::string()>& answer)
{
  std::string first;
  for (const bool ofNoSystem : {false, true}) {
    const UsingCatalogue scope(lonely(ofNoSystem));
    LogCapture log;
    const std::string found = answer();
    const std::string whole = found + (found.empty() || found.ends_with('\n') ? "" : "\n") + log.taken();
    if (!ofNoSystem) {
      first = whole;
    } else if (whole != first) {
      first += "of no system:\n" + whole;
    }
  }
  return first;
}

std::string textOf(const std::unique_ptr<YMMessageBase>& message, const Problems& problems)
{
  std::string text = message == nullptr ? "no message\n" : toXml(*message) + "\n";
  for (const Problems::Entry& problem : problems.entries()) {
    text += toText(problem, "x") + "\n";
  }
  return text;
}

std::string read(const std::string& form, const std::string& input)
{
  Problems problems;
  if (form == "json") {
    const auto message = JSONDecoder().unSerialize(input, &problems);
    return textOf(message, problems);
  }
  if (form != "binary") {
    const std::unique_ptr<YMMessageBase> message(XMLDecoder().unSerialize(input, nullptr, &problems));
    Problems parsed;
    const LogCapture quiet;
    EXPECT_TRUE(areSame(message, readByParser(input, &parsed)));
    EXPECT_EQ(parsed.count(), problems.count());
    return textOf(message, problems);
  }
  BinaryBuffer buffer;
  buffer.deepCopyBuffer(input.data(), input.size(), false);
  const std::unique_ptr<YMMessageBase> message(XMLDecoder().UnserializeBinary(buffer, nullptr, &problems));
  const LogCapture quiet;
  EXPECT_TRUE(areSame(message, create(input))) << "without an observer";
  std::string bytes;
  std::string last;
  const bool isWhole = explainBinary(input, 0, [&](const BinaryPiece& piece) {
    bytes += piece.bytes;
    last = piece.text;
  });
  EXPECT_EQ(isWhole, message != nullptr);
  EXPECT_EQ(bytes, input);
  return textOf(message, problems) + "explained: " + last;
}

/// A message of the catalogue in use with `leaf` in each field that holds messages.
YMMessageBase filledWith(const YMMessageBase& leaf)
{
  YMMessageBase m(types, 0);
  const FieldDef& nested = field(m, "objectValue");
  m.setObject(nested.fieldNumber, nested.slot, &leaf, false, m.getTagID(), nested.hash, true);
  object<std::vector<YMMessageBase>>(m, "objectList").push_back(leaf);
  object<std::vector<unsigned>>(m, "enumList").push_back(5);
  object<std::map<std::string, YMMessageBase>>(m, "stringObjectMap").emplace("a", leaf);
  object<std::map<YMMessageBase, YMMessageBase>>(m, "objectObjectMap").emplace(leaf, leaf);
  setInt(m, "enumValue", 5);
  return m;
}

/// What the catalogue with all classes writes of one field.
std::string written(const std::string& form, const std::string& name)
{
  YMMessageBase message = filledWith(fromXml("<Types_Leaf number='1'/>"));
  message.wipeBitset();
  MessageAccess::mark(message, field(message, name));
  std::string out;
  if (form == "binary") {
    return encode(message);
  }
  if (form == "json") {
    EXPECT_EQ(JSONEncoder().serialize(message, out), 0);
    return out;
  }
  EncodingFlags flags;
  flags.enumsAsNames = 1;
  return toXml(message, flags);
}

/// The lines that say something about a field with a class.
std::string linesOfReferences(const std::string& text)
{
  std::istringstream lines(text);
  std::string found;
  for (std::string line; std::getline(lines, line);) {
    for (const char* name : {"enumValue", "objectValue", "enumList", "objectList", "ObjectMap"}) {
      if (line.find(name) != std::string::npos) {
        found += line.substr(line.find_first_not_of(' ')) + "\n";
        break;
      }
    }
  }
  return found;
}

}  // namespace

TEST(MissingClasses, AreToldByEachReader)
{
  expectRows(cases, "read", [](const Lines& cells) {
    const std::string input = written(cells[0], cells[1]);
    return inBoth([&] { return read(cells[0], input); });
  });
}

TEST(MissingClasses, AreNamedByNoSchema)
{
  expectRows(cases, "described", [](const Lines& cells) {
    return inBoth([&] {
      const PackedReference place{.system = types, .classIndex = 0};
      std::string text;
      if (cells[0] == "xml") {
        EXPECT_TRUE(xmlSchema(text, {&place, 1}));
        return linesOfReferences(text);
      }
      if (cells[0] == "json") {
        EXPECT_TRUE(jsonSchema(text, {&place, 1}));
        return linesOfReferences(text);
      }
      if (cells[0] == "listing") {
        const bool found = YMMessageBase::getMessageSchemaString(0x3C006001UL, text, true, true);
        return (found ? "" : "none\n") + linesOfReferences(text);
      }
      const PackedReference nobody{.system = types, .classIndex = 1};
      EXPECT_FALSE(describeClass(nobody) || xmlSchema(text, {&nobody, 1}) || jsonSchema(text, {&nobody, 1}));
      return linesOfReferences(detailsText(*describeClass(place)));
    });
  });
}

TEST(MissingClasses, AreNotMadeByWalks)
{
  expectRows(cases, "walked", [](const Lines& cells) {
    return inBoth([&] {
      struct Visitor : XmlTraverseHandler
      {
        using XmlTraverseHandler::XmlTraverseHandler;
        void startSubObject(MsgFieldContext& f) override
        {
          shown += std::string(f.getField().getName()) + "\n";
        }
        void visit(MsgFieldContext&) override {}
        std::string shown;
      } visitor(0, cells[0] == "ordered");
      auto* message = new YMMessageBase(types, 0);
      const std::unique_ptr<YMMessageBase> owner(message);
      if (cells[0] == "dummies") {
        return std::to_string(recurseAndFillDummyValues(message));
      }
      XmlTraverse().traverse(*message, visitor, true, true);
      EXPECT_EQ(toXml(*message), "<Types_AllTypes/>");
      return visitor.shown;
    });
  });
}

TEST(MissingClasses, AreWrittenAsWhatTheirMessagesAre)
{
  const YMMessageBase stranger = fromXml("<Types_Leaf number='1'/>");
  const UsingCatalogue scope(lonely(false));
  YMMessageBase m = filledWith(stranger);
  expectRows(cases, "written", [&](const Lines& cells) -> std::string {
    std::string out;
    if (cells[0] == "binary") {
      return bodyHex(m);
    }
    if (cells[0] == "json") {
      EXPECT_EQ(JSONEncoder().serialize(m, out), 0);
      return out;
    }
    if (cells[0] == "page") {
      MessagePage page(
          [&](std::string_view part) {
            out += part;
            return true;
          },
          "now");
      EXPECT_TRUE(page.add(m, "m") && page.finish());
      return linesOfReferences(
          out.substr(out.find("<section>"), out.find("</section>") - out.find("<section>")));
    }
    if (cells[0] == "differences") {
      struct : MessageDiffVisitor
      {
        void differs(const MessageDifference& d) override
        {
          shown += std::string(d.path) + " " + std::string(d.left) + "\n";
        }
        std::string shown;
      } visitor;
      const YMMessageBase other(types, 0);
      diffMessages(m, other, visitor);
      return visitor.shown;
    }
    EncodingFlags flags;
    flags.enumsAsNames = static_cast<unsigned char>(cells[0] == "names");
    return toXml(m, flags);
  });
}
