// The JSON form: what is written, that it comes back, what readers are told of what does not.
#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/ManyMessages.h"
#include "support/PasswordKey.h"
#include "support/SmallStack.h"

#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/codec/StrictReading.h>
#include <kwxml/json/JsonPlaces.h>
#include <kwxml/reading/Problems.h>
#include <kwxml/text/Utf8.h>
#include <kwxml/traverse/MessageDiff.h>

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <random>
#include <sstream>
#include <stdexcept>

using namespace kwxml;
using namespace kwxml::test;

namespace {

const std::string cases = "json/json.cases";

std::string toJson(YMMessageBase& message, const EncodingFlags& flags = {}, int expectedLoss = 0)
{
  std::string json;
  int lost = -1;
  EXPECT_EQ(JSONEncoder(flags).serialize(message, json, &lost), 0);
  EXPECT_EQ(lost, expectedLoss);
  return json;
}

EncodingFlags readable()
{
  EncodingFlags flags;
  flags.readableForm = 1;
  return flags;
}

/// Each value has the other one's text, by which what is not a number has its bits too.
void expectSame(const YMMessageBase& message, const YMMessageBase& back)
{
  struct Shown : MessageDiffVisitor
  {
    void differs(const MessageDifference& d) override
    {
      if (d.left != d.right) {
        ADD_FAILURE() << d.path << ": " << d.left << ", read: " << d.right;
      }
    }
  } visitor;
  diffMessages(message, back, visitor);
}

/// A message reads back as it was, without a problem but for what no reader takes.
void expectReturns(const YMMessageBase& message, const std::string& json)
{
  Problems problems;
  const auto back = JSONDecoder().unSerialize(json, &problems);
  ASSERT_NE(back, nullptr) << json;
  for (const Problems::Entry& problem : problems.entries()) {
    EXPECT_NE(problem.text.find("hidden"), std::string::npos) << toText(problem, "json") << "\n" << json;
  }
  expectSame(message, *back);
}

/// The problems of a document, and the message that it gives all the same.
std::string readingOf(const std::string& json)
{
  Problems problems;
  const LogCapture quiet;
  const auto message = JSONDecoder().unSerialize(json, &problems);
  {
    const auto unobserved = JSONDecoder().unSerialize(json);
    EXPECT_EQ(message == nullptr, unobserved == nullptr);
    EXPECT_TRUE(message == nullptr || toJson(*message) == toJson(*unobserved));
  }
  EXPECT_EQ(readStrictJson(json).message == nullptr, !problems.empty());
  std::string out;
  for (const Problems::Entry& problem : problems.entries()) {
    out += toText(problem, "x") + "\n";
  }
  return out + (message != nullptr ? toJson(*message) : "none");
}

}  // namespace

/// Each document has what is written of its message, and what is told of it on the way.
TEST(Json, ReadsDocumentsAndTellsOfTheirProblems)
{
  expectCases(cases, "documents", readingOf);
}

TEST(Json, HasAFormOfEveryType)
{
  YMMessageBase all = make("Types_AllTypes");
  fillAll(all, 1, 1);
  Transcript transcript(cases);
  transcript.note(toJson(all, readable()));
  const char* const zone = std::getenv("TZ");
  const std::string former = zone != nullptr ? zone : "";
  setenv("TZ", "Europe/Berlin", 1);
  tzset();
  YMMessageBase dates = make("Types_Annotated");
  for (const int seconds : {0, 45005, 1700000000, 1699916400, INT_MAX}) {
    for (const char* name : {"dateTime", "dateOnly", "daySeconds"}) {
      setInt(dates, name, seconds);
    }
    setInt(dates, "intDateTime", seconds * 1000LL);
    std::string lines = toJson(dates, readable());
    expectReturns(dates, lines);
    std::erase(lines, '\n');
    transcript.note(lines);
  }
  zone != nullptr ? setenv("TZ", former.c_str(), 1) : unsetenv("TZ");
  tzset();
}

TEST(Json, EveryMessageComesBack)
{
  const PasswordKey key;
  std::vector<YMMessageBase> messages = randomMessages();
  for (YMMessageBase& m : borders()) {
    messages.push_back(std::move(m));
  }
  std::mt19937_64 random(17);
  for (int i = 0; i < 300; ++i) {
    const std::uint64_t bits = random();
    // The highest bit of the fraction of what is no number is always set when it has been read.
    double real = std::bit_cast<double>(bits);
    real = real != real ? std::bit_cast<double>(bits | std::uint64_t{1} << 51) : real;
    YMMessageBase& m = messages.emplace_back(make("Types_AllTypes"));
    const FieldDef& number = field(m, "doubleValue");
    m.setdouble(number.fieldNumber, number.slot, real, m.getTagID(), number.hash);
    object<std::vector<float>>(m, "floatList") = {static_cast<float>(real)};
    object<std::vector<double>>(m, "doubleList") = {real};
    setInt(m, "intValue", static_cast<int>(bits));
    for (const char* name : {"longlongValue", "ulongValue", "ulonglongValue", "boolValue"}) {
      setInt(m, name, static_cast<long long>(bits >> random() % 64));
    }
    object<std::vector<unsigned long long>>(m, "ulonglongList") = {bits, ~bits};
    object<std::vector<unsigned int>>(m, "enumList") = {0, 5, 0xFFFFFFFD};
    object<std::map<long long, long long>>(m, "longlongLonglongMap")[static_cast<long long>(bits)] = 1;
    object<std::vector<std::string>>(m, "stringList");
    object<std::map<std::string, std::string>>(m, "stringStringMap");
  }
  // All characters; wide elements beside them.
  YMMessageBase& texts = messages.emplace_back(make("Types_AllTypes"));
  std::string every;
  std::wstring wide;
  for (std::uint32_t c = 0; c < 0x110000; ++c) {
    if (isCharacter(c)) {
      putUtf8(c, [&every](char byte) { every += byte; });
      wide += static_cast<wchar_t>(c);
    }
  }
  setText(texts, "stringValue", every);
  object<std::map<std::string, long long>>(texts, "stringLonglongMap") = {{every, 1}, {"", 2}};
  object<std::vector<std::wstring>>(texts, "wstringList") = {wide, L"", {L'a', wchar_t(0xD800), wchar_t(-1)}};
  for (YMMessageBase& m : messages) {
    const std::string tagName = m.getTagName();
    if (tagName == "Types_Annotated" || tagName == "Types_Strings") {  // their passwords need sessions
      const YMMessageBase filled = std::exchange(m, bare(tagName));
      for (const FieldDef& def : *m.getClass()) {
        if (def.type != FIELD_PSTRING && MessageAccess::isSet(filled, def)) {
          fill(m, def, 5);
        }
      }
    }
    const std::string json = toJson(m);
    expectReturns(m, json);
    expectReturns(m, toJson(m, readable()));
    YMMessageBase same(m.getSubsysID(), m.getClassIndex());
    ASSERT_EQ(JSONDecoder().unSerialize(same, json), 0);
    expectSame(m, same);
  }
}

TEST(Json, AllOutputsAreTheSame)
{
  YMMessageBase m = make("Types_AllTypes");
  fillAll(m, 3);
  object<std::vector<std::string>>(m, "stringList").assign(3000, "some text that fills pieces");
  const std::string json = toJson(m);
  std::string parts;
  const auto take = [&parts](std::string_view part) {
    parts += part;
    return true;
  };
  EXPECT_EQ(JSONEncoder().serialize(m, TakeText(take)), 0);
  std::ostringstream stream;
  EXPECT_EQ(JSONEncoder().serialize(m, stream), 0);
  std::string memory(json.size() + 5, '~');
  std::size_t size = 0;
  EXPECT_EQ(JSONEncoder().serialize(m, std::span(memory), size), 0);
  EXPECT_TRUE(parts == json && stream.str() == json && memory == json + "~~~~~" && size == json.size());
  EXPECT_EQ(JSONEncoder().serialize(m, std::span(memory.data(), 7), size), 1);
  EXPECT_EQ(size, json.size());
  EXPECT_EQ(JSONEncoder().serialize(m, TakeText([](std::string_view) { return false; })), 1);
  LogCapture log;
  EXPECT_EQ(JSONEncoder().serialize(
                m, TakeText([](std::string_view) -> bool { throw std::runtime_error("full"); })),
            1);
  EXPECT_EQ(JSONEncoder().serialize(m, TakeText([](std::string_view) -> bool { throw 7; })), 1);
  EXPECT_EQ(toText(log), "0 JSONEncoder::serialize: [full]\n0 JSONEncoder::serialize: [Unknown exception]\n");
}

TEST(Json, PlacesAreFoundForwardsAndBackwards)
{
  const std::string text = "\xEF\xBB\xBF{\n \"a\\\"\": [1, tru";
  JsonPlaces places(text, JsonPlaces::byteOrderMark.size());
  const auto shown = [](const ReadPlace& place) {
    return std::to_string(place.line) + ":" + std::to_string(place.column) + ":" +
           std::to_string(place.offset);
  };
  EXPECT_EQ(shown(places.ofToken(2)), "2:2:6");
  EXPECT_EQ(shown(places.ofToken(5)), "2:13:17") << "the word that is cut short";
  EXPECT_EQ(shown(places.ofToken(9)), "2:13:17") << "the last one";
  EXPECT_EQ(shown(places.ofOffset(100)), "2:16:20") << "the end";
  EXPECT_EQ(shown(places.ofOffset(6)), "2:2:6") << "before the last place";
  JsonPlaces blank("{ ", 0);
  EXPECT_EQ(shown(blank.ofToken(2)), "1:3:2");
}

TEST(Json, RefusesWhatCannotBeWrittenOrSaysSo)
{
  Transcript transcript(cases);
  std::string json = "before";
  YMMessageBase nothing;
  EXPECT_EQ(JSONEncoder().serialize(nothing, json), 1);
  EXPECT_EQ(json, "");
  bool given = false;
  YMMessageBase deep = nodeChain(65);
  EXPECT_EQ(JSONEncoder().serialize(deep, TakeText([&given](std::string_view) { return given = true; })), 1);
  EXPECT_FALSE(given);
  YMMessageBase m = make("Types_AllTypes");
  setText(m, "stringValue", "caf\xE9");
  transcript.note(toJson(m, {}, 1));
  int lost = 0;
  EXPECT_EQ(XMLEncoder().serialize(m, json, true, &lost), 0);
  EXPECT_EQ(lost, 1);
}

/// Passwords go out and come in by the rules of XML: a message read from either is the same.
TEST(Json, KeepsPasswordsAsXmlDoes)
{
  const PasswordKey key;
  YMMessageBase m = bare("Types_Annotated");
  for (const char* name : {"password1", "password3"}) {
    setPassword(m, name, pstring("o\"p|en", Annotation::PLAIN_TEXT));
  }
  const std::string json = toJson(m);
  EXPECT_EQ(json.find("o\\\"p|en"), json.rfind("o\\\"p|en")) << "the protected one is not plain: " << json;
  const auto byJson = JSONDecoder().unSerialize(json);
  const auto byXml = readXml(toXml(m));
  ASSERT_TRUE(byJson != nullptr && byXml != nullptr);
  EXPECT_EQ(*byJson, *byXml);
  EncodingFlags masked;
  masked.maskPasswords = 1;
  EXPECT_EQ(toJson(m, masked), "{\"Types_Annotated\":{\"password1\":\"*******\",\"password3\":\"*******\"}}");
}

/// What cuts and changes do to a document is told, and found in bounded time and stack.
TEST(Json, DamageIsToldOf)
{
  const LogCapture quiet;
  YMMessageBase all = make("Types_AllTypes");
  fillAll(all, 2, 1);
  const std::string whole = toJson(all);
  std::mt19937 random(4);
  for (std::size_t i = 0; i < whole.size(); ++i) {
    Problems problems;
    EXPECT_EQ(JSONDecoder().unSerialize(whole.substr(0, i), &problems), nullptr);
    EXPECT_FALSE(problems.empty());
    std::string changed = whole;
    changed[i] = static_cast<char>(random());
    Problems others;
    const auto message = JSONDecoder().unSerialize(changed, &others);
    EXPECT_TRUE(message != nullptr || !others.empty()) << changed;
  }
}

TEST(Json, DepthIsBounded)
{
  const LogCapture quiet;
  onSmallStack([] {
    YMMessageBase chain = nodeChain(64);
    expectReturns(chain, toJson(chain));
    for (const std::string& opening :
         {std::string("[\"\\u0041"), std::string("{\"x\":"), std::string("{\"child\":")}) {
      std::string deep = "{\"Types_Node\":{\"y\":";
      for (int i = 0; i < 100000; ++i) {
        deep += opening == "[\"\\u0041" ? "[" : opening;
      }
      Problems problems;
      EXPECT_EQ(JSONDecoder().unSerialize(deep, &problems), nullptr);
      EXPECT_TRUE(problems.has(ProblemKind::TooDeep));
    }
  });
}

TEST(Json, ReadsDocumentsBehindOneAnother)
{
  const LogCapture quiet;
  const std::string text =
      "\xEF\xBB\xBF {\"Demo_Item\":{\"name\":\"a\"}}{\"Demo_Item\":{}}\n"
      "{\"Demo_Item\":{\"nam\":1}}\n\n{\"Demo_Item\":x}";
  std::size_t at = 0;
  Problems problems;
  int count = 0;
  while (at != text.size()) {
    count += JSONDecoder().next(text, at, &problems) != nullptr ? 1 : 0;
  }
  EXPECT_EQ(count, 3);
  EXPECT_EQ(toText(problems, "x"),
            "x:2:15: warning: unknown member 'nam'; did you mean 'name'?\n"
            "x:4:14: error: what stands here is no JSON\n");
  YMMessageBase other = make("Demo_Status");
  EXPECT_EQ(JSONDecoder().unSerialize(other, "[]"), 5);
  EXPECT_EQ(JSONDecoder().unSerialize(other, "{\"Demo_Item\":{}}"), 5);
  EXPECT_EQ(JSONDecoder().unSerialize(other, "{\"Demo_Status\":{}} x"), 4);
}
