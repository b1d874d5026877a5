// A password leaves the program only under the key that the settings name, and comes back
// only under the same key. `kwxml key create KEY > settings.ini` makes a key; then
// KWXML_SETTINGS=settings.ini names it.
#include <catalogue/Types.h>
#include <kwxml/KwXMLMsgsBase.h>

#include <iostream>

int main()
{
  kwxml::logToStandardError();
  if (!kwxml::registerPasswordAlgorithms()) {
    std::cerr << "There is no key for passwords. Make one with 'kwxml key create KEY > settings.ini',\n"
                 "and let the environment variable KWXML_SETTINGS name settings.ini.\n";
    return 1;
  }

  // The schema says of password10 that it is written as KWPASSWORD_ENCRYPTION_VER5.
  const std::string secret = "open sesame";
  Types::Annotated account;
  account.set_password10(secret);
  std::string xml;
  XMLSerializer writer;
  if (writer.serialize(account, xml, true) != 0 || writer.lost() != 0) {
    std::cerr << "the password cannot be protected\n";
    return 1;
  }
  std::cout << "in the text to read: " << (xml.find(secret) == std::string::npos ? "no" : "yes") << "\n";

  const kwxml::ReadResult read = kwxml::decode(xml);
  const auto* received = kwxml::cast<Types::Annotated>(read.message.get());
  if (received == nullptr) {
    std::cerr << kwxml::toText(read.problems, "account");
    return 1;
  }
  std::cout << "with the key: " << received->password10().getPlainPassword() << "\n";

  EncodingFlags masked;
  masked.maskPasswords = 1;
  std::cout << "for people: ";
  if (XMLEncoder(masked).serialize(*received, std::cout, true) != 0) {
    return 1;
  }
  std::cout << "\n";
  return 0;
}
