// What is wrong with a message: reads it strictly, and then takes what can be read of it.
#include <kwxml/codec/StrictReading.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/diagnostics/XMLDebug.h>

#include <iostream>
#include <string>

int main()
{
  kwxml::logToStandardError();
  const std::string xml = "<Shop_Order>\n  <items price=\"abc\" name=\"Saw\"/>\n</Shop_Order>\n";

  // Any problem leaves no message. They say where they are and print as compilers' lines do.
  const kwxml::ReadResult strict = kwxml::readStrict(xml);
  if (!strict) {
    std::cout << kwxml::toText(strict.problems, "order.xml");
  }

  // With an observer of one's own choice the message is what the library has always made of the text.
  kwxml::Problems problems;
  const auto message = XMLDecoder().unSerialize(xml, kwxml::owned, nullptr, &problems);
  if (message == nullptr || problems.has(kwxml::ProblemKind::GivenTwice)) {
    return 1;
  }
  std::string read;
  if (XMLEncoder().serialize(*message, read, true) != 0) {
    return 1;
  }
  std::cout << "read: " << read << "\n";
}
