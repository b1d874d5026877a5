// Reads an order from a file, changes it, and writes it to standard output: another price for the first item,
// the colour of the second, and a status.
#include <catalogue/Demo.h>
#include <catalogue/Shop.h>
#include <kwxml/KwXMLMsgsBase.h>

#include <fstream>
#include <iostream>
#include <sstream>

int main(int argc, char** argv)
{
  kwxml::logToStandardError();
  std::stringstream text;
  text << std::ifstream(argc > 1 ? argv[1] : "").rdbuf();
  Shop::Order order;
  if (XMLDecoder().unSerialize(order, text.str()) != 0 || order.items().size() < 2) {
    std::cerr << "usage: change ORDER.xml\n";
    return 2;
  }
  order.mutable_items()[0].set_price(9.99);
  order.mutable_items()[1].set_color(Demo::Color::RED);
  order.mutable_status().set_errorCode(404);

  std::string xml;
  if (XMLEncoder().serialize(order, xml) != 0) {
    return 1;
  }
  std::cout << xml << "\n";
  return 0;
}
