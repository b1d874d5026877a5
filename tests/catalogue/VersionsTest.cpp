// A program compiled against the wrappers of one version of a catalogue (VERSION) and linked with the tables
// of the other: fields are found by their names, wherever they are.
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>

#include VERSION

#include "support/LogCapture.h"

#include <gtest/gtest.h>

namespace {

TEST(Versions, FieldsAreFoundByName)
{
  kwxml::test::LogCapture log;
  Evolving::Item item;
  ASSERT_NE(item.getTagID(), Evolving::Item::tag) << "the message is of the catalogue that is linked";
  item.set_name("Saw");
  item.set_price(7.5);
  item.set_count(3);
  item.set_grade(Evolving::Grade::GOOD);
  auto parts = item.mutable_parts();
  parts.push_back(item);
  parts[0].mutable_name() = "Blade";
  std::string xml;
  ASSERT_EQ(XMLEncoder().serialize(item, xml, true), 0);
  for (const char* part : {"name=\"Saw\"", "price=\"7.5\"", "count=\"3\"", "grade=\"1\"", "name=\"Blade\""}) {
    EXPECT_NE(xml.find(part), std::string::npos) << part << "\n" << xml;
  }
  Evolving::Item read;
  ASSERT_EQ(XMLDecoder().unSerialize(read, xml), 0);
  EXPECT_EQ(read.name() + read.parts()[0].name(), "SawBlade");
  EXPECT_TRUE(read.price() == 7.5 && read.count() == 3 && read.grade() == Evolving::Grade::GOOD);
  EXPECT_TRUE(read.has_name() && read.has_parts());
  read.clear_name();
  EXPECT_FALSE(read.has_name());
  EXPECT_EQ(log.lines().size(), 0u);
}

TEST(Versions, AFieldThatTheOtherVersionLacksReadsAsUnset)
{
  kwxml::test::LogCapture log;
  Evolving::Item item;
  item.set_count(1);
  const YMMessageBase before = item;
#ifdef HAS_DROPPED
  item.set_dropped("x");
  item.mutable_dropped() = "x";
  EXPECT_TRUE(!item.has_dropped() && item.dropped().empty());
  item.clear_dropped();
#else
  item.set_added(1);
  EXPECT_TRUE(!item.has_added() && item.added() == 0);
  item.clear_added();
#endif
  EXPECT_TRUE(item == before);
  EXPECT_GE(log.lines().size(), 4u) << "each access says so";
}

}  // namespace
