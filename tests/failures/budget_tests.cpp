// The memory that decoding may take: what encoders write passes, what is made to take much does not, and
// callers raise the limit.
#include "platform/TempDirectory.h"
#include "support/LogCapture.h"
#include "support/Messages.h"
#include "support/ParserFeed.h"

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/Registry.h>
#include <kwxml/reading/Problems.h>

#include <gtest/gtest.h>

#include <memory>

using namespace kwxml;
using namespace kwxml::test;

namespace {

/// A message with `count` of the widest messages of a system, each with every `step`-th field; 0 for none.
YMMessageBase holder(int count, int step, const std::string& system = "Types")
{
  YMMessageBase wide = bare(system + "_Wide");
  int position = 0;
  for (const FieldDef& def : *wide.getClass()) {
    if (step != 0 && position++ % step == 0) {
      fill(wide, def, 1, 0);
    }
  }
  YMMessageBase message = bare(system + "_WideHolder");
  auto& list = object<std::vector<YMMessageBase>>(message, "wides");
  list.assign(static_cast<std::size_t>(count), wide);
  MessageAccess::mark(message, field(message, "wides"));
  return message;
}

struct Form
{
  const char* name;
  std::string (*write)(const YMMessageBase&);
  std::unique_ptr<YMMessageBase> (*read)(const std::string&, KwXMLContextInfo*, ReadObserver*);
};

std::string xmlOf(const YMMessageBase& message)
{
  std::string text;
  EXPECT_EQ(XMLEncoder().serialize(message, text), 0);
  return text;
}

const Form forms[] = {
    {"XML", xmlOf,
     [](const std::string& text, KwXMLContextInfo* context, ReadObserver* observer) {
       return std::unique_ptr<YMMessageBase>(XMLDecoder().unSerialize(text, context, observer));
     }},
    {"XML that the scanner leaves to the parser",
     [](const YMMessageBase& message) {
       std::string text = xmlOf(message);
       return text.insert(text.find("?>") + 2, "<!DOCTYPE a>");
     },
     [](const std::string& text, KwXMLContextInfo* context, ReadObserver* observer) {
       return std::unique_ptr<YMMessageBase>(XMLDecoder().unSerialize(text, context, observer));
     }},
    {"JSON",
     [](const YMMessageBase& message) {
       std::string text;
       EXPECT_EQ(JSONEncoder().serialize(message, text), 0);
       return text;
     },
     [](const std::string& text, KwXMLContextInfo* context, ReadObserver* observer) {
       return JSONDecoder(context).unSerialize(text, observer);
     }},
    {"binary",
     [](const YMMessageBase& message) {
       BinaryBuffer buffer;
       BinarySerializer::serialize(message, buffer);
       return std::string(buffer.data(), buffer.length());
     },
     [](const std::string& bytes, KwXMLContextInfo* context, ReadObserver* observer) {
       BinaryBuffer buffer;
       buffer.SetReadBuffer(bytes.data(), bytes.size(), true);
       return std::unique_ptr<YMMessageBase>(BinarySerializer::unserialize(buffer, context, false, observer));
     }},
};

}  // namespace

TEST(Budget, WhatIsMadeToTakeMuchMemoryIsRefusedWithTheLimitAndTheWayToRaiseIt)
{
  YMMessageBase message = holder(100, 0);
  for (const Form& form : forms) {
    SCOPED_TRACE(form.name);
    const std::string text = form.write(message);
    KwXMLContextInfo context;
    context.setMemoryLimit(100000);
    Problems problems;
    LogCapture log;
    EXPECT_EQ(form.read(text, &context, &problems), nullptr);
    ASSERT_TRUE(problems.has(ProblemKind::NoMemory));
    const std::string why = problems.entries()[0].text;
    EXPECT_NE(
        why.find("bytes of memory or more, the limit is 100000; KwXMLContextInfo::setMemoryLimit() raises"),
        std::string::npos)
        << why;
    ASSERT_FALSE(log.lines().empty());
    EXPECT_NE(why.find(log.lines()[0].text), std::string::npos) << log.lines()[0].text;
    context.setMemoryLimit(10000000);
    const auto read = form.read(text, &context, nullptr);
    ASSERT_NE(read, nullptr);
    EXPECT_TRUE(*read == message);
  }
}

TEST(Budget, AMessageOfTheCallerIsAsBeforeWhenItIsRefused)
{
  YMMessageBase message = holder(100, 0);
  const std::string text = xmlOf(message);
  YMMessageBase target = holder(2, 3);
  const YMMessageBase before(target);
  const LogCapture quiet;
  KwXMLContextInfo context;
  context.setMemoryLimit(100000);
  EXPECT_NE(XMLDecoder().unSerialize(target, text, &context), 0);
  EXPECT_TRUE(target == before);
}

/// A class with as many fields and slots as the widest of a catalogue of full size has.
std::string widestSchema()
{
  std::string schema =
      R"(<catalogue><system name="Widest" index="12"><message name="WideHolder" id="0x1">)"
      R"(<field name="wides" type="list" of="object" class="Widest_Wide"/></message><message name="Wide" id="0x2">)";
  for (int i = 0; i < 316; ++i) {
    schema += "<field name=\"f" + std::to_string(i) + "\" type=\"" + (i % 7 == 3 ? "string" : "int") + "\"/>";
  }
  return schema + "</message></system></catalogue>";
}

// Sparse and dense messages of wide classes, up to the number that any input may hold.
TEST(Budget, WhatEncodersWriteIsReadBack)
{
  const TempDirectory directory;
  std::string problems;
  const auto widest = Registry::fromSchemas({directory.write("Widest.xml", widestSchema())}, problems);
  ASSERT_NE(widest, nullptr) << problems;
  for (const std::string system : {"Types", "Widest"}) {
    const UsingCatalogue catalogue(system == "Widest" ? *widest : Registry::current());
    for (const auto& [count, step] : {std::pair(20000, 0), {5000, 40}, {200, 1}}) {
      const YMMessageBase message = holder(count, step, system);
      for (const Form& form : forms) {
        SCOPED_TRACE(form.name + (", " + system));
        const auto read = form.read(form.write(message), nullptr, nullptr);
        ASSERT_NE(read, nullptr) << count;
        EXPECT_TRUE(*read == message);
      }
    }
    EXPECT_GE(bare(system + "_Wide").getClass()->numberOfSlots, system == "Widest" ? 451 : 200);
  }
}

// 2.4 MB of empty messages took 830 MB.
TEST(Budget, TheUsualLimitHoldsHostileInputs)
{
  const LogCapture quiet;
  std::string text = "<Types_WideHolder>";
  while (text.size() < 2400000) {
    text += "<wides/>";
  }
  text += "</Types_WideHolder>";
  Problems problems;
  EXPECT_EQ(XMLDecoder().unSerialize(text, nullptr, &problems), nullptr);
  ASSERT_TRUE(problems.has(ProblemKind::NoMemory));
  EXPECT_NE(problems.entries()[0].text.find(std::to_string(usualDecodeMemory(text.size()))),
            std::string::npos);
}
