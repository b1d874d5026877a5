// The JSON form: writing beside the XML form of the same message, reading beside what nobody can leave out:
// the parser's own work, and a message made of bytes that need none.

#include "BareJson.h"
#include "Comparison.h"
#include "Documents.h"
#include "Profile.h"

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/xml/XMLSerializer.h>

#include <memory>
#include <string>

namespace kwxml::bench {

namespace {

template <class Values>
void add(std::vector<Operation>& operations, const std::string& document, Values (*makeValues)())
{
  struct Fixture
  {
    YMMessageBase message;
    std::string json;
    std::string out;
    BinaryBuffer bytes;
  };
  const auto fixture = std::make_shared<Fixture>();
  fixture->message = makeMessage(makeValues());
  JSONEncoder().serialize(fixture->message, fixture->json);
  BinarySerializer::serialize(fixture->message, fixture->bytes);
  const auto read = JSONDecoder().unSerialize(fixture->json);
  const bool agreed = read != nullptr && parseBareJson(fixture->json) && *read == fixture->message;
  operations.push_back({document + " JSON write", 1.0, agreed,
                        [fixture] { JSONEncoder().serialize(fixture->message, fixture->out); },
                        [fixture] { XMLSerializer().serialize(fixture->message, fixture->out); }});
  operations.push_back({document + " JSON read", 2.0, agreed,
                        [fixture] {
                          const auto message = JSONDecoder().unSerialize(fixture->json);
                          benchmark::DoNotOptimize(message.get());
                        },
                        [fixture] {
                          parseBareJson(fixture->json);
                          BinaryBuffer buffer;
                          buffer.SetReadBuffer(fixture->bytes.data(), fixture->bytes.length(), true);
                          const std::unique_ptr<YMMessageBase> message(
                              BinarySerializer::unserialize(buffer, nullptr, false));
                          benchmark::DoNotOptimize(message.get());
                        }});
}

}  // namespace

std::vector<Operation> jsonOperations()
{
  std::vector<Operation> operations;
  add(operations, "W1 flat", flatValues);
  add(operations, "W2 order", orderValues);
  add(operations, "W3 bulk", bulkValues);
  return operations;
}

void registerJsonBenchmarks(std::vector<Pair>& pairs)
{
  for (const Operation& operation : jsonOperations()) {
    const auto measure = [agreed = operation.agreed](const std::function<void()>& body) {
      return [agreed, body](benchmark::State& state) {
        if (!agreed) {
          state.SkipWithError("the message does not come back");
          return;
        }
        for ([[maybe_unused]] auto _ : state) {
          body();
        }
      };
    };
    compare(pairs, operation.name, Pair::Kind::Ratio, operation.limit, measure(operation.ours),
            measure(operation.theirs));
  }
}

}  // namespace kwxml::bench
