// Works with messages that the program knows nothing of when it is compiled: reads their schema, then a
// message of it, shows the fields with what the schema says of them, and writes the message as JSON.
#include <kwxml/KwXMLMsgsBase.h>

#include <fstream>
#include <iostream>
#include <sstream>

int main(int argc, char** argv)
{
  kwxml::logToStandardError();
  if (argc != 3) {
    std::cerr << "usage: runtime-catalogue_example SCHEMA.xml MESSAGE.xml\n";
    return 2;
  }
  std::string problems;
  const kwxml::Registry::Owner catalogue = kwxml::Registry::fromSchemas({argv[1]}, problems);
  std::cerr << problems;  // warnings, too
  if (catalogue == nullptr) {
    return 1;
  }
  kwxml::useCatalogue(*catalogue);

  // Messages end before their catalogue does.
  std::stringstream text;
  if (!(text << std::ifstream(argv[2]).rdbuf())) {
    std::cerr << argv[2] << ": cannot be read\n";
    return 1;
  }
  const kwxml::ReadResult read = kwxml::decode(text.str());
  if (!read) {
    std::cerr << kwxml::toText(read.problems, argv[2]);
    return 1;
  }
  const YMMessageBase& message = *read.message;
  for (int i = 0; i < message.getNumberOfFields(); ++i) {
    bool hasHash = false;
    std::string name;
    const bool set = message.isSet(static_cast<short>(i), hasHash, name);
    std::cout << name << (set ? "" : " (not set)") << ": "
              << catalogue->doc(message.getSubsysID(), message.getClassIndex(), i) << "\n";
  }
  if (JSONEncoder().serialize(message, std::cout) != 0) {
    return 1;
  }
  std::cout << "\n";
  return 0;
}
