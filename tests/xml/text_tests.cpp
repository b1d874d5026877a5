// Text on its way between a message and a document: transcoding, escapes, base64, dates, numbers. All of it
// must hold for hostile bytes, in any locale of the process, and from many threads.
#include "platform/TempDirectory.h"
#include "support/DataFile.h"
#include "xml/Utf.h"

#include <kwxml/text/Base64.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/NumberText.h>
#include <kwxml/text/ShownText.h>
#include <kwxml/xml/InvalidChars.h>
#include <kwxml/xml/Transcoding.h>

#include <gtest/gtest.h>
#include <algorithm>
#include <bit>
#include <cctype>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstring>
#include <ctime>
#include <functional>
#include <map>
#include <random>
#include <sstream>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUTF8Transcoder.hpp>

using namespace kwxml::test;
using namespace std::string_literals;

namespace {

const std::string rows = "xml/text.cases";

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

/// Units from hexadecimal numbers.
Units unitsOf(const std::string& numbers)
{
  std::istringstream in(numbers);
  in >> std::hex;
  return {std::istream_iterator<unsigned short>(in), {}};
}

std::string narrow(const unsigned short* units, std::size_t length)
{
  std::string text;
  for (std::size_t i = 0; i < length; ++i) {
    text += units[i] < 0x80 ? static_cast<char>(units[i]) : '?';
  }
  return text;
}

const char badUtf8[] =
    "0 XMLEncXStr::convertUTF8ToUTF16: Exception translating string from UTF-8 to UTF-16. Likely invalid "
    "UTF-8 "
    "formatted string.\n";

// ---- Transcoding

void expectBothWays(const std::string& utf8, const Units& utf16, int where)
{
  XMLChstring toWide;
  std::string toNarrow;
  EXPECT_TRUE(XMLEncXStr::convertUTF8ToUTF16(utf8, toWide) && unitsOf(toWide) == utf16) << where;
  EXPECT_TRUE(XMLEncXStr::convertUTF16ToUTF8(wide(utf16), toNarrow) && toNarrow == utf8) << where;
}

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
    expectBothWays(utf8, utf16, static_cast<int>(block));
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
        expectBothWays(utf8, utf16, lead);
      }
    }
  }
}

TEST(Transcoding, RefusesWhatIsNotUtf8)
{
  const std::string tails[] = {"", "tail", std::string(40000, 'x')};
  expectRows(rows, "bytes that are not UTF-8", [&](const Lines& cells) {
    for (const std::string& head : tails) {
      for (const std::string& tail : tails) {
        const LogCapture log;
        XMLChstring out("kept");
        EXPECT_FALSE(XMLEncXStr::convertUTF8ToUTF16(head + cells[0] + tail, out));
        EXPECT_TRUE("kept" == out);
        EXPECT_EQ(toText(log), badUtf8);
      }
    }
    return "";
  });
}

TEST(Transcoding, RandomBytesAreRefusedOrComeBackExactly)
{
  std::mt19937 random(1);
  const LogCapture log;
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
  expectRows(rows, "units that are not UTF-16", [](const Lines& cells) {
    const Units text = unitsOf(cells[0]);
    for (const std::size_t lead : {0u, 1u, 16383u, 16384u, 20000u}) {
      Units units(lead, 0xE4);
      units.insert(units.end(), text.begin(), text.end());
      const LogCapture log;
      std::string out = "kept";
      EXPECT_FALSE(XMLEncXStr::convertUTF16ToUTF8(wide(units), out)) << lead;
      EXPECT_EQ(out, "kept");
      EXPECT_EQ(log.lines().size(), 1u);
    }
    return "";
  });
}

TEST(Transcoding, RescuesLatin1)
{
  const LogCapture log;
  XMLChstring out;
  EXPECT_TRUE(XMLEncXStr::convertUnformattedToUTF16("a\x7F\x80\xE4\xFF\0z"s, out));
  EXPECT_EQ(unitsOf(out), (Units{'a', 0x7F, 0x80, 0xE4, 0xFF}));
  EXPECT_EQ(toText(log),
            "0 XMLEncXStr::convertUnformattedToUTF16: Translated ASCII-8 to UTF-8. Input length [5]. Output "
            "length [8].\n");
  EXPECT_TRUE(XMLEncXStr::convertUnformattedToUTF16("", out) && out.length() == 0);
}

TEST(Transcoding, HolderHasBothForms)
{
  const LogCapture log;
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

TEST(Transcoding, TheTranscoderIsSharedAndOutlivesOtherUsers)
{
  const std::string localeBefore = setlocale(LC_ALL, nullptr);
  ASSERT_EQ(XMLEncXStr("x").StringForm(), "x");
  EXPECT_EQ(setlocale(LC_ALL, nullptr), localeBefore);
  // Another user of the XML library in this process comes and goes.
  xercesc::XMLPlatformUtils::Initialize();
  xercesc::XMLPlatformUtils::Terminate();

  // The kind that holds nothing between calls.
  EXPECT_NE(dynamic_cast<xercesc::XMLUTF8Transcoder*>(XMLEncXStr::getTranscoderObject()), nullptr);
  EXPECT_EQ(XMLEncXStr::getTranscoderObject()->getBlockSize(), 16384u);
}

// ---- Escapes

TEST(InvalidChars, WritesAndReadsEscapes)
{
  expectRows(rows, "escapes written", [](const Lines& cells) {
    const Units text = unitsOf(cells[0]);
    XmlInvalidCharHandler handler;
    const unsigned short* escaped = handler.encodeInvalidChars(text.data(), text.size());
    const std::string result = narrow(escaped, handler.resultLength());
    EXPECT_EQ(escaped[handler.resultLength()], 0);
    // The handler's own result is a valid input of its next call.
    const unsigned short* back = handler.decodeInvalidChars(escaped);
    EXPECT_EQ(Units(back, back + handler.resultLength()), text) << result;
    return kwxml::shown(result, "\\");
  });
}

TEST(InvalidChars, ReadsWhatOthersWrote)
{
  expectRows(rows, "escapes read", [](const Lines& cells) {
    XmlInvalidCharHandler handler;
    const XMLChstring text(cells[0].c_str());
    const unsigned short* restored = handler.decodeInvalidChars(text.c_str());
    return kwxml::shown(narrow(restored, handler.resultLength()), "\\");
  });
  XmlInvalidCharHandler handler;
  EXPECT_EQ(handler.decodeInvalidChars(nullptr), nullptr);
  EXPECT_EQ(handler.decodeInvalidChars(XMLChstring("|").c_str()), nullptr);
  EXPECT_EQ(handler.encodeInvalidChars(nullptr)[0], 0);
  const XMLChstring plain("tab\t, new-line\n, return\r, | and |# and !");
  EXPECT_EQ(handler.encodeInvalidChars(plain.c_str()), plain.c_str())
      << "what is unchanged is the input itself";
  EXPECT_EQ(handler.decodeInvalidChars(plain.c_str()), plain.c_str());
  EXPECT_EQ(handler.encodeInvalidChars(XMLChstring("").c_str(), 0)[0], 0);
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
  using Handler = XmlInvalidCharHandler;
  expectRows(rows, "characters that XML forbids", [](const Lines& cells) {
    XMLChstring units;
    EXPECT_TRUE(XMLEncXStr::convertUTF8ToUTF16(cells[0], units));
    const bool invalid = Handler::hasXmlInvalidChar(cells[0]);
    const bool control = Handler::hasControlChar(cells[0]);
    EXPECT_EQ(Handler::hasXmlInvalidChar(units), invalid);
    EXPECT_EQ(Handler::hasControlChar(units), control);
    return (invalid ? "forbidden"s : "allowed"s) + (control ? ", control" : "");
  });
  EXPECT_EQ(XmlInvalidCharHandler::convertToHexString(0xFFFE, 4), "FFFE");
  EXPECT_EQ(XmlInvalidCharHandler::convertToHexString(0, 4), "0");
  EXPECT_EQ(XmlInvalidCharHandler::convertToHexString(10, 1), "1010");
}

// ---- Base64

TEST(Base64, KnownTexts)
{
  expectRows(rows, "base64", [](const Lines& cells) {
    std::string lines;
    std::string bytes = "x";
    EXPECT_TRUE(base64Encode(cells[0], lines));
    EXPECT_TRUE(base64Decode(lines, bytes));
    EXPECT_EQ(bytes, cells[0]);
    bytes = "x";
    EXPECT_TRUE(base64DecodeXmlCh(XMLChstring(lines.c_str()).c_str(), bytes));
    EXPECT_EQ(bytes, cells[0]);
    const std::string line = base64_encode(cells[0]);
    EXPECT_EQ(lines, line.empty() ? "" : line + "\n");
    EXPECT_EQ(base64_decode(line), cells[0]);
    return line;
  });
  std::string text;
  ASSERT_TRUE(base64Encode(std::string(50, '\0'), text));
  EXPECT_EQ(text, std::string(60, 'A') + "\nAAAAAAA=\n");
  EXPECT_TRUE(base64Decode(" Zm\t9\r\nv\n", text));
  EXPECT_EQ(text, "foo");
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
  const auto refuse = [](const std::string& damaged) {
    const LogCapture log(1);
    std::string out = "kept";
    EXPECT_FALSE(base64Decode(damaged, out)) << kwxml::shown(damaged);
    EXPECT_EQ(out, "kept");
    EXPECT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(base64_decode(damaged), "") << kwxml::shown(damaged);
    EXPECT_EQ(log.lines().size(), 2u);
  };
  expectRows(rows, "damaged base64", [&](const Lines& cells) {
    refuse(cells[0]);
    return "";
  });
  for (int byte = 1; byte < 256; ++byte) {
    if (std::isalnum(byte) == 0 && std::strchr("+/= \t\n\r", byte) == nullptr) {
      refuse("YWJ"s + static_cast<char>(byte));
    }
  }
  refuse("YWJ\0"s);
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
  ~Dates() override { setZone("UTC"); }
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
  expectRows(rows, "dates written", [](const Lines& cells) {
    setZone(cells.size() > 1 ? cells[1].c_str() : "UTC");
    const int seconds = std::stoi(cells[0]);
    return written(seconds, Annotation::DATE_TIME) + ", " + written(seconds, Annotation::DATE);
  });
  setZone("UTC");
  EXPECT_EQ(written(1600000000, static_cast<Annotation::DateType>(3)), "2020-09-13 12:26:40");
  EXPECT_FALSE(writeXDate(0, Annotation::DATE, nullptr));
}

TEST_F(Dates, ReadsTimestamps)
{
  const auto read = [](const char* text, Annotation::DateType type) {
    int seconds = 7;
    const bool done = processXDate(text, seconds, type);
    EXPECT_TRUE(done || seconds == 7);
    return done ? std::to_string(seconds) : "refused";
  };
  expectRows(rows, "dates read", [&](const Lines& cells) {
    return read(cells[0].c_str(), cells[1] == "date" ? Annotation::DATE : Annotation::DATE_TIME);
  });
  EXPECT_EQ(read(std::string(100000, '9').c_str(), Annotation::DATE), "refused");
  EXPECT_EQ(read(nullptr, Annotation::DATE), "refused");
  EXPECT_EQ(read("2020-09-13", static_cast<Annotation::DateType>(3)), "refused");
  EXPECT_EQ(read("2020-09-13", static_cast<Annotation::DateType>(0)), "refused");
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
      std::tm expected{n[5], n[4], n[3], n[2], n[1] - 1, n[0] - 1900, 0, 0, 0, 0, nullptr};
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
  expectRows(rows, "times of day", [](const Lines& cells) {
    int seconds = 7;
    const bool read = processKWTime(cells[0].c_str(), seconds);
    EXPECT_TRUE(read || seconds == 7);
    return read ? std::to_string(seconds) : "refused";
  });
  const LogCapture log;
  int seconds = 7;
  EXPECT_FALSE(processKWTime(nullptr, seconds));
  EXPECT_TRUE(log.has("processKWTime", "[Received NULL string]"));
  EXPECT_EQ(trim_string(" \t a b \v\n"), "a b");
  EXPECT_EQ(trim_string(" \f"), "");
}

// ---- Numbers

TEST(ForeignLocale, ChangesNothing)
{
  // One that writes 1,5 for 1.5 and groups digits with dots.
  const TempDirectory directory;
  const std::string source = directory.write(
      "comma.src",
      "LC_NUMERIC\ndecimal_point \"<U002C>\"\nthousands_sep \"<U002E>\"\ngrouping 3;3\nEND LC_NUMERIC\n");
  const std::string command =
      "localedef -c -f ANSI_X3.4-1968 -i " + source + " " + directory / "xx_XX" + " >/dev/null 2>&1";
  [[maybe_unused]] const int status = std::system(command.c_str());
  setenv("LOCPATH", directory.path().c_str(), 1);
  if (setlocale(LC_ALL, "xx_XX") == nullptr) {
    GTEST_SKIP() << "this machine cannot make a locale";
  }
  EXPECT_EQ(std::to_string(1.5), "1,500000");
  kwxml::NumberBuffer buffer;
  EXPECT_EQ(kwxml::formatDouble(1234567.5, buffer), "1.23457e+06");
  EXPECT_EQ(kwxml::formatDouble(1.5, buffer), "1.5");
  EXPECT_EQ(kwxml::formatInteger(1234567, buffer), "1234567");
  EXPECT_EQ(kwxml::parseDouble("1.5"), 1.5);
  EXPECT_EQ(kwxml::parseDouble("1,5"), 1.0);
  EXPECT_EQ(kwxml_atoll("1.234"), 1);
  char date[kwxml::dateBufferSize];
  EXPECT_TRUE(writeXDate(1600000000, Annotation::DATE, date));
  EXPECT_STREQ(date, "2020-09-13");
  XMLChstring units;
  EXPECT_TRUE(XMLEncXStr::convertUTF8ToUTF16("\xC3\xA4", units));
  EXPECT_EQ(units[0], 0xE4);
  setlocale(LC_ALL, "C");
  unsetenv("LOCPATH");
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
    const double power = std::pow(10.0, static_cast<double>(random() % 13) - 5);
    expectAsPrintf(-static_cast<double>(random() % 10000000) / 10000000 *
                   power);  // ties of the seventh digit
    expectAsPrintf(std::nextafter(power, 0));
    expectAsPrintf(static_cast<double>(random()) / 18446744073709551616.0 * power);
  }
  EXPECT_EQ(kwxml::formatInteger(LLONG_MIN, buffer), "-9223372036854775808");
  EXPECT_EQ(kwxml::formatUnsigned(ULLONG_MAX, buffer), "18446744073709551615");
}

std::string exact(double value)
{
  char text[64];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

TEST(NumberText, ReadsTheNumberAtTheStart)
{
  const std::map<std::string, std::function<std::string(const char*)>> readers = {
      {"double", [](const char* text) { return exact(kwxml::parseDouble(text)); }},
      {"float", [](const char* text) { return exact(kwxml::parseFloat(text)); }},
      {"integer", [](const char* text) { return std::to_string(kwxml_atoll(text)); }},
      {"unsigned", [](const char* text) { return std::to_string(kwxml::parseUnsigned(text)); }},
      {"int", [](const char* text) { return std::to_string(kwxml::parseInt(text)); }},
  };
  expectRows(rows, "numbers read",
             [&](const Lines& cells) { return readers.at(cells[0])(cells[1].c_str()); });
  EXPECT_EQ(kwxml::parseDouble(nullptr), 0.0);
  EXPECT_EQ(kwxml_atoll(nullptr), 0);
  EXPECT_TRUE(kwxml::asciiEqualsIgnoreCase("TrUe", "true"));
  EXPECT_FALSE(kwxml::asciiEqualsIgnoreCase("true", "tru"));
  EXPECT_FALSE(kwxml::asciiEqualsIgnoreCase("[", "{"));
}

}  // namespace
