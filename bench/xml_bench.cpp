// The XML form: writing beside making and serializing the same DOM, reading beside a parse that keeps
// nothing.

#include "BareXml.h"
#include "Comparison.h"
#include "Documents.h"
#include "Profile.h"

#include <kwxml/xml/XMLSerializer.h>

#include <memory>
#include <string>

namespace kwxml::bench {

namespace {

/// Both sides have written the text before anything is measured, and the reader has read it back.
template <class Values>
bool sidesAgree(const Values& values, YMMessageBase& message, std::string& xml)
{
  std::string bare;
  writeBare(values, bare);
  if (XMLSerializer().serialize(message, xml) != 0 || xml != bare) {
    return false;
  }
  const std::unique_ptr<YMMessageBase> read(XMLSerializer().unserialize(xml));
  return read != nullptr && *read == message;
}

#ifdef KWXML_BENCH_PUGIXML
/// The attributes may stand in another order.
bool isSameDocument(const std::string& xml, const YMMessageBase& message)
{
  const std::unique_ptr<YMMessageBase> read(XMLSerializer().unserialize(xml));
  return read != nullptr && *read == message;
}
#endif

template <class Values>
void compareXml(std::vector<Pair>& pairs, const std::string& name, Values (*makeValues)())
{
  struct Fixture
  {
    explicit Fixture(Values given) : values(std::move(given)), message(makeMessage(values))
    {
      agreed = sidesAgree(values, message, xml);
    }
    Values values;
    YMMessageBase message;
    std::string xml;
    bool agreed;
  };
  const auto fixture = std::make_shared<Fixture>(makeValues());
  const auto measure = [fixture](auto body) {
    return [fixture, body](benchmark::State& state) {
      if (!fixture->agreed) {
        state.SkipWithError("ours and the floor give different documents");
        return;
      }
      for ([[maybe_unused]] auto _ : state) {
        body(*fixture);
      }
      state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * fixture->xml.size()));
    };
  };
  compare(pairs, name + " write", Pair::Kind::Ratio, 1.15, measure([](Fixture& f) {
            std::string out;
            XMLSerializer().serialize(f.message, out);
            benchmark::DoNotOptimize(out);
          }),
          measure([](Fixture& f) {
            std::string out;
            writeBare(f.values, out);
            benchmark::DoNotOptimize(out);
          }));
  compare(pairs, name + " read", Pair::Kind::Ratio, 0.33, measure([](Fixture& f) {
            const std::unique_ptr<YMMessageBase> read(XMLSerializer().unserialize(f.xml));
            benchmark::DoNotOptimize(read.get());
          }),
          measure([](Fixture& f) { parseBare(f.xml); }));
}

/// Reading beside a bare parse, into a new message and into one that has been read into before.
template <class Values>
void addReading(std::vector<Operation>& operations, const std::string& document, Values (*makeValues)())
{
  struct Fixture
  {
    std::string xml;
    YMMessageBase used;
    BareParser parser;
  };
  const auto fixture = std::make_shared<Fixture>();
  const Values values = makeValues();
  YMMessageBase message = makeMessage(values);
  const bool agreed = sidesAgree(values, message, fixture->xml);
  fixture->used = message;
  const auto fresh = [fixture] {
    const std::unique_ptr<YMMessageBase> read(XMLSerializer().unserialize(fixture->xml));
    benchmark::DoNotOptimize(read.get());
  };
  operations.push_back(
      {document + " read", 0.33, agreed, fresh, [fixture] { fixture->parser.parse(fixture->xml); }});
  operations.push_back({document + " read used", forInformation, agreed,
                        [fixture] { XMLSerializer().unserialize(fixture->used, fixture->xml); }, fresh});
}

/// Writing beside the same DOM made and written by the XML library, and beside another library's own tree.
template <class Values>
void addWriting(std::vector<Operation>& operations, const std::string& document, double limit,
                double limitOfPugi, Values (*makeValues)())
{
  struct Fixture
  {
    Values values;
    YMMessageBase message;
    std::string out;
    std::string bare;
  };
  const auto fixture = std::make_shared<Fixture>();
  fixture->values = makeValues();
  fixture->message = makeMessage(fixture->values);
  const auto ours = [fixture] { XMLSerializer().serialize(fixture->message, fixture->out); };
  const bool agreed = sidesAgree(fixture->values, fixture->message, fixture->out);
  operations.push_back(
      {document + " write", limit, agreed, ours, [fixture] { writeBare(fixture->values, fixture->bare); }});
#ifdef KWXML_BENCH_PUGIXML
  writePugi(fixture->values, fixture->bare);
  operations.push_back({document + " write, pugixml", limitOfPugi,
                        agreed && isSameDocument(fixture->bare, fixture->message), ours,
                        [fixture] { writePugi(fixture->values, fixture->bare); }});
#endif
}

/// A class of 1,000 fields beside one of 20, by the field.
void addWide(std::vector<Operation>& operations)
{
  const auto documentOf = [](int fields) {
    std::string xml = "<Wide_Fields" + std::to_string(fields);
    for (int i = 0; i < fields; ++i) {
      xml += " field" + std::to_string(i) + "=\"" + std::to_string(i * 37) + "\"";
    }
    return xml + "/>";
  };
  const auto read = [](const std::string& xml, int times) {
    return [xml, times] {
      for (int i = 0; i < times; ++i) {
        const std::unique_ptr<YMMessageBase> message(XMLSerializer().unserialize(xml));
        benchmark::DoNotOptimize(message.get());
      }
    };
  };
  const std::string wide = documentOf(1000);
  const std::unique_ptr<YMMessageBase> message(XMLSerializer().unserialize(wide));
  operations.push_back({"wide class read", 3.0, message != nullptr, read(wide, 1), read(documentOf(20), 50)});
}

}  // namespace

std::vector<Operation> xmlOperations()
{
  XMLSerializer::initialize();
  std::vector<Operation> operations;
  addWriting(operations, "W1 flat", 1.0 / 12, 1.2, flatValues);
  addWriting(operations, "W2 order", 1.0 / 15, 1.0, orderValues);
  addWriting(operations, "W3 bulk", 1.0 / 15, 1.0, bulkValues);
  addReading(operations, "W1 flat", flatValues);
  addReading(operations, "W2 order", orderValues);
  addReading(operations, "W3 bulk", bulkValues);
  addWide(operations);
  return operations;
}

void registerXmlBenchmarks(std::vector<Pair>& pairs)
{
  XMLSerializer::initialize();
  compareXml(pairs, "W1 flat", flatValues);
  compareXml(pairs, "W2 order", orderValues);
  compareXml(pairs, "W3 bulk", bulkValues);
}

}  // namespace kwxml::bench
