// What it costs to take a message apart into records by XPath ID, in terms of what it costs to encode it. The
// message has 700 values, each with an ID: seven nested messages of a hundred fields (CMakeLists.txt writes
// their schema).

#include "Comparison.h"

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/metadata/XMLMetaData.h>
#include <kwxml/model/MessageInternal.h>

#include <limits>
#include <memory>
#include <string>

namespace kwxml::bench {

namespace {

/// Every field set: numbers of a few digits, texts of twenty characters.
YMMessageBase indexedMessage()
{
  short system = 0;
  int index = 0;
  YMMessageBase::getMessageSystemIndexFromName("Indexed", system);
  YMMessageBase::getMessageIndexFromName("Table", system, index);
  YMMessageBase table(system, index);
  int number = 0;
  for (const FieldDef& row : *table.getClass()) {
    const auto reference = packedReference(row);
    auto* block =
        new YMMessageBase(static_cast<int>(reference.system), static_cast<int>(reference.classIndex));
    for (const FieldDef& def : *block->getClass()) {
      const unsigned long tag = block->getTagID();
      if (def.type == FIELD_STRING) {
        block->setstring(def.fieldNumber, def.slot, "twenty characters " + std::to_string(10 + number % 90),
                         tag, def.hash);
      } else if (def.type == FIELD_DOUBLE) {
        block->setdouble(def.fieldNumber, def.slot, number * 0.25, tag, def.hash);
      } else {
        block->setint64(def.fieldNumber, def.slot, number * 37, tag, def.hash);
      }
      ++number;
    }
    table.setObject(row.fieldNumber, row.slot, block, true, table.getTagID(), row.hash, true);
  }
  return table;
}

}  // namespace

void registerXPathBenchmarks(std::vector<Pair>& pairs)
{
  const auto message = std::make_shared<YMMessageBase>(indexedMessage());
  const auto get = [message](benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
      std::vector<XPathMetaData> records;
      XMLMetaData().getXpathMetaData(message.get(), records, true);
      if (records.size() != 700) {
        state.SkipWithError("values are missing");
        return;
      }
      benchmark::DoNotOptimize(records.data());
    }
  };
  compare(pairs, "700 XPath records get", Pair::Kind::Ratio, 3.0, get, [message](benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
      BinaryBuffer out;
      BinarySerializer::serialize(*message, out);
      benchmark::DoNotOptimize(out.data());
    }
  });
  // Whoever gives such records must at least make them.
  compare(pairs, "700 XPath records beside a copy of them", Pair::Kind::Ratio,
          std::numeric_limits<double>::infinity(), get, [message](benchmark::State& state) {
            std::vector<XPathMetaData> records;
            XMLMetaData().getXpathMetaData(message.get(), records, true);
            for ([[maybe_unused]] auto _ : state) {
              const std::vector<XPathMetaData> copy(records);
              benchmark::DoNotOptimize(copy.data());
            }
          });
}

}  // namespace kwxml::bench
