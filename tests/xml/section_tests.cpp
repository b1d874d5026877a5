// Fields of every type that go out as CDATA sections: how they are written, and that they come back.
#include "support/Documents.h"
#include "support/DomWriting.h"
#include "support/LogCapture.h"
#include "support/Messages.h"

#include <gtest/gtest.h>

using namespace kwxml::test;

namespace {

/// Every field that XML has. Texts have nothing that a section bends.
YMMessageBase filled(int variant)
{
  YMMessageBase m = make("Sections_All");
  for (const FieldDef& def : *m.getClass()) {
    if (def.type != FIELD_WSTRING && def.type != FIELD_LIST_WSTRING) {
      EXPECT_TRUE(fill(m, def, variant)) << def.getName();
    }
  }
  setText(m, "stringValue", "<&> \n");
  object<std::vector<std::string>>(m, "stringList") = {"<&>", " ", "]]"};
  setInt(m, "date", 1700000000 + variant);
  setInt(m, "timeOfDay", 3600 * variant);
  setInt(m, "enumValue", 100);
  return m;
}

TEST(Sections, AreElementsOfTheTextThatTheirTypeHas)
{
  YMMessageBase m = bare("Sections_All");
  setInt(m, "intValue", -7);
  setInt(m, "ulonglongValue", -1);
  setInt(m, "boolValue", 1);
  setInt(m, "enumValue", 100);
  setInt(m, "date", 1700000000);
  setInt(m, "timeOfDay", 45005);
  setText(m, "stringValue", "<a> & ]]>");
  object<bstring>(m, "bstringValue") = bstring("bytes");
  setPassword(m, "pstringValue", pstring("open"));
  object<std::vector<int>>(m, "intList") = {1, 2};
  object<std::vector<unsigned int>>(m, "boolList") = {1, 0};
  object<std::vector<double>>(m, "doubleList") = {2.5};
  object<std::vector<bstring>>(m, "bstringList") = {bstring("bytes")};
  EncodingFlags flags;
  flags.enumsAsNames = 1;
  EXPECT_EQ(
      toXml(m, flags),
      "<Sections_All bstringValue=\"Ynl0ZXM=&#xA;\" pstringValue=\"open\"><intValue><![CDATA[-7]]></intValue>"
      "<ulonglongValue><![CDATA[-1]]></ulonglongValue><boolValue><![CDATA[true]]></boolValue>"
      "<stringValue><![CDATA[<a> & ]]]]><![CDATA[>]]></stringValue><enumValue><![CDATA[HIGH]]></enumValue>"
      "<date><![CDATA[1700000000]]></date><timeOfDay><![CDATA[45005]]></timeOfDay>"
      "<intList><![CDATA[1]]></intList><intList><![CDATA[2]]></intList><bstringList val=\"Ynl0ZXM=&#xA;\"/>"
      "<boolList><![CDATA[1]]></boolList><boolList><![CDATA[0]]></boolList>"
      "<doubleList><![CDATA[2.5]]></doubleList></Sections_All>");
}

TEST(Sections, ComeBackInEveryForm)
{
  for (int variant = 1; variant <= 3; ++variant) {
    for (unsigned number = 0; number < forms; ++number) {
      SCOPED_TRACE(number);
      YMMessageBase m = filled(variant);
      const std::string xml = toXml(m, form(number));
      std::string byDom;
      EXPECT_EQ(writeByDom(m, form(number), byDom, true), 0);
      EXPECT_EQ(xml, byDom);
      // As it is, and in an encoding that takes another way through the reader.
      for (const char* declaration : {"", "<?xml version='1.0' encoding='ISO-8859-1'?>"}) {
        const auto back = readXml(declaration + xml);
        ASSERT_NE(back, nullptr) << xml;
        EXPECT_TRUE(*back == m) << xml;
        EXPECT_EQ(toXml(*back, form(number)), xml);
      }
    }
  }
}

}  // namespace
