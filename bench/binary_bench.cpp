// The binary form and what messages do as wholes, beside protobuf: the code that it generates, and for two
// rows what it does by reflection. Both sides hold the same values and have proved it before anything is
// measured.

#include "Comparison.h"
#include "Documents.h"
#include "Heap.h"
#include "Profile.h"
#include "ProtoDocuments.h"

#include <kwxml/binary/BinarySerializer.h>

#include <catalogue/Bench.h>

#include <google/protobuf/dynamic_message.h>
#include <google/protobuf/util/message_differencer.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

namespace kwxml::bench {

namespace {

using google::protobuf::util::MessageDifferencer;

/// One document on both sides.
template <class Values>
struct Sides
{
  using Proto = typename ProtoFor<Values>::Message;

  explicit Sides(Values given)
      : values(std::move(given)),
        message(makeMessage(values)),
        dynamic(factory.GetPrototype(Proto::descriptor())->New())
  {
    fillProto(values, proto);
    agreed = agree();
  }

  std::unique_ptr<YMMessageBase> decode()
  {
    return std::unique_ptr<YMMessageBase>(BinarySerializer::unserialize(encoded, nullptr, false));
  }
  std::unique_ptr<Proto> parse() const
  {
    auto parsed = std::make_unique<Proto>();
    const bool good = parsed->ParseFromArray(wire.data(), static_cast<int>(wire.size()));
    return good ? std::move(parsed) : nullptr;
  }

  Values values;
  YMMessageBase message;
  std::unique_ptr<YMMessageBase> same;  ///< decoded, equal to `message`
  std::unique_ptr<YMMessageBase> used;  ///< read into again and again
  BinaryBuffer encoded;
  Proto proto;
  std::unique_ptr<Proto> sameProto;
  std::string wire;
  google::protobuf::DynamicMessageFactory factory;
  std::unique_ptr<google::protobuf::Message> dynamic;
  std::unique_ptr<char[]> memory;  ///< what both sides write to
  int capacity = 0;
  BinaryBuffer target;  ///< the same memory
  bool agreed;

private:
  /// Every operation gives what it should, and `encoded`, `wire`, `memory` and the equal messages are made.
  bool agree()
  {
    if (BinarySerializer::serialize(message, encoded) == 0 || !proto.SerializeToString(&wire)) {
      return false;
    }
    capacity = static_cast<int>(std::max<std::size_t>(encoded.length(), wire.size()));
    memory = std::make_unique<char[]>(static_cast<std::size_t>(capacity));
    target.SetWriteBuffer(memory.get(), static_cast<unsigned long>(capacity), true);
    BinarySerializer::serialize(message, target);
    if (std::memcmp(memory.get(), encoded.data(), encoded.length()) != 0) {
      return false;
    }
    same = decode();
    used = decode();
    if (used == nullptr || BinarySerializer::unserialize(*used, encoded, nullptr, false) != 0 ||
        !(*used == message)) {
      return false;
    }
    sameProto = parse();
    if (same == nullptr || !(*same == message) || !(YMMessageBase(message) == message) ||
        sameProto == nullptr || !MessageDifferencer::Equals(*sameProto, proto)) {
      return false;
    }
    Proto fromDynamic;
    return dynamic->ParseFromString(wire) && dynamic->SerializeToArray(memory.get(), capacity) &&
           fromDynamic.ParseFromArray(memory.get(), static_cast<int>(wire.size())) &&
           MessageDifferencer::Equals(fromDynamic, proto);
  }
};

template <class Values>
void addOperations(std::vector<Operation>& operations, const std::string& document, Values (*makeValues)())
{
  using Proto = typename Sides<Values>::Proto;
  const auto sides = std::make_shared<Sides<Values>>(makeValues());
  const auto add = [&](const char* name, double limit, auto ours, auto theirs) {
    operations.push_back({document + " " + name, limit, sides->agreed, [sides, ours] { ours(*sides); },
                          [sides, theirs] { theirs(*sides); }});
  };
  const auto encode = [](auto& s) { BinarySerializer::serialize(s.message, s.target); };

  add(
      "build", forInformation,
      [](auto& s) {
        const YMMessageBase built = makeMessage(s.values);
        benchmark::DoNotOptimize(&built);
      },
      [](auto& s) {
        Proto built;
        fillProto(s.values, built);
        benchmark::DoNotOptimize(&built);
      });
  add("encode", 1.0, encode, [](auto& s) { s.proto.SerializeToArray(s.memory.get(), s.capacity); });
  add(
      "encode new", 1.0,
      [](auto& s) {
        BinaryBuffer out;
        BinarySerializer::serialize(s.message, out);
        benchmark::DoNotOptimize(out.data());
      },
      [](auto& s) {
        std::string out;
        s.proto.SerializeToString(&out);
        benchmark::DoNotOptimize(out.data());
      });
  add("encode dynamic", 0.1, encode,
      [](auto& s) { s.dynamic->SerializeToArray(s.memory.get(), s.capacity); });
  add(
      "decode", 1.0, [](auto& s) { benchmark::DoNotOptimize(s.decode().get()); },
      [](auto& s) { benchmark::DoNotOptimize(s.parse().get()); });
  add(
      "decode used", document == "W2 order" ? 0.5 : forInformation,  // beside a decode into a new message
      [](auto& s) { BinarySerializer::unserialize(*s.used, s.encoded, nullptr, false); },
      [](auto& s) { benchmark::DoNotOptimize(s.decode().get()); });
  add(
      "copy", 0.8,
      [](auto& s) {
        const YMMessageBase copy(s.message);
        benchmark::DoNotOptimize(&copy);
      },
      [](auto& s) {
        const Proto copy(s.proto);
        benchmark::DoNotOptimize(&copy);
      });
  add(
      "equality", 0.1, [](auto& s) { benchmark::DoNotOptimize(s.message == *s.same); },
      [](auto& s) { benchmark::DoNotOptimize(MessageDifferencer::Equals(s.proto, *s.sameProto)); });
}

/// Getters, setters and is-set tests of a wrapper, and the accessors of every message that they stand for.
[[gnu::noinline]] double throughWrapper(Bench::Flat& flat)
{
  flat.set_line(flat.id() + flat.version());
  flat.set_active(flat.has_title());
  flat.set_state(flat.origin());
  return flat.ratio() + static_cast<double>(flat.created());
}
[[gnu::noinline]] double throughMessage(YMMessageBase& flat)
{
  constexpr unsigned long tag = Bench::Flat::tag;
  constexpr auto hash = [](std::string_view name) { return nameHash(name.data(), name.size()); };
  const auto number = [&flat](short slot, unsigned hashOf) { return flat.getint64(slot, tag, hashOf); };
  flat.setint64(4, 4, static_cast<int>(number(0, hash("id"))) + static_cast<int>(number(1, hash("version"))),
                tag, hash("line"));
  flat.setint64(10, 10, flat.isSet(18, tag, hash("title")) ? 1 : 0, tag, hash("active"));
  flat.setint64(15, 15, static_cast<int>(number(16, hash("origin"))), tag, hash("state"));
  return flat.getdouble(13, tag, hash("ratio")) + static_cast<double>(number(6, hash("created")));
}

void addWrapperAccess(std::vector<Operation>& operations)
{
  const auto message = std::make_shared<YMMessageBase>(makeMessage(flatValues()));
  Bench::Flat& flat = as<Bench::Flat>(*message);
  const double one = throughWrapper(flat);
  const int line = flat.line();
  flat.clear_line();
  const bool agreed = throughMessage(*message) == one && flat.line() == line;
  operations.push_back({"wrapper access", 1.0, agreed,
                        [message, &flat] { benchmark::DoNotOptimize(throughWrapper(flat)); },
                        [message] { benchmark::DoNotOptimize(throughMessage(*message)); }});
}

template <class Values>
void printHeap(const char* document, Values (*makeValues)())
{
  Sides<Values> sides(makeValues());
  const auto print = [&](const char* name, double limit, auto ours, auto theirs) {
    const auto a = static_cast<double>(ours());
    const auto b = static_cast<double>(theirs());
    std::printf("%-24s %12.0f %12.0f %12.3f", (std::string(document) + " " + name).c_str(), a, b,
                b != 0 ? a / b : 0);
    limit == forInformation ? std::printf("\n")
                            : std::printf(" %12.2f %s\n", limit, a <= limit * b ? "met" : "MISSED");
  };
  const auto allocations = [](auto body) {
    return [body] {
      const HeapScope heap;
      body();
      return heap.allocations();
    };
  };
  print(
      "bytes held", 1.1,
      [&] {
        const HeapScope heap;
        const auto decoded = sides.decode();
        return heap.bytesHeld();
      },
      [&] {
        const HeapScope heap;
        const auto parsed = sides.parse();
        return heap.bytesHeld();
      });
  print("decode calls", forInformation, allocations([&] { sides.decode(); }),
        allocations([&] { sides.parse(); }));
  print("encode calls", 1.0, allocations([&] { BinarySerializer::serialize(sides.message, sides.target); }),
        allocations([&] { sides.proto.SerializeToArray(sides.memory.get(), sides.capacity); }));
  print("encode new calls", 1.0, allocations([&] {
          BinaryBuffer out;
          BinarySerializer::serialize(sides.message, out);
        }),
        allocations([&] {
          std::string out;
          sides.proto.SerializeToString(&out);
        }));
}

}  // namespace

std::vector<Operation> binaryOperations()
{
  std::vector<Operation> operations;
  addWrapperAccess(operations);
  addOperations(operations, "W1 flat", flatValues);
  addOperations(operations, "W2 order", orderValues);
  addOperations(operations, "W3 bulk", bulkValues);
  return operations;
}

void registerBinaryBenchmarks(std::vector<Pair>& pairs)
{
  for (Operation& operation : binaryOperations()) {
    const auto measure = [agreed = operation.agreed](std::function<void()> body) {
      return [agreed, body](benchmark::State& state) {
        if (!agreed) {
          state.SkipWithError("a message is not what it was made from");
          return;
        }
        for ([[maybe_unused]] auto _ : state) {
          body();
        }
      };
    };
    compare(pairs, operation.name, Pair::Kind::Ratio, operation.limit, measure(std::move(operation.ours)),
            measure(std::move(operation.theirs)));
  }
}

void printBinaryHeap()
{
  std::printf("\n%-24s %12s %12s %12s %12s\n", "heap", "ours", "protobuf", "", "target");
  printHeap("W1 flat", flatValues);
  printHeap("W2 order", orderValues);
  printHeap("W3 bulk", bulkValues);
}

}  // namespace kwxml::bench
