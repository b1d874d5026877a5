// Class indices and slots.
#include "Stages.h"

#include <kwxml/model/YMMessageBuffer.h>

#include <algorithm>
#include <limits>

namespace kwxml::catalogue {
namespace {

constexpr int maxSlots = std::numeric_limits<std::int16_t>::max();

// What a class of few slots has in the message itself, its is-set bits right behind the slots.
constexpr int inlineSlots = YMMessageBuffer::inlineSlots;
constexpr int inlineBytes = inlineSlots * 8;

/// Positions of the elements, with room for records without a name before an explicit index.
void assignClassIndices(System& system, Diagnostics& diagnostics)
{
  long long next = 0;
  for (Class& cls : system.classes) {
    const long long index = cls.writtenIndex.value_or(next);
    if (index < 0 || index >= maxClasses) {
      diagnostics.error(cls.at, "class index " + std::to_string(index) + " of " + inQuotes(cls.name) +
                                    " is out of range 0 to " + std::to_string(maxClasses - 1));
      continue;
    }
    if (index < next) {
      diagnostics.error(cls.at, "class index " + std::to_string(index) + " of " + inQuotes(cls.name) +
                                    " is below the next free one, " + std::to_string(next));
      continue;
    }
    cls.index = static_cast<int>(index);
    next = index + 1;
  }
}

void refuseOverlaps(const Class& cls, Diagnostics& diagnostics)
{
  std::vector<const Field*> bySlot;
  for (const Field& field : cls.fields) {
    bySlot.push_back(&field);
  }
  std::stable_sort(bySlot.begin(), bySlot.end(),
                   [](const Field* a, const Field* b) { return a->slot < b->slot; });
  const Field* furthest = nullptr;  // of the fields so far the one whose slots end last
  for (const Field* field : bySlot) {
    const auto end = [](const Field& f) { return f.slot + fieldTypeInfo(f.type).slots; };
    if (furthest != nullptr && end(*furthest) > field->slot) {
      diagnostics.error(field->at, "slot " + std::to_string(field->slot) + " of field " +
                                       inQuotes(field->name) + " overlaps field " + inQuotes(furthest->name));
    }
    if (furthest == nullptr || end(*field) > end(*furthest)) {
      furthest = field;
    }
  }
}

/// A field without a slot of its own comes right behind the highest slot that the fields before it use.
/// Fields without storage keep a slot too: compiled wrappers count on the slots behind them.
bool assignSlots(Class& cls, Diagnostics& diagnostics)
{
  int end = 0;
  for (Field& field : cls.fields) {
    if (field.type == FIELD_INVALID) {
      return false;  // already reported, and every slot behind it is unknown
    }
    const int slots = fieldTypeInfo(field.type).slots;
    const long long slot = field.writtenSlot.value_or(end);
    if (slot < 0 || slot + slots > maxSlots) {
      diagnostics.error(field.at, "slot " + std::to_string(slot) + " of field " + inQuotes(field.name) +
                                      " is out of range 0 to " + std::to_string(maxSlots - slots));
      return false;
    }
    field.slot = static_cast<int>(slot);
    end = std::max(end, field.slot + slots);
  }
  cls.numberOfSlots = end;
  return true;
}

void layOutClass(Class& cls, Diagnostics& diagnostics)
{
  if (!cls.isEnum) {
    if (!assignSlots(cls, diagnostics)) {
      return;
    }
    refuseOverlaps(cls, diagnostics);
  }
  const std::size_t bytes = static_cast<std::size_t>(cls.numberOfSlots) * 8 + cls.fields.size() / 8 + 1;
  if (cls.numberOfSlots < inlineSlots && bytes > inlineBytes) {
    diagnostics.error(cls.at, "class " + inQuotes(cls.name) + " does not fit: its " +
                                  std::to_string(cls.numberOfSlots) + " slots and the is-set bits of its " +
                                  std::to_string(cls.fields.size()) + " records take " +
                                  std::to_string(bytes) + " bytes where a message has " +
                                  std::to_string(inlineBytes));
  }
}

}  // namespace

void layOut(Catalogue& catalogue, Diagnostics& diagnostics)
{
  for (System& system : catalogue.systems) {
    assignClassIndices(system, diagnostics);
    for (Class& cls : system.classes) {
      layOutClass(cls, diagnostics);
    }
  }
}

}  // namespace kwxml::catalogue
