// What is wrong with a message, and which way of reading still takes it: strict reading takes no problem,
// kwxml::decode() unknown names, which later versions of a catalogue may write, and the decoder all that can
// be read.
#include <kwxml/KwXMLMsgsBase.h>

#include <iostream>
#include <string>

int main()
{
  kwxml::logToStandardError();
  std::cout << "an unknown name:\n";
  const std::string unknown = "<Shop_Order>\n  <items name=\"Saw\" pric=\"12.5\"/>\n</Shop_Order>\n";
  const kwxml::ReadResult strict = kwxml::readStrict(unknown);
  std::cout << kwxml::toText(strict.problems, "order.xml");
  const kwxml::ReadResult decoded = kwxml::decode(unknown);
  std::cout << "readStrict() takes it: " << std::boolalpha << static_cast<bool>(strict) << "\n"
            << "decode() takes it: " << static_cast<bool>(decoded) << "\n";

  std::cout << "a value that is none:\n";
  const std::string wrong = "<Shop_Order>\n  <items name=\"Saw\" price=\"abc\"/>\n</Shop_Order>\n";
  const kwxml::ReadResult refused = kwxml::decode(wrong);
  std::cout << kwxml::toText(refused.problems, "order.xml")
            << "decode() takes it: " << static_cast<bool>(refused) << "\n";

  // With an observer of one's own choice the message is what the library has always made of the text.
  kwxml::Problems problems;
  const auto message = XMLDecoder().unSerialize(wrong, kwxml::owned, nullptr, &problems);
  if (message == nullptr || problems.has(kwxml::ProblemKind::GivenTwice)) {
    std::cerr << "that goes too far\n";
    return 1;
  }
  std::cout << "XMLDecoder reads: ";
  if (XMLEncoder().serialize(*message, std::cout, true) != 0) {
    return 1;
  }
  std::cout << "\n";
  return 0;
}
