// The XML form: writing beside making and serializing the same DOM, reading beside a parse that keeps
// nothing.

#include "BareXml.h"
#include "Comparison.h"
#include "Documents.h"

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
  compare(pairs, name + " read", Pair::Kind::Ratio, 1.5, measure([](Fixture& f) {
            const std::unique_ptr<YMMessageBase> read(XMLSerializer().unserialize(f.xml));
            benchmark::DoNotOptimize(read.get());
          }),
          measure([](Fixture& f) { parseBare(f.xml); }));
}

}  // namespace

void registerXmlBenchmarks(std::vector<Pair>& pairs)
{
  XMLSerializer::initialize();
  compareXml(pairs, "W1 flat", flatValues);
  compareXml(pairs, "W2 order", orderValues);
  compareXml(pairs, "W3 bulk", bulkValues);
}

}  // namespace kwxml::bench
