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
  if (argc != 2) {
    std::cerr << "usage: change_example ORDER.xml\n";
    return 2;
  }
  std::stringstream text;
  if (!(text << std::ifstream(argv[1]).rdbuf())) {
    std::cerr << argv[1] << ": cannot be read\n";
    return 1;
  }
  Shop::Order order;
  if (XMLDecoder().unSerialize(order, text.str()) != 0 || order.items().size() < 2) {
    std::cerr << argv[1] << ": is no order of two items\n";
    return 1;
  }
  order.mutable_items()[0].set_price(9.99);
  order.mutable_items()[1].set_color(Demo::Color::RED);
  order.mutable_status().set_errorCode(404);

  if (XMLEncoder().serialize(order, std::cout) != 0) {
    return 1;
  }
  std::cout << "\n";
  return 0;
}
