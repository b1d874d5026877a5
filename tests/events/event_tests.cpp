// Events to messages and back: the seven kinds with their asymmetries, positions, and what is refused.
#include <kwxml/events/EventConversion.h>

#include <kwxml/platform/EvMessageContainer.h>

#include <catalogue/Common.h>

#include "support/DataFile.h"
#include "support/Documents.h"

#include <gtest/gtest.h>

#include <limits>

using namespace kwxml::test;

namespace {

const std::string logs = "events/log.cases";

std::string described(const Common::EventMessage& message)
{
  std::string text = std::to_string(message.messageId());
  for (const Common::EventArgument& a : message.arguments()) {
    text +=
        " " + std::to_string(a.position()) + ":" + (a.has_type() ? nameOf(a.type()) : "?") + ":" + a.data();
  }
  return text;
}

std::string described(const EvMessageContainer& container)
{
  std::string text = std::to_string(container.getMessageId());
  for (const auto& argument : container.arguments()) {
    text += " " + std::to_string(argument.kind) + ":" + argument.as<std::string>();
  }
  return text;
}

Common::EventMessage read(const std::string& xml)
{
  Common::EventMessage message;
  EXPECT_EQ(XMLDecoder().unSerialize(message, xml), 0);
  return message;
}

constexpr const char* unordered =
    "<Common_EventMessage><arguments position='9' type='3' data='a'/>"
    "<arguments position='1' type='3' data='b'/></Common_EventMessage>";

}  // namespace

TEST(Events, EveryKindThereAndBack)
{
  Transcript log(logs);
  EvMessageContainer event;
  event.setMessageId(4711);
  ArgumentInfo& arguments = event.arguments();
  arguments.AddArgument(std::numeric_limits<int>::min(), 5);
  arguments.AddArgument(std::numeric_limits<unsigned>::max(), 6);
  arguments.AddArgument(std::numeric_limits<long>::min(), 7);
  arguments.AddArgument(std::numeric_limits<unsigned long>::max(), 8);
  arguments.AddArgument(std::numeric_limits<long long>::min(), 9);
  arguments.AddArgument(5ULL, 10);
  arguments.AddArgument("a text", 11);
  arguments.AddArgument(1, 99);
  Common::EventMessage message;
  setEvMessageContainerToXML(event, message);
  log.note(described(message));
  const std::string xml = toXml(message);
  EvMessageContainer back;
  back.setSeverity(3);
  back.arguments().AddArgument("gone", 11);
  ASSERT_TRUE(getEvMessageContainerFromXML(read(xml), back));
  log.note("back: the unsigned long long is signed, and what has no type is a number");
  log.note(described(back));
  EXPECT_EQ(back.getSeverity(), 0);

  Common::EventMessage none;
  setEvMessageContainerToXML(EvMessageContainer(), none);
  EXPECT_FALSE(none.has_arguments());
  std::vector<Common::EventArgument> list;
  setEvMessageArgumentsToXML(nullptr, list);
  EXPECT_TRUE(list.empty());
}

TEST(Events, ArgumentsComeInTheOrderOfTheirPositions)
{
  expectCases("events/events.cases", "", [](const std::string& xml) {
    const Common::EventMessage message = read(xml);
    EvMessageContainer event;
    event.setSeverity(1);
    const bool done = getEvMessageContainerFromXML(message, event);
    EXPECT_TRUE(done || event == EvMessageContainer());
    EXPECT_TRUE(message == read(xml)) << "the message is taken by value";
    return done ? described(event) : "refused";
  });

  const Common::EventMessage message = read(unordered);
  std::vector<Common::EventArgument> list(message.arguments().begin(), message.arguments().end());
  EXPECT_TRUE(eventArgumentPositionSortPredicate(list[1], list[0]));
  EXPECT_FALSE(eventArgumentPositionSortPredicate(list[0], list[0]));
  EvMessageContainer event;
  EXPECT_TRUE(getEvMessageContainerArgumentsFromXML(list, event));
  EXPECT_EQ(list[0].position() * 10 + list[1].position(), 19) << "sorted in place";
  list.pop_back();
  EXPECT_TRUE(getEvMessageContainerArgumentsFromXML(list, event));
  EXPECT_EQ(event.arguments().NoOfArgs(), 3) << "appended";
  list.clear();
  EXPECT_TRUE(getEvMessageContainerArgumentsFromXML(list, event));
}

TEST(Events, ANegativeTypeFailsToo)
{
  const Transcript log(logs);
  Common::EventMessage message = read(unordered);
  message.mutable_arguments()[1].set_type(static_cast<Common::EventArgumentType>(-1));
  EvMessageContainer event;
  EXPECT_FALSE(getEvMessageContainerFromXML(message, event));
}

TEST(Events, PushedArgumentsCountFromOne)
{
  Transcript log(logs, 10);
  Common::EventMessage message = read(unordered);
  EXPECT_TRUE(pushEventArgumentXML(message, "x"));
  log.note(described(message));
  // Names of types at run time are not the words that the function knows.
  EXPECT_FALSE(pushEventArgumentXML(message, 1) || pushEventArgumentXML(message, 1L) ||
               pushEventArgumentXML(message, 1LL));
  EXPECT_EQ(message.arguments().size(), 3u);
}
