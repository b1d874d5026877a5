// A process may use any locale: what the library writes and how it reads are the same in all of them.
#include "reliability/Extent.h"
#include "support/DomWriting.h"
#include "support/LogCapture.h"
#include "support/ManyMessages.h"

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/log/XmlBinaryLogger.h>
#include <kwxml/metadata/DummyValues.h>
#include <kwxml/metadata/JsonSchema.h>
#include <kwxml/metadata/XMLMetaData.h>
#include <kwxml/metadata/XmlSchema.h>
#include <kwxml/model/Registry.h>
#include <kwxml/reading/Problems.h>
#include <kwxml/traverse/HTMLRenderContext.h>
#include <kwxml/traverse/KwXMLSummary.h>
#include <kwxml/traverse/MessageDiff.h>
#include <kwxml/traverse/MessagePage.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <locale>
#include <memory>
#include <span>
#include <sstream>

using namespace kwxml::test;

/// The C library never frees the list that it makes of LOCPATH.
extern "C" const char* __lsan_default_suppressions()
{
  return "leak:__argz_add_sep\n";
}

namespace {

/// What the library says, a text for each kind of output of each message.
struct Output
{
  std::string name;
  std::string text;
};

class Outputs
{
public:
  void add(std::string name, std::string text) { all_.push_back({std::move(name), std::move(text)}); }
  const std::vector<Output>& all() const { return all_; }

private:
  std::vector<Output> all_;
};

std::string binaryOf(YMMessageBase& message)
{
  BinaryBuffer buffer;
  BinarySerializer::serialize(message, buffer);
  return {buffer.data(), buffer.length()};
}

struct Differences : kwxml::MessageDiffVisitor
{
  void differs(const kwxml::MessageDifference& d) override
  {
    text.append(d.path).append(" ").append(d.left).append(" ").append(d.right).append("\n");
  }
  std::string text;
};

void written(YMMessageBase& message, const std::string& name, Outputs& outputs)
{
  std::string text;
  for (unsigned number = 0; number < forms; ++number) {
    XMLEncoder(form(number)).serialize(message, text);
    outputs.add(name + " as XML " + std::to_string(number), text);
    const std::unique_ptr<YMMessageBase> read(XMLDecoder().unSerialize(text));
    outputs.add(name + " read from XML " + std::to_string(number),
                read != nullptr ? binaryOf(*read) : "none");
  }
  writeByDom(message, form(2), text);
  outputs.add(name + " by the DOM", text);
  for (const unsigned number : {0U, 2U}) {
    JSONEncoder(form(number)).serialize(message, text);
    outputs.add(name + " as JSON", text);
    const std::unique_ptr<YMMessageBase> read = JSONDecoder().unSerialize(text);
    outputs.add(name + " read from JSON", read != nullptr ? binaryOf(*read) : "none");
  }
  outputs.add(name + " as binary", binaryOf(message));
  std::ostringstream summary;
  summary.imbue(std::locale::classic());  // a stream's own locale is its owner's affair
  KwXMLSummary::getKwSummaryInfo(&message, summary, {});
  outputs.add(name + " as a summary", summary.str());
  HTMLGuiSummaryRenderContext context;
  KwXMLSummary::getKwSummaryInfo(&message, &context, {});
  context.DumpToString(text);
  outputs.add(name + " as HTML", text);
  std::string page;
  kwxml::MessagePage pages(
      [&page](std::string_view part) {
        page += part;
        return true;
      },
      "now");
  EXPECT_TRUE(pages.add(message, "source") && pages.finish());
  outputs.add(name + " as a page", page);
  Differences differences;
  kwxml::diffMessages(YMMessageBase(message.getSubsysID(), message.getClassIndex()), message, differences,
                      kwxml::DiffExtent::Everything);
  outputs.add(name + " as differences", differences.text);
  std::vector<XPathMetaData> records;
  if (XMLMetaData().getXpathMetaData(&message, records, true) == 0) {
    std::string values;
    for (const XPathMetaData& record : records) {
      values += std::to_string(record.id) + " " + record.xpath + " " + record.value + "\n";
    }
    outputs.add(name + " as records", values);
    YMMessageBase made(message.getSubsysID(), message.getClassIndex());
    YMMessageBase* pointer = &made;
    XMLMetaData().setXpathMetaData(pointer, records, static_cast<short>(message.getSubsysID()));
    outputs.add(name + " from records", binaryOf(made));
  }
}

void logged(YMMessageBase& message, const std::string& name, Outputs& outputs)
{
  LogCapture log(25);
  XmlBinaryLogger().Debug("f", "%d %s %bxml_kw", &message, 1234567, "text");
  const std::string bytes = binaryOf(message);
  BinaryBuffer buffer;
  buffer.SetReadBuffer(bytes.data(), bytes.size(), true);
  delete BinarySerializer::unserialize(buffer, nullptr, false);
  outputs.add(name + " in the log", toText(log));
}

/// Texts that another locale would take for other numbers.
void readings(Outputs& outputs)
{
  for (const char* number : {"1.5",   "1,5",      "1.234.567,5", "1,234,567.5", "1 234,5",  "1\u00A0234",
                             "1'234", "1e3",      "1,5e3",       "0x1.8p3",     "0x1,8p3",  "inf",
                             "INF",   "nan(0x1)", "2023-11-14",  "14.11.2023",  "12:30:05", "WAHR",
                             "vrai",  "TRUE",     "high",        "H\u0130GH"}) {
    for (const char* field :
         {"intValue", "doubleValue", "floatValue", "longlongValue", "boolValue", "enumValue"}) {
      LogCapture log;
      const std::string name = std::string(field) + " " + number;
      kwxml::Problems problems;
      const std::unique_ptr<YMMessageBase> fromXml(XMLDecoder().unSerialize(
          "<Types_AllTypes " + std::string(field) + "=\"" + number + "\"/>", nullptr, &problems));
      const std::unique_ptr<YMMessageBase> fromJson = JSONDecoder().unSerialize(
          R"({"Types_AllTypes":{")" + std::string(field) + R"(":")" + number + "\"}}", &problems);
      ASSERT_TRUE(fromXml != nullptr && fromJson != nullptr) << name;
      outputs.add(name + " in XML", binaryOf(*fromXml));
      outputs.add(name + " in JSON", binaryOf(*fromJson));
      outputs.add(name + ", problems", toText(problems, "file") + toText(log));
    }
  }
}

/// New messages, with the defaults of their classes; compiled and of a catalogue made at run time.
void classes(Outputs& outputs)
{
  std::string problems;
  const auto registry = kwxml::Registry::fromSchemas({KWXML_SOURCE_DIR "/catalogue/sample"}, problems);
  ASSERT_NE(registry, nullptr) << problems;
  outputs.add("warnings of the catalogue", problems);
  for (const auto& place : everyMessageClass()) {
    const auto system = static_cast<int>(place.system);
    const auto index = static_cast<int>(place.classIndex);
    YMMessageBase message(system, index);
    const std::string name = message.getTagName();
    message.setEveryPrimitiveBitset(true);
    written(message, name + " with defaults", outputs);
    YMMessageBase dummy(system, index);
    YMMessageBase* pointer = &dummy;
    createXMLObjectWithDummyValues(pointer);
    outputs.add(name + " as a sample", binaryOf(dummy));
    std::string text;
    EXPECT_TRUE(kwxml::jsonSchema(text, std::span(&place, 1)));
    outputs.add(name + " as a JSON Schema", text);
    EXPECT_TRUE(kwxml::xmlSchema(text, std::span(&place, 1), kwxml::XmlSchemaForm::Both));
    outputs.add(name + " as an XML Schema", text);
    YMMessageBase::getMessageSchemaString(message.getTagID(), text, true, true);
    outputs.add(name + " as schema text", text);
    const kwxml::UsingCatalogue using_(*registry);
    YMMessageBase other(system, index);
    other.setEveryPrimitiveBitset(true);
    outputs.add(name + " of the other catalogue", binaryOf(other));
  }
}

std::vector<Output> everything()
{
  Outputs outputs;
  const auto messages = {borders(), randomMessages()};
  int number = 0;
  for (const std::vector<YMMessageBase>& some : messages) {
    for (std::size_t i = 0; i < some.size(); i += isFull() ? 1 : 3) {
      YMMessageBase message = some[i];
      const std::string name = message.getTagName() + std::string(" ") + std::to_string(number++);
      written(message, name, outputs);
      logged(message, name, outputs);
    }
  }
  readings(outputs);
  classes(outputs);
  return outputs.all();
}

/// The process has a locale while this lives, to C and to C++.
class Using
{
public:
  explicit Using(const std::string& name) : before_(std::locale::global(std::locale(name)))
  {
    std::setlocale(LC_ALL, name.c_str());
  }
  ~Using()
  {
    std::locale::global(before_);
    std::setlocale(LC_ALL, "C");
  }
  Using(const Using&) = delete;
  Using& operator=(const Using&) = delete;

private:
  std::locale before_;
};

/// Makes a locale where there is none; false where that cannot be.
bool makeLocale(const std::string& folder, const std::string& name)
{
  const std::string place = folder + "/" + name;
  const std::string source = name.substr(0, name.find('.'));
  const std::string command = "[ -d " + place + " ] || { mkdir -p " + folder + " && localedef -i " + source +
                              " -f UTF-8 " + place + ".new && mv " + place + ".new " + place + "; }";
  return std::system(command.c_str()) == 0;
}

}  // namespace

TEST(Locales, ChangeNothing)
{
  const std::string folder = KWXML_BINARY_DIR "/locales";
  setenv("LOCPATH", folder.c_str(), 1);
  const std::vector<Output> expected = everything();
  for (const std::string name : {"de_DE.UTF-8", "fr_FR.UTF-8"}) {
    if (!makeLocale(folder, name)) {
      ASSERT_FALSE(isFull()) << "cannot make the locale " << name;
      GTEST_SKIP() << "this machine cannot make the locale " << name;
    }
    Figures figures("locales " + name);
    const Using here(name);
    std::ostringstream stream;
    stream << 1234567.5F << ' ' << 1234567;
    ASSERT_EQ(std::to_string(1.5), "1,500000") << "this locale is no other one";
    ASSERT_NE(stream.str().find(','), std::string::npos) << stream.str();
    const std::vector<Output> actual = everything();
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
      ASSERT_EQ(actual[i].name, expected[i].name);
      EXPECT_TRUE(actual[i].text == expected[i].text) << name << ": " << actual[i].name << "\n"
                                                      << actual[i].text << "\nnot\n"
                                                      << expected[i].text;
    }
    figures.inputs = actual.size();
  }
}
