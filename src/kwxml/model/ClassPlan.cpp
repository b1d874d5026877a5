#include <kwxml/model/ClassPlan.h>

#include <kwxml/model/MessageInternal.h>

#include <algorithm>
#include <bit>
#include <memory>

namespace kwxml {

namespace {

/// In a class of 25 slots or more: up to the first field that reaches slot 24, whose whole value goes to the
/// heap when it would straddle the border.
short inlineCountOf(const _ClassDef& cls)
{
  if (cls.numberOfSlots < YMMessageBuffer::inlineSlots) {
    return cls.numberOfSlots;
  }
  short previous = 0;
  for (const FieldDef& def : cls) {
    if (def.slot >= 24) {
      return def.slot == 24 ? def.slot : previous;
    }
    previous = def.slot;
  }
  return previous;
}

/// Puts what was made in its place, unless another thread was first; gives what stands there.
template <class T, class Owner>
T* settle(std::atomic<T*>& place, Owner made)
{
  T* expected = nullptr;
  return place.compare_exchange_strong(expected, made.get(), std::memory_order_acq_rel) ? made.release()
                                                                                        : expected;
}

}  // namespace

ClassPlan::ClassPlan(const Registry& of, unsigned system, unsigned classIndex)
    : registry(&of),
      cls(&of.row(system).classes[classIndex]),
      inlineCount(inlineCountOf(*cls)),
      eager(of.row(system).eager == 1),
      plain(cls->defaultsIndex == -1 && !eager),
      formerNames(of.formerNames(static_cast<int>(system), static_cast<int>(classIndex), formerCount))
{
  formerNames = formerCount > 0 ? formerNames : nullptr;
  const auto count = static_cast<std::uint32_t>(std::max<int>(cls->numberOfFields, 1));
  byHash.resize(std::bit_ceil(2 * count));
  hashShift = 32 - std::countr_zero(static_cast<std::uint32_t>(byHash.size()));
  fingerprint = fingerprintOf(*cls, cls->numberOfFields);
  for (const FieldDef& def : *cls) {
    std::uint32_t at = placeOf(def.hash);
    while (byHash[at] != 0 && cls->fields[byHash[at] - 1].hash != def.hash) {
      at = (at + 1) & static_cast<std::uint32_t>(byHash.size() - 1);
    }
    if (byHash[at] == 0) {  // of equal hashes the first counts
      byHash[at] = static_cast<std::uint16_t>(&def - cls->fields + 1);
    }
  }
  fields.reserve(static_cast<std::size_t>(cls->numberOfFields) + 1);
  for (const FieldDef& def : *cls) {
    if (def.type == FIELD_UNSET) {
      untyped.resize((static_cast<std::size_t>(cls->numberOfFields) + 63) / 64);
      untyped[fields.size() / 64] |= std::uint64_t{1} << fields.size() % 64;
    }
    // What has no value has no slot either, whatever its record says.
    const bool stored = fieldTypeInfo(def.type).storage != Storage::None;
    const std::int16_t slot = stored ? def.slot : std::int16_t{0};
    const bool onHeap = stored && slot >= inlineCount;
    const OwningField owner{&def, slot, static_cast<std::int16_t>(&def - cls->fields), onHeap,
                            def.type == FIELD_STRING};
    if (contains(stringSlots | objectTypes, def.type)) {
      owners.push_back(owner);
    }
    if (contains(alwaysConstructed, def.type)) {
      constructed.push_back(owner);
    }
    fields.push_back({wire::fieldKey(def), slot, wire::kindOf(def.type), onHeap});
  }
  fields.push_back({0, 0, wire::Kind::Other, false});
  footprint = static_cast<std::uint32_t>(sizeof(YMMessageBase));
  if (inlineCount < cls->numberOfSlots) {
    footprint +=
        static_cast<std::uint32_t>((cls->numberOfSlots - inlineCount) * 8 + cls->numberOfFields / 8 + 1);
  }
  for (const OwningField& field : constructed) {
    footprint += contains(objectTypes, field.def->type) ? static_cast<std::uint32_t>(sizeof(pstring)) : 0;
  }
  std::stable_partition(constructed.begin(), constructed.end(),
                        [](const OwningField& field) { return contains(stringSlots, field.def->type); });
}

const FieldDef* ClassPlan::fieldOfFormerName(std::uint32_t hash) const
{
  for (const FormerName* name = formerNames; name != nullptr && name != formerNames + formerCount; ++name) {
    if (name->hash == hash && name->field >= 0) {
      return &cls->fields[name->field];
    }
  }
  return nullptr;
}

// Plans of compiled catalogues are never freed: messages in static storage may outlive anything with a
// destructor.
const ClassPlan& Registry::makePlan(unsigned system, unsigned classIndex) const
{
  if (!joined_.load(std::memory_order_acquire)) {
    join();
  }
  const MessageSystemRow& systemRow = row(system);
  PlanPlace* places = places_[system].load(std::memory_order_acquire);
  if (places == nullptr) {
    places = settle(places_[system],
                    std::make_unique<PlanPlace[]>(static_cast<std::size_t>(systemRow.numberOfClasses)));
  }
  return *settle(places[classIndex], std::make_unique<const ClassPlan>(*this, system, classIndex));
}

void Registry::endPlans() const noexcept
{
  for (unsigned system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
    const std::unique_ptr<PlanPlace[]> places(places_[system].exchange(nullptr));
    for (int i = 0; places != nullptr && i < row(system).numberOfClasses; ++i) {
      delete places[static_cast<std::size_t>(i)].load();
    }
  }
}

}  // namespace kwxml
