// Many threads use the library at once, each with messages of its own and all with the same catalogue,
// samples and log: each gets what one thread alone got. --seconds N goes on for that long, --threads N sets
// how many.
#include "reliability/Extent.h"
#include "support/ManyMessages.h"
#include "support/ParserFeed.h"

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/log/XmlBinaryLogger.h>
#include <kwxml/log/XmlLoggerHelper.h>
#include <kwxml/metadata/XMLMetaData.h>
#include <kwxml/model/Registry.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/LogSink.h>
#include <kwxml/traverse/HTMLRenderContext.h>
#include <kwxml/traverse/KwXMLSummary.h>
#include <kwxml/traverse/MessageDiff.h>
#include <kwxml/traverse/MessagePage.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <thread>
#include <utility>

using namespace kwxml::test;

namespace {

long seconds = 0;  // 0: a number of rounds
long threads = 24;
constexpr int shortRounds = 1;

/// What is written of a message, and what one thread has found out about it.
struct Outputs
{
  std::string xml;
  std::string json;
  std::string binary;
  std::string schema;
  std::string summary;
  std::string html;
  std::size_t values = 0;
  bool operator==(const Outputs&) const = default;
};

std::string binaryOf(const YMMessageBase& message, int version = 2)
{
  BinaryBuffer buffer;
  BinarySerializer::serialize(message, buffer, version);
  return {buffer.data(), buffer.length()};
}

/// A message that nobody changes, written in one of several ways: in some of them the nested messages of the
/// same message have other sizes.
constexpr int encodings = 5;
std::string encoded(const YMMessageBase& message, int way)
{
  std::string out;
  switch (way % encodings) {
    case 0:
      return binaryOf(message);
    case 1:
      return binaryOf(message, 1);
    case 2:
      XMLEncoder().serialize(message, out);
      return out;
    case 3:
      XMLEncoder(EncodingFlags{.valuesAsElements = true}).serialize(message, out);
      return out;
    default:
      JSONEncoder().serialize(message, out);
      return out;
  }
}

/// Through every way out, of a message of the caller's own.
Outputs outputsOf(YMMessageBase& message)
{
  Outputs outputs;
  XMLEncoder().serialize(message, outputs.xml);
  JSONEncoder().serialize(message, outputs.json);
  outputs.binary = binaryOf(message);
  YMMessageBase::getMessageSchemaString(message.getTagID(), outputs.schema, true, true);
  std::ostringstream text;
  KwXMLSummary::getKwSummaryInfo(&message, text, {});
  outputs.summary = text.str();
  kwxml::MessagePage page(
      [&](std::string_view part) {
        outputs.html += part;
        return true;
      },
      "now");
  EXPECT_TRUE(page.add(message, "source") && page.finish());
  std::vector<XPathMetaData> records;
  XMLMetaData().getXpathMetaData(&message, records, true);
  outputs.values = records.size();
  return outputs;
}

/// What comes of reading a message's outputs; what is not its XML, too. The binary form of each result.
std::vector<std::string> readingsOf(const YMMessageBase& message, const Outputs& outputs)
{
  std::vector<std::string> readings;
  const auto note = [&readings](const std::unique_ptr<YMMessageBase>& read) {
    readings.push_back(read != nullptr ? binaryOf(*read) : "none");
  };
  note(std::unique_ptr<YMMessageBase>(XMLDecoder().unSerialize(outputs.xml)));
  note(readByParser(outputs.xml));
  note(JSONDecoder().unSerialize(outputs.json));
  BinaryBuffer buffer;
  buffer.SetReadBuffer(outputs.binary.data(), outputs.binary.size(), true);
  note(std::unique_ptr<YMMessageBase>(BinarySerializer::unserialize(buffer, nullptr, false)));
  const std::wstring wide(outputs.schema.begin(), outputs.schema.end());
  YMMessageBase used(message);
  EXPECT_EQ(XMLDecoder().unSerialize(used, wide.c_str()), 4);
  YMMessageBase moved = std::move(used);
  readings.push_back(binaryOf(moved));
  EXPECT_EQ(XMLDecoder().unSerialize(moved, outputs.xml), 0);
  readings.push_back(binaryOf(moved));
  return readings;
}

struct Shared
{
  YMMessageBase message;
  Outputs outputs;
  std::vector<std::string> readings;
  std::vector<std::string> encoded;
};

struct Count : kwxml::MessageDiffVisitor
{
  void differs(const kwxml::MessageDifference&) override {}
};

class Worker
{
public:
  Worker(const std::vector<Shared>& shared, int number, std::atomic<long>& lines)
      : shared_(shared), number_(number), lines_(lines)
  {
    logger_.initialize();
  }

  /// All messages, from one on that other threads do not begin with.
  void round()
  {
    for (std::size_t i = 0; i < shared_.size(); ++i) {
      const Shared& shared = shared_[(i + static_cast<std::size_t>(number_) * 7) % shared_.size()];
      writeAndLog(shared);
      expect(readingsOf(shared.message, shared.outputs) == shared.readings, "reads otherwise", shared);
      lookUp(shared);
      ++done;
    }
  }

  /// Looks up all classes, with a catalogue that comes and goes beside those of the others.
  void comeAndGo()
  {
    otherCatalogue();
    for (const Shared& shared : shared_) {
      lookUp(shared);
    }
    ++done;
  }

  /// Writes the messages that all threads share, each thread in another way.
  void encodeShared()
  {
    for (int turn = 0; turn < encodings; ++turn) {
      for (const Shared& shared : shared_) {
        const int way = (turn + number_) % encodings;
        expect(encoded(shared.message, way) == shared.encoded[static_cast<std::size_t>(way)],
               "written otherwise", shared);
        ++done;
      }
    }
  }

  std::size_t done = 0;

private:
  void expect(bool condition, const char* what, const Shared& shared)
  {
    if (!condition && ++faults_ < 5) {
      ADD_FAILURE() << what << ": " << shared.message.getTagName() << " in thread " << number_;
    }
  }

  void writeAndLog(const Shared& shared)
  {
    YMMessageBase own(shared.message);
    expect(own == shared.message || !(shared.message == shared.message), "another copy", shared);
    expect(outputsOf(own) == shared.outputs, "other outputs", shared);
    logger_.DebugLvl("threads", 1, "%d%bxml_kw", &own, number_);
    BinaryBuffer bytes;
    BinarySerializer::serialize(own, bytes);
    logger_.DebugLvl("threads", 1, "%d%bxml_kw", &bytes, number_);
    lines_ += 2;
    HTMLRenderContext context;
    KwXMLSummary::getKwSummaryInfo(&own, &context, {});
    Count ignored;
    expect(kwxml::diffMessages(own, shared.message, ignored) == 0 || !(own == shared.message), "a difference",
           shared);
  }

  void lookUp(const Shared& shared)
  {
    const std::string tagName = shared.message.getTagName();
    expect(YMMessageBase::GetClassDef(shared.message.getTagID()) != nullptr, "looked up by tag", shared);
    YMMessageBase* made = nullptr;
    expect(XMLDecoder::CreateObjByName(tagName, &made, nullptr, true), "made by name", shared);
    const std::unique_ptr<YMMessageBase> owned(made);
    expect(made != nullptr && made->getClass() == shared.message.getClass(), "another class", shared);
    for (const FieldDef& def : *shared.message.getClass()) {
      std::vector<unsigned long> annotations;
      XMLDecoder::FillAnnotationIds(def, annotations);
      expect(&kwxml::Registry::of(def) == &kwxml::Registry::of(shared.message), "another catalogue", shared);
      if (def.type == FIELD_ENUM) {
        XMLDecoder::GetEnumString(def, 1);
      }
    }
  }

  void otherCatalogue()
  {
    std::string problems;
    const auto registry = kwxml::Registry::fromSchemas({KWXML_SOURCE_DIR "/catalogue/sample"}, problems);
    ASSERT_NE(registry, nullptr) << problems;
    const kwxml::UsingCatalogue using_(*registry);
    const Shared& shared = shared_[static_cast<std::size_t>(number_) % shared_.size()];
    const std::unique_ptr<YMMessageBase> message(XMLDecoder().unSerialize(shared.outputs.xml));
    expect(message != nullptr && &kwxml::Registry::of(*message) == registry.get(),
           "not of the thread's catalogue", shared);
  }

  const std::vector<Shared>& shared_;
  const int number_;
  std::atomic<long>& lines_;
  XmlBinaryLogger logger_;
  int faults_ = 0;
};

}  // namespace

class Threads : public testing::Test
{
protected:
  Threads()
  {
    kwxml::setLogLevel(1);
    kwxml::setLogSink([this](const kwxml::LogRecord& record) {
      written_ += record.function != nullptr && std::string_view(record.function) == "threads";
    });
    std::vector<YMMessageBase> messages = randomMessages();
    for (std::size_t i = 0; i < messages.size(); i += seconds != 0 ? 1 : 4) {
      Outputs outputs = outputsOf(messages[i]);
      std::vector<std::string> readings = readingsOf(messages[i], outputs);
      std::vector<std::string> ways;
      for (int way = 0; way < encodings; ++way) {
        ways.push_back(encoded(messages[i], way));
      }
      shared_.push_back({messages[i], std::move(outputs), std::move(readings), std::move(ways)});
    }
  }
  ~Threads() override { kwxml::setLogSink({}); }

  /// All threads do it for some seconds, or a number of times in the short form.
  void inThreads(const std::string& name, void (Worker::*work)(), long forSeconds)
  {
    std::atomic<std::size_t> done = 0;
    Figures figures(name + " in " + std::to_string(threads) + " threads");
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(forSeconds);
    {
      std::vector<std::jthread> running;
      for (int number = 0; number < static_cast<int>(threads); ++number) {
        running.emplace_back([&, number] {
          Worker worker(shared_, number, expected_);
          for (int i = 0; seconds != 0 ? std::chrono::steady_clock::now() < end : i < shortRounds; ++i) {
            const std::jthread coming([&] { (worker.*work)(); });  // threads come and go, too
          }
          done += worker.done;
        });
      }
    }
    XmlLoggerHelper::getXmlLoggerInstance()->drain();
    EXPECT_EQ(written_.load(), expected_.load()) << "lines of the log";
    figures.inputs = done;
    figures.more = ", " + std::to_string(written_.load()) + " messages logged";
  }

private:
  std::vector<Shared> shared_;
  std::atomic<long> expected_ = 0;
  std::atomic<long> written_ = 0;
};

TEST_F(Threads, GetWhatOneThreadGets)
{
  inThreads("messages", &Worker::round, seconds);
}

TEST_F(Threads, EncodeOneMessageAtOnce)
{
  inThreads("shared messages", &Worker::encodeShared, (seconds + 9) / 10);
}

TEST_F(Threads, LookUpWhileCataloguesComeAndGo)
{
  inThreads("catalogues", &Worker::comeAndGo, (seconds + 9) / 10);
}

int main(int argc, char** argv)
{
  testing::InitGoogleTest(&argc, argv);
  for (int i = 1; i < argc; i += 2) {
    const std::string_view option = argv[i];
    const long number = i + 1 < argc ? std::strtol(argv[i + 1], nullptr, 10) : 0;
    if (number <= 0 || (option != "--seconds" && option != "--threads")) {
      std::fprintf(stderr, "usage: %s [--seconds N] [--threads N]\n", argv[0]);
      return 2;
    }
    (option == "--seconds" ? seconds : threads) = number;
  }
  KWPI_Focus::setFocus("threads");
  setenv("TZ", "UTC", 1);
  return RUN_ALL_TESTS();
}
