// A program compiled against the wrappers of one version of a catalogue (VERSION) and linked with the tables
// of the other: fields are found by their names, wherever they are.
#include <kwxml/platform/KwException.h>

#include VERSION

#include "support/Documents.h"
#include "support/LogCapture.h"
#include "support/Messages.h"

#include <gtest/gtest.h>

namespace {

TEST(Versions, FieldsAreFoundByName)
{
  kwxml::test::LogCapture log;
  Evolving::Item item;
  ASSERT_NE(item.getTagID(), Evolving::Item::tag) << "the message is of the tables that are linked";
  item.set_name("Saw");
  item.set_price(7.5);
  item.set_count(3);
  item.set_grade(Evolving::Grade::GOOD);
  auto parts = item.mutable_parts();
  parts.push_back(item);
  parts[0].mutable_name() = "Blade";
  const std::string xml = kwxml::test::toXml(item);
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

/// What the wrapper takes for a message is none in the message: not read, not replaced, not made.
#define EXPECT_NO_MESSAGE(m, x)    \
  EXPECT_EQ(m.x(), nullptr) << #x; \
  m.set_##x(Evolving::Item());     \
  EXPECT_THROW(m.mutable_##x().has_name(), KwException) << #x

TEST(Versions, AMessageIsNotMadeOfWhatIsNone)
{
  kwxml::test::LogCapture log;
  Evolving::Mixed mixed;
  kwxml::test::fillAll(mixed, 1);
  const YMMessageBase before = mixed;
#ifdef HAS_DROPPED  // the wrappers of the first version
  EXPECT_NO_MESSAGE(mixed, item);
#else
  EXPECT_NO_MESSAGE(mixed, number);
  EXPECT_NO_MESSAGE(mixed, texts);
  EXPECT_NO_MESSAGE(mixed, map);
  EXPECT_NO_MESSAGE(mixed, bytes);
  EXPECT_NO_MESSAGE(mixed, secret);
  EXPECT_NO_MESSAGE(mixed, items);
  EXPECT_NO_MESSAGE(mixed, beyond);
#endif
  EXPECT_TRUE(mixed == before);
  EXPECT_FALSE(log.lines().empty());
  for (const auto& line : log.lines()) {
    EXPECT_TRUE(line.text.starts_with("Invalid member access.") || line.text.starts_with("Message [Evolving"))
        << line.text;
  }
}

/// What is refused says which class of which catalogue, and the first record that differs.
template <class Access>
void expectRefused(Access access, const std::string& difference, const std::string& cls = "SameId")
{
  kwxml::test::LogCapture log;
  try {
    access();
    ADD_FAILURE() << "no exception";
  } catch (const KwException& e) {
    EXPECT_NE(e.getText().find("The tables of class Evolving_" + cls +
                               " in catalogue 'evolving' are not those that the "
                               "program was compiled with" +
                               difference),
              std::string::npos)
        << e.getText();
    EXPECT_TRUE(log.has("kwxml::checkWrapper", "[" + e.getText() + "]"));
  }
}

TEST(Versions, TheSameClassWithOtherFieldsIsRefused)
{
#ifdef HAS_DROPPED
  const std::string difference =
      ", of catalogue 'evolving': record 0 (number) is object at position 0, slot 0 in the tables "
      "and "
      "longlong at position 0, slot 0 in the program";
#else
  const std::string difference =
      ", of catalogue 'evolving': record 0 (number) is longlong at position 0, slot 0 in the tables "
      "and "
      "object at position 0, slot 0 in the program";
#endif
  YMMessageBase message(Evolving::SameId::systemIndex, Evolving::SameId::classIndex);
  expectRefused([] { Evolving::SameId made; }, difference);
  expectRefused([&] { kwxml::as<Evolving::SameId>(message).has_number(); }, difference);
  std::vector<YMMessageBase> list = {Evolving::Holder(), message};
  kwxml::MessageList<Evolving::SameId> view(&list);
  EXPECT_FALSE(view[0].has_number()) << "of another tag";
  expectRefused([&] { view[1].has_number(); }, difference);
  expectRefused([&] { view.back(); }, difference);
  expectRefused([&] { kwxml::ConstMessageList<Evolving::SameId>(view).at(1); }, difference);
  expectRefused([&] { (void)view.begin()[1]; }, difference);
  // As a part of a message that is the same in both.
  Evolving::Holder holder;
  holder.setObject(0, 0, &message, false, Evolving::Holder::tag, kwxml::nameHash("same", 4), true);
  const std::string records = ", of catalogue 'evolving': the records of its fields differ";
  expectRefused([&] { holder.same(); }, records);
  expectRefused([&] { holder.mutable_same(); }, records);
}

TEST(Versions, AnEnumerationWithOtherEnumeratorsIsRefused)
{
  const std::string turned = ", of catalogue 'evolving': its 2 enumerators do not begin with the program's 2";
  expectRefused([] { nameOf(Evolving::Turned::RED); }, turned, "Turned");
  auto value = Evolving::Turned::RED;
  expectRefused([&] { valueOf("GREEN", value); }, turned, "Turned");
#ifdef HAS_DROPPED
  EXPECT_STREQ(nameOf(Evolving::Grade::GOOD), "GOOD") << "it stands elsewhere, and has one more at its end";
#else
  expectRefused([] { nameOf(Evolving::Grade::BETTER); },
                ", of catalogue 'evolving': its 1 enumerators do not begin with the program's 2", "Grade");
#endif
}

TEST(Versions, AClassThatTheTablesLackIsRefused)
{
  kwxml::test::LogCapture log;
#ifdef HAS_DROPPED
  EXPECT_THROW(Evolving::Gone(), KwException);
#else
  EXPECT_THROW(Evolving::New(), KwException);
#endif
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_TRUE(log.lines()[0].text.starts_with("[Catalogue 'evolving' has no class Evolving_"));
}

TEST(Versions, TheExceptionNamesTheField)
{
  Evolving::Item gone;
  const YMMessageBase taken(std::move(gone));
  Evolving::Mixed moved;
  const YMMessageBase other(std::move(moved));
  auto& foreign = kwxml::as<Evolving::Mixed>(gone);
#ifdef HAS_DROPPED
  const auto access = [](Evolving::Mixed& m) { m.mutable_item(); };
  constexpr std::string_view name = "item";
#else
  const auto access = [](Evolving::Mixed& m) { m.mutable_beyond(); };
  constexpr std::string_view name = "beyond";
#endif
  for (Evolving::Mixed* m : {&foreign, &moved}) {
    try {
      access(*m);
      ADD_FAILURE() << "no exception";
    } catch (const KwException& e) {
      const std::string hash = std::to_string(kwxml::nameHash(name.data(), name.size()));
      EXPECT_NE(std::string(e.what()).find("given field :[" + hash + "]"), std::string::npos) << e.what();
    }
    EXPECT_FALSE(m->has_number());
  }
}

}  // namespace
