// Sends an event as a message and logs it: the log line, with the message in it, goes to standard output.
// Then the event as its receiver has it.
#include <catalogue/Common.h>
#include <kwxml/KwXMLMsgsBase.h>
#include <kwxml/platform/LogSink.h>

#include <iostream>

int main()
{
  kwxml::setLogSink([](const kwxml::LogRecord& line) { std::cout << line.text << "\n"; });
  EvMessageContainer event;
  event.setMessageId(4711);
  event.arguments().AddArgument("db-1", ArgumentInfo::kString);
  event.arguments().AddArgument(92, ArgumentInfo::kInt);
  Common::EventMessage message;
  setEvMessageContainerToXML(event, message);

  XmlBinaryLogger logger;
  logger.initialize();
  logger.Debug("event", "%s sends %bxml_kw", &message, "backup");
  XmlLoggerHelper::getXmlLoggerInstance()->drain();  // the line is a worker's
  kwxml::setLogSink({});
  kwxml::logToStandardError();  // what fails from here on is shown; until here the sink had all lines

  EvMessageContainer received;
  if (!getEvMessageContainerFromXML(message, received)) {
    std::cerr << "the message holds no event\n";
    return 1;
  }
  std::cout << "received " << received.getMessageId() << ":";
  for (const ArgumentInfo::Argument& argument : received.arguments()) {
    std::cout << " " << argument.as<std::string>();
  }
  std::cout << "\n";
  return 0;
}
