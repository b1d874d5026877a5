// Text on its way between a message and a document: transcoding, escapes, base64, dates, numbers. All of it
// must hold for hostile bytes, in any locale of the process, and from many threads.
#include "support/LogCapture.h"

#include <kwxml/text/Base64.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/NumberText.h>
#include <kwxml/xml/InvalidChars.h>
#include <kwxml/xml/Transcoding.h>
#include <kwxml/xml/XercesRuntime.h>

#include <gtest/gtest.h>
#include <unistd.h>
#include <algorithm>
#include <bit>
#include <cctype>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUTF8Transcoder.hpp>

using namespace std::string_literals;

namespace {

using Units = std::vector<unsigned short>;

Units unitsOf(const XMLChstring& text)
{
  return text.c_str() != nullptr ? Units(text.c_str(), text.c_str() + text.length()) : Units();
}

XMLChstring wide(const Units& units)
{
  XMLChstring text;
  text.assign(units.data(), units.size());
  return text;
}

/// Characters of one byte are units; the tests spell others out.
Units ascii(const std::string& text)
{
  return Units(text.begin(), text.end());
}

void appendUtf8(std::string& out, char32_t c)
{
  const auto put = [&out](char32_t byte) { out += static_cast<char>(byte); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | c >> 6);
    put(0x80 | (c & 63));
  } else {
    c < 0x10000 ? put(0xE0 | c >> 12) : (put(0xF0 | c >> 18), put(0x80 | (c >> 12 & 63)));
    put(0x80 | (c >> 6 & 63));
    put(0x80 | (c & 63));
  }
}

void appendUtf16(Units& out, char32_t c)
{
  if (c >= 0x10000) {
    out.push_back(static_cast<unsigned short>(0xD800 + ((c - 0x10000) >> 10)));
    c = 0xDC00 + (c & 0x3FF);
  }
  out.push_back(static_cast<unsigned short>(c));
}

bool isSurrogate(char32_t c)
{
  return c >= 0xD800 && c <= 0xDFFF;
}

const char badUtf8[] =
    "Exception translating string from UTF-8 to UTF-16. Likely invalid UTF-8 formatted string.";

// ---- Transcoding

TEST(Transcoding, EveryCharacterBothWays)
{
  for (char32_t block = 0; block <= 0x10FFFF; block += 0x1000) {
    std::string utf8;
    Units utf16;
    for (char32_t c = block; c < block + 0x1000; ++c) {
      if (!isSurrogate(c)) {
        appendUtf8(utf8, c);
        appendUtf16(utf16, c);
      }
    }
    XMLChstring toWide;
    std::string toNarrow;
    ASSERT_TRUE(XMLEncXStr::convertUTF8ToUTF16(utf8, toWide)) << static_cast<unsigned>(block);
    ASSERT_TRUE(unitsOf(toWide) == utf16) << static_cast<unsigned>(block);
    ASSERT_TRUE(XMLEncXStr::convertUTF16ToUTF8(wide(utf16), toNarrow)) << static_cast<unsigned>(block);
    ASSERT_TRUE(toNarrow == utf8) << static_cast<unsigned>(block);
  }
}

TEST(Transcoding, CharactersAcrossTheTranscodersBlocks)
{
  for (const char32_t c : {U'\u00E4', U'\u20AC', U'\U0001F600'}) {
    for (int lead = 16384 - 6; lead <= 16384 + 2; ++lead) {
      for (const char filler : {'a', '\0'}) {
        std::string utf8(static_cast<std::size_t>(lead), filler);
        Units utf16(static_cast<std::size_t>(lead), static_cast<unsigned short>(filler));
        for (int i = 0; i < 20000; ++i) {
          appendUtf8(utf8, c);
          appendUtf16(utf16, c);
        }
        XMLChstring toWide;
        std::string toNarrow;
        ASSERT_TRUE(XMLEncXStr::convertUTF8ToUTF16(utf8, toWide));
        ASSERT_TRUE(unitsOf(toWide) == utf16) << lead;
        ASSERT_TRUE(XMLEncXStr::convertUTF16ToUTF8(toWide, toNarrow));
        ASSERT_TRUE(toNarrow == utf8) << lead;
      }
    }
  }
}

TEST(Transcoding, RefusesWhatIsNotUtf8)
{
  const std::string bad[] = {"\x80"s,
                             "\xBF\xBF"s,
                             "a\xFF"s,
                             "\xFE"s,
                             "\xC3"s,
                             "\xC3("s,
                             "\xE2\x82"s,
                             "\xE2(\xA1"s,
                             "\xE2\x82("s,
                             "\xF0\x9F\x98"s,
                             "\xF0\x9F\x98("s,
                             "\xF0(\x8C\xBC"s,
                             "\xC0\x80"s,
                             "\xC1\xBF"s,
                             "\xE0\x80\xAF"s,
                             "\xE0\x9F\xBF"s,
                             "\xF0\x80\x80\xAF"s,
                             "\xF0\x8F\xBF\xBF"s,
                             "\xED\xA0\x80"s,
                             "\xED\xBF\xBF"s,
                             "\xED\xA0\xBD\xED\xB8\x80"s,
                             "\xF4\x90\x80\x80"s,
                             "\xF5\x80\x80\x80"s,
                             "\xF8\x88\x80\x80\x80"s,
                             "\xFC\x84\x80\x80\x80\x80"s,
                             "\xC3\xA4\0\xC3"s,
                             "\xC3\xA4\x80"s};
  const std::string tails[] = {"", "tail", std::string(40000, 'x')};
  for (const std::string& text : bad) {
    for (const std::string& head : tails) {
      for (const std::string& tail : tails) {
        const kwxml::test::LogCapture log;
        XMLChstring out("kept");
        EXPECT_FALSE(XMLEncXStr::convertUTF8ToUTF16(head + text + tail, out)) << testing::PrintToString(text);
        EXPECT_TRUE("kept" == out);
        EXPECT_EQ(log.lines().size(), 1u);
        EXPECT_TRUE(log.has("XMLEncXStr::convertUTF8ToUTF16", badUtf8));
      }
    }
  }
}

TEST(Transcoding, RandomBytesAreRefusedOrComeBackExactly)
{
  std::mt19937 random(1);
  const kwxml::test::LogCapture log;
  int accepted = 0;
  for (int run = 0; run < 20000; ++run) {
    std::string bytes;
    for (unsigned length = random() % 8; length > 0; --length) {
      if (random() % 2 == 0) {
        bytes += static_cast<char>(random());
      } else {
        appendUtf8(bytes, random() % 0x110000);
      }
    }
    XMLChstring units;
    std::string back;
    if (XMLEncXStr::convertUTF8ToUTF16(bytes, units)) {
      ++accepted;
      ASSERT_TRUE(XMLEncXStr::convertUTF16ToUTF8(units, back)) << testing::PrintToString(bytes);
      ASSERT_EQ(back, bytes);
    }
  }
  EXPECT_GT(accepted, 1000);
}

TEST(Transcoding, RefusesUnpairedSurrogates)
{
  const Units bad[] = {{0xD800},
                       {0xDC00},
                       {0xDFFF, 'a'},
                       {0xD83D, 'a'},
                       {0xD83D, 0xD83D, 0xDE00},
                       {0xDE00, 0xD83D},
                       {0xD83D, 0xDE00, 0xDE00}};
  for (const Units& text : bad) {
    for (const std::size_t lead : {0u, 1u, 16383u, 16384u, 20000u}) {
      Units units(lead, 0xE4);
      units.insert(units.end(), text.begin(), text.end());
      const kwxml::test::LogCapture log;
      std::string out = "kept";
      EXPECT_FALSE(XMLEncXStr::convertUTF16ToUTF8(wide(units), out)) << testing::PrintToString(text);
      EXPECT_EQ(out, "kept");
      EXPECT_EQ(log.lines().size(), 1u);
    }
  }
}

TEST(Transcoding, RescuesLatin1)
{
  const kwxml::test::LogCapture log;
  XMLChstring out;
  EXPECT_TRUE(XMLEncXStr::convertUnformattedToUTF16("a\x7F\x80\xE4\xFF\0z"s, out));
  EXPECT_EQ(unitsOf(out), (Units{'a', 0x7F, 0x80, 0xE4, 0xFF}));
  EXPECT_EQ(log.lines(), (std::vector<kwxml::test::LogLine>{
                             {0, "XMLEncXStr::convertUnformattedToUTF16",
                              "Translated ASCII-8 to UTF-8. Input length [5]. Output length [8]."}}));
  EXPECT_TRUE(XMLEncXStr::convertUnformattedToUTF16("", out));
  EXPECT_EQ(out.length(), 0u);
}

TEST(Transcoding, HolderHasBothForms)
{
  const kwxml::test::LogCapture log;
  const XMLEncXStr fromText("\xE2\x82\xAC\0x"s);
  EXPECT_EQ(Units(fromText.XMLChForm(), fromText.XMLChForm() + fromText.XMLChLength()),
            (Units{0x20AC, 0, 'x'}));
  const XMLEncXStr fromPointer("\xE2\x82\xAC");
  EXPECT_EQ(fromPointer.XMLChForm()[0], 0x20AC);
  EXPECT_EQ(XMLEncXStr(fromPointer.XMLChForm()).StringForm(), "\xE2\x82\xAC");
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(XMLEncXStr("\xFF").XMLChForm()[0], 0);
  EXPECT_EQ(log.lines().size(), 1u);
  EXPECT_EQ(XMLEncXStr(static_cast<const char*>(nullptr)).XMLChForm()[0], 0);
  EXPECT_EQ(XMLEncXStr(static_cast<const unsigned short*>(nullptr)).StringForm(), "");
}

TEST(Transcoding, SharedTranscoderServesThreadsAndOutlivesOtherUsers)
{
  const std::string localeBefore = setlocale(LC_ALL, nullptr);
  ASSERT_TRUE(kwxml::initializeXerces());
  EXPECT_EQ(setlocale(LC_ALL, nullptr), localeBefore);
  // Another user of the XML library in this process comes and goes.
  xercesc::XMLPlatformUtils::Initialize();
  xercesc::XMLPlatformUtils::Terminate();

  // The kind that holds nothing between calls.
  EXPECT_NE(dynamic_cast<xercesc::XMLUTF8Transcoder*>(XMLEncXStr::getTranscoderObject()), nullptr);
  EXPECT_EQ(XMLEncXStr::getTranscoderObject()->getBlockSize(), 16384u);

  std::vector<std::thread> threads;
  std::vector<int> wrong(4);
  for (std::size_t t = 0; t < wrong.size(); ++t) {
    threads.emplace_back([t, &wrong] {
      std::string text(5000 + t, 'x');
      for (int i = 0; i < 6000; ++i) {
        appendUtf8(text, U'\u0100' + static_cast<char32_t>(t * 0x3000) + static_cast<char32_t>(i % 0x1000));
      }
      for (int i = 0; i < 50; ++i) {
        XMLChstring units;
        std::string back;
        wrong[t] += !XMLEncXStr::convertUTF8ToUTF16(text, units) ||
                    !XMLEncXStr::convertUTF16ToUTF8(units, back) || back != text;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, std::vector<int>(4));
}

// ---- Escapes

TEST(InvalidChars, WritesAndReadsEscapes)
{
  struct Case
  {
    Units text;
    std::string escaped;
  };
  const Case cases[] = {
      {{'a', 1, 'b'}, "|a|#1!b"},    {{0xFFFE}, "||#FFFE!"},      {{0xFFFF, 'x'}, "||#FFFF!x"},
      {{0x1F, 0x1F}, "||#1F!|#1F!"}, {{0, 'a', 0}, "||#0!a|#0!"}, {{0xD83D, 0xDE00}, "||#D83D!|#DE00!"},
      {{0xABC, 0xB}, "|?|#B!"},      {{'|', 'a', 1}, "||a|#1!"},
  };
  for (const Case& c : cases) {
    XmlInvalidCharHandler handler;
    const unsigned short* escaped = handler.encodeInvalidChars(c.text.data(), c.text.size());
    std::string shown;
    for (std::size_t i = 0; i < handler.resultLength(); ++i) {
      shown += escaped[i] < 0x80 ? static_cast<char>(escaped[i]) : '?';
    }
    EXPECT_EQ(shown, c.escaped);
    EXPECT_EQ(escaped[handler.resultLength()], 0);
    // The handler's own result is a valid input of its next call.
    const unsigned short* back = handler.decodeInvalidChars(escaped);
    EXPECT_EQ(Units(back, back + handler.resultLength()), c.text) << shown;
  }
}

TEST(InvalidChars, ReadsWhatOthersWrote)
{
  struct Case
  {
    std::string text;
    std::string restored;
  };
  const Case cases[] = {
      {"|abc", "abc"},
      {"x|#41!", "x|#41!"},
      {"||#41!", "A"},
      {"||#4a!|#0041!", "JA"},
      {"||#00041!", "|#00041!"},
      {"||#0000041!", "|#0000041!"},
      {"||#!", "|#!"},
      {"||#4G!|#41!", "|#4G!A"},
      {"||#41", "|#41"},
      {"||#", "|#"},
      {"||", "|"},
      {"||#12345|#41!", "|#12345A"},
      {"||#|#41!", "|#|#41!"},  // the first "|#" reaches the "!", and is copied whole
      {"|x|#41!y|#42!z", "xAyBz"},
      {"||#-1!|# 1!|#+1!", "|#-1!|# 1!|#+1!"},
      {"", ""},
  };
  for (const Case& c : cases) {
    XmlInvalidCharHandler handler;
    const XMLChstring text(c.text.c_str());
    const unsigned short* restored = handler.decodeInvalidChars(text.c_str());
    EXPECT_EQ(Units(restored, restored + handler.resultLength()), ascii(c.restored)) << c.text;
  }
  XmlInvalidCharHandler handler;
  EXPECT_EQ(handler.decodeInvalidChars(nullptr), nullptr);
  EXPECT_EQ(handler.decodeInvalidChars(XMLChstring("|").c_str()), nullptr);
  EXPECT_EQ(handler.encodeInvalidChars(nullptr)[0], 0);
  EXPECT_EQ(handler.encodeInvalidChars(XMLChstring("").c_str(), 0)[0], 0);
}

TEST(InvalidChars, UnchangedTextsAreTheInputItself)
{
  const XMLChstring plain("tab\t, new-line\n, return\r, | and |# and !");
  XmlInvalidCharHandler handler;
  EXPECT_EQ(handler.encodeInvalidChars(plain.c_str()), plain.c_str());
  EXPECT_EQ(handler.decodeInvalidChars(plain.c_str()), plain.c_str());
}

TEST(InvalidChars, EveryUnitAndRandomTextsComeBack)
{
  XmlInvalidCharHandler handler;
  for (unsigned value = 0; value <= 0xFFFF; ++value) {
    const Units text = {'<', static_cast<unsigned short>(value), '>'};
    const bool valid = value == 9 || value == 10 || value == 13 || (value >= 0x20 && value <= 0xD7FF) ||
                       (value >= 0xE000 && value <= 0xFFFD);
    ASSERT_EQ(XmlInvalidCharHandler::hasXmlInvalidChar(wide(text)), !valid) << value;
    const unsigned short* escaped = handler.encodeInvalidChars(text.data(), text.size());
    ASSERT_EQ(escaped == text.data(), valid) << value;
    ASSERT_FALSE(
        XmlInvalidCharHandler::hasXmlInvalidChar(wide(Units(escaped, escaped + handler.resultLength()))));
    const unsigned short* back = handler.decodeInvalidChars(escaped, handler.resultLength());
    ASSERT_EQ(Units(back, back + handler.resultLength()), text) << value;
  }
  std::mt19937 random(2);
  for (int run = 0; run < 20000; ++run) {
    Units text(random() % 12);
    for (unsigned short& unit : text) {
      const unsigned short few[] = {0, 1, '|', '!', '#', 'A', 0xD800, 0xFFFF};
      unit = random() % 4 == 0 ? static_cast<unsigned short>(random()) : few[random() % 8];
    }
    const unsigned short* escaped = handler.encodeInvalidChars(text.data(), text.size());
    const bool changed = escaped != text.data();
    const unsigned short* back = handler.decodeInvalidChars(escaped, handler.resultLength());
    // Two texts do not come back, by design: an unescaped one with a leading bar, and one that looks escaped.
    const Units mark = {'|', '#'};
    const bool ambiguous = std::search(text.begin(), text.end(), mark.begin(), mark.end()) != text.end() ||
                           (!changed && !text.empty() && text[0] == '|');
    if (!ambiguous && !text.empty()) {
      ASSERT_EQ(Units(back, back + handler.resultLength()), text);
    }
  }
}

TEST(InvalidChars, FindsForbiddenCharactersInBothForms)
{
  struct Case
  {
    std::string text;
    bool invalid;
    bool control;
  };
  const Case cases[] = {{"", false, false},
                        {"a\t\n\r~\x7F", false, false},
                        {"a\x01", true, true},
                        {"\0"s, true, true},
                        {"\xEF\xBF\xBD", false, false},
                        {"\xEF\xBF\xBE", true, false},
                        {"\xEF\xBF\xBF", true, false},
                        {"\xF0\x9F\x98\x80", true, false},
                        {"\xED\x9F\xBF", false, false},
                        {"\xEE\x80\x80", false, false},
                        {"\xC3\xA4\x1F", true, true}};
  for (const Case& c : cases) {
    XMLChstring units;
    ASSERT_TRUE(XMLEncXStr::convertUTF8ToUTF16(c.text, units));
    EXPECT_EQ(XmlInvalidCharHandler::hasXmlInvalidChar(c.text), c.invalid) << testing::PrintToString(c.text);
    EXPECT_EQ(XmlInvalidCharHandler::hasXmlInvalidChar(units), c.invalid) << testing::PrintToString(c.text);
    EXPECT_EQ(XmlInvalidCharHandler::hasControlChar(c.text), c.control) << testing::PrintToString(c.text);
    EXPECT_EQ(XmlInvalidCharHandler::hasControlChar(units), c.control) << testing::PrintToString(c.text);
  }
  EXPECT_EQ(XmlInvalidCharHandler::convertToHexString(0xFFFE, 4), "FFFE");
  EXPECT_EQ(XmlInvalidCharHandler::convertToHexString(0, 4), "0");
  EXPECT_EQ(XmlInvalidCharHandler::convertToHexString(10, 1), "1010");
}

// ---- Base64

TEST(Base64, KnownTexts)
{
  struct Case
  {
    std::string bytes;
    std::string line;
  };
  const Case cases[] = {{"f", "Zg=="},        {"fo", "Zm8="},         {"foo", "Zm9v"},
                        {"foob", "Zm9vYg=="}, {"foobar", "Zm9vYmFy"}, {"\0\xFF\xFE"s, "AP/+"}};
  for (const Case& c : cases) {
    std::string text;
    std::string bytes;
    EXPECT_TRUE(base64Encode(c.bytes, text));
    EXPECT_EQ(text, c.line + "\n");
    EXPECT_EQ(base64_encode(c.bytes), c.line);
    EXPECT_TRUE(base64Decode(text, bytes));
    EXPECT_EQ(bytes, c.bytes);
    EXPECT_TRUE(base64DecodeXmlCh(XMLChstring(text.c_str()).c_str(), bytes));
    EXPECT_EQ(bytes, c.bytes);
    EXPECT_EQ(base64_decode(c.line), c.bytes);
  }
  std::string text;
  ASSERT_TRUE(base64Encode(std::string(50, '\0'), text));
  EXPECT_EQ(text, std::string(60, 'A') + "\nAAAAAAA=\n");
  EXPECT_TRUE(base64Decode(" Zm\t9\r\nv\n", text));
  EXPECT_EQ(text, "foo");

  EXPECT_TRUE(base64Encode("", text));
  EXPECT_EQ(text, "");
  text = "x";
  EXPECT_TRUE(base64Decode("", text));
  EXPECT_EQ(text, "");
  text = "x";
  EXPECT_TRUE(base64DecodeXmlCh(XMLChstring("").c_str(), text));
  EXPECT_EQ(text, "");
  EXPECT_EQ(base64_encode("") + base64_decode(""), "");
}

TEST(Base64, RandomBytesComeBack)
{
  std::mt19937 random(3);
  for (int run = 0; run < 2000; ++run) {
    std::string bytes(random() % 200, '\0');
    for (char& byte : bytes) {
      byte = static_cast<char>(random());
    }
    std::string text;
    std::string back;
    ASSERT_TRUE(base64Encode(bytes, text));
    ASSERT_TRUE(base64Decode(text, back));
    ASSERT_EQ(back, bytes);
    ASSERT_EQ(base64_decode(base64_encode(bytes)), bytes);
  }
}

TEST(Base64, RefusesDamagedTexts)
{
  std::vector<std::string> bad = {
      "Y", "YQ", "YQ=", "=", "====", "YWJj=", "YW=j", "YQ==YQ==", "YWJj\0"s, "\0YWJj"s};
  for (int byte = 0; byte < 256; ++byte) {
    if (std::isalnum(byte) == 0 && byte != '+' && byte != '/' && byte != '=' && byte != ' ' && byte != '\t' &&
        byte != '\n' && byte != '\r') {
      bad.push_back("YWJ" + std::string(1, static_cast<char>(byte)));
    }
  }
  for (const std::string& text : bad) {
    const kwxml::test::LogCapture log(1);
    std::string out = "kept";
    EXPECT_FALSE(base64Decode(text, out)) << testing::PrintToString(text);
    EXPECT_EQ(out, "kept");
    EXPECT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(base64_decode(text), "") << testing::PrintToString(text);
    EXPECT_EQ(log.lines().size(), 2u);
  }
  std::string out = "kept";
  EXPECT_FALSE(base64DecodeXmlCh(nullptr, out));
  const Units narrowedByTruncation = {0x0159, 'W', 'J', 'j', 0};
  EXPECT_FALSE(base64DecodeXmlCh(narrowedByTruncation.data(), out));
  EXPECT_EQ(out, "kept");
}

// ---- Dates

class Dates : public testing::Test
{
protected:
  static void setZone(const char* zone)
  {
    setenv("TZ", zone, 1);
    tzset();
  }
  Dates() { setZone("UTC"); }
  ~Dates() override
  {
    unsetenv("TZ");
    tzset();
  }
  static std::string written(int seconds, Annotation::DateType type)
  {
    char buffer[kwxml::dateBufferSize];
    return writeXDate(seconds, type, buffer) ? buffer : "(failed)";
  }
};

// A zone of the C library's own syntax, so that no zone files are needed: central Europe with its summer
// time.
const char centralEurope[] = "CET-1CEST,M3.5.0,M10.5.0/3";

TEST_F(Dates, WritesTimestampsAndDurations)
{
  struct Case
  {
    int seconds;
    const char* dateTime;
    const char* date;
  };
  const Case cases[] = {{172800, "2 dd", "2 dd"},
                        {86400, "1 dd", "1 dd"},
                        {90000, "25 hh", "25 hh"},
                        {7200, "2 hh", "2 hh"},
                        {7201, "7201", "7201"},
                        {3600, "1 hh", "1 hh"},
                        {3599, "3599", "3599"},
                        {0, "0", "0"},
                        {-86400, "-86400", "-86400"},
                        {INT_MIN, "-2147483648", "-2147483648"},
                        {662687999, "662687999", "662687999"},
                        {662688000, "1991-01-01 00:00:00", "1991-01-01"},
                        {1600000000, "2020-09-13 12:26:40", "2020-09-13"},
                        {INT_MAX, "2038-01-19 03:14:07", "2038-01-19"}};
  for (const Case& c : cases) {
    EXPECT_EQ(written(c.seconds, Annotation::DATE_TIME), c.dateTime);
    EXPECT_EQ(written(c.seconds, Annotation::DATE), c.date);
  }
  EXPECT_EQ(written(1600000000, static_cast<Annotation::DateType>(3)), "2020-09-13 12:26:40");
  EXPECT_FALSE(writeXDate(0, Annotation::DATE, nullptr));
  setZone(centralEurope);
  EXPECT_EQ(written(1600000000, Annotation::DATE_TIME), "2020-09-13 14:26:40");
  EXPECT_EQ(written(662684400, Annotation::DATE), "1991-01-01");  // the local year decides
}

TEST_F(Dates, ReadsTimestamps)
{
  constexpr Annotation::DateType both[] = {Annotation::DATE_TIME, Annotation::DATE};
  struct Case
  {
    std::string text;
    int type;           // 1 date and time, 2 date
    long long seconds;  // LLONG_MIN: refused
  };
  constexpr long long refused = LLONG_MIN;
  const Case cases[] = {
      {"2020-09-13", 2, 1599955200},
      {"2020-09-13 12:26:40", 1, 1600000000},
      {"2020-9-3 1:2:3", 1, 1599094923},
      {" 2020- 9-13tail", 2, 1599955200},
      {"2020-09-1312:26:40", 1, 1600000000},
      {"2020-09-13T12:26:40", 1, refused},
      {"2020-09-13", 1, refused},
      {"2020-09-13 12:26", 1, refused},
      {"2020-13-01", 2, refused},
      {"2020-12-32", 2, refused},
      {"2020-02-31", 2, 1583107200},
      {"2020-00-01", 2, 1575158400},
      {"2020-09-13 24:60:60", 1, 1600045260},
      {"2020-09-13 25:00:00", 1, refused},
      {"2020-09-13 00:61:00", 1, refused},
      {"2020-09-13 00:00:61", 1, refused},
      {"2038-01-19 03:14:08", 1, INT_MIN},
      {"1969-12-31 23:59:59", 1, -1},
      {"20200-09-13", 2, refused},
      {"2020--1-01", 2, 1572566400},
      {"2020 -01-01", 2, refused},
      {"-", 2, refused},
      {"+-20-01-01", 2, refused},
      {"2 dd", 2, refused},
      {"", 2, refused},
      {std::string(100000, '9'), 2, refused},
  };
  for (const Case& c : cases) {
    int seconds = 7;
    const bool read = processXDate(c.text.c_str(), seconds, both[c.type - 1]);
    EXPECT_EQ(read, c.seconds != refused) << c.text.substr(0, 30);
    EXPECT_EQ(seconds, read ? c.seconds : 7) << c.text.substr(0, 30);
  }
  int seconds = 7;
  EXPECT_FALSE(processXDate(nullptr, seconds, Annotation::DATE));
  EXPECT_FALSE(processXDate("2020-09-13", seconds, static_cast<Annotation::DateType>(3)));
  EXPECT_FALSE(processXDate("2020-09-13", seconds, static_cast<Annotation::DateType>(0)));
}

TEST_F(Dates, TheScannerReadsAsTheStandardOneDoes)
{
  const char pieces[] = "0123456789-- :+\tx";
  std::mt19937 random(4);
  for (int run = 0; run < 200000; ++run) {
    std::string text = "2020-09-13 12:26:40";
    for (unsigned change = random() % 4; change > 0; --change) {
      text[random() % text.size()] = pieces[random() % (sizeof(pieces) - 1)];
    }
    int n[6];
    const bool six = std::sscanf(text.c_str(), "%4d-%02d-%02d %02d:%02d:%02d", &n[0], &n[1], &n[2], &n[3],
                                 &n[4], &n[5]) == 6;
    const bool valid = six && n[1] <= 12 && n[2] <= 31 && n[3] <= 24 && n[4] <= 60 && n[5] <= 60;
    int seconds = 0;
    ASSERT_EQ(processXDate(text.c_str(), seconds, Annotation::DATE_TIME), valid) << text;
    if (valid) {
      std::tm expected{};
      expected.tm_year = n[0] - 1900;
      expected.tm_mon = n[1] - 1;
      expected.tm_mday = n[2];
      expected.tm_hour = n[3];
      expected.tm_min = n[4];
      expected.tm_sec = n[5];
      ASSERT_EQ(seconds, static_cast<int>(timegm(&expected))) << text;
    }
  }
}

TEST_F(Dates, TimestampsComeBackInAnyZone)
{
  std::mt19937 random(5);
  for (const char* zone : {"UTC", centralEurope, "NZST-12NZDT,M9.5.0,M4.1.0/3"}) {
    setZone(zone);
    for (int run = 0; run < 2000; ++run) {
      const int seconds = 662800000 + static_cast<int>(random() % 1400000000);
      int back = 0;
      const std::string text = written(seconds, Annotation::DATE_TIME);
      ASSERT_TRUE(processXDate(text.c_str(), back, Annotation::DATE_TIME)) << text;
      // The hour that the end of summer time repeats has two times for one text.
      ASSERT_TRUE(back == seconds || written(back, Annotation::DATE_TIME) == text) << text;
    }
  }
}

TEST_F(Dates, ReadsTimesOfDay)
{
  const char shape[] = "Error in Time representation : [%s]";
  const char range[] = "Error in 24 hour time representation : [%s]";
  struct Case
  {
    const char* text;
    int seconds;
    const char* error;
  };
  const Case cases[] = {{" 12:30:05 ", 45005, nullptr},
                        {"\f\n\r\t\v00:00:00\f\n\r\t\v", 0, nullptr},
                        {"23:59:59", 86399, nullptr},
                        {"24:00:00", 86400, nullptr},
                        {"24:00:30", 86430, nullptr},
                        {"1:2:3", 3723, nullptr},
                        {"::", 0, nullptr},
                        {"12: 30:5x", 45005, nullptr},
                        {"-1:00:00", -3600, nullptr},
                        {"24:01:00", 0, range},
                        {"24:00:60", 0, range},
                        {"25:00:00", 0, range},
                        {"12:60:00", 0, range},
                        {"12:00:60", 0, range},
                        {"99999999999999999999:0:0", 0, range},
                        {"-99999999999999999999:0:0", 0, range},
                        {"-596523:-59:-99999999999", 0, range},
                        {"12:30", 0, shape},
                        {"1:2:3:4", 0, shape},
                        {"", 0, shape},
                        {"120000", 0, shape}};
  for (const Case& c : cases) {
    const kwxml::test::LogCapture log;
    int seconds = 7;
    EXPECT_EQ(processKWTime(c.text, seconds), c.error == nullptr) << c.text;
    EXPECT_EQ(seconds, c.error == nullptr ? c.seconds : 7) << c.text;
    std::vector<std::string> expected;
    if (c.error != nullptr) {
      char line[200];
      std::snprintf(line, sizeof line,
                    c.error == shape ? "Error in Time representation : [%s]"
                                     : "Error in 24 hour time representation : [%s]",
                    c.text);
      expected.push_back(line);
    }
    EXPECT_EQ(log.texts(), expected) << c.text;
  }
  const kwxml::test::LogCapture log;
  int seconds = 7;
  EXPECT_FALSE(processKWTime(nullptr, seconds));
  EXPECT_TRUE(log.has("processKWTime", "[Received NULL string]"));
  EXPECT_EQ(trim_string(" \t a b \v\n"), "a b");
  EXPECT_EQ(trim_string(" \f"), "");
}

// ---- Numbers

/// Runs in a locale that writes 1,5 for 1.5 and groups digits with dots.
class ForeignLocale : public testing::Test
{
protected:
  void SetUp() override
  {
    directory_ = std::filesystem::temp_directory_path() / ("kwxml_locale_" + std::to_string(getpid()));
    std::filesystem::create_directories(directory_);
    std::ofstream(directory_ / "comma.src")
        << "LC_NUMERIC\ndecimal_point \"<U002C>\"\nthousands_sep \"<U002E>\"\n"
           "grouping 3;3\nEND LC_NUMERIC\n";
    const std::string command = "localedef -c -f ANSI_X3.4-1968 -i " + (directory_ / "comma.src").string() +
                                " " + (directory_ / "xx_XX").string() + " >/dev/null 2>&1";
    [[maybe_unused]] const int status = std::system(command.c_str());
    setenv("LOCPATH", directory_.c_str(), 1);
    if (setlocale(LC_ALL, "xx_XX") == nullptr) {
      GTEST_SKIP() << "this machine cannot make a locale";
    }
    char shown[16];
    std::snprintf(shown, sizeof shown, "%g", 1.5);
    ASSERT_STREQ(shown, "1,5");
  }
  void TearDown() override
  {
    setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
    std::filesystem::remove_all(directory_);
  }

private:
  std::filesystem::path directory_;
};

TEST_F(ForeignLocale, ChangesNothing)
{
  kwxml::NumberBuffer buffer;
  EXPECT_EQ(kwxml::formatDouble(1234567.5, buffer), "1.23457e+06");
  EXPECT_EQ(kwxml::formatDouble(1.5, buffer), "1.5");
  EXPECT_EQ(kwxml::formatInteger(1234567, buffer), "1234567");
  EXPECT_EQ(kwxml::parseDouble("1.5"), 1.5);
  EXPECT_EQ(kwxml::parseDouble("1,5"), 1.0);
  EXPECT_EQ(kwxml_atoll("1.234"), 1);
  char date[kwxml::dateBufferSize];
  ASSERT_TRUE(writeXDate(1600000000, Annotation::DATE, date));
  EXPECT_STREQ(date, "2020-09-13");
  XMLChstring units;
  EXPECT_TRUE(XMLEncXStr::convertUTF8ToUTF16("\xC3\xA4", units));
  EXPECT_EQ(units[0], 0xE4);
}

TEST(NumberText, WritesFloatingNumbersAsStreamsDo)
{
  kwxml::NumberBuffer buffer;
  const auto expectAsPrintf = [&buffer](double value) {
    char expected[64];
    std::snprintf(expected, sizeof expected, "%g", value);
    ASSERT_EQ(kwxml::formatDouble(value, buffer), expected);
    ASSERT_STREQ(buffer.text, expected);
  };
  for (const double value : {0.0, -0.0, 1.0, 100000.0, 1e6, 999999.5, 1234567.0, 0.0001, 0.00001, 1.0 / 3,
                             1e300, 5e-324, -1.5, HUGE_VAL, -HUGE_VAL, std::nan(""), -std::nan("")}) {
    expectAsPrintf(value);
  }
  std::mt19937_64 random(6);
  for (int run = 0; run < 50000; ++run) {
    expectAsPrintf(std::bit_cast<double>(random()));
    expectAsPrintf(static_cast<double>(random() % 100000000) / 1000);
  }
  EXPECT_EQ(kwxml::formatInteger(LLONG_MIN, buffer), "-9223372036854775808");
  EXPECT_EQ(kwxml::formatUnsigned(ULLONG_MAX, buffer), "18446744073709551615");
}

TEST(NumberText, ReadsTheNumberAtTheStart)
{
  EXPECT_EQ(kwxml::parseDouble(" -1.5e2x"), -150.0);
  EXPECT_EQ(kwxml::parseDouble("0x10"), 16.0);
  EXPECT_EQ(kwxml::parseDouble("1e999"), HUGE_VAL);
  EXPECT_TRUE(std::isnan(kwxml::parseDouble("nan")));
  EXPECT_EQ(kwxml::parseDouble("x"), 0.0);
  EXPECT_EQ(kwxml::parseDouble(nullptr), 0.0);
  EXPECT_EQ(kwxml::parseFloat("3.4028234663852886e38"), 3.4028234663852886e38f);
  EXPECT_EQ(kwxml::parseFloat("-1e39"), -HUGE_VALF);

  struct Case
  {
    const char* text;
    long long value;
  };
  for (const Case& c : {Case{nullptr, 0},
                        {"", 0},
                        {"x1", 0},
                        {" \t\n+12x", 12},
                        {"-7", -7},
                        {"--7", 0},
                        {"0x10", 0},
                        {"9223372036854775808", LLONG_MAX},
                        {"-99999999999999999999", LLONG_MIN}}) {
    EXPECT_EQ(kwxml_atoll(c.text), c.value) << (c.text != nullptr ? c.text : "null");
  }
  EXPECT_EQ(kwxml::parseUnsigned("18446744073709551615"), ULLONG_MAX);
  EXPECT_EQ(kwxml::parseUnsigned("-1"), ULLONG_MAX);
  EXPECT_EQ(kwxml::parseInt("99999999999"), INT_MAX);
  EXPECT_EQ(kwxml::parseInt("-99999999999"), INT_MIN);

  EXPECT_TRUE(kwxml::asciiEqualsIgnoreCase("TrUe", "true"));
  EXPECT_FALSE(kwxml::asciiEqualsIgnoreCase("true", "tru"));
  EXPECT_FALSE(kwxml::asciiEqualsIgnoreCase("[", "{"));
}

}  // namespace
