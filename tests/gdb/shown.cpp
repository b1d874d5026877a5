// What the test has gdb print: messages behind global pointers, complete when ready() is called.
#include <catalogue/Types.h>

#include <cstring>
#include <limits>

extern "C" void ready();

YMMessageBase* without;  // a message without a class
Types::AllTypes* all;    // every kind of field
Types::Report* report;   // fields for nobody's eyes, lists of messages
Types::Hidden* hidden;   // defaults, hidden fields
Types::Leaf* leaf;       // nothing set
Types::Report* circle;   // with one within it
YMMessageBase* garbage;  // memory that is no message
struct Nothing
{
};
struct NoMessage : Nothing
{
} noMessage;  // like a wrapper adds nothing to its base
const pstring* password;
const bstring* passwordAsBytes;
const kwxml::ConstMessageList<Types::Report>* reports;
const kwxml::MessageList<Types::Report>* changingReports;
const kwxml::MessageMap<std::string, Types::Leaf>* leafMap;
const kwxml::ConstEnumList<Types::Level>* levelList;

/// Not inline, and not without effect to the compiler, so that a debugger can stop there.
[[gnu::noinline]] void ready()
{
  __asm__ volatile("" ::: "memory");
}

namespace {

void fill(Types::AllTypes& message)
{
  message.set_intValue(-1);
  message.set_uintValue(4000000000U);
  message.set_longValue(std::numeric_limits<long>::min());
  message.set_ulongValue(std::numeric_limits<unsigned long>::max());
  message.set_longlongValue(-5);
  message.set_ulonglongValue(6);
  message.set_boolValue(true);
  message.set_stringValue("short \"quoted\"");
  message.set_wstringValue(L"wide \u00e9");
  message.set_doubleValue(0.5);
  message.set_floatValue(-1.25F);
  message.set_bstringValue(bstring("\0\xff bytes", 8));
  message.set_time32Value(86400);
  message.set_time64Value(1234567890123);
  message.set_enumValue(Types::Level::BELOW);
  message.mutable_objectValue().set_text("a text that is too long to lie in its own slots");
  message.set_pstringValue(pstring("open sesame"));
  message.set_intList({-1, 0, 1});
  message.set_uintList({4000000000U});
  message.set_longList({-3});
  message.set_ulongList({std::numeric_limits<unsigned long>::max()});
  message.set_longlongList({-4});
  message.set_ulonglongList({std::numeric_limits<unsigned long long>::max()});
  message.set_stringList({"", "one", "a text that is longer than what a string keeps in itself"});
  message.set_wstringList({L"wide"});
  message.set_bstringList({bstring("bytes")});
  message.set_boolList({0, 1, 2});
  message.set_floatList({0.25F});
  message.set_doubleList({1e300});
  message.set_enumList({5, 7, static_cast<unsigned>(-3)});
  message.mutable_objectList().emplace_back().set_number(1);
  message.mutable_objectList().emplace_back();
  message.set_longlongLonglongMap({{3, -3}, {1, -1}, {2, -2}});
  message.set_longlongStringMap({{-1, "minus one"}});
  Types::Leaf one;
  one.set_number(1);
  Types::KeyLeaf key;
  key.set_key("key");
  message.mutable_longlongObjectMap().emplace(7, one);
  message.set_stringLonglongMap({{"a", 1}});
  message.set_stringStringMap({{"k", "v"}, {"", ""}});
  message.mutable_stringObjectMap().emplace("leaf", one);
  message.mutable_objectObjectMap().emplace(key, one);
}

}  // namespace

int main()
{
  YMMessageBase none;
  without = &none;
  Types::AllTypes filled;
  fill(filled);
  all = &filled;
  Types::Report nested;
  nested.set_secretWord("sesame");
  nested.set_secretWords({"open", "sesame"});
  nested.set_secretLevel(Types::Level::HIGH);
  nested.set_level(static_cast<Types::Level>(6));
  nested.mutable_reports().emplace_back().mutable_self().mutable_self().set_title("deepest");
  nested.mutable_reports().emplace_back();
  nested.mutable_leaves();
  report = &nested;
  const kwxml::ConstMessageList<Types::Report> list = nested.reports();
  reports = &list;
  const kwxml::MessageList<Types::Report> changing = nested.mutable_reports();
  changingReports = &changing;
  const kwxml::MessageMap<std::string, Types::Leaf> leaves = filled.mutable_stringObjectMap();
  leafMap = &leaves;
  const kwxml::ConstEnumList<Types::Level> levels = std::as_const(filled).enumList();
  levelList = &levels;
  Types::Report outer;
  outer.mutable_self();
  circle = &outer;
  Types::Hidden defaults;
  hidden = &defaults;
  Types::Leaf nothing;
  leaf = &nothing;
  alignas(YMMessageBase) unsigned char bytes[sizeof(YMMessageBase)];
  std::memset(bytes, 0xA5, sizeof bytes);
  garbage = reinterpret_cast<YMMessageBase*>(bytes);
  pstring secret("open sesame");
  password = &secret;
  passwordAsBytes = &secret;
  ready();
  return 0;
}
