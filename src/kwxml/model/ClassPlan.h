// What the library works out of a class record once, for the walks that make, copy, end and encode messages.
// Not installed.
#pragma once

#include <kwxml/model/Registry.h>
#include <kwxml/model/WireTypes.h>

#include <atomic>
#include <vector>

namespace kwxml {

/// What the binary form's walks need of a field, in a quarter of the field record's memory.
struct FieldPlan
{
  std::uint32_t key;
  std::int16_t slot;
  wire::Kind kind;
  bool onHeap;  ///< the value's slots are not inline, in a message with storage of its own
};
static_assert(sizeof(FieldPlan) == 8);

/// A field whose slots hold more than a number.
struct OwningField
{
  const FieldDef* def;
  std::int16_t slot;
  std::int16_t position;
  bool onHeap;
  bool isString;  ///< of type FIELD_STRING, which most are
};

/// What a higher room works out of a class and keeps with its plan.
struct KeptWithPlan
{
  KeptWithPlan() = default;
  virtual ~KeptWithPlan() = default;
};

/// Plans are made when the first message of a class is, kept to the end of the process, and read from any
/// thread.
struct ClassPlan
{
  ClassPlan(const Registry& of, unsigned system, unsigned classIndex);
  ~ClassPlan() { delete writing.load(); }
  ClassPlan(const ClassPlan&) = delete;
  ClassPlan& operator=(const ClassPlan&) = delete;

  const Registry* registry;
  const _ClassDef* cls;
  /// Over the class's records, as wrappers have it: fingerprintStep().
  std::uint32_t fingerprint = fingerprintStart;
  /// One for each field record, and one more whose key 0 is no field's.
  std::vector<FieldPlan> fields;
  /// In the order of the records. Those whose values exist in every message, set or not, come in
  /// `constructed` too, strings first: those cannot fail, and a message whose construction fails ends them
  /// all.
  std::vector<OwningField> owners;
  std::vector<OwningField> constructed;
  /// The records of type 0, one bit each, 64 a number; empty where there are none.
  std::vector<std::uint64_t> untyped;
  /// Bytes of memory that a new message takes, without the nested messages that eager systems build.
  std::uint32_t footprint;
  /// Leading slots that stay inline.
  short inlineCount;
  /// The class is of a system whose messages build their nested messages when they are made.
  bool eager;
  /// An unset field of a new message is empty: no defaults, nothing that eager systems build.
  bool plain;
  /// What the XML writer works out of the class, kept here because this plan is at hand then; null before the
  /// first message is written.
  mutable std::atomic<const KeptWithPlan*> writing{nullptr};

  /// findField() in constant time.
  const FieldDef* field(std::uint32_t hash) const
  {
    for (std::uint32_t at = placeOf(hash);; at = (at + 1) & static_cast<std::uint32_t>(byHash.size() - 1)) {
      const std::uint16_t entry = byHash[at];
      if (entry == 0) {
        return formerNames == nullptr ? nullptr : fieldOfFormerName(hash);
      }
      if (cls->fields[entry - 1].hash == hash) {
        return &cls->fields[entry - 1];
      }
    }
  }
  /// The field that had a name of this hash before.
  const FieldDef* fieldOfFormerName(std::uint32_t hash) const;

private:
  std::uint32_t placeOf(std::uint32_t hash) const { return hash * 0x9E3779B1U >> hashShift; }
  /// Position + 1 of the first record with a hash, in the first free place from placeOf() on; at least half
  /// of the places, a power of two, stay 0.
  std::vector<std::uint16_t> byHash;
  int hashShift;
  std::size_t formerCount = 0;
  /// Those of the class and its fields; null where there are none, as nearly everywhere.
  const FormerName* formerNames;
};

}  // namespace kwxml
