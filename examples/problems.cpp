// What is wrong with a message: reads it strictly, and then takes what can be read of it.
#include <kwxml/codec/StrictReading.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>

#include <iostream>
#include <memory>
#include <string>

int main()
{
  const std::string xml = "<Shop_Order>\n  <items price=\"abc\" name=\"Saw\"/>\n</Shop_Order>\n";

  // Any problem leaves no message. They say where they are and print as compilers' lines do.
  const kwxml::ReadResult strict = kwxml::readStrict(xml);
  if (!strict) {
    std::cout << kwxml::toText(strict.problems, "order.xml");
  }

  // With an observer of one's own choice the message is what the library has always made of the text.
  kwxml::Problems problems;
  const std::unique_ptr<YMMessageBase> message(XMLDecoder().unSerialize(xml, nullptr, &problems));
  if (message == nullptr || problems.has(kwxml::ProblemKind::GivenTwice)) {
    return 1;
  }
  std::string read;
  XMLEncoder().serialize(*message, read, true);
  std::cout << "read: " << read << "\n";
}
