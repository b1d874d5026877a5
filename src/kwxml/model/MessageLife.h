// How messages and their values begin, are copied and end. Not installed.
#pragma once

#include <kwxml/model/MessageInternal.h>

/// The text of a CDATA section, and whether there is one.
struct YMMessageBase::CdataBuffer
{
  cdata text;
  bool set = false;
};

namespace kwxml {

struct MessageLife : MessageAccess
{
  /// Gives a message without a class and caches its class and storage.
  static void construct(YMMessageBase& m, const Registry& registry, int system, int classIndex,
                        bool external = false, long long* buffer = nullptr, int size = 0);
  /// The same of one that may hold anything, which ends.
  static void restart(YMMessageBase& m, const PackedReference& reference);
  /// Destroys what lives in the message and gives it another class's storage.
  static void destroyValues(YMMessageBase& m) noexcept;
  static void destroyCaches(YMMessageBase& m) noexcept;
  static bool hasCaches(const YMMessageBase& m) noexcept;
  static void takeOver(YMMessageBase& to, YMMessageBase& from) noexcept;
  static void takeOverValues(YMMessageBase& to, YMMessageBase& from) noexcept;
  static void copyValues(YMMessageBase& to, const YMMessageBase& from);
  /// Construct one owning field's value in slots that hold bytes of no meaning, without touching its bit: a
  /// deep copy of the value in `from`, what an unset field holds, or nothing (what can end, and no more).
  static void constructCopy(YMMessageBase& to, const YMMessageBase& from, const FieldDef& def);
  static void constructEmpty(YMMessageBase& to, const FieldDef& def);
  static void constructNothing(YMMessageBase& to, const FieldDef& def) noexcept;
  /// Deep copy of one value into a message of the same class, marking it set.
  static void copyValue(YMMessageBase& to, const YMMessageBase& from, const FieldDef& def);
  /// Drops a value as deleteMember() does, without the bit.
  static void dropValue(YMMessageBase& m, const FieldDef& def, bool destroying) noexcept;
  /// Ends a value behind a pointer, however deep messages nest in it.
  template <class Value>
  static void destroyObject(Value*& target) noexcept;

private:
  struct Ending;
};

}  // namespace kwxml
