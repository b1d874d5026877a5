#include <catalogue/Demo.h>
#include <kwxml/KwXMLMsgsBase.h>
#include <iostream>
int main()
{
  Demo::Status status;
  std::string xml = R"(<Demo_Status errorCode="7" errorMessage="disk full"/>)";
  XMLDecoder().unSerialize(status, xml);
  status.setint64(0, 0, 0, Demo::Status::tag, kwxml::nameHash("errorCode", 9));  // field 0 in slot 0
  return XMLEncoder().serialize(status, xml) == 0 && std::cout << xml << "\n" ? 0 : 1;
}
