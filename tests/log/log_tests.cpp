// Whole messages in the log: what a line looks like, that none is lost, and what it costs not to log.
#include <kwxml/binary/BinaryBuffer.h>
#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/log/LogXml.h>
#include <kwxml/log/XmlBinaryLogger.h>
#include <kwxml/log/XmlLoggerHelper.h>
#include <kwxml/platform/LogSink.h>

#include "platform/TempDirectory.h"
#include "support/AllocationCounter.h"
#include "support/Documents.h"
#include "support/LogCapture.h"
#include "support/Messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <thread>

using namespace kwxml::test;

namespace {

YMMessageBase leaf(int number, const std::string& text)
{
  YMMessageBase m = make("Types_Leaf");
  setInt(m, "number", number);
  setText(m, "text", text);
  return m;
}

constexpr const char* frame = "   ";  // before the XML and behind it

/// The line of a logger that is not initialised: this thread writes.
template <class What, class... Args>
std::string logged(const char* format, What* what, Args... args)
{
  LogCapture log;
  XmlBinaryLogger().Debug("f", format, what, args...);
  EXPECT_EQ(log.lines().size(), 1u);
  return log.lines().empty() ? "" : log.lines().front().text;
}

template <class... Args>
void expectAsTheCLibraryHasIt(const char* format, Args... args)
{
  char expected[256];
  std::snprintf(expected, sizeof expected, format, args...);
  EXPECT_EQ(logged(format, static_cast<YMMessageBase*>(nullptr), args...), expected) << format;
}

}  // namespace

TEST(MessageLog, TheXmlStandsWhereThePlaceholderStood)
{
  YMMessageBase m = leaf(7, "100 %s %n %bxml_kw");
  const std::string xml = frame + toXml(m, {}, false) + frame;
  BinaryBuffer buffer;
  ASSERT_EQ(XMLEncoder().SerializeBinary(m, buffer) != 0, true);
  EXPECT_EQ(logged("%bxml_kw", &m), xml);
  EXPECT_EQ(logged("a %d%% %bxml_kw b %s", &buffer, 5, "%d %bxml_kw"), "a 5% " + xml + " b %d %bxml_kw");
  EXPECT_EQ(logged("%s %bxml_kw", &m, "%bxml_kw"), "%bxml_kw " + xml);
  EXPECT_EQ(logged("100%%bxml_kw", &m), "100" + xml);
  EXPECT_EQ(logged("%bxml_kw,%bxml_kw", &m), xml + ",%bxml_kw");
  EXPECT_EQ(logged("%2$s %bxml_kw %1$.1f", &m, 1.5, "12"), "12 " + xml + " 1.5");
  EXPECT_EQ(logged("%s %bxml_kw %s", &m, "\x01", "\x02"), "\x01 " + xml + " \x02");
  EXPECT_EQ(logged("%ls, %bxml_kw", &m, L"\xD800"), "(arguments not formatted) %ls, " + xml);
  EXPECT_EQ(logged("no XML %d", &m, 1), "no XML 1");

  LogCapture log(10);
  XmlBinaryLogger logger;
  logger.Debug("f", "%bxml_kw", &m);
  logger.DebugLvl("g", 3, "%d%bxml_kw", &buffer, 1);
  logger.DebugLvl("g", 3, "%d%bxml_kw", &m, 2);
  logger.DebugLvl("h", 4, 9, "[%bxml_kw]%d", static_cast<YMMessageBase*>(nullptr), 3);
  logger.DebugLvl("h", 4, 9, "[%bxml_kw]%d", static_cast<BinaryBuffer*>(nullptr), 4);
  EXPECT_EQ(toText(log),
            "0 f: " + xml + "\n3 g: 1" + xml + "\n3 g: 2" + xml + "\n4 h: [      ]3\n4 h: [      ]4\n");
}

TEST(MessageLog, ArgumentsReadAsTheCLibraryHasThem)
{
  constexpr int least = std::numeric_limits<int>::min();
  constexpr long long leastLong = std::numeric_limits<long long>::min();
  const char* const none = nullptr;
  expectAsTheCLibraryHasIt("%d %i %u", least, 0, ~0u);
  expectAsTheCLibraryHasIt("%ld|%lu|%lld|%llu%%", 1L, ~0UL, leastLong, ~0ULL);
  expectAsTheCLibraryHasIt("%s%s %d", "", "text", 1);
  // What is told apart late: everything before it is formatted anew.
  expectAsTheCLibraryHasIt("%d %s %ld %5d|%-4s|%.2s", 1, "a", 2L, 3, "b", "cde");
  expectAsTheCLibraryHasIt("%s %d %x %c %zu %hhd %.3f %p", "a", 1, 255u, 'c', sizeof least, 300, 1.5,
                           static_cast<const void*>(none));
  expectAsTheCLibraryHasIt("%d %s", 1, none);
  expectAsTheCLibraryHasIt("%d %ls", 1, L"wide");
  expectAsTheCLibraryHasIt("%2$s %1$d", 1, "a");
  expectAsTheCLibraryHasIt("%d %*d", 1, 4, 2);
}

TEST(MessageLog, BytesInTheCallersMemoryAreItsCapacity)
{
  YMMessageBase m = leaf(7, "x");
  BinaryBuffer owned;
  ASSERT_NE(XMLEncoder().SerializeBinary(m, owned), 0);
  std::string memory(owned.length(), ' ');
  BinaryBuffer lent(memory.data(), memory.size());
  BinarySerializer::serialize(m, lent);
  EXPECT_EQ(logged("%bxml_kw", &lent), frame + toXml(m, {}, false) + frame);
}

TEST(MessageLog, BytesThatDoNotDecodeGiveAnEmptyXml)
{
  LogCapture log(10);
  BinaryBuffer garbage;
  garbage.deepCopyBuffer("garbage!garbage!", 16, false);
  XmlBinaryLogger().Debug("f", "[%bxml_kw]", &garbage);
  EXPECT_TRUE(log.has("f", "[      ]"));
  EXPECT_GT(log.lines().size(), 1u) << "and why";
  YMMessageBase deep = nodeChain(65);
  XmlBinaryLogger().Debug("f", "<%bxml_kw>", &deep);
  EXPECT_TRUE(log.has("f", "<      >")) << "nor does what cannot be encoded";
}

TEST(MessageLog, LongLinesAreCutBetweenCharacters)
{
  YMMessageBase m = leaf(1, "x");
  const std::string xml = frame + toXml(m, {}, false) + frame;
  for (std::size_t length = 4080; length < 4100; ++length) {
    const std::string ascii(length, 'a');
    const std::string text = ascii + "\xE2\x82\xAC\xC3\xA9 tail";
    const std::string line = logged("%s", &m, text.c_str());
    EXPECT_LE(line.size(), 4095u);
    EXPECT_GE(line.size(), std::min<std::size_t>(text.size(), 4093));
    EXPECT_TRUE(text.starts_with(line));
    const auto last = static_cast<unsigned char>(line.back());
    EXPECT_TRUE(last < 0x80 || line.ends_with("\xE2\x82\xAC") || line.ends_with("\xC3\xA9")) << length;
    // The placeholder counts as it stands, whatever formats the line.
    const std::string tail(100, 'b');
    const std::string expected =
        length <= 4087 ? ascii + xml + tail.substr(0, 4087 - length) : ascii.substr(0, 4095);
    for (const char* format : {"%s%bxml_kw%s", "%1$s%bxml_kw%2$s"}) {
      EXPECT_EQ(logged(format, &m, ascii.c_str(), tail.c_str()), expected) << length << format;
    }
  }
  // The cut takes the begun character in front of the placeholder too.
  const std::string begun(4086, 'a');
  for (const char* format : {"%s%bxml_kw%s", "%1$s%bxml_kw%2$s"}) {
    EXPECT_EQ(logged(format, &m, (begun + '\xC3').c_str(), "\xA9 tail"), begun + xml);
  }
}

TEST(MessageLog, ALineAboveTheLevelAllocatesNothing)
{
  LogCapture log(4);
  YMMessageBase m = leaf(1, "x");
  BinaryBuffer buffer;
  XmlBinaryLogger logger;
  logger.initialize();
  logger.DebugLvl("f", 5, "%bxml_kw", &m);
  const AllocationCounter counter;
  logger.DebugLvl("f", 5, "%bxml_kw %s", &m, "x");
  logger.DebugLvl("f", 5, 1, "%bxml_kw %s", &buffer, "x");
  EXPECT_EQ(counter.count(), 0u);
  EXPECT_EQ(log.lines().size(), 0u);
}

TEST(MessageLog, NoLineIsLostAndNoneComesTwice)
{
  constexpr int threads = 16;
  constexpr int lines = 10000;
  std::map<std::string, int> seen;
  {
    const LogCapture level(1);
    kwxml::setLogSink([&seen](const kwxml::LogRecord& record) { ++seen[std::string(record.text)]; });
    XmlBinaryLogger logger;
    ASSERT_EQ(logger.initialize(), 0);
    std::vector<std::thread> callers;
    for (int t = 0; t < threads; ++t) {
      callers.emplace_back([t, logger]() mutable {
        for (int i = 0; i < lines; ++i) {
          YMMessageBase m = leaf(i, "thread " + std::to_string(t));
          logger.DebugLvl("f", 1, "%d.%d%bxml_kw", &m, t, i);
          setInt(m, "number", -1);  // the line has been made
        }
      });
    }
    for (std::thread& caller : callers) {
      caller.join();
    }
    XmlLoggerHelper::getXmlLoggerInstance()->drain();
    kwxml::setLogSink({});
  }
  EXPECT_EQ(seen.size(), static_cast<std::size_t>(threads * lines));
  for (int t = 0; t < threads; ++t) {
    for (int i = 0; i < lines; i += 97) {
      YMMessageBase m = leaf(i, "thread " + std::to_string(t));
      const std::string line =
          std::to_string(t) + "." + std::to_string(i) + frame + toXml(m, {}, false) + frame;
      EXPECT_EQ(seen[line], 1) << line;
    }
  }
  EXPECT_TRUE(std::all_of(seen.begin(), seen.end(), [](const auto& line) { return line.second == 1; }));
}

namespace {

/// Logs when it ends, which is after the pool has been waited for.
struct LastWords
{
  ~LastWords()
  {
    YMMessageBase m = leaf(31, "x");
    XmlBinaryLogger logger;
    logger.initialize();
    logger.DebugLvl("f", 1, "last%bxml_kw", &m);
  }
};

/// Writes lines until the process ends: 30, and one by a static object.
[[noreturn]] void logUntilTheEnd()
{
  XMLDebug::getInstance();  // what is made first ends last
  static const LastWords lastWords;
  static std::atomic<int> written = 0;
  static const LogCapture* const level = new LogCapture(1);  // its end would be the log's
  EXPECT_TRUE(level->lines().empty());
  kwxml::setLogSink([](const kwxml::LogRecord& record) {
    ++written;
    if (record.text.starts_with("last")) {
      std::fprintf(stderr, "%d lines, the last <%s>\n", written.load(), std::string(record.text).c_str());
    }
  });
  XmlBinaryLogger logger;
  logger.initialize();
  for (int i = 0; i < 30; ++i) {
    YMMessageBase m = leaf(i, "x");
    logger.DebugLvl("f", 1, "line %bxml_kw", &m);
  }
  std::exit(0);
}

}  // namespace

TEST(MessageLogDeathTest, LinesThatWaitAtTheEndOfTheProcessAreWritten)
{
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(logUntilTheEnd(), testing::ExitedWithCode(0), "31 lines, the last <last   .*number=\"31\"");
}

namespace {

void logGarbage(const char* format)
{
  BinaryBuffer garbage;
  garbage.deepCopyBuffer("garbage!garbage!", 16, false);
  XmlBinaryLogger logger;
  logger.initialize();
  logger.Debug("f", format, &garbage);
}

/// Ends after the library's log, whose errors nobody sees then.
struct Oldest
{
  ~Oldest() { logGarbage("last %bxml_kw"); }
};

/// The first use of the library are lines that wait when the process ends, and of errors too.
[[noreturn]] void logGarbageUntilTheEnd()
{
  static const Oldest oldest;
  static std::atomic<int> written = 0;
  kwxml::setLogSink([](const kwxml::LogRecord& record) {
    written += record.text == "line       " ? 1 : 0;
    if (record.text == "last       ") {
      std::fprintf(stderr, "%d lines, and the last\n", written.load());
    }
  });
  for (int i = 0; i < 18; ++i) {
    logGarbage("line %bxml_kw");
  }
  std::exit(0);
}

}  // namespace

TEST(MessageLogDeathTest, ErrorsOfWorkersAreLoggedUntilTheEnd)
{
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(logGarbageUntilTheEnd(), testing::ExitedWithCode(0), "18 lines, and the last");
}

TEST(MessageLog, ARecordOfTheCallersOwn)
{
  YMMessageBase m = leaf(7, "secret");
  BinaryBuffer bytes;
  ASSERT_NE(XMLEncoder().SerializeBinary(m, bytes), 0);
  LogCapture log;
  // Records are used again, but not the memory that they were lent.
  auto* record = new messageContainer;
  record->buffer = std::make_unique<BinaryBuffer>();
  record->buffer->SetReadBuffer(bytes.data(), bytes.length(), true);
  record->text = "x";
  record->xmlAt = 5;
  EXPECT_EQ(XmlLoggerHelper::writeThroughTreadPool(record), 0);
  XmlBinaryLogger().Debug("f", "%bxml_kw", static_cast<YMMessageBase*>(nullptr));
  YMMessageBase other = leaf(8, "other");
  XmlBinaryLogger().Debug("f", "%bxml_kw", &other);
  const std::string xml = frame + toXml(m, {}, false) + frame;
  EXPECT_EQ(toText(log), "0 : x" + xml + "\n0 f: " + frame + frame + "\n0 f: " + frame +
                             toXml(other, {}, false) + frame + "\n");
  EXPECT_EQ(XmlLoggerHelper::writeThroughTreadPool(nullptr), 1);
  XmlLoggerHelper::deAllocateMessageContainer(nullptr);
  const KwThreadPool* pool = XmlLoggerHelper::getXmlLoggerInstance();
  EXPECT_EQ(pool, XmlLoggerHelper::xmlLoggerInstance.load());
}

/// The class has the tag of another one in the catalogue of the process, which workers have in use.
TEST(MessageLog, AMessageOfAnotherCatalogue)
{
  const std::uint64_t tag = leaf(0, "").getTagID();
  const TempDirectory folder;
  std::string problems;
  const kwxml::Registry::Owner zoo = kwxml::Registry::fromSchemas(
      {folder.write("Zoo.xml", "<catalogue><system name='Zoo' index='" + std::to_string(tag >> 24) +
                                   "'><message name='Lion' id='" + std::to_string(tag & 0xFFFFFF) +
                                   "'><field name='teeth' type='int'/></message></system></catalogue>")},
      problems);
  ASSERT_NE(zoo, nullptr) << problems;
  std::unique_ptr<YMMessageBase> lion;
  {
    const kwxml::UsingCatalogue scope(*zoo);
    lion.reset(YMMessageBase::createObject(static_cast<unsigned long>(tag)));
  }
  ASSERT_NE(lion, nullptr);
  setInt(*lion, "teeth", 30);
  LogCapture log;
  XmlBinaryLogger logger;
  logger.Debug("f", "%bxml_kw", lion.get());
  logger.initialize();
  logger.Debug("f", "%bxml_kw", lion.get());
  XmlLoggerHelper::getXmlLoggerInstance()->drain();
  const std::string line = std::string("0 f: ") + frame + toXml(*lion, {}, false) + frame + "\n";
  EXPECT_EQ(toText(log), line + line);
}

TEST(LogXml, FourResults)
{
  LogCapture log;
  YMMessageBase m = leaf(5, "t");
  EXPECT_EQ(logXML("", nullptr), "");
  EXPECT_EQ(logXML("ignored", &m), toXml(m, {}, false));
  EXPECT_EQ(logXML("<Types_Leaf text='t' number='5'/>", nullptr), toXml(m, {}, false));
  EXPECT_EQ(log.lines().size(), 0u);
  EXPECT_EQ(logXML("<", nullptr), "Error unserializing given object.");
  YMMessageBase deep = nodeChain(65);
  EXPECT_EQ(logXML("given", &deep), "Error reserializing given object/string");
  EXPECT_EQ(logXML("", &deep), "Error serializing YMMessageBase object and given empty input string");
}
