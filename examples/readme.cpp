#include <catalogue/Demo.h>
#include <kwxml/KwXMLMsgsBase.h>
#include <iostream>
int main()
{
  kwxml::logToStandardError();
  Demo::Status status;
  std::string xml = R"(<Demo_Status errorCode="7" errorMessage="disk full"/>)";
  if (XMLDecoder().unSerialize(status, xml) != 0) {
    return 1;
  }
  status.set_errorCode(status.errorCode() - 7);
  return XMLEncoder().serialize(status, xml) == 0 && std::cout << xml << "\n" ? 0 : 1;
}
