#include <catalogue/Demo.h>
#include <kwxml/KwXMLMsgsBase.h>
#include <iostream>

int main()
{
  kwxml::logToStandardError();
  const kwxml::ReadResult read = kwxml::decode(R"(<Demo_Status errorCode="7" errorMessage="disk full"/>)");
  Demo::Status* const status = kwxml::cast<Demo::Status>(read.message.get());
  if (status == nullptr) {
    std::cerr << kwxml::toText(read.problems, "status");
    return 1;
  }
  status->set_errorCode(status->errorCode() - 7);
  std::string xml;
  if (XMLEncoder().serialize(*status, xml) != 0) {
    return 1;
  }
  std::cout << xml << "\n";
}
