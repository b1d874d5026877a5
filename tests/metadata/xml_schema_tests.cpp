// XML Schema documents: what the library writes is valid by them, and what has a fault is not. Another
// program, xmllint, is the judge.
#include <kwxml/metadata/JsonSchema.h>
#include <kwxml/metadata/XmlSchema.h>
#include <kwxml/model/Registry.h>

#include "support/Documents.h"
#include "support/LogCapture.h"
#include "support/ManyMessages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>

using namespace kwxml::test;
using kwxml::XmlSchemaForm;

namespace {

/// Documents in a folder of their own, all judged by one call.
class Judge
{
public:
  Judge()
  {
    std::string name = (std::filesystem::temp_directory_path() / "kwxml-schema-XXXXXX").string();
    folder_ = mkdtemp(name.data()) != nullptr ? name : throw std::runtime_error(name);
  }
  ~Judge() { std::filesystem::remove_all(folder_); }
  Judge(const Judge&) = delete;
  Judge& operator=(const Judge&) = delete;

  void add(const std::string& document) { write(std::to_string(count_++) + ".xml", document); }

  /// For each document whether it is valid by the schema of all classes. `words` are the judge's.
  std::vector<bool> verdicts(XmlSchemaForm form, std::string& words)
  {
    std::string schema;
    EXPECT_TRUE(kwxml::xmlSchema(schema, everyMessageClass(), form));
    write("schema.xsd", schema);
    std::FILE* judge = popen(  // NOLINT(concurrency-mt-unsafe)
        ("cd '" + folder_.string() + "' && xmllint --nonet --noout --schema schema.xsd *.xml 2>&1").c_str(),
        "r");
    words = "\n";
    char piece[4096];
    while (std::fgets(piece, sizeof piece, judge) != nullptr) {
      words += piece;
    }
    pclose(judge);
    std::vector<bool> valid(count_);
    for (std::size_t i = 0; i < count_; ++i) {
      const std::string line = "\n" + std::to_string(i) + ".xml ";
      valid[i] = words.find(line + "validates\n") != std::string::npos;
      EXPECT_TRUE(valid[i] || words.find(line + "fails to validate\n") != std::string::npos)
          << "xmllint (of libxml2-utils) has not judged: " << words.substr(0, 2000);
    }
    return valid;
  }

private:
  void write(const std::string& name, const std::string& text) { std::ofstream(folder_ / name) << text; }

  std::filesystem::path folder_;
  std::size_t count_ = 0;
};

struct Row
{
  const char* acceptedBy;  // the schemas of attributes, of elements and of both
  const char* document;
};
constexpr Row rows[] = {
    {"a-b", "<Demo_Item color='GREEN' price='1.5e3'><tags val='x'/>\n<tags val=''/></Demo_Item>"},
    {"-eb", "<Demo_Item><tags>x</tags><price>-inf</price><name/><color>0</color></Demo_Item>"},
    {"--b", "<Demo_Item price='1'><tags>x</tags></Demo_Item>"},
    {"aeb", "<SystemMonitoring_Heartbeat/>"},
    {"---", "<Demo_Itme/>"},
    {"---", "<Demo_Color/>"},
    {"---", "<Demo_Item colour='1'/>"},
    {"---", "<Demo_Item><colour>1</colour></Demo_Item>"},
    {"---", "<Demo_Item><tags val='x' value='y'/></Demo_Item>"},
    {"-eb", "<Demo_Item><tags/></Demo_Item>"},
    {"---", "<Demo_Status>5</Demo_Status>"},
    // numbers
    {"---", "<Demo_Status errorCode='12abc'/>"},
    {"---", "<Demo_Status errorCode=''/>"},
    {"---", "<Demo_Status errorCode='2147483648'/>"},
    {"---", "<Demo_Status><errorCode>-2147483649</errorCode></Demo_Status>"},
    {"---", "<Types_AllTypes time32Value='2147483648'/>"},
    {"---", "<Types_AllTypes uintValue='4294967296'/>"},
    {"---", "<Types_AllTypes ulongValue='9223372036854775808'/>"},
    {"---", "<Types_AllTypes><ulongList val='18446744073709551616'/></Types_AllTypes>"},
    {"---", "<Types_AllTypes floatValue='1e39'/>"},
    {"---", "<Types_AllTypes doubleValue='1,5'/>"},
    {"---", "<Types_AllTypes boolValue='yes'/>"},
    {"---", "<Types_AllTypes bstringValue='AAH/?'/>"},
    {"---", "<Types_AllTypes wstringValue='wide'/>"},
    // enumerators: of old systems 0 is written for none
    {"---", "<Demo_Item color='BLUE'/>"},
    {"---", "<Demo_Item color='3'/>"},
    {"a-b", "<Demo_Item color='0'/>"},
    {"---", "<Inventory_Article kind='0'/>"},
    {"a-b", "<Types_AllTypes><enumList val='-3'/><enumList val='4294967293'/></Types_AllTypes>"},
    {"---", "<Types_AllTypes><enumList val='7'/></Types_AllTypes>"},
    {"---", "<Types_AllTypes><enumList val='LOW'/></Types_AllTypes>"},
    // dates
    {"a-b", "<Types_Annotated dateOnly='2023-11-14' dateTime='2023-11-14 24:60:60' daySeconds='24:00:59'/>"},
    {"---", "<Types_Annotated dateOnly='2023-13-14'/>"},
    {"---", "<Types_Annotated dateTime='2023-11-14'/>"},
    {"---", "<Types_Annotated daySeconds='24:01:00'/>"},
    {"---", "<Types_Annotated marked='10:00:00'/>"},
    // texts that are CDATA, and what is hidden
    {"aeb", "<Types_Annotated><cdataText>x</cdataText><cdataList>y</cdataList></Types_Annotated>"},
    {"---", "<Types_Annotated cdataText='x'/>"},
    {"---", "<Types_Annotated><cdataList val='x'/></Types_Annotated>"},
    {"a-b", "<Types_Hidden secret='5'/>"},
    // nested messages
    {"a-b", "<Shop_Order><status errorCode='5'/><items name='x'/><items/></Shop_Order>"},
    {"---", "<Shop_Order><status errorCode='x'/></Shop_Order>"},
    {"---", "<Shop_Order><items pric='1'/></Shop_Order>"},
    {"aeb", "<Types_Node><child><children><child/></children></child></Types_Node>"},
    {"---", "<Types_Node><child><children><chil/></children></child></Types_Node>"},
    {"---", "<Inventory_Location><site/><site/></Inventory_Location>"},
    // maps
    {"-eb", "<Shop_Ledger><totals><__mapValue__/><__mapKey__>k</__mapKey__></totals></Shop_Ledger>"},
    {"---", "<Shop_Ledger><totals><__mapKey__ val='k'/></totals></Shop_Ledger>"},
    {"---", "<Shop_Ledger><totals><__mapValue__>v</__mapValue__></totals></Shop_Ledger>"},
    {"---", "<Shop_Ledger><totals/></Shop_Ledger>"},
    {"---",
     "<Shop_Ledger><totals><__mapKey__ val='k'/><__mapKey__ val='l'/><__mapValue__ val='v'/></totals>"
     "</Shop_Ledger>"},
    {"---",
     "<Types_AllTypes><longlongStringMap><__mapKey__ val='k'/><__mapValue__ val='v'/>"
     "</longlongStringMap></Types_AllTypes>"},
    {"---",
     "<Types_AllTypes><objectObjectMap><__mapKey__ key='k'/><__mapValue__ key='v'/></objectObjectMap>"
     "</Types_AllTypes>"},
};

}  // namespace

TEST(XmlSchema, AcceptsWhatIsWritten)
{
  const LogCapture quiet;
  std::vector<YMMessageBase> messages = randomMessages();
  for (YMMessageBase& m : borders()) {
    messages.push_back(std::move(m));
  }
  for (const bool asElements : {false, true}) {
    Judge judge;
    std::vector<std::string> documents;
    for (int i = 0; i < 3; ++i) {
      EncodingFlags flags;
      flags.valuesAsElements = asElements;
      flags.readableForm = i == 1;
      flags.enumsAsNames = i == 2;
      for (YMMessageBase& m : messages) {
        documents.push_back(toXml(m, flags, false));
        judge.add(documents.back());
      }
    }
    // The documents by the schema of their form, and by that of both.
    for (const XmlSchemaForm form :
         {asElements ? XmlSchemaForm::Elements : XmlSchemaForm::Attributes, XmlSchemaForm::Both}) {
      std::string words;
      const std::vector<bool> valid = judge.verdicts(form, words);
      const auto refused =
          static_cast<std::size_t>(std::find(valid.begin(), valid.end(), false) - valid.begin());
      EXPECT_TRUE(refused == valid.size())
          << documents[refused]
          << words.substr(std::min(words.find("\n" + std::to_string(refused) + ".xml:"), words.size()), 500);
    }
  }
}

TEST(XmlSchema, FindsFaults)
{
  Judge judge;
  std::vector<std::string> accepted(std::size(rows));
  for (const Row& row : rows) {
    judge.add(row.document);
  }
  for (const auto& [form, letter] :
       {std::pair(XmlSchemaForm::Attributes, 'a'), std::pair(XmlSchemaForm::Elements, 'e'),
        std::pair(XmlSchemaForm::Both, 'b')}) {
    std::string words;
    const std::vector<bool> valid = judge.verdicts(form, words);
    for (std::size_t i = 0; i < valid.size(); ++i) {
      accepted[i] += valid[i] ? letter : '-';
    }
  }
  for (std::size_t i = 0; i < accepted.size(); ++i) {
    EXPECT_EQ(accepted[i], rows[i].acceptedBy) << rows[i].document;
  }
}

TEST(XmlSchema, IsOfMessagesAlone)
{
  const LogCapture log;
  std::string schema = "kept";
  for (const kwxml::PackedReference& place :
       {kwxml::PackedReference{1, 1}, kwxml::PackedReference{1, 3}, kwxml::PackedReference{20, 5},
        kwxml::PackedReference{-1, 0}, kwxml::PackedReference{206, 0}}) {
    EXPECT_FALSE(kwxml::xmlSchema(schema, std::vector{kwxml::PackedReference{1, 0}, place}));
  }
  EXPECT_EQ(schema, "kept");
  EXPECT_TRUE(log.has("xmlSchema", "There is no message class at index [5] of system [20]"));
}

/// What no compiler lets through, tables may hold all the same.
TEST(Schemas, LeaveOutOrEscapeNamesThatAreNone)
{
  static const FieldDef enumerators[] = {{"1st", nullptr, 1, 0, 0, 0, FIELD_ENUMERATOR},
                                         {"second", nullptr, 2, 0, 1, 0, FIELD_ENUMERATOR}};
  static const FieldDef fields[] = {{"\x3D\x00\x00\x01level", nullptr, 1, 0, 0, 0, FIELD_ENUM},
                                    {"a b", nullptr, 2, 0, 1, 1, FIELD_INT},
                                    {"twice", nullptr, 3, 0, 2, 2, FIELD_INT},
                                    {"twice", nullptr, 3, 0, 3, 3, FIELD_INT},
                                    {"\x3D\x00\x00\x02next", nullptr, 4, 0, 4, 4, FIELD_OBJECT}};
  static const _ClassDef classes[] = {
      {"M", fields, 1, -1, 5, 5}, {"Level", enumerators, 2, -1, 2, 0}, {"a~b/c%", nullptr, 3, -1, 0, 0}};
  static const kwxml::ClassIdIndex ids[] = {{1, 0}, {2, 1}, {3, 2}};
  static MessageSystemRow rows[XML_KWMessage_MessageSystemChooser::numberOfSystems];
  rows[61] = {"Odd", classes, ids, nullptr, 3, 0};
  static const kwxml::CatalogueTables tables{
      kwxml::CatalogueTables::currentVersion,  0,       0,       0,      "odd", rows,
      kwxml::Registry::first().tables().xpath, nullptr, nullptr, nullptr};
  static const kwxml::Registry odd(tables);
  const kwxml::UsingCatalogue scope(odd);
  const LogCapture log;
  const kwxml::PackedReference m{61, 0};
  const kwxml::PackedReference nameless{61, 2};
  std::string text;
  ASSERT_TRUE(kwxml::xmlSchema(text, {&m, 1}));
  for (const char* remark :
       {"<!-- Field 1 is left out: its name is no XML name",
        "<!-- Field 3 is left out: ", "<!-- The name of the enumerator of number 1 is no XML name. -->"}) {
    EXPECT_NE(text.find(remark), std::string::npos) << remark;
  }
  EXPECT_FALSE(kwxml::xmlSchema(text, {&nameless, 1}));
  EXPECT_TRUE(log.has("xmlSchema", "The name of class [Odd_a~b/c%] is no XML name"));
  ASSERT_TRUE(kwxml::jsonSchema(text, {&m, 1}));
  EXPECT_NE(text.find("\"#/$defs/Odd_a~0b~1c%25\""), std::string::npos) << text;
  EXPECT_EQ(text.find("\"twice\""), text.rfind("\"twice\""));
}
