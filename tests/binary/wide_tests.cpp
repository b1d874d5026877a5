// Messages of the widest and the smallest classes, with few fields set or many: whatever is written is read.
#include "binary/Bodies.h"

#include <random>

using namespace kwxml::test;

namespace {

/// How many messages of a class a test can nest without taking much memory itself.
std::size_t affordable(const _ClassDef& cls)
{
  constexpr std::size_t memory = 8 << 20;
  const std::size_t each = sizeof(YMMessageBase) + static_cast<std::size_t>(cls.numberOfSlots) * 8;
  return std::min<std::size_t>(2000, memory / each);
}

/// Nests each of the messages in the holder once in every way.
YMMessageBase nest(const YMMessageBase& emptyHolder, const std::vector<YMMessageBase>& messages)
{
  YMMessageBase holder = emptyHolder;
  const unsigned long tag = holder.getTagID();
  const auto at = [&](short i) -> const FieldDef& { return holder.getClass()->fields[i]; };
  holder.setlistobject(0, at(0).slot, &messages, tag, at(0).hash);
  auto& numbered = *holder.getMapInt64AndObject(1, at(1).slot, tag, at(1).hash, true);
  auto& named = *holder.getMapStringAndObject(2, at(2).slot, tag, at(2).hash, true);
  for (std::size_t i = 0; i < messages.size(); ++i) {
    if (i % 2 == 0) {
      numbered.emplace(static_cast<long long>(i), messages[i]);
    } else {
      named.emplace(std::string(1, static_cast<char>('a' + i % 26)) + std::to_string(i), messages[i]);
    }
  }
  holder.setObject(3, at(3).slot, &messages.front(), false, tag, at(3).hash, true);
  return holder;
}

void expectRead(YMMessageBase& message, const std::string& what)
{
  const std::string bytes = encode(message);
  YMMessageBase read(message.getSubsysID(), message.getClassIndex());
  LogCapture log;
  ASSERT_EQ(decode(read, bytes), 0) << what << ": " << toText(log);
  EXPECT_TRUE(read == message) << what;
}

}  // namespace

TEST(BinaryWide, WhatIsWrittenIsRead)
{
  std::mt19937 random(7);
  int holders = 0;
  for (const short system : {50, 70}) {
    const MessageSystemRow& row = XML_KWMessage_MessageSystemChooser::msgSysStruct[system];
    for (int i = 0; i + 1 < row.numberOfClasses; i += 2) {
      const _ClassDef& cls = row.classes[i];
      YMMessageBase unset(system, i);
      unset.wipeBitset();
      YMMessageBase holder(system, i + 1);
      holder.wipeBitset();
      const std::string name = unset.getTagName();
      std::vector<YMMessageBase> messages(affordable(cls), unset);
      YMMessageBase nested = nest(holder, messages);
      expectRead(nested, name + ", nothing set");
      ++holders;
      if (cls.numberOfFields == 0) {
        continue;
      }
      for (YMMessageBase& message : messages) {
        fill(message, cls.fields[random() % static_cast<unsigned>(cls.numberOfFields)], 1);
      }
      nested = nest(holder, messages);
      expectRead(nested, name + ", a field each");
      messages.resize(std::min<std::size_t>(messages.size(), 3));
      for (YMMessageBase& message : messages) {
        fillAll(message, 2);
      }
      nested = nest(holder, messages);
      expectRead(nested, name + ", all set");
    }
  }
  EXPECT_EQ(holders, 26);
}

TEST(BinaryWide, AListOfManySparseMessagesIsRead)
{
  // 8 KB a message, 11 bytes each when they are written.
  const MessageSystemRow& row = XML_KWMessage_MessageSystemChooser::msgSysStruct[70];
  int i = 0;
  while (row.classes[i].numberOfSlots < 1000) {
    i += 2;
  }
  YMMessageBase holder(70, i + 1);
  auto& list = object<std::vector<YMMessageBase>>(holder, holder.getClass()->fields[0].getName());
  for (int n = 0; n < 5000; ++n) {
    fill(list.emplace_back(70, i), row.classes[i].fields[0], 1);
  }
  expectRead(holder, "5,000 messages");
}

TEST(BinaryWide, CountsAloneTakeNoMemory)
{
  // A list that announces four thousand million messages and has five.
  for (const char* count : {"FF FF FF FF 0F", "C0 84 3D"}) {
    const FieldDef& list = YMMessageBase(70, 25).getClass()->fields[0];
    YMMessageBase message(70, 25);
    message.wipeBitset();
    std::string body = "M " + std::string(count);
    for (int i = 0; i < 5; ++i) {
      body += " list.2 00";
    }
    LogCapture log;
    EXPECT_EQ(decodeBody(message, body), -1);
    const auto* read = message.getlistobject_const(0, list.slot, message.getTagID(), list.hash);
    ASSERT_NE(read, nullptr);
    EXPECT_LE(read->capacity(), 6u);
  }
}
