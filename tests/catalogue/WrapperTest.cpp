// The typed wrappers of the sample catalogue: every kind of field, names, and what they cost.
#include <catalogue/Demo.h>
#include <catalogue/Inventory.h>
#include <catalogue/Shop.h>
#include <catalogue/Types.h>

#include "support/LogCapture.h"

#include <kwxml/model/Registry.h>
#include <kwxml/platform/KwException.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <sstream>
#include <tuple>

namespace {

using Types::AllTypes;

static_assert(sizeof(AllTypes) == sizeof(YMMessageBase) && sizeof(Shop::Order) == sizeof(YMMessageBase));
static_assert(std::is_same_v<decltype(AllTypes().uintValue()), unsigned int>);
static_assert(std::is_same_v<decltype(AllTypes().ulonglongValue()), unsigned long long>);
static_assert(std::is_same_v<decltype(AllTypes().enumValue()), Types::Level>);
static_assert(
    std::is_same_v<decltype(AllTypes().stringObjectMap()), kwxml::ConstMessageMap<std::string, Types::Leaf>>);
static_assert(
    std::is_same_v<decltype(AllTypes().objectObjectMap()), const std::map<YMMessageBase, YMMessageBase>&>);
static_assert(std::random_access_iterator<kwxml::MessageList<Demo::Item>::iterator>);
static_assert(std::random_access_iterator<kwxml::ConstEnumList<Types::Level>::iterator>);
static_assert(std::bidirectional_iterator<kwxml::ConstMessageMap<std::string, Types::Leaf>::iterator>);

/// What every field has: unset, then set to `value`, then cleared.
#define ROUND_TRIP(field, ...)                   \
  EXPECT_FALSE(m.has_##field()) << #field;       \
  m.set_##field(__VA_ARGS__);                    \
  EXPECT_TRUE(m.has_##field()) << #field;        \
  EXPECT_EQ(m.field(), (__VA_ARGS__)) << #field; \
  m.clear_##field();                             \
  EXPECT_FALSE(m.has_##field()) << #field

TEST(Wrappers, ScalarsTextsListsAndMaps)
{
  kwxml::test::LogCapture log;
  AllTypes m;
  ROUND_TRIP(intValue, -5);
  ROUND_TRIP(uintValue, 4294967295U);
  ROUND_TRIP(longValue, -9000000000L);
  ROUND_TRIP(ulongValue, 18446744073709551615UL);
  ROUND_TRIP(longlongValue, -9000000000LL);
  ROUND_TRIP(ulonglongValue, 18446744073709551615ULL);
  ROUND_TRIP(boolValue, true);
  ROUND_TRIP(stringValue, std::string("text"));
  ROUND_TRIP(wstringValue, std::wstring(L"wide"));
  ROUND_TRIP(doubleValue, 2.5);
  ROUND_TRIP(floatValue, 1.5F);
  ROUND_TRIP(bstringValue, bstring("bytes"));
  ROUND_TRIP(time32Value, -1);
  ROUND_TRIP(time64Value, 1LL << 40);
  ROUND_TRIP(enumValue, Types::Level::BELOW);
  ROUND_TRIP(pstringValue, pstring("secret", Annotation::BASE64));
  ROUND_TRIP(intList, std::vector<int>{-1, 2});
  ROUND_TRIP(uintList, std::vector<unsigned>{1});
  ROUND_TRIP(longList, std::vector<long>{1});
  ROUND_TRIP(ulongList, std::vector<unsigned long>{1});
  ROUND_TRIP(longlongList, std::vector<long long>{1});
  ROUND_TRIP(ulonglongList, std::vector<unsigned long long>{1});
  ROUND_TRIP(stringList, std::vector<std::string>{"a"});
  ROUND_TRIP(wstringList, std::vector<std::wstring>{L"a"});
  ROUND_TRIP(bstringList, std::vector<bstring>{"a"});
  ROUND_TRIP(boolList, std::vector<unsigned>{1, 0});
  ROUND_TRIP(floatList, std::vector<float>{1.5F});
  ROUND_TRIP(doubleList, std::vector<double>{1.5});
  ROUND_TRIP(enumList, std::vector<unsigned>{100});
  ROUND_TRIP(longlongLonglongMap, std::map<long long, long long>{{1, 2}});
  ROUND_TRIP(longlongStringMap, std::map<long long, std::string>{{1, "b"}});
  ROUND_TRIP(stringLonglongMap, std::map<std::string, long long>{{"a", 2}});
  ROUND_TRIP(stringStringMap, std::map<std::string, std::string>{{"a", "b"}});
  ROUND_TRIP(longlongObjectMap, std::map<long long, YMMessageBase>{{1, Types::Leaf()}});
  ROUND_TRIP(stringObjectMap, std::map<std::string, YMMessageBase>{{"a", Types::Leaf()}});
  m.mutable_stringValue() += "x";
  m.mutable_wstringValue() += L'x';
  m.mutable_bstringValue() = "x";
  m.mutable_intList().push_back(1);
  m.mutable_stringStringMap()["k"] = "v";
  EXPECT_EQ(m.stringValue() + m.bstringValue().text() + m.stringStringMap().at("k"), "xxv");
  EXPECT_TRUE(m.has_wstringValue() && m.has_intList() && m.has_stringStringMap());
  m.set_pstringValue(pstring("p", Annotation::BASE64));
  EXPECT_EQ(m.pstringValue().getEncryptionType(), Annotation::BASE64);
  EXPECT_EQ(toText(log), "");
}

TEST(Wrappers, NestedMessagesAndListsOfThem)
{
  Shop::Order order;
  order.clear_status();
  order.clear_items();
  EXPECT_EQ(order.status(), nullptr);
  EXPECT_TRUE(order.items().empty());
  order.mutable_status().set_errorCode(404);
  ASSERT_NE(order.status(), nullptr);
  EXPECT_EQ(order.status()->errorCode(), 404);
  Demo::Status other;
  other.set_errorCode(1);
  order.set_status(other);
  EXPECT_EQ(order.status()->errorCode(), 1);

  auto items = order.mutable_items();
  items.emplace_back().set_name("b");
  items.emplace_back().set_name("a");
  Demo::Item third;
  third.set_name("c");
  items.push_back(third);
  items.push_back(std::move(third));
  items.pop_back();
  EXPECT_EQ(items.at(2).name(), "c");
  EXPECT_THROW(items.at(3), std::out_of_range);
  std::string names;
  for (const Demo::Item& item : order.items()) {
    names += item.name();
  }
  EXPECT_EQ(names, "bac");
  const auto list = order.items();
  EXPECT_EQ(std::max_element(list.begin(), list.end(),
                             [](const auto& x, const auto& y) { return x.name() < y.name(); })
                ->name(),
            "c");
  items.erase(0);
  EXPECT_EQ(items.front().name() + items.back().name(), "ac");
  EXPECT_EQ(&items.messages()[0], &order.items()[0]) << "nothing is copied";

  Shop::Order copy;
  copy.set_items(order.items());
  EXPECT_EQ(copy.items().size(), 2u);
  copy.set_items(order.mutable_items());
  YMMessageBase& generic = order;
  EXPECT_EQ(&kwxml::as<Shop::Order>(generic), &order);
  EXPECT_EQ(kwxml::as<Demo::Item>(std::as_const(generic)).name(), "") << "a message of another class";
}

/// What stands in the memory that a string was given away with.
template <class Text>
const void* memoryOf(const Text& text)
{
  return static_cast<const void*>(text.data());
}

TEST(Wrappers, TextsAreTakenAsViewsAndTakenOver)
{
  AllTypes m;
  const std::string_view part = std::string_view("a part of it").substr(2, 4);
  m.set_stringValue(part);
  EXPECT_EQ(m.stringValue(), "part");
  m.set_stringValue(std::string_view("a\0b", 3));
  EXPECT_EQ(m.stringValue().size(), 3u);
  m.set_stringValue(std::string_view(m.stringValue()).substr(2));
  EXPECT_EQ(m.stringValue(), "b") << "a part of itself";
  m.set_stringValue(bstring("bytes"));
  EXPECT_EQ(m.stringValue(), "bytes");
  m.set_wstringValue(std::wstring_view(L"wide").substr(1));
  EXPECT_EQ(m.wstringValue(), L"ide");
  const std::string_view three("x\0y", 3);
  m.set_bstringValue(three);
  EXPECT_EQ(m.bstringValue().size(), 3u);
  m.set_pstringValue(three);
  EXPECT_EQ(m.pstringValue().getEncryptionType(), Annotation::PLAIN_TEXT);

  std::string large(100, 'x');
  const void* memory = memoryOf(large);
  m.set_stringValue(std::move(large));
  EXPECT_EQ(memoryOf(m.stringValue()), memory);
  bstring bytes(std::string(100, 'y'));
  memory = memoryOf(bytes.text());
  m.set_bstringValue(std::move(bytes));
  EXPECT_EQ(memoryOf(m.bstringValue().text()), memory);
  std::vector<int> numbers(100, 7);
  memory = memoryOf(numbers);
  m.set_intList(std::move(numbers));
  EXPECT_EQ(memoryOf(m.intList()), memory);
  std::map<std::string, YMMessageBase> leaves{{"a", Types::Leaf()}};
  memory = &leaves.at("a");
  m.set_stringObjectMap(std::move(leaves));
  EXPECT_EQ(&m.stringObjectMap().at("a"), memory);
  EXPECT_TRUE(m.has_stringValue() && m.has_bstringValue() && m.has_intList() && m.has_stringObjectMap());
}

TEST(Wrappers, ListsOfMessagesAreChangedAsOthersAre)
{
  const auto named = [](const char* name) {
    Demo::Item item;
    item.set_name(name);
    return item;
  };
  const auto names = [](const Shop::Order& order) {
    std::string all;
    for (const Demo::Item& item : order.items()) {
      all += item.name();
    }
    return all;
  };
  Shop::Order order;
  order.set_items({named("c"), named("a"), named("b")});
  EXPECT_EQ(names(order), "cab");
  std::vector<Demo::Item> made;
  made.push_back(named("d"));
  Shop::Order other;
  other.set_items(std::move(made));
  EXPECT_EQ(names(other), "d");

  auto items = order.mutable_items();
  std::ranges::sort(items, {}, &Demo::Item::name);
  EXPECT_EQ(names(order), "abc");
  EXPECT_EQ(items.insert(items.begin() + 1, named("x"))->name(), "x");
  items.insert(items.end(), named("y"));
  EXPECT_EQ(names(order), "axbcy");
  EXPECT_EQ(items.erase(items.begin())->name(), "x");
  EXPECT_EQ(erase_if(items, [](const Demo::Item& item) { return item.name() >= "x"; }), 2u);
  EXPECT_EQ(names(order), "bc");
  items.erase(items.begin(), items.end());
  EXPECT_TRUE(order.items().empty());
  order.set_items({});
  EXPECT_TRUE(order.has_items() && order.items().empty());
}

TEST(Wrappers, ListsOfEnumeratorsAndMapsOfMessagesHaveTheirTypes)
{
  using Types::Level;
  AllTypes m;
  m.set_enumList({Level::LOW, Level::BELOW});
  EXPECT_EQ(m.enumList().back(), Level::BELOW);
  m.set_enumList(std::vector<Level>{Level::HIGH});
  auto levels = m.mutable_enumList();
  levels.push_back(Level::TOP);
  levels.set(0, Level::MIDDLE);
  EXPECT_EQ(std::ranges::count(m.enumList(), Level::MIDDLE), 1);
  EXPECT_EQ(m.enumList(), (std::vector<unsigned>{5, 2147483647}));
  const std::vector<unsigned>& numbers = m.enumList();
  EXPECT_EQ(&numbers, &levels.numbers()) << "nothing is copied";
  EXPECT_THROW((void)m.enumList().at(2), std::out_of_range);

  auto leaves = m.mutable_stringObjectMap();
  leaves["a"].set_text("first");
  leaves.insert_or_assign("b", leaves["a"]);
  leaves["b"].set_text("second");
  EXPECT_FALSE(leaves.emplace("b", Types::Leaf()).second);
  std::string all;
  for (const auto& [key, leaf] : m.stringObjectMap()) {
    all += key + leaf.text();
  }
  EXPECT_EQ(all, "afirstbsecond");
  EXPECT_EQ(m.stringObjectMap().find("b")->second.text(), "second");
  EXPECT_EQ(m.stringObjectMap().find("c"), m.stringObjectMap().end());
  EXPECT_EQ(leaves.erase("a"), 1u);
  EXPECT_TRUE(leaves.contains("b") && m.stringObjectMap().size() == 1);
  EXPECT_THROW((void)m.longlongObjectMap().at(1), std::out_of_range);

  levels.insert(levels.begin(), Level::LOW);
  EXPECT_EQ(erase_if(levels, [](Level level) { return level != Level::LOW; }), 2u);
  EXPECT_EQ(m.enumList().size(), 1u);
  EXPECT_EQ(*std::ranges::find(m.enumList(), Level::LOW), Level::LOW) << "iterators outlive the view";
  const std::map<std::string, Types::Leaf> three{{"x", leaves["b"]}, {"y", {}}, {"z", {}}};
  m.set_stringObjectMap(three);
  EXPECT_EQ(m.stringObjectMap().at("x").text(), "second");
  EXPECT_EQ(leaves.erase(leaves.begin())->first, "y");
  EXPECT_EQ(erase_if(leaves, [](const auto& entry) { return entry.second.text().empty(); }), 2u);
  EXPECT_EQ(leaves.count("y"), 0u);
}

TEST(Wrappers, DatesArePointsInTime)
{
  using namespace std::chrono_literals;
  const std::chrono::sys_seconds day = std::chrono::sys_days(std::chrono::year(2026) / 11 / 22);
  Types::Annotated m;
  EXPECT_EQ(m.dateTime_time(), std::chrono::sys_seconds(0s));
  m.set_dateTime(day + 90min);
  m.set_dateOnly(day);
  EXPECT_EQ(m.dateTime(), 1795311000);
  EXPECT_EQ(m.dateTime_time() - m.dateOnly_time(), 90min);
  EXPECT_THROW(m.set_dateOnly(day + std::chrono::years(20)), std::out_of_range) << "32 bits";
  EXPECT_EQ(m.dateOnly_time(), day);
}

TEST(Wrappers, CastGivesNullForAnotherClass)
{
  Demo::Item item;
  YMMessageBase* const message = &item;
  EXPECT_EQ(kwxml::cast<Demo::Item>(message), &item);
  EXPECT_EQ(kwxml::cast<Demo::Item>(std::as_const(*message)), &item);
  EXPECT_EQ(kwxml::cast<Shop::Order>(message), nullptr);
  EXPECT_EQ(kwxml::cast<Shop::Order>(static_cast<YMMessageBase*>(nullptr)), nullptr);
  EXPECT_EQ(kwxml::cast<Demo::Item>(YMMessageBase()), nullptr);
  EXPECT_EQ(kwxml::cast<Demo::Item>(nullptr), nullptr);
  const std::unique_ptr<YMMessageBase> owned = std::make_unique<YMMessageBase>(item);
  EXPECT_EQ(kwxml::cast<Demo::Item>(owned), owned.get());
}

TEST(Wrappers, EnumeratorsByName)
{
  std::ostringstream out;
  out << Types::Level::HIGH << " " << static_cast<Types::Level>(77);
  EXPECT_EQ(out.str(), "HIGH 77");
  EXPECT_STREQ(nameOf(Types::Level::HIGH), "HIGH");
  EXPECT_STREQ(nameOf(static_cast<Types::Level>(77)), "");
  Types::Level level = Types::Level::LOW;
  EXPECT_TRUE(valueOf("BELOW", level));
  EXPECT_EQ(level, Types::Level::BELOW);
  EXPECT_FALSE(valueOf("below", level));
  EXPECT_EQ(level, Types::Level::BELOW);
  EXPECT_STREQ(nameOf(Types::class_::two_words), "two-words") << "the name in the catalogue";
}

/// Made as a wrapper of other tables makes it.
struct OtherStatus : YMMessageBase
{
  explicit OtherStatus(const kwxml::WrapperClass& wrapper) : YMMessageBase(wrapper) {}
};

TEST(Wrappers, OfOtherTablesAreRefusedWithTheFirstDifference)
{
  const kwxml::Registry* registry = &kwxml::Registry::first();
  const auto refusal = [](const auto& use) -> std::string {
    const kwxml::test::LogCapture log;
    try {
      use();
      return "nothing is refused";
    } catch (const KwException& e) {
      return e.getText();
    }
  };
  const auto make = [&](const char* fields, int count) {
    return refusal([&] {
      OtherStatus({.registry = &registry,
                   .catalogue = "other",
                   .system = "Demo",
                   .name = "Status",
                   .tag = Demo::Status::tag,
                   .classIndex = Demo::Status::classIndex,
                   .fingerprint = 1,
                   .numberOfFields = count,
                   .fields = fields});
    });
  };
  const std::tuple<const char*, int, const char*> differences[] = {
      {"10268693,0,0,1;", 1, "the tables have 2 records and the program 1."},
      {"5,0,0,1;", 1, "int of name hash 0x000005 at position 0, slot 0 in the program."},
      {"10268693,1,0,1;", 1, "int at position 1, slot 0 in the program."},
      {"10268693,0,3,1;", 1, "int at position 0, slot 3 in the program."},
      {"10268693,0,0,43;", 1, "no type at position 0, slot 0 in the program."},
      {"10268693,0,0,1;12053727,1,1,9;", 2,
       "record 1 (errorMessage) is string at position 1, slot 1 in the tables"},
  };
  for (const auto& [fields, count, text] : differences) {
    EXPECT_NE(make(fields, count).find(text), std::string::npos) << make(fields, count);
  }
  const auto name = [&](const char* enumeration) {
    return refusal([&] {
      kwxml::enumeratorName({.registry = &registry,
                             .catalogue = "other",
                             .system = "Demo",
                             .name = enumeration,
                             .systemIndex = 1,
                             .classIndex = 0,
                             .numberOfEnumerators = 1,
                             .fingerprint = 1},
                            1);
    });
  };
  EXPECT_TRUE(
      name("Nothing").ends_with("has no enumeration Demo_Nothing, which the program was compiled with"));
  EXPECT_TRUE(
      name("Status").ends_with("has no enumeration Demo_Status, which the program was compiled with"));
  kwxml::CatalogueTables tables = registry->tables();
  ++tables.version;
  const kwxml::Registry later(tables);
  registry = &later;
  for (const std::string& text : {make("", 0), name("Color")}) {
    EXPECT_TRUE(
        text.ends_with("has tables of version 3, this library reads version 2. Compile the catalogue anew"))
        << text;
  }
}

TEST(Wrappers, NamesThatAreTakenGetAnUnderscore)
{
  Types::Names m;
  m.set_reset_(1);
  m.set_class_("c");
  m.set_tag_(4);
  m.set_Names_(5);
  m.set_x(6);
  m.set_has_x_(7);
  m.set_two_words(8);
  m.set_two_words_(9);
  EXPECT_EQ(m.tag_() + m.two_words() + m.two_words_(), 21);
  m.reset();
  EXPECT_FALSE(m.has_reset_() || m.has_class_() || m.has_tag_() || m.has_Names_() || m.has_x() ||
               m.has_has_x_());
  EXPECT_EQ(m.getTagID(), Types::Names::tag);
}

}  // namespace
