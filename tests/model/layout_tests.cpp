// Where values lie: inline, on the heap, across the border, in storage of the caller; and what moves cost.
#include "support/AllocationCounter.h"
#include "support/LogCapture.h"
#include "support/Messages.h"

#include <kwxml/platform/KwException.h>

#include <gtest/gtest.h>

using namespace kwxml::test;

TEST(Layout, ValuesLieInlineUpToTheFirstThatReachesSlot24)
{
  const std::tuple<const char*, std::size_t, int> rows[] = {{"Types_Slots24", 0, 24},
                                                            {"Demo_Status", 0, 5},
                                                            {"Types_Slots25", 1, 24},
                                                            {"Types_Straddle", 1, 22},
                                                            {"Types_Wide", 1, 24}};
  for (const auto& [tagName, allocations, inlineCount] : rows) {
    YMMessageBase message = make(tagName);
    const AllocationCounter counter;
    const YMMessageBase same(message.getSubsysID(), message.getClassIndex());
    EXPECT_EQ(counter.count(), allocations) << tagName;
    int count = 0;  // a buffer shows its layout by where the slots lie: the heap's are not inside the object
    for (const FieldDef& def : *message.getClass()) {
      const auto* address = static_cast<const char*>(def.getFieldAddrResolved(message));
      const auto* object = reinterpret_cast<const char*>(&message);
      count +=
          address >= object && address < object + sizeof message ? kwxml::fieldTypeInfo(def.type).slots : 0;
    }
    EXPECT_EQ(count, inlineCount) << tagName;
  }
}

TEST(Layout, EveryFieldKeepsItsOwnValue)
{
  for (const char* tagName :
       {"Types_Slots24", "Types_Slots25", "Types_Straddle", "Types_Wide", "Types_ExplicitSlots"}) {
    YMMessageBase message = make(tagName);
    for (const FieldDef& def : *message.getClass()) {
      fill(message, def, def.fieldNumber + 1);
    }
    for (const FieldDef& def : *message.getClass()) {
      YMMessageBase alone = bare(tagName);
      fill(alone, def, def.fieldNumber + 1);
      YMMessageBase rest(message);
      for (const FieldDef& other : *message.getClass()) {
        if (&other != &def) {
          rest.deleteMember(other.fieldNumber, rest.getTagID(), other.hash, false);
        }
      }
      EXPECT_TRUE(rest == alone) << tagName << "." << def.getName();
    }
  }
}

TEST(Layout, MovesKeepValuesAndAllocateNothing)
{
  static_assert(std::is_nothrow_move_constructible_v<YMMessageBase>);
  for (const char* tagName :
       {"Types_AllTypes", "Types_Straddle", "Types_ExplicitSlots", "Demo_Status", "Legacy_Defaults"}) {
    YMMessageBase original = make(tagName);
    fillAll(original, 1);
    const YMMessageBase expected(original);
    const AllocationCounter counter;
    YMMessageBase moved(std::move(original));
    YMMessageBase assigned;
    assigned = std::move(moved);
    EXPECT_EQ(counter.count(), 0u);
    EXPECT_TRUE(assigned == expected) << tagName;
    EXPECT_TRUE(moved.getClass() == nullptr && moved.getNumberOfFields() == 0);
    moved = make(tagName);  // a message that was moved from can be used again
    fillAll(moved, 1);
    EXPECT_TRUE(moved == expected) << tagName;
  }
  std::vector<YMMessageBase> vector;
  for (int i = 0; i < 100; ++i) {  // short strings in place point into themselves: growth must mend them
    vector.push_back(make("Demo_Status"));
    setText(vector.back(), "errorMessage", "n" + std::to_string(i));
  }
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(getText(vector[static_cast<std::size_t>(i)], "errorMessage"), "n" + std::to_string(i));
  }
  YMMessageBase node = nodeChain(3);  // a part of a message may be moved into its whole
  const FieldDef& child = field(node, "child");
  node = std::move(*static_cast<YMMessageBase*>(
      node.getObject(child.fieldNumber, child.slot, node.getTagID(), child.hash)));
  EXPECT_TRUE(node == nodeChain(2));
}

TEST(Layout, ExternalStorageIsCheckedInBytesAndStaysTheCallers)
{
  const YMMessageBase probe = make("Demo_Item");
  constexpr int needed = 7 * 8 + 4 / 8 + 1;
  std::vector<long long> storage(16, -1);
  LogCapture log;
  EXPECT_THROW(YMMessageBase(probe.getSubsysID(), probe.getClassIndex(), storage.data(), needed - 1),
               KwException);
  EXPECT_TRUE(log.has("YMMessageBase::initialize", "[Size of buffer provided is not sufficient]"));
  EXPECT_EQ(storage[0], -1);
  {
    YMMessageBase message(probe.getSubsysID(), probe.getClassIndex(), storage.data(), needed);
    fillAll(message, 1);
    EXPECT_NE(storage[4], 0);  // the price lies in the caller's slot 4
    YMMessageBase copy(message);
    EXPECT_TRUE(copy == message);
    YMMessageBase other = make("Demo_Item");
    fillAll(other, 2);
    message = other;
    EXPECT_TRUE(message == other);
    EXPECT_EQ(static_cast<const void*>(field(message, "price").getFieldAddrResolved(message)), &storage[4]);
    YMMessageBase third = make("Demo_Item");
    fillAll(third, 3);
    message = YMMessageBase(third);  // a temporary does not take the storage away either
    EXPECT_TRUE(message == third);
    EXPECT_EQ(static_cast<const void*>(field(message, "price").getFieldAddrResolved(message)), &storage[4]);
    YMMessageBase moved(std::move(message));
    EXPECT_TRUE(moved == third);
  }
}

TEST(Layout, BuffersCopyTheirShapeAndShareExternalStorage)
{
  YMMessageBuffer buffer;
  buffer.init(2, 5, 20);
  for (short slot = 0; slot < 5; ++slot) {
    buffer[slot] = slot + 1;
  }
  buffer.setBit(19);
  YMMessageBuffer copy(buffer);
  EXPECT_TRUE(copy.slotCount() == 5 && copy[0] + copy[4] == 0 && !copy.bit(19));
  EXPECT_EQ(buffer[4], 5);
  buffer.reset(20);
  for (short slot = 0; slot < 5; ++slot) {
    EXPECT_EQ(buffer.at_ref_const(slot), 0);
  }
  EXPECT_FALSE(buffer.bit(19));
  YMMessageBuffer wide;  // a bitset that does not fit beside the inline slots goes to the heap
  wide.init(24, 24, 100);
  wide.setBit(99);
  wide[23] = 7;
  EXPECT_TRUE(wide.bit(99) && wide[23] == 7);
  long long storage[4] = {1, 2, 3, 4};
  YMMessageBuffer external;
  external.init(storage, sizeof storage, 3, 3);
  EXPECT_EQ(storage[3], 0);
  YMMessageBuffer shared;
  shared = external;
  shared[2] = 9;
  EXPECT_EQ(storage[2], 9);
}
