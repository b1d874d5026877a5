// The message model: single accessors beside a member of a plain struct, and look-ups, which promise to
// allocate nothing.

#include "Comparison.h"
#include "Documents.h"
#include "Heap.h"

#include <kwxml/model/YMMessageBase.h>

#include <catalogue/Bench.h>

#include <string>

namespace kwxml::bench {

namespace {

/// Addresses as a generated wrapper has them: constants.
constexpr short field = 4;
constexpr short slot = 4;
constexpr const char* fieldName = "line";
constexpr unsigned hash = nameHash("line", 4);

/// A loop over a state with an error ends at once.
void checkAddress(benchmark::State& state)
{
  const FieldDef* def = findField(*Bench::Flat().getClass(), hash);
  if (def == nullptr || def->fieldNumber != field || def->slot != slot) {
    state.SkipWithError("the field is laid out otherwise");
  }
}

struct Plain
{
  long long values[20] = {};
};

void compareAccessors(std::vector<Pair>& pairs)
{
  const auto get = [](auto& object, auto body) {
    benchmark::DoNotOptimize(object);
    benchmark::DoNotOptimize(body(object));
  };
  const auto set = [](auto& object, auto body) {
    body(object);
    benchmark::DoNotOptimize(object);
    benchmark::ClobberMemory();
  };
  constexpr double limit = 2;
  compare(
      pairs, "int get", Pair::Kind::Nanoseconds, limit,
      [get](benchmark::State& state) {
        YMMessageBase message = makeMessage(flatValues());
        YMMessageBase* at = &message;
        checkAddress(state);
        for ([[maybe_unused]] auto _ : state) {
          get(at,
              [](YMMessageBase* m) { return static_cast<int>(m->getint64(slot, Bench::Flat::tag, hash)); });
        }
      },
      [get](benchmark::State& state) {
        Plain plain;
        Plain* at = &plain;
        for ([[maybe_unused]] auto _ : state) {
          get(at, [](Plain* p) { return static_cast<int>(p->values[slot]); });
        }
      });
  compare(
      pairs, "int set", Pair::Kind::Nanoseconds, limit,
      [set](benchmark::State& state) {
        YMMessageBase message = makeMessage(flatValues());
        YMMessageBase* at = &message;
        checkAddress(state);
        for ([[maybe_unused]] auto _ : state) {
          set(at, [](YMMessageBase* m) { m->setint64(field, slot, 7, Bench::Flat::tag, hash); });
        }
      },
      [set](benchmark::State& state) {
        Plain plain;
        Plain* at = &plain;
        for ([[maybe_unused]] auto _ : state) {
          set(at, [](Plain* p) { p->values[slot] = 7; });
        }
      });
}

template <class LookUp>
void measureLookUp(const char* name, LookUp lookUp)
{
  benchmark::RegisterBenchmark(name, [lookUp](benchmark::State& state) {
    const HeapScope allocations;
    for ([[maybe_unused]] auto _ : state) {
      if (!lookUp()) {
        state.SkipWithError("nothing found");
        break;
      }
    }
    if (allocations.allocations() != 0) {
      state.SkipWithError("a look-up allocated memory");
    }
    state.counters["allocations"] = static_cast<double>(allocations.allocations());
  });
}

}  // namespace

void registerModelBenchmarks(std::vector<Pair>& pairs)
{
  compareAccessors(pairs);
  measureLookUp("look-up/tag to class", [] {
    unsigned long tag = Bench::Bulk::tag;
    benchmark::DoNotOptimize(tag);
    const _ClassDef* cls = YMMessageBase::GetClassDef(tag);
    benchmark::DoNotOptimize(cls);
    return cls != nullptr;
  });
  measureLookUp("look-up/name to field", [name = std::string(fieldName), cls = Bench::Flat().getClass()] {
    const int number = YMMessageBase::getFieldNumberFromName(cls, name);
    benchmark::DoNotOptimize(number);
    return number == field;
  });
  measureLookUp("look-up/name to class", [] {
    short system = 0;
    int index = 0;
    const bool found = YMMessageBase::getMessageSystemIndexFromName("Bench", system) &&
                       YMMessageBase::getMessageIndexFromName("Bulk", system, index);
    benchmark::DoNotOptimize(index);
    return found;
  });
}

}  // namespace kwxml::bench
