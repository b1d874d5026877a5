// JSON Schema documents: what the library writes is valid by them, and what has a fault is not. Another
// program, the validator of python3-jsonschema, is the judge.
#include <kwxml/metadata/JsonSchema.h>

#include "support/LogCapture.h"
#include "support/ManyMessages.h"

#include <kwxml/codec/JSONEncoder.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

using namespace kwxml::test;

namespace {

constexpr const char* program = R"(import json, jsonschema
schema = json.load(open('schema.json'))
judge = jsonschema.Draft202012Validator
judge.check_schema(schema)
judge = judge(schema)
for line in open('documents', encoding='utf-8', newline='\n'):
    faults = [fault.message[:200] for fault in judge.iter_errors(json.loads(line))]
    print('valid' if not faults else 'not: ' + repr(faults[0])))";

/// For each document, a line each, "valid" or what is wrong with it, by the schema of all classes.
std::vector<std::string> verdicts(const std::vector<std::string>& documents)
{
  std::string folder = (std::filesystem::temp_directory_path() / "kwxml-schema-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) {
    throw std::runtime_error(folder);
  }
  const std::filesystem::path path = folder;
  std::string schema;
  EXPECT_TRUE(kwxml::jsonSchema(schema, everyMessageClass()));
  std::ofstream(path / "schema.json") << schema;
  std::ofstream(path / "program.py") << program;
  std::ofstream out(path / "documents");
  for (const std::string& document : documents) {
    out << document << '\n';
  }
  out.close();
  std::FILE* judge = popen(("cd '" + folder + "' && python3 program.py 2>&1").c_str(), "r");  // NOLINT
  std::vector<std::string> lines(1);
  for (int c = 0; (c = std::fgetc(judge)) != EOF;) {
    c == '\n' ? lines.emplace_back() : lines.back() += static_cast<char>(c);
  }
  pclose(judge);
  lines.pop_back();
  std::filesystem::remove_all(path);
  EXPECT_EQ(lines.size(), documents.size())
      << "python3-jsonschema has not judged: " << (lines.empty() ? "" : lines.back());
  lines.resize(documents.size());
  return lines;
}

struct Row
{
  bool isValid;
  const char* document;
};
constexpr Row rows[] = {
    {true, R"({"Demo_Item":{"price":1.5e3,"color":"GREEN","tags":["x",""]}})"},
    {true, R"({"Demo_Item":{"price":"-inf","color":0}})"},
    {false, R"({})"},
    {false, R"({"Demo_Itme":{}})"},
    {false, R"({"Demo_Item":{},"Demo_Status":{}})"},
    {false, R"({"Demo_Color":{}})"},
    {false, R"({"Demo_Item":{"colour":1}})"},
    {false, R"({"Demo_Item":{"color":"BLUE"}})"},
    {false, R"({"Demo_Item":{"color":3}})"},
    {false, R"({"Demo_Item":{"tags":"x"}})"},
    {false, R"({"Demo_Item":{"tags":[1]}})"},
    {false, R"({"Demo_Item":{"price":"1,5"}})"},
    {false, R"({"Inventory_Article":{"kind":0}})"},
    {false, R"({"Demo_Status":{"errorCode":2147483648}})"},
    {false, R"({"Demo_Status":{"errorCode":1.5}})"},
    {false, R"({"Demo_Status":{"errorCode":true}})"},
    {false, R"({"Types_AllTypes":{"floatValue":1e39}})"},
    {false, R"({"Types_AllTypes":{"longValue":"1e5"}})"},
    {false, R"({"Types_AllTypes":{"boolValue":"yes"}})"},
    {false, R"({"Types_AllTypes":{"bstringValue":"AAH/?"}})"},
    {false, R"({"Types_AllTypes":{"wstringValue":[-1]}})"},
    {true, R"({"Types_AllTypes":{"enumList":["LOW",-3],"longlongStringMap":{"-5":"x"}}})"},
    {false, R"({"Types_AllTypes":{"longlongStringMap":{"k":"x"}}})"},
    {false, R"({"Types_AllTypes":{"objectObjectMap":[{"key":{}}]}})"},
    {false, R"({"Types_AllTypes":{"objectObjectMap":{"a":{}}}})"},
    {true,
     R"({"Types_Annotated":{"dateOnly":"2023-11-14","dateTime":"2023-11-14T23:59:00Z","daySeconds":"01:00:00"}})"},
    {false, R"({"Types_Annotated":{"dateOnly":"2023-13-14"}})"},
    {false, R"({"Types_Annotated":{"dateTime":"2023-11-14"}})"},
    {false, R"({"Types_Annotated":{"daySeconds":"24:00:00"}})"},
    {true, R"({"Types_Node":{"child":{"children":[{"child":{}}]}}})"},
    {false, R"({"Types_Node":{"child":{"children":[{"chil":{}}]}}})"},
};

}  // namespace

TEST(JsonSchema, AcceptsWhatIsWrittenAndNoFault)
{
  const LogCapture quiet;
  std::vector<YMMessageBase> messages = randomMessages();
  for (YMMessageBase& m : borders()) {
    messages.push_back(std::move(m));
  }
  std::vector<std::string> documents;
  for (YMMessageBase& m : messages) {
    for (const bool readable : {false, true}) {
      EncodingFlags flags;
      flags.readableForm = readable;
      JSONEncoder(flags).serialize(m, documents.emplace_back());
      std::erase(documents.back(), '\n');
    }
  }
  const std::size_t written = documents.size();
  for (const Row& row : rows) {
    documents.emplace_back(row.document);
  }
  const std::vector<std::string> judged = verdicts(documents);
  for (std::size_t i = 0; i < documents.size(); ++i) {
    const bool isValid = i < written || rows[i - written].isValid;
    EXPECT_EQ(judged[i] == "valid", isValid) << documents[i] << "\n" << judged[i];
  }
}

TEST(JsonSchema, RefusesWhatIsNoMessage)
{
  LogCapture log;
  std::string schema = "before";
  const kwxml::PackedReference enumeration =
      kwxml::packedReference(field(make("Types_AllTypes"), "enumValue"));
  EXPECT_FALSE(kwxml::jsonSchema(schema, {&enumeration, 1}));
  EXPECT_EQ(schema, "before");
  EXPECT_NE(toText(log).find("no message class"), std::string::npos);
}
