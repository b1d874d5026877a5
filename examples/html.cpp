// Shows messages to people in a browser: the XML files that are named go into one page, with a tree of all
// values and what the schemas say of them.
#include <kwxml/KwXMLMsgsBase.h>

#include <ctime>
#include <fstream>
#include <iostream>
#include <sstream>

int main(int argc, char** argv)
{
  kwxml::logToStandardError();
  if (argc < 3) {
    std::cerr << "usage: html_example PAGE.html MESSAGE.xml...\n";
    return 2;
  }
  std::string now;
  if (!kwxml::formatIsoDate(std::time(nullptr), Annotation::DATE_TIME, now)) {
    std::cerr << "the clock of this machine is wrong\n";
    return 1;
  }
  // The page is written as it grows; what it is of need not stay in memory.
  std::ofstream file(argv[1]);
  kwxml::MessagePage page(kwxml::intoStream(file), now);
  for (int i = 2; i < argc; ++i) {
    std::stringstream text;
    if (!(text << std::ifstream(argv[i]).rdbuf())) {
      std::cerr << argv[i] << ": cannot be read\n";
      return 1;
    }
    const kwxml::ReadResult read = kwxml::decode(text.str());
    if (!read) {
      std::cerr << kwxml::toText(read.problems, argv[i]);
      return 1;
    }
    if (!page.add(*read.message, argv[i])) {
      break;  // finish() says it again
    }
  }
  if (!page.finish() || !file.flush()) {
    std::cerr << argv[1] << ": cannot be written\n";
    return 1;
  }
  std::cout << argv[1] << ": " << argc - 2 << " messages\n";
  return 0;
}
